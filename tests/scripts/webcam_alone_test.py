# SPDX-License-Identifier: MIT
"""Of what the driver with a webcam needs beyond the driver, the driver itself has nothing. The first argument is the
build's folder."""
import pathlib
import re
import subprocess
import sys
import unittest

BUILD = pathlib.Path(sys.argv.pop(1))
DRIVER = BUILD / "src/app/LightPenNX7/LightPenNX7"
WEBCAM = BUILD / "src/webcam/LightPenNX7-webcam/LightPenNX7-webcam"


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def libraries(program):
    return set(re.findall(r"\(NEEDED\).*\[(.*)\]", output("readelf", "--dynamic", program)))


def names(program):
    return output("nm", "--demangle", program)


class WebcamAloneTest(unittest.TestCase):
    def test_one_library_more_and_it_is_the_decoders(self):
        more = libraries(WEBCAM) - libraries(DRIVER)
        self.assertEqual({re.sub(r"\.so.*", "", name) for name in more}, {"libjpeg"})
        self.assertEqual(libraries(DRIVER) - libraries(WEBCAM), set())

    def test_the_driver_has_no_unit_in_software_and_no_camera(self):
        for name in ("lightpen::webcam::", "lightpen::SoftwareUnit", "lightpen::Firmware"):
            self.assertIn(name, names(WEBCAM))
            self.assertNotIn(name, names(DRIVER))

    def test_no_program_of_a_user_has_what_only_tests_want(self):
        for program in (DRIVER, WEBCAM):
            for name in ("lightpen::FaultyWire", "lightpen::CameraUnit", "lightpen::Optics"):
                self.assertNotIn(name, names(program))

    def test_the_driver_is_the_smaller_one(self):
        self.assertLess(DRIVER.stat().st_size, WEBCAM.stat().st_size)


if __name__ == "__main__":
    unittest.main()
