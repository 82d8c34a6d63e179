#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the picture of the room in docs/webcam.md: the wall from the front, and the room from above.

usage: scripts/draw-webcam-room.py [FILE]
"""
import pathlib
import sys

FILE = pathlib.Path(__file__).resolve().parents[1] / "docs" / "webcam-room.svg"
WIDTH, HEIGHT = 860, 400

INK, PALE, PICTURE, VIEW, PEN, LAMP = "#333333", "#f7f7f4", "#cfe3f5", "#f3c26b", "#d33333", "#e8b800"


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


def picture():
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
             f'viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>', *from_the_front(30), *from_above(450), "</svg>"]
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else FILE).write_text(picture(), encoding="utf-8")
