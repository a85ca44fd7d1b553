"""What happens to the senders and to the host while a bridge runs, over and over."""

import base64
import dataclasses
import itertools
import random
import signal
import struct
from typing import Optional


@dataclasses.dataclass(frozen=True)
class Format:
    size: str
    rate: str
    pixels: str

    def arguments(self):
        return ["--size", self.size, "--rate", self.rate, "--format", self.pixels]

    def __str__(self):
        return f"{self.pixels} {self.size} at {self.rate}"


@dataclasses.dataclass(frozen=True)
class Clock:
    """By how many parts in a million a sender's clock runs fast; the sound as the picture unless it has its own."""

    ppm: int = 0
    audio_ppm: Optional[int] = None

    def arguments(self):
        own = [] if self.audio_ppm is None else ["--audio-clock-ppm", str(self.audio_ppm)]
        return ["--clock-ppm", str(self.ppm), *own]


# Small enough for two processors to carry with all receivers.
FORMATS = (Format("640x360", "30", "UYVY"), Format("1280x720", "30000/1001", "UYVY"), Format("480x270", "50", "BGRX"),
           Format("720x576", "25", "UYVY"))
SECOND_FORMAT = Format("480x270", "25", "BGRX")


def enveloped(text):
    """A text as the metadata property puts it on the network: a Qt value of type 10, a string, in base 64."""
    payload = text.encode("utf-16-be")
    value = struct.pack(">IBI", 10, 0, len(payload)) + payload
    return f"<tvx><![CDATA[{base64.b64encode(value).decode()}]]></tvx>"


class Senders:
    """The two senders of the scene, with the same clock. The first is what is disturbed."""

    def __init__(self, programs, first_name, second_name, folder, clock):
        self._programs = programs
        self._first_name = first_name
        self._clock = clock
        self._formats = itertools.cycle(FORMATS)
        self._format = next(self._formats)
        self._storm = folder / "storm.xml"
        self._storm.write_text(enveloped("storm " * 8192), encoding="ascii")
        self._first = None
        self._start_first()
        self._second = programs.sender("second", "--name", second_name, *SECOND_FORMAT.arguments(),
                                       *self._clock.arguments())

    def _start_first(self, *extra):
        self._first = self._programs.sender("first", "--name", self._first_name, *self._format.arguments(),
                                            *self._clock.arguments(), *extra)

    def restart(self):
        self._first.end()
        self._start_first()
        return "sender restarted", ""

    def kill(self):
        self._first.end(signal.SIGKILL)
        self._start_first()
        return "sender killed", ""

    def change_format(self):
        self._first.end()
        self._format = next(self._formats)
        self._start_first()
        return "format changed", str(self._format)

    def storm_on_frames(self):
        """From now on 128 KiB of text on every frame, picture and sound, and once a second as a frame of its own."""
        self._first.end()
        self._start_first("--frame-metadata", f"@{self._storm}", "--metadata", f"@{self._storm}")
        return "frame metadata storm", ""

    def ended(self):
        """Whether a sender ended by itself, which it must not."""
        return self._first.code() is not None or self._second.code() is not None


def schedule(senders):
    """The disturbances, without end; each is called for its effect and returns its kind and a detail."""
    return itertools.cycle((senders.restart, senders.change_format, senders.kill, senders.storm_on_frames))


HOLD_UP = "host held up"
HOLD_UP_PAUSE_SECONDS = (10, 50)  # at the least and at the most
HOLD_UP_SECONDS = (0.05, 2)


def hold_ups(seed):
    """Pairs without end: so many seconds after the one before, the host is stopped for so many.

    Short ones are as likely as long ones: each doubling of the length has the same share.
    """
    dice = random.Random(seed)
    least, most = HOLD_UP_SECONDS
    while True:
        yield dice.uniform(*HOLD_UP_PAUSE_SECONDS), least * (most / least) ** dice.random()


# As the scene's log lines name what it does by itself.
SCENE_KINDS = ("input switched", "output switched", "node metadata storm")
KINDS = ("sender restarted", "sender killed", "format changed", "frame metadata storm", *SCENE_KINDS, HOLD_UP)
SCENE_PREFIX = "qml: Disturbance: "
