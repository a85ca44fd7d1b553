"""What comes out of the scene: one receiver that stays and tells what is lost, and short ones that tell the latency."""

import json
import re

GAP = re.compile(r"gap: (\d+) frames lost")
SOUND_GAP = re.compile(r"gap: (\d+) audio samples lost")


def is_near(seconds, moments, reach):
    """Whether one of the moments is at most so many seconds before."""
    return any(0 <= seconds - moment <= reach for moment in moments)


class Watcher:
    """Stays connected to the scene's output for the whole run, and tells losses when they happen."""

    def __init__(self, programs, name):
        self._program = programs.receiver("watcher", name, "--wait", 60)
        self.losses = []  # time, kind, number

    def poll(self):
        for moment, line in self._program.lines():
            if match := GAP.match(line):
                self.losses.append((moment, "frames", int(match[1])))
            elif match := SOUND_GAP.match(line):
                self.losses.append((moment, "samples", int(match[1])))
            elif line.startswith("lost "):
                self.losses.append((moment, "connections", 1))

    def ended(self):
        return self._program.code() is not None

    def count(self, kind, accept=lambda moment: True):
        return sum(number for moment, found, number in self.losses if found == kind and accept(moment))


class LatencyProbe:
    """Receives the output for a few seconds, again and again, so that connections come and go as well."""

    SECONDS = 3
    PAUSE = 4

    def __init__(self, programs, name, folder):
        self._programs = programs
        self._name = name
        self._file = folder / "probe.json"
        self._running = None
        self._began = 0.0
        self._next = 0.0

    def poll(self, now):
        """Starts and collects runs. Gives (begin, end, median, 95th percentile) when one is done that saw pictures."""
        if self._running is None:
            if now >= self._next:
                self._start(now)
            return None
        if self._running.code() is None:
            return None
        self._next = now + self.PAUSE
        code = self._running.end()
        self._running = None
        return self._result(now) if code == 0 else None

    def _start(self, now):
        self._file.unlink(missing_ok=True)
        self._began = now
        self._running = self._programs.receiver("probe", self._name, "--quiet", "--wait", 10, "--seconds", self.SECONDS,
                                                "--json", self._file)

    def _result(self, now):
        latency = json.loads(self._file.read_text(encoding="utf-8"))["latencyMs"]
        return (self._began, now, latency["median"], latency["p95"]) if latency else None
