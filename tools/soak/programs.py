"""Starts the programs of a build folder and ends them, by process id, each in a session of its own."""

import os
import pathlib
import queue
import signal
import subprocess
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
NEEDED = ("bin/tavrin-host", "bin/ndi-send", "bin/ndi-recv", "qml/Multimedia/Tavrin/qmldir", "ndi-local")

# Longer than a sender takes to say farewell to busy receivers.
PATIENCE_SECONDS = 10


class Program:
    """One running program. Its lines wait in a queue, with the time of their arrival; a thread reads them.

    In a session of its own, Ctrl-C in the terminal does not reach it: who started it decides when it ends.
    """

    def __init__(self, command, environment, log):
        self.process = subprocess.Popen([str(part) for part in command], env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True,
                                        text=True, errors="replace")
        self.command = command
        self._lines = queue.SimpleQueue()
        self._log = log
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    @property
    def pid(self):
        return self.process.pid

    def _read(self):
        with open(self._log, "a", encoding="utf-8") as log:
            for line in self.process.stdout:
                log.write(line)
                log.flush()
                self._lines.put((time.monotonic(), line.rstrip("\n")))

    def lines(self):
        """What was printed since the last call: (time, line) pairs."""
        found = []
        while not self._lines.empty():
            found.append(self._lines.get())
        return found

    def code(self):
        """The exit code, or None while it runs."""
        return self.process.poll()

    def hold(self, seconds, stopped):
        """Stops it for so long, or until stopped (a threading.Event) is set; it never stays stopped."""
        try:
            self.process.send_signal(signal.SIGSTOP)
            stopped.wait(seconds)
        finally:
            self.process.send_signal(signal.SIGCONT)

    def end(self, how=signal.SIGTERM):
        """Asks it to end (kills it with SIGKILL), waits for that, and returns its exit code."""
        if self.process.poll() is None:
            self.process.send_signal(how)
        try:
            self.process.wait(PATIENCE_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._reader.join(PATIENCE_SECONDS)
        self.process.stdout.close()
        return self.process.returncode

# What storms of metadata made it take, glibc's allocator keeps for most of an hour. Told to give back at once, it leaves
# what the host holds.
GIVING_BACK = {"MALLOC_ARENA_MAX": "1", "MALLOC_MMAP_THRESHOLD_": "65536", "MALLOC_TRIM_THRESHOLD_": "65536"}


class Programs:
    """The programs of one build folder, with the local NDI runtime. Ends at last whatever it started and still runs.

    Senders and hosts get a time limit besides, so that nothing stays when the soak itself is killed.
    """

    def __init__(self, build, logs, limit_seconds, allocator_keeps=False):
        self._build = build
        self._logs = logs
        self._limit = str(int(limit_seconds))
        self._running = []
        self._environment = dict(os.environ)
        path = [str(build / "ndi-local"), self._environment.get("LD_LIBRARY_PATH", "")]
        self._environment["LD_LIBRARY_PATH"] = ":".join(part for part in path if part)
        self.host_environment = self._environment if allocator_keeps else {**self._environment, **GIVING_BACK}

    def missing(self):
        """What the build folder lacks."""
        return [name for name in NEEDED if not (self._build / name).exists()]

    def _start(self, log, program, *arguments, environment=None):
        started = Program([self._build / "bin" / program, *arguments], environment or self._environment,
                          self._logs / f"{log}.log")
        self._running = [running for running in self._running if running.code() is None]
        self._running.append(started)
        return started

    def host(self, scene, *arguments):
        # Its status lines would fill the log.
        return self._start("host", "tavrin-host", "--quiet", "--duration", self._limit, "--json",
                           self._logs / "host.json", scene, *arguments, environment=self.host_environment)

    def sender(self, log, *arguments):
        return self._start(log, "ndi-send", "--quiet", "--duration", self._limit, *arguments)

    def receiver(self, log, name, *arguments):
        return self._start(log, "ndi-recv", name, *arguments)

    def end_all(self):
        for program in reversed(self._running):
            program.end()
        self._running = []
