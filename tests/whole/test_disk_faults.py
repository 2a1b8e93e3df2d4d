"""A disk that is full or read-only, under each thing that is written: what is said, what is kept, and that it goes
on once there is room."""

import shutil
import unittest

from bus import FurtherBus, RecordingViewer
from case import SystemTest
from faults import TYPED, Opening, Saving, expect_done
from own_disk import SmallDisk, possible
from person.driver import wait_until
from person.studies import Study, reading_of
from person.workstation import FOLDER, STUDIES, program
from storage import StorageService

STATE = FOLDER / "state" / "tavrel"
FULL, READ_ONLY = "full", "read-only"


def setUpModule():
    if not possible():
        raise unittest.SkipTest("no disk can be mounted here")


class DiskTest(SystemTest):
    """Each test meets the fault twice, and each time another patient's report follows."""

    def setUp(self):
        super().setUp()
        self.storage = StorageService()

    def disk(self, folder, megabytes=2):
        disk = SmallDisk(folder, megabytes)
        self.addCleanup(disk.remove)
        return disk

    def fault(self, disk, kind):
        disk.fill() if kind == FULL else disk.make_read_only()

    def mend(self, disk, kind):
        disk.make_room() if kind == FULL else disk.make_writable()

    def new(self):
        self.study = Study(PatientName="ROSSI^MARIA")
        return Saving(self, self.study)

    def expect_message(self, action, words):
        action.begin()
        said = action.outcome()
        self.assertEqual(len(said), 1, said)
        self.assertRegex(said[0], words)
        self.assertTrue(action.kept())

    def wait_delivered(self):
        wait_until(lambda: not list((STATE / "unsent").glob("*.dcm")), "the kept version to be stored", 40)

    def expect_stored(self, *readings):
        wait_until(lambda: [reading_of(each) for each in self.study.versions()] == list(readings), "the versions", 20)

    def expect_clean_for_another(self, action):
        other = Study(PatientName="VERDI^LUIGI")
        opening = action.client.begin("LoadForImgSeries", "(as)", other.images())
        opening.result(15)
        wait_until(lambda: action.report.read("Name") == "VERDI, LUIGI", "the other patient")
        self.assertEqual(action.report.read("Reading"), "")


class TheStudies(DiskTest):

    def setUp(self):
        super().setUp()
        self.addCleanup(self.restart)
        self.small = self.disk(STUDIES)
        self.restart()

    def restart(self):
        self.storage.kill()
        self.storage.start()

    def expect_kept(self, kind, words):
        action = self.new()
        for _ in range(2):
            self.fault(self.small, kind)
            self.expect_message(action, words + r".* It is kept in the file .*\.dcm\.$")
            self.mend(self.small, kind)
            self.wait_delivered()
        expect_done(self, action)
        self.expect_stored(TYPED, TYPED, TYPED)
        self.expect_clean_for_another(action)

    def test_on_a_full_disk_are_kept_elsewhere_until_there_is_room(self):
        self.expect_kept(FULL, r"out of resources, status A700")

    def test_on_a_read_only_disk_are_kept_elsewhere_until_it_can_be_written(self):
        self.expect_kept(READ_ONLY, r"status")


class TheFolderOfKeptVersions(DiskTest):

    def setUp(self):
        super().setUp()
        self.small = self.disk(STATE / "unsent")

    def expect_not_stored(self, kind, words):
        action = self.new()
        for _ in range(2):
            self.fault(self.small, kind)
            self.storage.kill()
            self.expect_message(action, "It could not be kept as a file either: .*" + words)
            self.assertTrue(any(each.startswith("NOT STORED: ") for each in action.report.labels()))
            self.mend(self.small, kind)
            self.storage.start()
        expect_done(self, action)
        self.expect_stored(TYPED)
        self.expect_clean_for_another(action)

    def test_on_a_full_disk_leaves_the_text_on_the_screen(self):
        self.expect_not_stored(FULL, "No space left on device")

    def test_on_a_read_only_disk_leaves_the_text_on_the_screen(self):
        self.expect_not_stored(READ_ONLY, "Read-only file system")


