#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the alert sounds of resources/sounds/, which are kept in the tree; the same bytes each time.

usage: scripts/make-sounds.py [FOLDER]
"""
import math
import pathlib
import struct
import sys
import wave

RATE = 22050  # samples a second
AMPLITUDE = 0.6  # of full scale, at most
ATTACK = 0.003  # seconds, so that a sound does not begin with a click
RELEASE = 0.02  # seconds, so that it does not end with one


def tink(t):
    """A struck glass: a few partials out of tune with each other, the high ones gone soonest."""
    partials = ((2093.0, 1.0, 22.0), (5274.0, 0.45, 45.0), (8372.0, 0.2, 80.0))
    return sum(weight * math.exp(-decay * t) * math.sin(2 * math.pi * pitch * t)
               for pitch, weight, decay in partials) / 1.65


def submarine(t):
    """A low call that sinks while it fades, with its octave."""
    phase = 2 * math.pi * (392.0 * t - 55.0 * t * t)
    return math.exp(-3.2 * t) * (0.8 * math.sin(phase) + 0.2 * math.sin(2 * phase))


# Name, which is the file's; shape; seconds.
SOUNDS = (("Tink", tink, 0.22), ("Submarine", submarine, 0.7))


def samples(shape, seconds):
    """The sound as 16-bit samples."""
    for i in range(int(seconds * RATE)):
        t = i / RATE
        edge = min(1.0, t / ATTACK, (seconds - t) / RELEASE)
        yield round(32767 * AMPLITUDE * edge * shape(t))


def main(folder):
    for name, shape, seconds in SOUNDS:
        data = b"".join(struct.pack("<h", sample) for sample in samples(shape, seconds))
        with wave.open(str(folder / f"{name}.wav"), "wb") as file:
            file.setnchannels(1)
            file.setsampwidth(2)
            file.setframerate(RATE)
            file.writeframes(data)


if __name__ == "__main__":
    DEFAULT = pathlib.Path(__file__).resolve().parents[1] / "resources" / "sounds"
    main(pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else DEFAULT)
