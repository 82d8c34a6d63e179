# SPDX-License-Identifier: MIT
"""The pictures of the guide for webcams are those that the script draws, they are some, and the guide shows them."""
import pathlib
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
PICTURES = sorted(DOCS.glob("webcam-*.svg"))


class DrawWebcamTest(unittest.TestCase):
    def test_the_tree_holds_what_the_script_draws(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([DOCS.parent / "scripts" / "draw-webcam.py", folder], check=True)
            drawn = {path.name: path.read_text(encoding="utf-8") for path in pathlib.Path(folder).iterdir()}
        self.assertEqual({path.name: path.read_text(encoding="utf-8") for path in PICTURES}, drawn)

    def test_the_guide_shows_each(self):
        guide = (DOCS / "webcam.md").read_text(encoding="utf-8")
        self.assertEqual(len(PICTURES), 3)
        for picture in PICTURES:
            self.assertEqual(guide.count(f"]({picture.name})"), 1, picture.name)

    def test_each_is_a_picture_with_words_inside_its_frame(self):
        for picture in PICTURES:
            tree = xml.etree.ElementTree.parse(picture).getroot()
            words = [element for element in tree if element.tag.endswith("text")]
            self.assertGreater(len(words), 5, picture.name)
            for word in words:
                length = 0.6 * float(word.get("font-size")) * len(word.text)
                left = float(word.get("x")) - {"start": 0, "middle": length / 2, "end": length}[word.get("text-anchor")]
                self.assertGreaterEqual(left, 0, word.text)
                self.assertLessEqual(left + length, float(tree.get("width")), word.text)
                self.assertLessEqual(float(word.get("y")), float(tree.get("height")), word.text)


if __name__ == "__main__":
    unittest.main()
