"""What programs hold, and how long what is asked of them takes, over a long time."""

import csv
import re
import statistics
import subprocess
import threading
import time
from collections import defaultdict
from contextlib import contextmanager
from pathlib import Path

SECOND, LAST = 1, 4  # the parts of five that are compared; in the first one everything is made for the first time
MEGABYTE = 1024
PROCESSOR = "processor time"


class Endurance:
    """Samples processes and folders in a thread of its own from now on, and times what is done meanwhile. The time
    is divided into five parts of like work."""

    def __init__(self, programs, folders, every):
        self._programs, self._folders, self._every = programs, folders, every
        self._began = time.monotonic()
        self._part = 0
        self._samples = []            # of each: seconds, part, name, {figure: value}
        self._times = defaultdict(list)  # of each kind of action: (seconds, part, duration)
        self._done = threading.Event()
        self._thread = threading.Thread(target=self._sample, daemon=True)
        self._thread.start()

    def end_part(self):
        self._part += 1

    def stop(self):
        self._done.set()
        self._thread.join()

    @contextmanager
    def timed(self, kind):
        """The time of an action, and what the programs worked meanwhile."""
        began, worked = time.monotonic(), self._processor_time()
        yield
        now = time.monotonic()
        self._times[kind].append((now - self._began, self._part, now - began))
        self._times[f"{kind}, {PROCESSOR}"].append((now - self._began, self._part, self._processor_time() - worked))

    def _processor_time(self):
        return sum(int(Path(f"/proc/{process}/schedstat").read_text().split()[0])
                   for process in self._programs.values()) / 1e9

    def _sample(self):
        while not self._done.wait(self._every):
            at, part = time.monotonic() - self._began, self._part
            taken = [(name, held(process)) for name, process in self._programs.items()]
            taken += [(name, {"files": files(folder)})
                      for name, folder in self._folders.items()]
            taken.append(("display", {"windows": windows()}))
            self._samples += [(at, part, name, figures) for name, figures in taken]

    # What it comes to

    def rows(self):
        """Of all that is held the least in the second and in the last part, and of all times the medians in seconds."""
        held_figures = dict.fromkeys((name, figure) for _, _, name, figures in self._samples for figure in figures)
        for name, figure in held_figures:
            yield (name, figure, *(self._least(name, figure, part) for part in (SECOND, LAST)))
        for kind in self._times:
            yield (kind, "seconds", *(self._median(kind, part) for part in (SECOND, LAST)))

    def _least(self, name, figure, part):
        return min((figures[figure] for _, at, which, figures in self._samples
                    if (which, at) == (name, part) and figure in figures), default=0)

    def _median(self, kind, part):
        durations = [duration for _, at, duration in self._times[kind] if at == part]
        return statistics.median(durations) if durations else 0

    def write(self, path):
        with open(path, "w", newline="") as file:
            table = csv.writer(file)
            table.writerow(("seconds", "part", "what", "figure", "value"))
            for at, part, name, figures in self._samples:
                table.writerows((f"{at:.1f}", part + 1, name, figure, value) for figure, value in figures.items())
            for kind, durations in self._times.items():
                table.writerows((f"{at:.1f}", part + 1, kind, "seconds", f"{duration:.4f}")
                                for at, part, duration in durations)

    def draw(self, path):
        """Memory, handles and threads of each program, and the times of each kind of action."""
        import matplotlib
        matplotlib.use("Agg")
        from matplotlib import pyplot
        figure, axes = pyplot.subplots(2, 2, figsize=(13, 8))
        panels = (("Memory of its own", "private", "megabytes", 1 / MEGABYTE), ("Handles", "handles", "", 1),
                  ("Threads", "threads", "", 1))
        for axis, (title, wanted, unit, factor) in zip(axes.flat, panels):
            for name in self._programs:
                points = [(at / 60, figures[wanted] * factor) for at, _, which, figures in self._samples
                          if which == name]
                axis.plot(*zip(*points), label=name)
            axis.set(title=title, xlabel="minutes", ylabel=unit, ylim=(0, None))
        for kind, durations in self._times.items():
            if PROCESSOR not in kind:
                points = [(at / 60, each * 1000) for at, _, each in durations]
                axes.flat[3].plot(*zip(*points), linestyle="", marker=".", markersize=2, label=kind)
        axes.flat[3].set(title="Times", xlabel="minutes", ylabel="milliseconds", yscale="log")
        for axis in axes.flat:
            axis.grid(which="major", color="#dddddd")
            axis.legend(markerscale=4)
        figure.tight_layout()
        figure.savefig(path, dpi=80)


def held(process):
    """What a process holds: memory in kilobytes, and numbers."""
    folder = Path(f"/proc/{process}")
    memory = dict(re.findall(r"^(\w+): +(\d+) kB", (folder / "smaps_rollup").read_text(), re.MULTILINE))
    threads = list((folder / "task").iterdir())
    return {"resident": int(memory["Rss"]), "shared in part": int(memory["Pss"]),
            "private": int(memory["Private_Dirty"]), "handles": sum(1 for _ in (folder / "fd").iterdir()),
            "threads": len(threads), "children": sum(map(_children, threads))}


def _children(thread):
    try:
        return len((thread / "children").read_text().split())
    except FileNotFoundError:  # it has ended
        return 0


def files(folder):
    """How many there are but for the empty ones: names that the storage service keeps ready."""
    try:
        return sum(1 for each in folder.rglob("*") if each.is_file() and each.stat().st_size)
    except FileNotFoundError:  # a folder went while it was looked into
        return files(folder)


def windows():
    """How many windows there are on the display, seen or not."""
    asked = subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True)
    # A window that goes while it is asked for ends the asking.
    return windows() if asked.returncode else len(re.findall(r"^ +0x", asked.stdout, re.MULTILINE))