class TheDrafts(DiskTest):

    def setUp(self):
        super().setUp()
        self.small = self.disk(STATE / "drafts")

    def expect_said_while_it_is_so(self, kind, words):
        action = self.new()
        line = "What is typed now is safe only once it is saved: "
        for turn in range(2):
            self.fault(self.small, kind)
            action.report.fill(reading=f"{TYPED} {turn}")
            wait_until(lambda: any(line in each and words in each for each in action.report.labels()), "the line", 5)
            self.mend(self.small, kind)
            wait_until(lambda: not any(line in each for each in action.report.labels()), "the line to go", 10)
        wait_until(lambda: list((STATE / "drafts").glob("*.draft")), "the draft")
        self.expect_clean_for_another(action)

    def test_on_a_full_disk_are_said_not_to_be_kept(self):
        self.expect_said_while_it_is_so(FULL, "No space left on device")

    def test_on_a_read_only_disk_are_said_not_to_be_kept(self):
        self.expect_said_while_it_is_so(READ_ONLY, "Read-only file system")


class TheCatalogue(DiskTest):
    """On a disk of its own."""

    def setUp(self):
        super().setUp()
        self.small = self.disk(FOLDER / "disk", megabytes=8)
        self.study, self.other = Study(PatientName="ROSSI^MARIA"), Study(PatientName="VERDI^LUIGI")
        self.move(FOLDER, self.small.folder)
        self.addCleanup(self.move, self.small.folder, FOLDER)

    def move(self, source, target):
        """The catalogue is in that folder from now on, and in its old place a way to it."""
        if self.storage.running():
            self.storage.kill()
        way = FOLDER / "catalogue.db"
        if target == FOLDER:
            way.unlink()
        for file in list(source.glob("catalogue.db*")):
            shutil.move(file, target / file.name)
        if target != FOLDER:
            way.symlink_to(target / "catalogue.db")
        self.storage.start()

    def test_on_a_full_disk_is_told_and_the_version_kept(self):
        action = Saving(self, self.study)
        for _ in range(2):
            self.fault(self.small, FULL)
            self.expect_message(action, r"database or disk is.* It is kept in the file ")
            self.mend(self.small, FULL)
            self.wait_delivered()
        expect_done(self, action)
        self.expect_stored(TYPED, TYPED, TYPED)
        self.expect_clean_for_another(action)

    def test_on_a_full_disk_lets_no_report_be_opened_and_says_why(self):
        action = Opening(self, self.study, self.other)
        for _ in range(2):
            self.fault(self.small, FULL)
            self.expect_message(action, "full")
            self.mend(self.small, FULL)
        expect_done(self, action)

    def test_on_a_read_only_disk_lets_no_report_be_opened_and_says_why(self):
        images = self.study.images()
        client = self.new_client()
        self.small.make_read_only()
        client.create()
        self.small.make_writable()
        for _ in range(2):
            self.small.make_read_only()
            opening = client.begin("LoadForImgSeries", "(as)", images)
            said = self.program(client).confirm("APPLICATION: Quendor --- Function: Esegui --- Error: ")
            self.assertRegex(said, "The catalogue .*/catalogue.db cannot be changed: .* [(]Read-only file system[)]")
            opening.result(10)
            self.expect_no_window(client)
            self.small.make_writable()
        self.open(self.study, client)


class TheLog(DiskTest):

    def test_on_a_full_or_read_only_disk_is_silent(self):
        for name, full in (("log", FULL), ("log-read-only", READ_ONLY)):
            with self.subTest(full):
                folder = FOLDER / name
                folder.mkdir()
                copy = shutil.copy(program("tavrel"), folder)
                logs = self.disk(folder / "logs")
                (logs.folder / "Tavrel.log").touch()
                (folder / "Tavrel.log").symlink_to(logs.folder / "Tavrel.log")
                self.fault(logs, full)
                bus = FurtherBus(name, copy)
                self.addCleanup(bus.close)
                viewer = RecordingViewer(bus.address)
                self.addCleanup(viewer.leave)
                report = self.open(Study(), self.client(bus.address))
                report.fill(reading=TYPED)
                report.close()
                self.assertEqual((logs.folder / "Tavrel.log").stat().st_size, 0)

    def test_of_the_storage_service_on_a_full_disk_is_silent(self):
        self.storage.kill()
        self.storage.start(log="/dev/full")
        action = self.new()
        expect_done(self, action)
        self.expect_stored(TYPED)
        self.storage.kill()
        self.storage.start()
