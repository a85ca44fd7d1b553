"""soak_parts.py SOURCE: the parts of tools/soak on made figures."""

import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest
from xml.etree import ElementTree

SOURCE = pathlib.Path(sys.argv.pop(1)).resolve()
SOAK = SOURCE / "tools/soak"
sys.path.insert(0, str(SOAK))

import attribution  # noqa: E402
import disturbances  # noqa: E402
import figures  # noqa: E402
import plot  # noqa: E402
import report  # noqa: E402
import run  # noqa: E402
import verdict  # noqa: E402

SVG = "{http://www.w3.org/2000/svg}"


def made_samples(minutes, growth=None, noise=1.0):
    """A sample every five seconds: a level with noise in every figure, and growth a minute in some."""
    dice = random.Random(7)
    return [{"minute": step / 12,
             **{limit.key: 50 + dice.uniform(-noise, noise) + (growth or {}).get(limit.key, 0) * step / 12
                for limit in verdict.LIMITS}}
            for step in range(int(minutes * 12))]


class Verdict(unittest.TestCase):
    def test_a_line_is_found_exactly(self):
        line = verdict.fit([(minute, 3 + 0.5 * minute) for minute in range(10)])
        self.assertAlmostEqual(line.slope, 0.5)
        self.assertAlmostEqual(line.start, 3)
        self.assertAlmostEqual(line.error, 0)

    def test_figures_at_one_moment_have_no_line(self):
        self.assertIsNone(verdict.fit([(1, 2), (1, 3), (1, 4)]))

    def test_noise_without_growth_is_flat(self):
        judgements = verdict.judge(made_samples(60, noise=5), 5)
        self.assertTrue(verdict.is_flat(judgements), judgements)

    def test_a_leak_of_one_mebibyte_a_minute_is_found(self):
        judgements = verdict.judge(made_samples(10, {"anonymousMiB": 1}, noise=2), 1)
        self.assertFalse(judgements["anonymousMiB"]["flat"])
        self.assertAlmostEqual(judgements["anonymousMiB"]["slopePerMinute"], 1, delta=0.2)
        self.assertTrue(judgements["handles"]["flat"])
        self.assertFalse(verdict.is_flat(judgements))

    def test_every_figure_that_grows_is_found(self):
        for limit in verdict.LIMITS:
            with self.subTest(limit.key):
                judgements = verdict.judge(made_samples(60, {limit.key: 2 * limit.per_minute}), 5)
                self.assertEqual([key for key, found in judgements.items() if not found["flat"]], [limit.key])

    def test_what_shrinks_is_flat(self):
        self.assertTrue(verdict.is_flat(verdict.judge(made_samples(10, {"anonymousMiB": -1}), 1)))

    def test_a_slope_that_noise_hides_is_called_so(self):
        dice = random.Random(3)
        points = [(minute, 0.2 * minute + dice.uniform(-30, 30)) for minute in range(20)]
        line = verdict.fit(points)
        judgement = verdict.judge_one(points, verdict.Limit("x", "x", "", line.slope - line.error))
        self.assertIn("flat within its noise", verdict.sentence(judgement))
        judgement = verdict.judge_one(points, verdict.Limit("x", "x", "", line.slope))
        self.assertIn("flat,", verdict.sentence(judgement))

    def test_growth_before_the_level_is_reached_does_not_count(self):
        samples = made_samples(60)
        for sample in samples:
            sample["rssMiB"] += 100 * min(sample["minute"], 5)
        self.assertTrue(verdict.is_flat(verdict.judge(samples, 5)))
        self.assertFalse(verdict.is_flat(verdict.judge(samples, 0)))

    def test_too_few_figures_are_not_called_flat(self):
        samples = [{**sample, "latencyMs": None} if index else sample for index, sample in enumerate(made_samples(10))]
        judgements = verdict.judge(samples, 0)
        self.assertIsNone(judgements["latencyMs"]["flat"])
        self.assertFalse(verdict.is_flat(judgements))
        self.assertIn("too few", verdict.sentence(judgements["latencyMs"]))

    def test_a_level_of_latency_that_rises_is_found_where_outliers_hide_it_from_the_line(self):
        latencies = [400, 20, 21, 20, 19, 20, 45, 45, 44, 45, 46, 45]
        points = list(enumerate(latencies))
        line = verdict.fit(points)
        self.assertLess(line.slope - 2 * line.error, verdict.LATENCY.per_minute)
        judgement = verdict.judge_one(points, verdict.LATENCY)
        self.assertFalse(judgement["flat"])
        self.assertEqual((judgement["firstMedian"], judgement["lastMedian"]), (21, 45))
        self.assertIn("GROWS", verdict.sentence(judgement))
        self.assertIn("median 21.0 at first, 45.0 at last", verdict.sentence(judgement))

    def test_the_few_figures_that_hold_ups_reach_do_not_count(self):
        latencies = [20 + index % 3 for index in range(100)]
        for index in (30, 77, 95, 98):
            latencies[index] = 900
        self.assertTrue(verdict.judge_one([(index / 2, value) for index, value in enumerate(latencies)],
                                          verdict.LATENCY)["flat"])

    def test_lateness_that_each_hold_up_adds_to_is_found(self):
        latencies = [20 + index // 10 * 5 + index % 3 for index in range(100)]
        self.assertFalse(verdict.judge_one([(index / 2, value) for index, value in enumerate(latencies)],
                                           verdict.LATENCY)["flat"])

    def test_the_level_is_due_after_five_minutes_or_a_tenth(self):
        self.assertEqual([verdict.settling_minutes(minutes) for minutes in (2, 10, 60, 600)], [0.2, 1, 5, 5])


class Plot(unittest.TestCase):
    def test_ticks_are_round_and_within_the_range(self):
        self.assertEqual(plot.ticks(0, 60, 12), [0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60])
        self.assertEqual(plot.ticks(1.02, 1.38), [1.1, 1.2, 1.3])

    def test_it_is_well_formed_and_shows_panels_and_disturbances(self):
        samples = made_samples(10)
        marks = [(2.5, disturbances.KINDS[0]), (5, "input switched")]
        picture = plot.svg("a < b & c", 10, report.panels(samples, 1), marks, disturbances.KINDS)
        root = ElementTree.fromstring(picture)
        words = [element.text for element in root.iter(f"{SVG}text")]
        for expected in ("a < b & c", "minutes since the start", "Memory of the host (MiB)", *disturbances.KINDS):
            self.assertIn(expected, words)
        faint = [line for line in root.iter(f"{SVG}line") if line.get("stroke-opacity")]
        self.assertEqual(len(faint), len(marks))
        self.assertGreaterEqual(len(list(root.iter(f"{SVG}polyline"))), 5)

    def test_curves_stay_inside_the_picture(self):
        root = ElementTree.fromstring(plot.svg("t", 10, report.panels(made_samples(10, noise=40), 1), [], ()))
        for line in root.iter(f"{SVG}polyline"):
            for place in line.get("points").split():
                x, y = map(float, place.split(","))
                self.assertTrue(plot.LEFT <= x <= plot.WIDTH - plot.RIGHT and 0 < y < float(root.get("height")), place)

    def test_it_can_be_drawn_without_any_figures(self):
        ElementTree.fromstring(plot.svg("t", 0, report.panels([], 0), [], disturbances.KINDS))


class Figures(unittest.TestCase):
    def test_memory_is_read_in_mebibytes(self):
        text = "55fc-7ffe ---p 0 00:00 0 [rollup]\nRss:     33792 kB\nPss: 1024 kB\nAnonymous:  10240 kB\n"
        self.assertEqual(figures.memory(text), {"rssMiB": 33, "pssMiB": 1, "anonymousMiB": 10})

    def test_an_opened_file_is_one_more_handle(self):
        before = figures.sample(os.getpid())
        with open(os.devnull, encoding="utf-8"):
            self.assertEqual(figures.sample(os.getpid())["handles"], before["handles"] + 1)
        self.assertGreater(before["anonymousMiB"], 0)

    def test_mappings_of_frames_are_told_from_others(self):
        maps = (f"7f00-7f01 rw-s 0 00:1b 1  {figures.shared_folder()}/1.v0.1.frame\n"
                f"7f01-7f02 rw-p 0 00:1b 2  {figures.shared_folder()}/2.a0.1.frame (deleted)\n"
                "7f02-7f03 r-xp 0 fe:00 3  /build/ndi-local/libndi.so.6\n7f03-7f04 rw-p 0 00:00 0\n")
        self.assertEqual(figures.shared_mappings(maps), 2)

    def test_a_process_that_is_gone_is_an_os_error(self):
        child = subprocess.Popen([sys.executable, "-c", ""])
        child.wait()
        with self.assertRaises(OSError):
            figures.sample(child.pid)


class Attribution(unittest.TestCase):
    def test_a_change_belongs_to_the_disturbance_before_it(self):
        points = [(0, 10), (1, 11), (2, 11), (3, 15), (4, 15), (5, 14)]
        marks = [(1.5, "kill"), (2.5, "storm"), (3.5, "kill")]
        self.assertEqual(attribution.changes(points, marks), {"kill": -1, "storm": 4})

    def test_a_disturbance_before_the_first_figure_explains_nothing(self):
        self.assertEqual(attribution.changes([(1, 10), (2, 20)], [(0.5, "kill")]), {})
        self.assertEqual(attribution.changes([], [(0.5, "kill")]), {})


class Report(unittest.TestCase):
    def test_what_is_written_can_be_read_again(self):
        record = run.Record(samples=made_samples(10, {"handles": 1}), disturbances=[(2, "sender killed", "")],
                            lost={"framesBeside": 4})
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            report.write(folder, record, 10)
            found = json.loads((folder / "soak.json").read_text(encoding="utf-8"))
            self.assertEqual(len((folder / "samples.csv").read_text(encoding="utf-8").splitlines()), 121)
            ElementTree.parse(folder / "soak.svg")
        self.assertFalse(found["flat"])
        self.assertEqual(found["disturbances"], {"sender killed": 1})
        self.assertFalse(found["figures"]["handles"]["flat"])
        self.assertTrue(found["figures"]["threads"]["flat"])


class Envelope(unittest.TestCase):
    def test_a_text_is_wrapped_as_the_example_is(self):
        example = (SOURCE / "examples/metadata.xml").read_text(encoding="ascii").strip()
        self.assertEqual(disturbances.enveloped("Camera 1, wide"), example)


if __name__ == "__main__":
    unittest.main()
