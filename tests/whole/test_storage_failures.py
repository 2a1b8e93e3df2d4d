"""A storage service that is not there, refuses, says nothing or dies: no work is lost and the editor goes on."""

import os
import re
import shutil
import stat
import subprocess
import time
from pathlib import Path

import pydicom

from case import SystemTest
from person.driver import keys, wait_until
from person.studies import Study, reading_of
from person.workstation import FOLDER, program
from service import free_port
from storage import SilentService, StorageService, Wire

REFUSAL = "The version could not be stored by the storage service"


class AVersionThatCannotBeStored(SystemTest):

    def setUp(self):
        super().setUp()
        self.storage = StorageService()
        self.addCleanup(self.storage.call_at, self.storage.port, "PORVANE")
        self.study = self.reported()
        self.report = self.open(self.study)

    def wire(self):
        wire = Wire(self.storage.port)
        self.addCleanup(wire.close)
        self.storage.call_at(wire.port)
        return wire

    def begin_failing_save(self):
        self.report.fill(reading="Written with care")
        self.report.press("Save")

    def failed(self, timeout=15):
        """What was said about the version, and the file in which it is kept."""
        said = self.report.confirm(REFUSAL, timeout)
        kept = re.search(r"It is kept in the file (.+)\.$", said)
        self.assertTrue(kept, said)
        return said, Path(kept[1])

    def readings(self):
        return [reading_of(each) for each in self.study.versions()]

    def stop_service(self):
        self.storage.kill()
        self.addCleanup(lambda: self.storage.running() or self.storage.start())

    def expect_that_saving_works_again(self):
        """What was kept is stored by then, before what comes after it."""
        wait_until(lambda: len(self.readings()) == 2, "the kept version to be stored")
        self.report.fill(reading="Written once more")
        self.report.save()
        self.assertEqual(self.readings(), ["Reading 1", "Written with care", "Written once more"])

    def test_for_want_of_a_service_is_kept_in_the_file_that_the_message_names(self):
        self.stop_service()
        self.begin_failing_save()
        _, kept = self.failed()

        version = pydicom.dcmread(kept)
        self.assertEqual(reading_of(version), "Written with care")
        self.assertEqual(version.SeriesInstanceUID, self.study.report_series()[0])
        self.assertEqual(stat.S_IMODE(os.stat(kept).st_mode), 0o600)
        self.assertEqual(len(self.study.versions()), 1)

    def test_is_stored_by_itself_once_the_service_is_there(self):
        self.stop_service()
        self.begin_failing_save()
        _, kept = self.failed()
        self.storage.start()

        wait_until(lambda: not kept.exists(), "the kept version to be stored")
        self.assertEqual(self.readings(), ["Reading 1", "Written with care"])

    def test_leaves_an_editor_that_saves_once_the_service_is_there(self):
        port = self.storage.port
        self.storage.call_at(free_port())
        self.begin_failing_save()
        self.failed()

        self.assertEqual(self.report.read("Reading"), "Written with care")
        self.storage.call_at(port)
        self.expect_that_saving_works_again()

    def test_because_it_is_refused_says_who_refused(self):
        self.storage.call_at(ae_title="NOBODY")
        self.begin_failing_save()
        said, _ = self.failed()

        self.assertIn("NOBODY", said)
        self.storage.call_at(ae_title="PORVANE")
        self.expect_that_saving_works_again()

    def test_because_nobody_answers_is_given_up_in_time(self):
        silent = SilentService()
        self.addCleanup(silent.close)
        port = self.storage.port
        self.storage.call_at(silent.port)
        begun = time.monotonic()
        self.begin_failing_save()
        wait_until(self.report.storing, "the window to say that it stores")
        self.failed(timeout=40)

        self.assertLess(time.monotonic() - begun, 40)
        self.storage.call_at(port)
        self.expect_that_saving_works_again()

    def test_because_the_service_dies_over_it_is_kept(self):
        port = self.storage.port
        wire = self.wire()
        wire.hold()
        self.begin_failing_save()
        wire.wait_held(10)
        self.stop_service()
        wire.release()
        _, kept = self.failed()

        self.assertEqual(reading_of(pydicom.dcmread(kept)), "Written with care")
        self.storage.call_at(port)
        self.storage.start()
        self.expect_that_saving_works_again()

    def test_because_the_wire_is_cut_is_kept(self):
        wire = self.wire()
        wire.hold()
        self.begin_failing_save()
        wire.wait_held(10)
        wire.cut()
        self.failed()

        self.expect_that_saving_works_again()


class WhileAVersionIsBeingStored(SystemTest):

    def setUp(self):
        super().setUp()
        storage = StorageService()
        self.addCleanup(storage.call_at, storage.port)
        self.study = self.reported()
        self.client_of_report = self.client()
        self.report = self.open(self.study, self.client_of_report)
        self.wire = Wire(storage.port)
        self.addCleanup(self.wire.close)
        storage.call_at(self.wire.port)
        self.wire.hold()
        self.report.fill(reading="On its way")
        self.report.press("Save")
        self.wire.wait_held(10)

    def test_the_end_that_a_viewer_asks_for_waits_until_it_is_stored(self):
        ending = self.client_of_report.begin("CloseReport")
        wait_until(self.report.storing, "the window to say that it stores")
        self.assertFalse(ending.done())
        self.wire.release()
        self.report.wait_gone()

        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Reading 1", "On its way"])

    def test_nothing_can_be_pressed_or_typed_even_for_later(self):
        wait_until(self.report.storing, "the window to say that it stores")
        self.report.click("Close")
        self.report.field("Reading").queryComponent().grabFocus()
        keys("typed in vain")
        self.wire.release()
        wait_until(lambda: self.report.versions.count() == 2, "the version to be shown")
        self.report.wait_idle()

        self.assertEqual(self.report.read("Reading"), "On its way")
        self.assertFalse(self.client_of_report.gone())


class AnInstallationBelowTheProgram(SystemTest):
    """The report program in a folder of its own, where its part for DICOM lies beside it."""

    def setUp(self):
        super().setUp()
        self.study = Study()
        self.folder = FOLDER / "installed"
        self.folder.mkdir()
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copy(program("tavrel"), self.folder)
        self.part = Path(shutil.copy(*program("tavrel").parent.glob("tavrel-dicom-*.so"), self.folder))

    def started(self):
        client = self.new_client()
        running = subprocess.Popen([self.folder / "tavrel", "--automation"])
        self.addCleanup(running.wait)
        self.addCleanup(running.kill)
        self.assertEqual(client.process(), running.pid)
        return client.create()

    def written(self, client):
        report = self.open(self.study, client)
        report.fill(reading="Written meanwhile")
        return report

    def test_takes_nothing_from_a_program_that_runs(self):
        client = self.started()
        self.part.unlink()
        self.part.write_text("another version")
        self.written(client).save()
        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Written meanwhile"])

    def test_that_is_not_whole_keeps_the_version_until_the_service_takes_it(self):
        self.part.unlink()
        report = self.written(self.started())
        report.press("Save")
        said = report.confirm(REFUSAL)
        self.assertIn(f"the program's part for DICOM, {self.part}, cannot be loaded", said)
        self.assertIn("It is kept in the file ", said)
        wait_until(lambda: len(self.study.versions()) == 1, "the kept version to be stored")
        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Written meanwhile"])
