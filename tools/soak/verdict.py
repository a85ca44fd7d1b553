"""Tells whether figures stay flat: a line through them by least squares, and how far its slope is from a limit.

Of latency the medians at both ends are compared as well: a step that stays after a hold-up is found, however the line
lies, and the few figures that a hold-up reaches move no median.
"""

import dataclasses
import math
import statistics
from typing import Optional


@dataclasses.dataclass(frozen=True)
class Limit:
    """What one figure may grow by, in its unit per minute, before it counts as growing."""

    key: str
    label: str
    unit: str
    per_minute: float
    most_rise: Optional[float] = None  # from the median of the first quarter of the figures to that of the last


LATENCY = Limit("latencyMs", "latency", "ms", 0.1, 20)
LIMITS = (
    Limit("anonymousMiB", "memory of its own", "MiB", 0.1),
    Limit("rssMiB", "resident memory", "MiB", 0.2),
    Limit("handles", "handles", "", 0.1),
    Limit("threads", "threads", "", 0.1),
    Limit("sharedMappings", "mappings of shared memory", "", 0.1),
    Limit("sharedFiles", "files of shared memory", "", 0.1),
    LATENCY,
)

# A line through fewer points says nothing.
FEWEST_POINTS = 8


@dataclasses.dataclass(frozen=True)
class Line:
    """value = start + slope * minute; the error is the standard error of the slope."""

    start: float
    slope: float
    error: float


def fit(points):
    """The line of least squares through (minute, value) pairs; None when there is no such line."""
    count = len(points)
    if count < 3:
        return None
    mean_x = sum(x for x, _ in points) / count
    mean_y = sum(y for _, y in points) / count
    spread = sum((x - mean_x) ** 2 for x, _ in points)
    if spread == 0:
        return None
    slope = sum((x - mean_x) * (y - mean_y) for x, y in points) / spread
    start = mean_y - slope * mean_x
    residue = sum((y - start - slope * x) ** 2 for x, y in points)
    return Line(start, slope, math.sqrt(residue / (count - 2) / spread))


def settling_minutes(minutes):
    """How long a run may take to reach its level: five minutes, a tenth of short runs."""
    return min(5.0, minutes / 10)


def series(samples, key, since=0.0):
    """The (minute, value) pairs of one figure, without samples that lack it."""
    return [(sample["minute"], sample[key]) for sample in samples
            if sample.get(key) is not None and sample["minute"] >= since]


def rise(values, most):
    """By how much the median of the last quarter is above that of the first; nothing for a figure without a limit."""
    if most is None:
        return {}
    quarter = max(3, len(values) // 4)
    first, last = (statistics.median(part) for part in (values[:quarter], values[-quarter:]))
    return {"firstMedian": first, "lastMedian": last, "limitOfRise": most, "rises": last - first > most}


def judge_one(points, limit):
    """A figure grows when its slope is above the limit by more than twice its own error, or its median rises."""
    line = fit(points) if len(points) >= FEWEST_POINTS else None
    found = {"label": limit.label, "unit": limit.unit, "limitPerMinute": limit.per_minute, "points": len(points)}
    if line is None:
        return {**found, "flat": None}
    values = [value for _, value in points]
    found.update(rise(values, limit.most_rise))
    return {**found, "flat": line.slope - 2 * line.error <= limit.per_minute and not found.get("rises"),
            "slopePerMinute": line.slope, "slopeError": line.error, "start": line.start,
            "first": values[0], "last": values[-1], "least": min(values), "most": max(values)}


def judge(samples, since):
    """The judgement of every figure by its key, from a minute on."""
    return {limit.key: judge_one(series(samples, limit.key, since), limit) for limit in LIMITS}


def is_flat(judgements):
    """Whether every figure is known to be flat."""
    return all(judgement["flat"] for judgement in judgements.values())


def sentence(judgement):
    """One line for people."""
    if judgement["flat"] is None:
        return f"{judgement['label']}: too few figures ({judgement['points']}) for a verdict"
    unit = f" {judgement['unit']}" if judgement["unit"] else ""
    word = "GROWS"
    if judgement["flat"]:
        word = "flat" if judgement["slopePerMinute"] <= judgement["limitPerMinute"] else "flat within its noise"
    medians = ""
    if "rises" in judgement:
        medians = (f"; median {judgement['firstMedian']:.1f} at first, {judgement['lastMedian']:.1f} at last "
                   f"(limit of the rise {judgement['limitOfRise']:g})")
    return (f"{judgement['label']}: {word}, {judgement['slopePerMinute']:+.3f}{unit} a minute "
            f"(error {judgement['slopeError']:.3f}, limit {judgement['limitPerMinute']:g}), "
            f"{judgement['least']:.1f} to {judgement['most']:.1f}{unit}{medians}")
