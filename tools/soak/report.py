"""Writes what a run has found: samples, summary, plot."""

import collections
import csv
import json

import attribution
import disturbances as kinds
import plot
import verdict


def write_samples(path, samples):
    columns = list(dict.fromkeys(key for sample in samples for key in sample))
    with open(path, "w", newline="", encoding="utf-8") as file:
        writer = csv.DictWriter(file, columns)
        writer.writeheader()
        for sample in samples:
            writer.writerow({key: round(value, 4) for key, value in sample.items()})


def write_disturbances(path, disturbances):
    with open(path, "w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file)
        writer.writerow(("minute", "kind", "detail"))
        writer.writerows((round(minute, 4), kind, detail) for minute, kind, detail in disturbances)


def summary(record, minutes, since):
    judgements = verdict.judge(record.samples, since)
    return {
        "minutes": minutes,
        **record.settings,
        "ended": record.ended,
        "flatFromMinute": since,
        "flat": verdict.is_flat(judgements),
        "failures": record.failures,
        "figures": judgements,
        "disturbances": dict(collections.Counter(kind for _, kind, _ in record.disturbances)),
        "heldUpSeconds": {"all": sum(record.hold_ups), "longest": max(record.hold_ups, default=0)},
        "changedAfter": attribution.by_kind(record.samples, [mark[:2] for mark in record.disturbances], since),
        "lost": record.lost,
        "processorPercent": processor_percent(record.samples),
    }


def processor_percent(samples):
    """The share of one processor that the host took, over all of the run."""
    points = verdict.series(samples, "processorSeconds")
    if len(points) < 2 or points[-1][0] == points[0][0]:
        return None
    return 100 * (points[-1][1] - points[0][1]) / (60 * (points[-1][0] - points[0][0]))


def curve(samples, key, label, since):
    trend = verdict.fit(verdict.series(samples, key, since))
    return plot.Curve(label, verdict.series(samples, key), trend=trend, trend_from=since)


def panels(samples, since):
    def trended(key, label):
        return curve(samples, key, label, since)

    def plain(key, label, dots=False):
        return plot.Curve(label, verdict.series(samples, key), dots)

    return [
        plot.Panel("Memory of the host", "MiB", [trended("anonymousMiB", "its own"), trended("rssMiB", "resident"),
                                                 plain("pssMiB", "proportional")]),
        plot.Panel("Handles, threads and shared memory", "number",
                   [trended("handles", "handles"), trended("threads", "threads"),
                    trended("sharedMappings", "mappings, shared memory"),
                    trended("sharedFiles", "files, shared memory")]),
        plot.Panel("Latency from the sender through the scene", "ms",
                   [trended("latencyMs", "median"), plain("latency95Ms", "95 %"),
                    plain("disturbedLatencyMs", "median, disturbed", dots=True)]),
        plot.Panel("Frames lost beside the disturbances", "number since the start", [plain("lostBeside", "pictures")]),
    ]


def write(folder, record, minutes):
    """Writes samples.csv, disturbances.csv, soak.json and soak.svg; returns the summary."""
    since = verdict.settling_minutes(minutes)
    found = summary(record, minutes, since)
    write_samples(folder / "samples.csv", record.samples)
    write_disturbances(folder / "disturbances.csv", record.disturbances)
    (folder / "soak.json").write_text(json.dumps(found, indent=4) + "\n", encoding="utf-8")
    state = "flat" if found["flat"] else "not flat"
    title = f"{minutes:.1f} minutes, {len(record.disturbances)} disturbances: {state} from minute {since:.1f} on"
    marks = [(minute, kind) for minute, kind, _ in record.disturbances]
    (folder / "soak.svg").write_text(plot.svg(title, minutes, panels(record.samples, since), marks, kinds.KINDS),
                                     encoding="utf-8")
    return found
