"""soak_runs.py SOURCE: how tools/soak runs its programs, disturbs them and reads what they say."""

import itertools
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from importlib import machinery, util
from unittest import mock

SOURCE = pathlib.Path(sys.argv.pop(1)).resolve()
SOAK = SOURCE / "tools/soak"
sys.path.insert(0, str(SOAK))

import disturbances  # noqa: E402
import programs  # noqa: E402
import receivers  # noqa: E402
import report  # noqa: E402
import run  # noqa: E402

LOADER = machinery.SourceFileLoader("soak", str(SOAK / "soak"))
soak = util.module_from_spec(util.spec_from_loader("soak", LOADER))
LOADER.exec_module(soak)


class FakeReceiver:
    def __init__(self, lines):
        self._lines = lines

    def receiver(self, *_):
        return self

    def lines(self):
        return self._lines


class Losses(unittest.TestCase):
    def test_losses_are_told_apart_by_kind_and_by_the_disturbances_before_them(self):
        watcher = receivers.Watcher(FakeReceiver([
            (10.0, "gap: 3 frames lost before frame 412"), (11.0, "gap: 800 audio samples lost"),
            (30.0, "gap: 75 frames lost before frame 900"), (31.0, "lost 'HOST (Out)'"), (32.0, "video: UYVY")]), "Out")
        watcher.poll()
        self.assertEqual(watcher.count("frames"), 78)
        self.assertEqual(watcher.count("samples"), 800)
        self.assertEqual(watcher.count("connections"), 1)
        self.assertEqual(watcher.count("frames", lambda moment: not receivers.is_near(moment, [28.0], 6)), 3)

    def test_what_comes_before_a_disturbance_is_not_near_it(self):
        self.assertFalse(receivers.is_near(9.9, [10], 6))
        self.assertTrue(receivers.is_near(10, [10], 6))
        self.assertFalse(receivers.is_near(16.1, [10], 6))


def first_lines(program):
    """What a program prints first, within five seconds."""
    deadline = time.monotonic() + 5
    while time.monotonic() < deadline:
        if lines := program.lines():
            return lines
        time.sleep(0.01)
    return []


def process_state(pid):
    return pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[0]


def awaited(look, accept):
    """What look() returns when it is accepted, or after five seconds."""
    deadline = time.monotonic() + 5
    while not accept(found := look()) and time.monotonic() < deadline:
        time.sleep(0.01)
    return found


def state_other_than(pid, state):
    return awaited(lambda: process_state(pid), lambda found: found != state)


class FakeWait:
    """An event that is waited for: sees whether a process is stopped meanwhile."""

    def __init__(self, pid, error=None):
        self._pid = pid
        self._error = error
        self.seconds = None
        self.state = None

    def wait(self, seconds):
        self.seconds = seconds
        self.state = awaited(lambda: process_state(self._pid), lambda found: found == "T")
        if self._error:
            raise self._error


class Programs(unittest.TestCase):
    def test_output_is_read_and_the_program_ends_by_its_id(self):
        with tempfile.TemporaryDirectory() as folder:
            log = pathlib.Path(folder) / "log"
            program = programs.Program(["sh", "-c", "echo ready; exec sleep 60"], dict(os.environ), log)
            self.assertEqual([line for _, line in first_lines(program)], ["ready"])
            self.assertIsNone(program.code())
            self.assertEqual(program.end(), -signal.SIGTERM)
            self.assertEqual(log.read_text(encoding="utf-8"), "ready\n")

    def test_a_program_is_stopped_while_it_is_held_and_runs_on_when_that_is_interrupted(self):
        with tempfile.TemporaryDirectory() as folder:
            program = programs.Program(["sh", "-c", "echo ready; exec sleep 60"], dict(os.environ),
                                       pathlib.Path(folder) / "log")
            self.addCleanup(program.end, signal.SIGKILL)
            self.assertTrue(first_lines(program))
            holding = FakeWait(program.pid)
            program.hold(1.5, holding)
            self.assertEqual((holding.seconds, holding.state), (1.5, "T"))
            self.assertNotEqual(state_other_than(program.pid, "T"), "T")

            with self.assertRaises(KeyboardInterrupt):
                program.hold(1.5, FakeWait(program.pid, KeyboardInterrupt()))
            self.assertNotEqual(state_other_than(program.pid, "T"), "T")

    def test_one_that_has_ended_can_be_held(self):
        with tempfile.TemporaryDirectory() as folder:
            program = programs.Program(["true"], dict(os.environ), pathlib.Path(folder) / "log")
            program.end()
            program.hold(0, threading.Event())

    def test_the_hosts_allocator_gives_back_unless_it_is_to_keep(self):
        def room(**how):
            return programs.Programs(pathlib.Path("build"), pathlib.Path("out"), 1, **how).host_environment

        self.assertEqual(room()["MALLOC_ARENA_MAX"], "1")
        self.assertEqual(room(allocator_keeps=True).get("MALLOC_ARENA_MAX"), os.environ.get("MALLOC_ARENA_MAX"))

    def test_a_folder_without_the_build_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            out = pathlib.Path(folder) / "out"
            done = subprocess.run([SOAK / "soak", "--build", folder, "--out", out], capture_output=True, text=True,
                                  check=False)
            self.assertEqual(done.returncode, 1)
            self.assertIn("bin/tavrin-host", done.stderr)
            self.assertFalse(out.exists())

    def test_wrong_usage_is_told(self):
        for arguments in (["--minutes", "0"], ["--minutes", "long"], ["--such"], ["--clock-ppm", "10001"],
                          ["--audio-clock-ppm", "-10001"], ["--clock-ppm", "0.5"]):
            done = subprocess.run([SOAK / "soak", *arguments], capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 64, arguments)
            self.assertIn(arguments[0], done.stderr)


