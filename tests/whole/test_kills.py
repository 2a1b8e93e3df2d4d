"""The editor killed while it saves, alone and together with the storage service: no version that it called saved or
kept is lost, none is there twice or by half, and the report opens again."""

import os
import random
import signal
import subprocess
import time

from case import SystemTest
from person.driver import wait_until
from person.editor import seconds
from person.studies import reading_of
from person.workstation import FOLDER, HOSPITAL, wait_ended
from service import free_port
from storage import StorageService

UNSENT = FOLDER / "state/tavrel/unsent"
KILLS = int(os.environ.get("SAVE_KILLS", "3"))
STUDY_KILLS = 25  # before another study's report is written
SAVED, KEPT = "Saved at ", "The version could not be stored by the storage service"


class Kills:
    """Both classes' way of killing. In some saves the service is not to be found, which keeps the version; in some the
    program is killed at the moment in which the person reads what became of it."""

    with_service = False

    def setUp(self):
        super().setUp()
        self.storage = StorageService()
        self.port = self.storage.port
        self.addCleanup(self.storage.call_at, self.port)
        self.said = {"saved": 0, "kept": 0, "nothing": 0}

    def begin_study(self):
        self.study, self.typed, self.told = self.reported(), ["Reading 1"], {"Reading 1"}
        self.series = self.study.report_series()[0]

    def test_loses_no_version_that_was_called_saved_or_kept(self):
        self.addCleanup(lambda: print(f"{sum(self.said.values())} kills; said before: {self.said}"))
        for kill in range(KILLS):
            if kill % STUDY_KILLS == 0:
                self.begin_study()
            self.save_and_kill()
            self.judge()
            if (kill + 1) % STUDY_KILLS == 0 or kill + 1 == KILLS:
                self.end_study()

    def save_and_kill(self):
        """Opens the report, saves it and kills at a random moment or when something is said."""
        window = self.open_window()
        reading = f"Reading {len(self.typed) + 1}"
        self.typed.append(reading)
        found = random.random() < 0.7
        self.storage.call_at(self.port if found else free_port())
        window.write("Reading", reading)
        wait_until(lambda: "Unsaved changes" in window.labels(), "the change to be seen")
        band = window.thing("Unsaved changes")
        seconds.wait()
        window.press("Save")
        end = time.monotonic() + (random.uniform(0, 0.4) if random.random() < 0.6 else 20)
        while not (said := self.heard(band, found)) and time.monotonic() < end:
            time.sleep(0.002)
        os.kill(self.process, signal.SIGKILL)
        if self.with_service:
            self.storage.kill()
        self.leave()
        seconds.use()
        self.said[said or "nothing"] += 1
        if said:
            self.told.add(reading)
        self.storage.call_at(self.port)
        if self.with_service:
            self.storage.start()

    def open_window(self):
        """The report as it opens, which is the newest version, after each kill."""
        self.caller = self.client()
        self.caller.begin("LoadSRSeries", "(s)", self.series).result(30)
        self.process = self.caller.process()
        self.opened = self.program(self.caller)
        window = self.opened.window(HOSPITAL)
        if any(each.startswith("Draft of ") for each in window.labels()):
            window.press("Discard")
        self.assertIn(window.read("Reading"), self.typed)
        return window

    def leave(self):
        """Once the program was killed; a bus takes some hundred callers and no more."""
        wait_ended(self.process)
        self.caller.connection.close_sync()

    def heard(self, band, found):
        """What the window says has become of the version."""
        if found:
            return "saved" if band.name.startswith(SAVED) else None
        return "kept" if any(label.startswith(KEPT) and "It is kept in the file" in label
                             for window in self.opened.windows() for label in window.labels()) else None

    def judge(self):
        self.service_rests()
        stored = [reading_of(version) for version in self.study.versions()]
        self.assertEqual(len(set(stored)), len(stored), "stored twice")
        self.assertLessEqual(set(stored), set(self.typed))
        self.assertLessEqual(self.told, set(stored))

    def service_rests(self):
        """What was kept is stored. An empty file is a name that was taken and nothing else."""
        wait_until(lambda: not any(each.stat().st_size for each in UNSENT.glob("*.dcm")), "what was kept to be stored")

    def end_study(self):
        """The report opens once more as its newest version, and catalogue and files agree."""
        window = self.open_window()
        newest = reading_of(self.study.versions()[-1])
        self.assertEqual(window.read("Reading"), newest)
        self.assertEqual(window.list("Versions").count(), len(self.study.versions()))
        os.kill(self.process, signal.SIGKILL)
        self.leave()
        said = subprocess.run(["orbenta-catalogue", "check"], capture_output=True, text=True).stdout
        self.assertIn("the catalogue and the files of all studies agree", said)


class AnEditorKilledWhileItSaves(Kills, SystemTest):
    pass


class EditorAndServiceKilledAtOnce(Kills, SystemTest):
    with_service = True
