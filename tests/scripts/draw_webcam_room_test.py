# SPDX-License-Identifier: MIT
"""The picture of the room in the tree is the one that the script draws, and it is one."""
import pathlib
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
PICTURE = ROOT / "docs" / "webcam-room.svg"


class DrawWebcamRoomTest(unittest.TestCase):
    def test_the_tree_holds_what_the_script_draws(self):
        with tempfile.TemporaryDirectory() as folder:
            drawn = pathlib.Path(folder) / "room.svg"
            subprocess.run([ROOT / "scripts" / "draw-webcam-room.py", drawn], check=True)
            self.assertEqual(PICTURE.read_text(encoding="utf-8"), drawn.read_text(encoding="utf-8"))

    def test_it_is_a_picture_with_words_inside_its_frame(self):
        tree = xml.etree.ElementTree.parse(PICTURE).getroot()
        words = [element for element in tree if element.tag.endswith("text")]
        self.assertGreater(len(words), 8)
        for word in words:
            length = 0.6 * float(word.get("font-size")) * len(word.text)
            left = float(word.get("x")) - {"start": 0, "middle": length / 2, "end": length}[word.get("text-anchor")]
            self.assertGreaterEqual(left, 0, word.text)
            self.assertLessEqual(left + length, float(tree.get("width")), word.text)


if __name__ == "__main__":
    unittest.main()
