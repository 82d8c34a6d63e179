# SPDX-License-Identifier: MIT
"""scripts/performance.py makes tables and a picture of what was measured, and tells met goals from missed ones."""
import importlib.util
import pathlib
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
SPEC = importlib.util.spec_from_file_location("performance", ROOT / "scripts/performance.py")
performance = importlib.util.module_from_spec(SPEC)
SPEC.loader.exec_module(performance)

MEASURED = """figure\ta drag\tns\t90.0\tthe least\t68.0\tratio\t1.5
figure\ta pass\tµs\t1100.0\tthe quiet machine\t25.0\tdifference\t1000.0
figure\tpresses\t\t25.0\ttouches\t25.0\tdifference\t0.0
figure\tmedian\tpoints\t0.61\t\t0.0\tvalue\t0.6
figure\tits own\tMB\t3.5\t\t0.0\tnone\t0.0
figure\twakes\t\t0.0\tthe least\t0.0\tdifference\t0.0
remark\tNobody woke.
delays\treal-time priority\tquiet\t5.0\t7.0\t1200.0
delays\treal-time priority\tload\t9.0\t40000.0\t2000000.0
"""


class PerformanceTest(unittest.TestCase):
    def setUp(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "part.tsv"
            path.write_text(MEASURED, encoding="utf-8")
            self.figures = performance.read(path)

    def test_each_figure_is_a_row_with_its_ratio_and_its_goal(self):
        self.assertEqual(performance.table(self.figures)[2:], [
            "| a drag | 90.0 ns | the least | 68.0 ns | 1.32 | at most 1.50 times: met |",
            "| a pass | 1,100 µs | the quiet machine | 25.0 µs | 44.00 | at most 1,000 µs more: **missed** |",
            "| presses | 25.0 | touches | 25.0 | 1.00 | no more: met |",
            "| median | 0.610 points | | | | at most 0.600 points: **missed** |",
            "| its own | 3.50 MB | | | | |",
            "| wakes | 0 | the least | 0 | | no more: met |"])
        self.assertEqual(performance.missed(self.figures), 2)
        self.assertEqual(self.figures.remarks, ["Nobody woke."])

    def test_a_missed_goal_is_explained_where_its_row_is_the_one_that_is_meant(self):
        for (what, against), why in performance.REASONS.items():
            for than, limit, explained in ((against, 1.5, [why]), (against, 2.5, []), ("another", 1.5, [])):
                row = (f"{what} and more", "ns", 200.0, than, 100.0, "ratio", limit)
                self.assertEqual(performance.reasons(performance.Figures([row])), explained)

    def test_numbers_have_three_figures(self):
        self.assertEqual([performance.number(value) for value in (0, 0.00512, 2.7, 68.04, 59284.4)],
                         ["0", "0.00512", "2.70", "68.0", "59,284"])

    def test_every_delay_is_under_a_bar(self):
        for delays in ([0.0], [1.0, 99.0, 3e9], [10.0] * 7):
            self.assertAlmostEqual(sum(performance.shares(delays)), 1)

    def test_the_picture_is_one(self):
        picture = xml.etree.ElementTree.fromstring(performance.histogram(self.figures.delays))
        self.assertTrue(picture.tag.endswith("svg"))
        kinds = [shape.get("class") for shape in picture if shape.tag.endswith("rect")]
        # A square in the legend, a bar for each place that has delays, and the line of the 99th percentile.
        self.assertEqual((kinds.count("quiet"), kinds.count("load")), (1 + 3 + 1, 1 + 3 + 1))

    def test_threads_that_came_or_switched_are_told(self):
        before = {"1": (10, "main", 1.0), "2": (5, "emulated unit", 2.0)}
        after = {"1": (10, "main", 1.0), "2": (500, "emulated unit", 9.0), "3": (60, "pen", 0.5)}
        self.assertEqual(performance.wakes(before, after, lambda name: name == "pen"), 60)
        self.assertEqual(performance.processor_time(before, after), 0.5)
        self.assertEqual(performance.remark_on("It", before, after, 60), "remark\tIt, switches a minute: pen 60.")


if __name__ == "__main__":
    unittest.main()
