# SPDX-License-Identifier: MIT
"""The alert sounds in the tree are those that the script makes, and short."""
import pathlib
import subprocess
import tempfile
import unittest
import wave

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOUNDS = ROOT / "resources" / "sounds"


class MakeSoundsTest(unittest.TestCase):
    def test_the_tree_holds_what_the_script_makes(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([ROOT / "scripts" / "make-sounds.py", folder], check=True)
            made = {path.name: path.read_bytes() for path in pathlib.Path(folder).iterdir()}
        self.assertEqual(sorted(made), ["Submarine.wav", "Tink.wav"])
        for name, data in made.items():
            self.assertEqual((SOUNDS / name).read_bytes(), data, name)

    def test_they_are_small_and_short_and_can_be_heard(self):
        for path in SOUNDS.iterdir():
            self.assertLess(path.stat().st_size, 40_000, path)
            with wave.open(str(path), "rb") as file:
                self.assertEqual((file.getnchannels(), file.getsampwidth()), (1, 2), path)
                self.assertLess(file.getnframes() / file.getframerate(), 1, path)
                frames = file.readframes(file.getnframes())
            loudest = max(abs(int.from_bytes(frames[i:i + 2], "little", signed=True))
                          for i in range(0, len(frames), 2))
            self.assertGreater(loudest, 8_000, path)
            self.assertLess(loudest, 32_000, path)
            self.assertEqual(frames[:2], b"\0\0", path)


if __name__ == "__main__":
    unittest.main()
