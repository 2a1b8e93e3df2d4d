"""How the program starts: by a client, by hand, on a workstation that lacks something."""

import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

from gi.repository import GLib

from bus import FurtherBus, RecordingViewer, ask_bus, connect
from case import SystemTest
from person.driver import Program, wait_until
from person.studies import Study, title_of
from person.workstation import FOLDER, HOSPITAL, ask, program, wait_ended
from service import free_port

ENTERED = r"^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d - Entering main$"


def copied_program(folder):
    """The program with a folder of its own, and so with a log of its own."""
    folder.mkdir(parents=True)
    return Path(shutil.copy(program("tavrel"), folder))


def log_of(copy):
    log = copy.parent / "Tavrel.log"
    return log.read_text().splitlines() if log.exists() else []


class AStartByHand(unittest.TestCase):

    def test_runs_the_start_up_logs_it_once_and_ends_well(self):
        copy = copied_program(FOLDER / "by-hand")
        ended = subprocess.run([copy], timeout=20)

        self.assertEqual(ended.returncode, 0)
        [line] = log_of(copy)
        self.assertRegex(line, ENTERED)

    def test_takes_no_name_on_the_bus(self):
        copy = copied_program(FOLDER / "without-name")
        subprocess.run([copy], timeout=20)

        self.assertFalse(ask_bus(connect(), "NameHasOwner", "(s)", "Tavrel.CTavrel"))


    def test_that_fails_says_so_and_ends_with_status_1(self):
        process = subprocess.Popen([program("tavrel")], env={**os.environ, "ODBCINI": "/dev/null",
                                                             "ODBCSYSINI": "/dev/null"})
        self.addCleanup(process.kill)
        self.assertIn("DicomFDB", Program("Tavrel", process=process.pid).confirm("Quendor.Init: "))

        self.assertEqual(process.wait(10), 1)

    def test_with_a_broken_entry_says_what_is_wrong_and_ends(self):
        broken = FOLDER / "broken"
        broken.mkdir()
        (broken / "text.db").write_text("no database " * 100)
        sqlite = "Driver = SQLite3\nDatabase = "
        entries = {
            "[DicomFDB]\n": "no ODBC entry \"DicomFDB\" that leads to a catalogue",
            "[DicomFDB]\nDriver = Nothing\n": "its driver \"Nothing\" is not installed",
            "[DicomFDB]\nDriver = /lib/nothing.so\n": "/lib/nothing.so",
            f"[DicomFDB]\n{sqlite}{broken}/nowhere/catalogue.db\n": f"{broken}/nowhere/catalogue.db: No such file or directory (DSN=DicomFDB)",
            f"[DicomFDB]\n{sqlite}{broken}/text.db\n": "file is not a database",
            f"[DicomFDB]\n{sqlite}{broken}/empty.db\n": "no such table",
            f"[DicomFDB]\nDriver = PostgreSQL Unicode\nServername = 127.0.0.1\nPort = {free_port()}\n":
                "Connection refused",
            "\0\1\2": "\"orbenta-catalogue setup\" makes one",
        }
        for entry, words in entries.items():
            with self.subTest(entry):
                (broken / "odbc.ini").write_text(entry)
                process = subprocess.Popen([program("tavrel")], env={
                    **os.environ, "ODBCINI": str(broken / "odbc.ini")})
                self.addCleanup(process.kill)
                self.assertIn(words, Program("Tavrel", process=process.pid).confirm("Quendor.Init: "))
                self.assertEqual(process.wait(10), 1)


class ACreation(SystemTest):

    def bus(self, name, executable=None, **environment):
        bus = FurtherBus(name, executable, **environment)
        self.addCleanup(bus.close)
        return bus.address

    def failed_start(self, client):
        """What was said about a start that failed; it has been confirmed then."""
        creation = client.begin_creation()
        process = client.process()
        said = self.program(client).confirm("Quendor.Init: ")
        with self.assertRaises(GLib.Error) as refusal:
            creation.result(10)
        self.assertIn("org.freedesktop.DBus.Error.NoReply", str(refusal.exception))
        wait_ended(process)
        return said

    def viewerless(self, name):
        """A client on a bus without a viewer; that this was said has been confirmed."""
        client = self.new_client(self.bus(name))
        creation = client.begin_creation()
        self.assertEqual(self.program(client).confirm("Viewer not loaded"), "Viewer not loaded")
        creation.result(10)
        return client

    def test_is_logged_each_time_and_shares_one_process(self):
        copy = copied_program(FOLDER / "logged-program")
        address = self.bus("logged", copy)
        viewer = RecordingViewer(address)
        self.addCleanup(viewer.leave)
        first, second = self.client(address), self.client(address)

        self.assertEqual(first.process(), second.process())
        self.assertEqual(len([each for each in log_of(copy) if re.match(ENTERED, each)]), 2)

    def test_empties_the_viewers_properties(self):
        self.client()

        wait_until(lambda: len(self.viewer.told) == 3, "the properties")
        self.assertEqual(self.viewer.told, [("SRFilename", ""), ("LUTName", ""), ("ViewPars", {})])

    def test_without_a_data_source_says_so_and_ends(self):
        client = self.new_client(self.bus("no-source", ODBCINI="/dev/null", ODBCSYSINI="/dev/null"))

        self.assertIn("DicomFDB", self.failed_start(client))

    def test_that_fails_leaves_the_status_of_a_failure(self):
        script = FOLDER / "recorded-start"
        script.write_text(f'#!/bin/sh\n{program("tavrel")} "$@"\necho $? >"$0.status"\n')
        script.chmod(0o755)
        client = self.new_client(self.bus("recorded", script, ODBCINI="/dev/null", ODBCSYSINI="/dev/null"))
        self.failed_start(client)

        status = script.with_suffix(".status")
        wait_until(lambda: status.exists() and status.read_text(), "the status")
        self.assertEqual(status.read_text(), "1\n")

    def test_without_site_data_says_so_and_ends(self):
        [site] = ask("SELECT BaseUID, Organization FROM SiteData")
        ask("DELETE FROM SiteData")
        self.addCleanup(ask, "INSERT INTO SiteData (BaseUID, Organization) VALUES (?, ?)", *site)

        self.assertGreater(len(self.failed_start(self.new_client())), len("Quendor.Init: "))

    def test_without_a_viewer_says_so_and_is_answered_then(self):
        self.viewerless("no-viewer")

    def test_without_a_viewer_makes_reports_all_the_same(self):
        study = Study()
        report = self.open(study, self.viewerless("no-viewer-report"))
        report.fill(title="Without a viewer")
        report.save()

        self.assertEqual([title_of(each) for each in study.versions()], ["Without a viewer"])

    def test_without_a_viewer_tells_of_it_when_images_shall_be_shown(self):
        client = self.viewerless("no-viewer-images")
        client.begin("RemoveImagesFromRefertList").result(10)
        shown = client.begin("SendFileInfo", "(sa{sv}s)", "a.dcm", {"Zoom": GLib.Variant("d", 2)}, "")

        self.program(client).confirm("SendFileInfo ")
        shown.result(10)

    def test_opens_no_window_by_itself(self):
        client = self.client()

        self.expect_no_window(client)
        self.assertEqual(self.open(Study(), client).title, HOSPITAL)
