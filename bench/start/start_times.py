#!/usr/bin/python3
"""How long the report program takes from its start to its editor's drawn window, and what memory it has then, in turns
with a program that shows an empty window: start_times.py PROGRAMS TURNS, on a workstation (tools/workstation)."""

import os
import subprocess
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[2] / "tools"))
from person.studies import Study  # noqa: E402  (behind the path to it)

programs, turns = Path(sys.argv[1]), sys.argv[2]
os.environ.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")  # at most desks nobody asks for it
sys.exit(subprocess.run([programs / "bench_start", programs / "bench_empty_window", programs / "tavrel",
                         Study().images()[0], turns]).returncode)
