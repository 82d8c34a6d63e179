#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the pictures in docs/webcam.md: the room, what a film leaves of it, and strokes at two paces of a camera.

usage: scripts/draw-webcam.py [FOLDER]
"""
import math
import pathlib
import sys

FOLDER = pathlib.Path(__file__).resolve().parents[1] / "docs"
WIDTH = 860

INK, PALE, PICTURE, VIEW, PEN, LAMP = "#333333", "#f7f7f4", "#cfe3f5", "#f3c26b", "#d33333", "#e8b800"
DARK, GLOW = "#1b1b1f", "#fff6e0"


def polygon(points, fill, opacity=1.0):
    return (f'<polygon points="{" ".join(f"{x},{y}" for x, y in points)}" fill="{fill}" fill-opacity="{opacity}" '
            f'stroke="{INK}" stroke-width="1"/>')


def box(left, top, width, height, fill):
    return polygon([(left, top), (left + width, top), (left + width, top + height), (left, top + height)], fill)


def dot(x, y, radius, fill):
    return f'<circle cx="{x}" cy="{y}" r="{radius}" fill="{fill}" stroke="{INK}" stroke-width="1"/>'


def words(x, y, text, size=14, anchor="middle"):
    return f'<text x="{x}" y="{y}" font-size="{size}" text-anchor="{anchor}" fill="{INK}">{text}</text>'


def cross(x, y, half=13):
    """What does not belong there is crossed out."""
    return (f'<path d="M{x - half},{y - half} L{x + half},{y + half} M{x - half},{y + half} L{x + half},{y - half}" '
            f'stroke="{PEN}" stroke-width="3"/>')


def from_the_front(left):
    """What the camera sees, with room around the picture; and a lamp that it is not to see."""
    return [
        words(left + 180, 30, "what the camera sees", 16),
        box(left, 50, 360, 270, PALE),
        polygon([(left + 62, 105), (left + 305, 88), (left + 318, 270), (left + 45, 258)], PICTURE),
        words(left + 180, 175, "the whole picture"),
        words(left + 180, 195, "more than half of the view's width"),
        dot(left + 250, 140, 6, PEN),
        words(left + 262, 130, "pen", 14, "start"),
        words(left + 180, 300, "room on every side"),
        dot(left + 335, 72, 12, LAMP),
        cross(left + 335, 72),
        words(left + 318, 77, "no lamp, no window", 14, "end"),
        words(left + 180, 345, "With a film before the lens only the pen is left."),
        words(left + 180, 365, "Calibrate automatically before it is on."),
    ]


def from_above(left):
    """Wall, projector, camera and person."""
    camera, projector = (left + 135, 265), (left + 210, 285)
    return [
        words(left + 190, 30, "the room from above", 16),
        box(left + 20, 50, 340, 10, INK),
        polygon([camera, (left + 55, 62), (left + 345, 62)], VIEW, 0.45),
        box(left + 90, 60, 220, 6, PICTURE),
        words(left + 160, 84, "the picture on the wall"),
        box(projector[0] - 22, projector[1] - 10, 44, 34, "#bbbbbb"),
        words(projector[0] + 30, projector[1] + 12, "projector", 14, "start"),
        box(camera[0] - 9, camera[1] - 8, 18, 18, "#777777"),
        words(camera[0] - 14, camera[1] + 7, "camera, high,", 14, "end"),
        words(camera[0] - 14, camera[1] + 24, "fixed", 14, "end"),
        dot(left + 292, 125, 15, "#d9b38c"),
        words(left + 313, 130, "you", 14, "start"),
        f'<line x1="{left + 281}" y1="115" x2="{left + 262}" y2="72" stroke="{INK}" stroke-width="2"/>',
        dot(left + 261, 70, 5, PEN),
        words(left + 190, 345, "Nothing between the lens and the tip of the pen."),
    ]


def view(left, title, remark, colour, things):
    """One view of the camera, with words above and below."""
    return [words(left + 125, 30, title, 16), box(left, 45, 250, 170, colour), *things,
            *(words(left + 125, 240 + 20 * number, line) for number, line in enumerate(remark))]


def screen(left, fill):
    """The picture on the wall as the camera has it."""
    return polygon([(left + 38, 78), (left + 205, 68), (left + 214, 186), (left + 30, 178)], fill)


def film(left):
    """The same view without a film, with one, and with one while targets are shown."""
    lines = [box(left + 60, 95 + 18 * number, length, 6, INK) for number, length in enumerate((110, 70, 90))]
    room = [screen(left, PICTURE), *lines, dot(left + 228, 62, 9, LAMP), dot(left + 180, 150, 5, GLOW)]
    second, third = left + 285, left + 570
    return [
        *view(left, "without a film", ["Slides and lamps are as bright", "as the pen."], PALE, room),
        *view(second, "with a film", ["What is shown is gone.", "The pen stays."], DARK, [dot(second + 180, 150, 5, GLOW)]),
        *view(third, "with a film, calibrating", ["The discs are gone, too:", "calibrate before the film is on."],
              DARK, [f'<circle cx="{third + 90}" cy="110" r="14" fill="none" stroke="#8a8a92" stroke-dasharray="4 4"/>',
                     words(third + 125, 152, "nothing to be found").replace(INK, "#b9b9c0")]),
    ]


def stroke(left, part):
    """Where a hand is that draws a wave, from 0 to 1."""
    return left + 20 + 320 * part, 125 - 55 * math.sin(2 * math.pi * 1.5 * part)


def path(points, more=""):
    places = " L".join(f"{x:.1f},{y:.1f}" for x, y in points)
    return f'<path d="M{places}" fill="none" stroke="{INK}" stroke-width="2"{more}/>'


def pace(left, title, pictures, remark):
    """A quick stroke, of which the camera takes so many pictures, and a touch of a fortieth of a second."""
    seen = [stroke(left, number / pictures) for number in range(pictures + 1)]
    pointer = seen[-3]  # two pictures behind
    x, y = pointer
    arrow = [(x, y), (x, y + 22), (x + 5, y + 17), (x + 9, y + 25), (x + 13, y + 23), (x + 9, y + 15), (x + 16, y + 15)]
    hand = [stroke(left, number / 120) for number in range(121)]
    ticks = [left + 20 + 320 / pictures * number for number in range(pictures + 1)]
    touch = left + 20 + 320 * 0.43
    caught = any(touch <= tick <= touch + 20 for tick in ticks)
    return [
        words(left + 180, 30, title, 16),
        box(left, 45, 360, 160, PALE),
        path(hand, ' stroke-opacity="0.35" stroke-dasharray="5 4"'),
        path(seen[:-2]),
        *(dot(round(x, 1), round(y, 1), 3, INK) for x, y in seen[:-2]),
        polygon([(round(x, 1), round(y, 1)) for x, y in arrow], "white"),
        dot(round(seen[-1][0], 1), round(seen[-1][1], 1), 6, PEN),
        *(f'<line x1="{tick:.1f}" y1="228" x2="{tick:.1f}" y2="244" stroke="{INK}" stroke-width="1.5"/>' for tick in ticks),
        box(round(touch, 1), 248, 20, 8, PEN if caught else LAMP),
        words(left + 180, 280, remark),
    ]


def drawing(height, *parts):
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
             f'viewBox="0 0 {WIDTH} {height}" font-family="sans-serif">',
             f'<rect width="{WIDTH}" height="{height}" fill="white"/>', *(line for part in parts for line in part), "</svg>"]
    return "\n".join(lines) + "\n"


DRAWINGS = {
    "webcam-room.svg": drawing(400, from_the_front(30), from_above(450)),
    "webcam-film.svg": drawing(280, film(20)),
    "webcam-pace.svg": drawing(340, pace(30, "sixty pictures a second", 24, "A short touch falls on a picture."),
                               pace(470, "thirty pictures a second", 12, "It may fall between two."),
                               [words(430, 308, "Red dot: the tip of the pen. Arrow: the pointer, two pictures behind it.", 13),
                                words(430, 326, "Lines below: when a picture is taken. Bar: a touch of a fortieth of a second.", 13)]),
}

if __name__ == "__main__":
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else FOLDER
    for name, text in DRAWINGS.items():
        (folder / name).write_text(text, encoding="utf-8")