class FakeEvent:
    """Time that passes only while it is waited for."""

    def __init__(self):
        self.now = 100.0

    def wait(self, seconds):
        self.now += seconds
        return False


class FakePrograms:
    """Programs that run and say nothing."""

    pid = 1

    def __init__(self):
        self.started = []
        self.held = []  # (moment, seconds) of the host

    def sender(self, log, *arguments):
        self.started.append((log, arguments))
        return self

    def host(self, *_):
        return self

    def receiver(self, *_):
        return self

    def lines(self):
        return []

    def code(self):
        return None

    def end(self, *_):
        return 0

    def hold(self, seconds, stopped):
        self.held.append((stopped.now, seconds))
        stopped.wait(seconds)


def faked_run(minutes, *arguments):
    """A run of the soak with these options, without programs and in no time: the fakes and the record."""
    fakes, event = FakePrograms(), FakeEvent()
    options = soak.parse(["--minutes", str(minutes), *arguments])
    with tempfile.TemporaryDirectory() as folder, mock.patch("time.monotonic", lambda: event.now), \
            mock.patch("figures.sample", lambda _: {}):
        current = run.Run(fakes, options, pathlib.Path(folder), "scene", "Soak")
        current.go(event)
    return fakes, current.record


class HoldUps(unittest.TestCase):
    def test_times_and_lengths_are_those_of_the_seed_and_within_bounds(self):
        first = list(itertools.islice(disturbances.hold_ups(1), 500))
        self.assertEqual(first, list(itertools.islice(disturbances.hold_ups(1), 500)))
        self.assertNotEqual(first[:5], list(itertools.islice(disturbances.hold_ups(2), 5)))
        for pause, seconds in first:
            self.assertTrue(10 <= pause <= 50 and 0.05 <= seconds <= 2, (pause, seconds))
        # A hundred milliseconds are as likely as a second and more.
        self.assertGreater(sum(seconds < 0.1 for _, seconds in first), 50)
        self.assertGreater(sum(seconds > 1 for _, seconds in first), 50)

    def test_the_host_is_held_up_at_these_times_and_each_is_recorded(self):
        fakes, record = faked_run(10, "--seed", "5")
        moment, expected = 100.0, []
        for pause, seconds in itertools.islice(disturbances.hold_ups(5), len(fakes.held)):
            moment += pause
            self.assertAlmostEqual(fakes.held[len(expected)][0], moment, delta=2 * run.TICK_SECONDS)
            expected.append(seconds)
            moment = fakes.held[len(expected) - 1][0] + seconds
        self.assertGreater(len(expected), 11)
        self.assertEqual([seconds for _, seconds in fakes.held], expected)
        noted = [detail for _, kind, detail in record.disturbances if kind == disturbances.HOLD_UP]
        self.assertEqual(noted, [f"{1000 * seconds:.0f} ms" for seconds in expected])
        found = report.summary(record, 10, 1)
        self.assertEqual(found["disturbances"][disturbances.HOLD_UP], len(expected))
        self.assertAlmostEqual(found["heldUpSeconds"]["all"], sum(expected))
        self.assertAlmostEqual(found["heldUpSeconds"]["longest"], max(expected))
        self.assertEqual(found["seed"], 5)

    def test_what_a_hold_up_reaches_counts_as_disturbed_from_its_end_on(self):
        event = FakeEvent()
        with tempfile.TemporaryDirectory() as folder, mock.patch("time.monotonic", lambda: event.now):
            current = run.Run(FakePrograms(), soak.parse(["--every", "1000"]), pathlib.Path(folder), "scene", "Soak")
            event.now += 60
            current._hold_up(event)
            self.assertFalse(current._is_undisturbed(event.now + run.REACH_SECONDS - 0.01))
            self.assertTrue(current._is_undisturbed(event.now + run.REACH_SECONDS + 0.01))

    def test_they_can_be_switched_off(self):
        fakes, record = faked_run(10, "--no-hold-ups")
        self.assertEqual(fakes.held, [])
        self.assertFalse(report.summary(record, 10, 1)["holdUps"])


class Clocks(unittest.TestCase):
    @staticmethod
    def clock_arguments(*arguments):
        started = [given for log, given in faked_run(1, *arguments)[0].started]
        return {given[index:] for given in started for index in [given.index("--clock-ppm")]
                if "--frame-metadata" not in given}

    def test_every_sender_gets_the_clock_and_the_soak_says_it(self):
        self.assertEqual(self.clock_arguments(), {("--clock-ppm", "0")})
        self.assertEqual(self.clock_arguments("--clock-ppm", "-300"), {("--clock-ppm", "-300")})
        self.assertEqual(self.clock_arguments("--clock-ppm", "200", "--audio-clock-ppm", "0"),
                         {("--clock-ppm", "200", "--audio-clock-ppm", "0")})
        _, record = faked_run(1, "--clock-ppm", "200")
        found = report.summary(record, 1, 0.1)
        self.assertEqual((found["clockPpm"], found["audioClockPpm"]), (200, 200))


if __name__ == "__main__":
    unittest.main()
