"""How a report is closed, how its client sees it, and what remains."""

import os
import signal

from gi.repository import GLib

from case import SystemTest
from person.studies import Study, reading_of


class ClosingAReport(SystemTest):

    def setUp(self):
        super().setUp()
        self.study = self.reported()
        self.viewers_client = self.client()
        self.report = self.open(self.study, self.viewers_client)
        self.report.fill(reading="Not saved")

    def expect_the_end(self):
        self.report.wait_gone()
        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Reading 1"])

    def test_by_its_button_ends_the_program_without_a_question(self):
        self.report.press("Close")

        self.expect_the_end()

    def test_by_the_windows_frame_ends_the_program(self):
        self.report.close_by_frame()

        self.expect_the_end()

    def test_by_its_client_is_answered_and_ends_the_program(self):
        self.viewers_client.begin("CloseReport").result(10)

        self.expect_the_end()

    def test_gives_the_name_back_for_the_next_report(self):
        self.viewers_client.begin("CloseReport").result(10)
        again = self.client()

        self.assertNotEqual(again.process(), self.report.program.process)
        self.assertEqual(self.open(self.study, again).read("Reading"), "Reading 1")

    def test_leaves_an_object_that_nobody_serves(self):
        self.viewers_client.begin("CloseReport").result(10)
        self.report.wait_gone()

        with self.assertRaises(GLib.Error) as refusal:
            self.viewers_client.begin("RemoveImagesFromSR").result(10)
        self.assertIn("org.freedesktop.DBus.Error.ServiceUnknown", str(refusal.exception))


class AKilledProgram(SystemTest):

    def test_loses_nothing_that_was_saved(self):
        study = self.reported()
        client = self.client()
        report = self.open(study, client)
        report.fill(title="Saved", reading="Saved")
        report.save()
        report.fill(reading="Not saved")
        os.kill(client.process(), signal.SIGKILL)
        report.wait_gone()
        again = self.open(study)

        self.assertEqual(again.versions.count(), 2)
        self.assertEqual(again.read("Reading"), "Saved")
        self.assertTrue(again.enabled("Save"))

    def test_answers_the_call_that_waited_for_it(self):
        study = Study()
        client = self.client()
        self.open(study, client)
        self.editor(client).ask_approval()
        waiting = client.begin("LoadForImgSeries", "(as)", study.images())
        os.kill(client.process(), signal.SIGKILL)

        with self.assertRaises(GLib.Error) as refusal:
            waiting.result(10)
        self.assertRegex(str(refusal.exception), "NoReply|ServiceUnknown|NameHasNoOwner")
