#!/usr/bin/python3
"""What bench/run makes of its programs' figures and failures; the programs are fakes."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

BENCH = Path(__file__).resolve().parents[2] / "bench"


def images(many_seconds="0.001"):
    return f"printf 'few\\t0.001\\t0\\nmany\\t{many_seconds}\\t0\\n'"


def viewer(**milliseconds):
    """A program that prints these times; an underscore of a name stands for the slash of a run's."""
    runs = [{"run_type": "iteration", "run_name": f"{name.replace('_', '/')}/real_time", "time_unit": "ms",
             "real_time": time} for name, time in milliseconds.items()]
    return f"echo '{json.dumps({'benchmarks': runs})}'"


class Run(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "build" / "bin").mkdir(parents=True)
        self.printed = self.folder / "printed"

    def program(self, name, script):
        program = self.folder / "build" / "bin" / name
        program.write_text(f"#!/bin/sh\n{script}\n")
        program.chmod(0o755)

    def run_bench(self, *arguments, run=BENCH / "run"):
        """The status; what is printed goes to a file, which a program may read while all of it runs."""
        with self.printed.open("w") as file:
            command = [run, "--build", self.folder / "build", *arguments]
            buffered = {name: value for name, value in os.environ.items() if name != "PYTHONUNBUFFERED"}
            return subprocess.run(command, stdout=file, stderr=file, env=buffered, timeout=60).returncode

    def row(self, what):
        [row] = [line for line in self.printed.read_text().splitlines() if line.strip().startswith(what)]
        return row

    def test_a_failing_measure_says_why_and_leaves_the_others_theirs(self):
        self.program("bench_chooser", "echo no catalogue >&2; exit 3")
        self.program("bench_open_images", images())
        status = self.run_bench("chooser", "images")

        self.assertEqual(status, 1)
        self.assertIn("chooser FAILED: bench_chooser ended with status 3\n  no catalogue\n", self.printed.read_text())
        self.assertIn("yes", self.row("LoadForImgSeries"))

    def test_figures_that_are_not_understood_leave_the_others_theirs(self):
        self.program("bench_chooser", "echo nonsense")
        self.program("bench_open_images", images())

        self.assertEqual(self.run_bench("chooser", "images"), 1)
        self.assertIn("yes", self.row("LoadForImgSeries"))

    def test_a_measure_is_printed_before_the_next_one_begins(self):
        self.program("bench_open_images", images())
        self.program("bench_chooser", f"""grep -q LoadForImgSeries '{self.printed}' || exit 1
            printf 'tavrel\\t1\\t0\\nstatements\\t1\\t0\\npreviews\\t1\\t0\\n'""")

        self.assertEqual(self.run_bench("images", "chooser"), 0, self.printed.read_text())

    def test_a_ratio_that_is_not_held_is_status_1(self):
        self.program("bench_open_images", images(many_seconds="0.002"))

        self.assertEqual(self.run_bench("images"), 1)
        self.assertIn("NO", self.row("LoadForImgSeries"))

    def test_a_ratio_that_is_only_reported_is_status_0(self):
        self.program("bench_open_images", images(many_seconds="0.002"))

        self.assertEqual(self.run_bench("images", "--report-only"), 0)

    def test_the_viewer_is_compared_with_the_bare_decoding_of_its_size(self):
        self.program("bench_lumaret", viewer(BareDecode=1, BareDecode_1000=2, SliceChange_512=5, SliceChange_1000=8))
        self.run_bench("viewer")

        self.assertRegex(self.row("viewer, next slice, 512 pixels"), r" 5$")
        self.assertRegex(self.row("viewer, next slice, 1000 pixels"), r" 4$")

    def test_nothing_is_kept_when_a_measure_failed(self):
        (self.folder / "bench").mkdir()
        run = shutil.copy(BENCH / "run", self.folder / "bench")
        readme = Path(shutil.copy(BENCH / "README.md", self.folder / "bench"))

        self.assertEqual(self.run_bench("--keep", run=run), 1)  # there is no program
        self.assertEqual(readme.read_text(), (BENCH / "README.md").read_text())


if __name__ == "__main__":
    unittest.main()
