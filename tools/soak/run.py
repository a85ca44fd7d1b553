"""One run: starts the programs, disturbs them, takes the figures, until its time is over or it is told to stop."""

import dataclasses
import math
import time

import disturbances
import figures
import receivers

# Until everything is as before: the host makes a failed source again after 4 seconds at the latest.
REACH_SECONDS = 6
# The scene's own disturbances come more rarely, so that the two series meet in ever different ways.
SCENE_SLOWNESS = 1.35
TICK_SECONDS = 0.2


@dataclasses.dataclass
class Record:
    """What a run has found so far, and how it was made."""

    settings: dict = dataclasses.field(default_factory=dict)  # as they stand in soak.json
    samples: list = dataclasses.field(default_factory=list)  # dictionaries of figures by key, with "minute"
    disturbances: list = dataclasses.field(default_factory=list)  # minute, kind, detail
    hold_ups: list = dataclasses.field(default_factory=list)  # seconds
    failures: list = dataclasses.field(default_factory=list)  # sentences
    lost: dict = dataclasses.field(default_factory=dict)
    ended: str = "limit"


def settings_of(options):
    return {"allocatorKeeps": options.allocator_keeps, "clockPpm": options.clock_ppm,
            "audioClockPpm": options.clock_ppm if options.audio_clock_ppm is None else options.audio_clock_ppm,
            "holdUps": options.hold_ups, "seed": options.seed}


class Run:
    """The caller's thread does everything; programs' output is read by threads of their own."""

    def __init__(self, programs, options, folder, scene, name):
        first, second, out = f"{name} A", f"{name} B", f"{name} out"
        clock = disturbances.Clock(options.clock_ppm, options.audio_clock_ppm)
        self.record = Record(settings_of(options))
        self._options = options
        self._senders = disturbances.Senders(programs, first, second, folder, clock)
        self._schedule = disturbances.schedule(self._senders)
        self._host = programs.host(scene, first, second, out, options.every * SCENE_SLOWNESS)
        self._watcher = receivers.Watcher(programs, out)
        self._probe = receivers.LatencyProbe(programs, out, folder)
        self._start = time.monotonic()
        self._next_sample = self._start
        self._next_disturbance = self._start + options.every
        self._hold_ups = disturbances.hold_ups(options.seed) if options.hold_ups else iter(())
        self._plan_hold_up(self._start)
        self._moments = [self._start]  # of disturbances; the start is one

    def minutes(self):
        return (time.monotonic() - self._start) / 60

    def go(self, stopped):
        """Runs until the time is over, something failed, or stopped (a threading.Event) is set."""
        while not self.record.failures:
            if self.minutes() >= self._options.minutes:
                break
            if stopped.wait(TICK_SECONDS):
                self.record.ended = "interrupt"
                break
            self._step(time.monotonic(), stopped)
        if self.record.failures:
            self.record.ended = "failure"
        minutes = self.minutes()
        self._finish()
        return minutes

    def _step(self, now, stopped):
        self._check_programs()
        self._read_scene()
        self._watcher.poll()
        if now >= self._next_disturbance:
            self._next_disturbance += self._options.every
            self._disturb()
        if now >= self._next_hold_up:
            self._hold_up(stopped)
        if not self.record.failures and now >= self._next_sample:
            self._next_sample = now + self._options.sample
            self._take_sample()
        self._take_latency(now)

    def _check_programs(self):
        if self._host.code() is not None:
            self.record.failures.append(f"the host ended by itself, with {self._host.code()}")
        if self._watcher.ended():
            self.record.failures.append("the receiver ended by itself: the scene's output was not found")
        if self._senders.ended():
            self.record.failures.append("a sender ended by itself")

    def _note(self, moment, kind, detail=""):
        self.record.disturbances.append(((moment - self._start) / 60, kind, detail))
        self._moments.append(moment)

    def _disturb(self):
        moment = time.monotonic()
        kind, detail = next(self._schedule)()
        self._note(moment, kind, detail)
        # The end of the old sender and the start of the new one may be seconds apart.
        self._moments.append(time.monotonic())

    def _plan_hold_up(self, now):
        pause, self._hold_up_seconds = next(self._hold_ups, (math.inf, 0))
        self._next_hold_up = now + pause

    def _hold_up(self, stopped):
        begin = time.monotonic()
        self._host.hold(self._hold_up_seconds, stopped)
        end = time.monotonic()
        self.record.hold_ups.append(end - begin)
        self._note(begin, disturbances.HOLD_UP, f"{1000 * (end - begin):.0f} ms")
        self._moments.append(end)
        self._plan_hold_up(end)

    def _read_scene(self):
        for moment, line in self._host.lines():
            if line.startswith(disturbances.SCENE_PREFIX):
                self._note(moment, line[len(disturbances.SCENE_PREFIX):])

    def _is_undisturbed(self, moment):
        return not receivers.is_near(moment, self._moments, REACH_SECONDS)

    def _take_sample(self):
        minute = self.minutes()
        try:
            sample = figures.sample(self._host.pid)
        except OSError:
            return  # it has just ended, which the next step tells
        lost = self._watcher.count("frames", self._is_undisturbed)
        self.record.samples.append({"minute": minute, **sample, "lostBeside": lost})

    def _take_latency(self, now):
        result = self._probe.poll(now)
        if result is None:
            return
        begin, end, median, late = result
        disturbed = any(begin - REACH_SECONDS <= moment <= end for moment in self._moments)
        minute = (end - self._start) / 60
        if disturbed:
            self.record.samples.append({"minute": minute, "disturbedLatencyMs": median})
        else:
            self.record.samples.append({"minute": minute, "latencyMs": median, "latency95Ms": late})

    def _finish(self):
        self._watcher.poll()
        self.record.lost = {
            "framesBeside": self._watcher.count("frames", self._is_undisturbed),
            "samplesBeside": self._watcher.count("samples", self._is_undisturbed),
            "connections": self._watcher.count("connections"),
        }
        if self.record.lost["connections"]:
            self.record.failures.append("the scene's output was interrupted")
        if self._host.code() is None:
            code = self._host.end()
            if code != 0:
                self.record.failures.append(f"the host ended with {code}")
