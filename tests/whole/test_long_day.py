"""A physician's day at the windows, pressed together: is anything more or slower at its end?

    LONG_DAY=1 tests/support/printqueue tests/whole/run build/release/bin test_long_day

LONG_DAY is the share of a day of 500 openings, 2,000 saves, 5,000 searches and 200 prints; 0.01 where it is not
set. The workstation names versions by the second, so that the whole of it takes at least 34 minutes. One report
program serves the day: another patient's report takes the former one's place in its window. Figures and plot,
long-day.csv and long-day.png, are left in PICTURES.
"""

import os
import re
import subprocess
from pathlib import Path

import pyatspi
import pydicom
from gi.repository import GLib

from bus import Client, ask_bus, connect
from case import PICTURES, WorkstationTest
from endurance import PROCESSOR, Endurance
from person.driver import TIMEOUT, Program, key, wait_until
from person.editor import SEARCH, Codes, seconds
from person.studies import Study, as_written
from person.viewer import Viewer
from person.workstation import FOLDER, HOSPITAL, STUDIES, ask, processes

SHARE = float(os.environ.get("LONG_DAY", "0.01"))
PARTS = 5
PRINTS, OPENINGS, SAVES, CODE_SEARCHES, STUDY_SEARCHES = (
    max(least * PARTS, round(each * SHARE)) for least, each in ((1, 200), (2, 500), (4, 2000), (4, 2500), (4, 2500)))
WRITTEN_REPORTS = 4  # in turn, in each part of the day
SPOOL = Path(os.environ["PRINT_SPOOL"])
READING = "The lungs are clear. No effusion, no pneumothorax. Heart and mediastinum are of normal size. "
CODES = ("nod", "lung", "solid", "no", "pneumo", "effusion", "calc", "l")


# What may be more in the last fifth of a day than in its second; of memory kilobytes.
MORE = {"private": 4096, "handles": 0, "threads": 0, "children": 0, "windows": 0, "files": 0}


def growth(row):
    """What has grown beyond its bound; None for nothing."""
    what, figure, before, after = row
    if PROCESSOR in what:
        bound = 1.5 * before + 0.03
    elif figure == "seconds":
        bound = 2 * before + 0.3  # the machine may have become busy with something else
    elif figure in MORE:
        bound = before + MORE[figure]
    else:
        return None
    return f"{what}, {figure}: {before:.4g} and then {after:.4g}" if after > bound else None


def soon(condition, what):
    return wait_until(condition, what, timeout=3 * TIMEOUT, every=0.005)


class Portions:
    """So many things spread evenly over so many turns."""

    def __init__(self, things, turns):
        self._things, self._turns, self._turn = things, turns, 0

    def next(self):
        """How many belong to the next turn."""
        before = self._things * self._turn // self._turns
        self._turn += 1
        return self._things * self._turn // self._turns - before


