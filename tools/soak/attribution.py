"""Says after which disturbances a figure changed."""

import bisect
import collections

import verdict

KEYS = ("anonymousMiB", "handles", "sharedMappings")


def changes(points, disturbances):
    """By kind: the sum of what one figure, (minute, value) pairs, changed by from each disturbance to the next.

    The disturbances are (minute, kind) pairs. What changes before the first belongs to none.
    """
    minutes = [minute for minute, _ in points]
    marks = sorted(disturbances)
    found = collections.defaultdict(float)
    for index, (minute, kind) in enumerate(marks):
        before = bisect.bisect_right(minutes, minute) - 1
        until = marks[index + 1][0] if index + 1 < len(marks) else float("inf")
        after = bisect.bisect_right(minutes, until) - 1
        if before >= 0:
            found[kind] += points[after][1] - points[before][1]
    return dict(found)


def by_kind(samples, disturbances, since):
    """The changes of the figures in KEYS, by figure and kind, from a minute on."""
    marks = [mark for mark in disturbances if mark[0] >= since]
    return {key: {kind: round(change, 3) for kind, change in changes(verdict.series(samples, key), marks).items()}
            for key in KEYS}
