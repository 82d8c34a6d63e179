#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Puts the camera unit's identifiers of packaging/units.conf into the sources, the udev rule, the metainfo
and the protocol's document.

usage: scripts/set-units.py [--check] [ROOT]

  --check   changes nothing, and fails where one of the files says something else
"""
import pathlib
import re
import sys

DATA = "packaging/units.conf"
DIGITS = {"vendor": 4, "first-product": 4, "second-product": 4, "pen-interface": 2}


def identifiers(root):
    """The data's names and their hexadecimal digits, in lower case."""
    words = [line.split() for line in (root / DATA).read_text(encoding="utf-8").splitlines()
             if line.strip() and not line.startswith("#")]
    found = {name: digits.lower() for name, digits in words}
    for name, count in DIGITS.items():
        if not re.fullmatch(f"[0-9a-f]{{{count}}}", found.get(name, "")):
            sys.exit(f"{DATA}: {name} needs {count} hexadecimal digits.")
    return found


def places(unit):
    """For each file the patterns of what is set there, and what comes between their two groups."""
    vendor, first, second = unit["vendor"], unit["first-product"], unit["second-product"]
    modalias = r"(<modalias>usb:v)\w+(d\*</modalias>\n)"
    return {
        "src/platform/UnitIdentifiers.h": [
            (r"(kUnitVendorID = )\w+(;)", "0x" + vendor),
            (r"(kUnitFirstProductID = )\w+(;)", "0x" + first),
            (r"(kUnitSecondProductID = )\w+(;)", "0x" + second),
            (r"(kUnitPenInterfaceNumber = )\w+(;)", str(int(unit["pen-interface"], 16)))],
        "packaging/70-lightpen-nx7.rules": [
            (r'(ATTRS\{idVendor\}==")[^"]*(")', vendor),
            (r'(ATTRS\{idProduct\}==")[^"]*(")', f"{first}|{second}"),
            (r'(ATTRS\{bInterfaceNumber\}==")[^"]*(", TAG)', unit["pen-interface"]),
            (r'(ATTRS\{bInterfaceNumber\}==")[^"]*(", MODE)', unit["pen-interface"])],
        "packaging/org.lightpen.LightPenNX7.metainfo.xml.in": [
            (modalias + r"(?=\s*<modalias>)", f"{vendor.upper()}p{first.upper()}"),
            (modalias + r"(?!\s*<modalias>)", f"{vendor.upper()}p{second.upper()}")],
        "docs/unit-protocol.md": [
            (r"(\| vendor \| )\w+( \|)", "0x" + vendor),
            (r"(\| first product \| )\w+( \|)", "0x" + first),
            (r"(\| second product \| )\w+( \|)", "0x" + second),
            (r"(\| interface of the pen \| )\w+( \|)", str(int(unit["pen-interface"], 16)))],
    }


def main(arguments):
    check = arguments[:1] == ["--check"]
    arguments = arguments[1:] if check else arguments
    if len(arguments) > 1 or any(str(argument).startswith("-") for argument in arguments):
        sys.exit(__doc__)
    root = pathlib.Path(arguments[0]) if arguments else pathlib.Path(__file__).resolve().parents[1]
    different = []
    for name, patterns in places(identifiers(root)).items():
        before = text = (root / name).read_text(encoding="utf-8")
        for pattern, value in patterns:
            text, count = re.subn(pattern, lambda match, value=value: match[1] + value + match[2], text)
            if count != 1:
                sys.exit(f"{name}: {count} places are like {pattern}; there should be one.")
        if text != before:
            different.append(name)
            if not check:
                (root / name).write_text(text, encoding="utf-8")
    for name in different:
        print(f"{name}: {'not as in ' + DATA if check else 'set'}")
    return 1 if check and different else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