class ALongDay(WorkstationTest):

    def setUp(self):
        self.window = None
        self.counts = dict.fromkeys(("openings", "saves", "searches", "prints"), 0)
        self.codes_found = {text: ask("SELECT count(*) FROM StdFinding WHERE Upper(CodeMeaning) LIKE ?",
                                      f"%{text.upper()}%")[0][0] for text in CODES}
        self.viewer = Viewer()
        self.addCleanup(self.viewer.end)
        self.client = Client().create()
        self.program = Program("Tavrel", process=self.client.process())
        self.addCleanup(self.picture_failure)
        bus = connect()
        self.endurance = Endurance(
            {"tavrel": self.client.process(), "porvane": process_of(bus, "Porvane.Service"),
             "lumaret": self.viewer.process.pid, "dbus-daemon": process_of(bus, "org.freedesktop.DBus"),
             "Xvfb": processes("Xvfb")[0]},
            {"drafts": FOLDER / "state", "incoming": STUDIES / ".incoming", "temporary": Path(os.environ["TMPDIR"])},
            every=max(1, 10 * SHARE))
        self.addCleanup(self.tell)
        self.addCleanup(self.endurance.stop)

    def test_ends_as_it_began(self):
        in_part = [Portions(each, PARTS) for each in (OPENINGS - PRINTS, PRINTS)]
        self.saves, self.code_searches = (Portions(each, OPENINGS - PRINTS) for each in (SAVES, CODE_SEARCHES))
        self.study_searches = Portions(STUDY_SEARCHES, SAVES)
        self.studies = 0
        for part in range(PARTS):
            written, printed = (each.next() for each in in_part)
            self.patients = [Study(images=2, PatientName=f"DAY^WRITTEN{part}X{number}")
                             for number in range(min(WRITTEN_REPORTS, written))]
            approved = [self.approved(f"DAY^APPROVED{part}X{number}") for number in range(min(2, printed))]
            self.studies += len(self.patients) + len(approved)
            to_print = Portions(printed, written)
            for turn in range(written):
                self.write(self.patients[turn % len(self.patients)])
                for each in range(to_print.next()):
                    self.print(approved[(turn + each) % len(approved)])
            self.endurance.end_part()
        self.endurance.stop()
        self.assertEqual([each for each in map(growth, self.endurance.rows()) if each], [])
        subprocess.run(["orbenta-catalogue", "check"], check=True, stdout=subprocess.DEVNULL)

    def approved(self, patient):
        study = Study(PatientName=patient)
        self.open(study)
        self.fields["Reading"].setTextContents(READING * 5)
        self.save()
        seconds.wait()
        self.window.press("Approve")
        self.program.message("The approved document").press("Yes")
        soon(lambda: self.versions.nRows == 2, "the approved version")
        seconds.use()
        return study

    # What the physician does

    def open(self, study):
        client = Client().create()
        client.begin("LoadForImgSeries", "(as)", study.images()).result(3 * TIMEOUT)
        if not self.window:
            self.find_controls()
        soon(lambda: self.patient_shown() == as_written(study.patient), f"the report of {study.patient}")
        self.counts["openings"] += 1
        return client

    def find_controls(self):
        # Once: they stay as long as the window.
        self.window = self.program.window(HOSPITAL)
        self.name = self.window.field("Name")
        self.fields = {label: self.window.field(label).queryEditableText() for label in ("Reading", "Report title")}
        self.versions = self.window.list("Versions").accessible.queryTable()
        self.save_button, self.print_button = map(self.window.button, ("Save", "Print "))
        self.add_finding = self.window.button("Add", "Finding")
        self.viewers_name = self.viewer.window.field("Patient name").queryEditableText()
        self.viewers_search = self.viewer.window.button("Search")
        self.found_studies = self.viewer.studies.accessible.queryTable()

    def write(self, study):
        """Opens a report, gives it the study's images, goes on in it, and looks something up after each save."""
        with self.endurance.timed("opening"):
            client = self.open(study)
        client.begin("RemoveImagesFromSR").result(3 * TIMEOUT)
        for image in study.images():
            client.begin("AddImageToSR", "(sa{sv}s)", image, {"Zoom": GLib.Variant("d", 2)}, "").result(3 * TIMEOUT)
        self.fields["Report title"].setTextContents(f"Report of {study.patient}")
        for _ in range(self.saves.next()):
            self.fields["Reading"].setTextContents(f"{READING * (self.counts['saves'] % 9 + 1)}{self.counts['saves']}")
            self.save()
            for _ in range(self.study_searches.next()):
                alone = self.counts["searches"] % 2
                self.search_studies(study.patient if alone else "DAY", 1 if alone else self.studies)
        self.expect_nobody_else(study)
        self.search_codes()

    def save(self):
        before = self.versions.nRows
        seconds.wait()
        with self.endurance.timed("save"):
            self.save_button.queryAction().doAction(0)
            soon(lambda: self.versions.nRows == before + 1, "the version")
        seconds.use()
        self.counts["saves"] += 1

    def search_studies(self, name, expected):
        self.viewers_name.setTextContents(name)
        with self.endurance.timed("search for a study"):
            self.viewers_search.queryAction().doAction(0)
            soon(lambda: self.found_studies.nRows == expected, f"{expected} studies of {name}")
        self.counts["searches"] += 1

    def search_codes(self):
        with self.endurance.timed("code tables opened"):
            self.add_finding.queryAction().doAction(0)
            manager = Codes(self.program.window("Standard codes"))
            box, found = manager.field(SEARCH).queryEditableText(), manager.found.accessible.queryTable()
        for _ in range(self.code_searches.next()):
            text = CODES[self.counts["searches"] % len(CODES)]
            box.setTextContents(text)
            with self.endurance.timed("search for a code"):
                key("End")  # a released key searches
                soon(lambda: found.nRows == self.codes_found[text], f"the codes of {text}")
            self.counts["searches"] += 1
        manager.close()

    def print(self, study):
        with self.endurance.timed("opening to read"):
            self.open(study)
        soon(lambda: self.print_button.getState().contains(pyatspi.STATE_ENABLED), "the report to be printable")
        with self.endurance.timed("print"):
            self.print_button.queryAction().doAction(0)
            preview = self.program.window("Printing report")
            preview.press("Print...")
            self.program.window("Print").press("Print")
            preview.press("Close")
            preview.wait_closed()
        self.counts["prints"] += 1
        printed = soon(lambda: sorted(SPOOL.glob("d*-001"))[self.counts["prints"] - 1:], "the print")
        text = subprocess.run(["pdftotext", printed[0], "-"], check=True, capture_output=True, text=True).stdout
        self.assertEqual(set(re.findall(r"DAY, \w+", text)), {as_written(study.patient)})

    def patient_shown(self):
        return self.name.name.removeprefix("Name: ")

    def expect_nobody_else(self, study):
        """Of another patient nothing is on the screen, nor in the version or the image list beside it."""
        path = study.report_files()[-1]
        version = pydicom.dcmread(path)
        images = (path.parent / "SR.dat").read_text()
        self.assertEqual((self.patient_shown(), version.PatientName, version.StudyInstanceUID, version.SeriesDescription),
                         (as_written(study.patient), study.patient, study.uid, f"Report of {study.patient}"))
        self.assertEqual([image in images for image in study.images()], [True, True])
        self.assertEqual(images.count("\n"), 2)
        self.assertIn(as_written(study.patient), self.viewer.window.title)

    def tell(self):
        print(self.counts)
        self.endurance.write(PICTURES / "long-day.csv")
        self.endurance.draw(PICTURES / "long-day.png")
        for name, figure, before, after in self.endurance.rows():
            print(f"{name}, {figure}: {before:.4g} {after:.4g}")


def process_of(bus, name):
    return ask_bus(bus, "GetConnectionUnixProcessID", "(s)", name)
