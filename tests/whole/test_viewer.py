"""The viewer beside the report program: real processes, a real bus, real windows."""

import multiprocessing
import os
import signal
import subprocess
import time
from pathlib import Path

from bus import DarkDesktop
from case import PICTURES, ViewerTest
from person.driver import Program, wait_until, xdotool
from person.editor import Editor
from person.pictures import brightness, settled_screenshot
from person.studies import Study, as_written
from person.viewer import Viewer
from person.workstation import FOLDER, processes, wait_ended


def has_open(process, file):
    return any(each.resolve() == file for each in Path(f"/proc/{process}/fd").iterdir())


class BesideTheReport(ViewerTest):

    def setUp(self):
        super().setUp()
        self.viewer.place(0, 0, 1400, 1000)

    def open_report(self):
        return self.beside(self.viewer.open_report())

    def beside(self, editor):
        editor.place(1450, 0, 1300, 900)
        return editor


class TheWholeJob(BesideTheReport):

    def test_images_come_back_as_they_were_shown(self):
        editor = self.open_report()
        for caption in ("Flip horizontally", "Rotate right"):
            self.viewer.press(caption)
        self.viewer.drag(1, 40, -25)
        self.viewer.drag(3, 90, 60)
        shown = [self.viewer.picture()]
        self.viewer.add()
        self.viewer.turn()
        for caption in ("Invert", "Fit"):
            self.viewer.press(caption)
        shown.append(self.viewer.picture())
        self.viewer.add()
        self.assertNotEqual(shown[0], shown[1])
        names = self.viewer.report_images.rows()

        editor.fill(title="Chest CT")
        editor.save()
        wait_until(lambda: self.viewer.reports(), "the report in the list")
        self.viewer.report_images.wait_rows(2)
        editor.close()
        self.viewer.report_images.wait_rows(0)
        self.assertEqual(self.viewer.said(), "The report was closed.")

        self.viewer.turn("Home")
        self.viewer.open_listed_report()
        editor = self.beside(Editor())
        self.viewer.report_images.wait_rows(2)
        self.assertEqual(editor.read("Report title"), "Chest CT")
        self.assertEqual(self.viewer.report_images.rows(), names)
        for index, picture in enumerate(shown):
            self.viewer.activate()
            self.viewer.report_images.click(index)
            self.assertTrue(self.viewer.picture() == picture, f"image {index + 1} looks different")


class Images(BesideTheReport):

    ROUNDS = 15

    def test_stay_in_the_report_whatever_save_it_is_under_load(self):
        editor = self.open_report()
        load = [multiprocessing.Process(target=_work, daemon=True) for _ in range(2)]
        for process in load:
            process.start()
        self.addCleanup(lambda: [process.kill() for process in load])
        for number in range(self.ROUNDS):
            self.viewer.press("Clear report images")
            self.viewer.report_images.wait_rows(0)
            self.viewer.turn(("Up", "Down")[number % 2])
            self.viewer.add()
            self.viewer.turn(("Down", "Up")[number % 2])
            self.viewer.add()
            names = self.viewer.report_images.rows()
            editor.fill(title=f"Title {number}")
            editor.save()
            wait_until(lambda: self.viewer.report_images.rows() == names, f"the images of save {number}", 20)
            time.sleep(0.2)
            self.assertEqual(self.viewer.report_images.rows(), names)


def _work():
    end = time.monotonic() + 120
    while time.monotonic() < end:
        sum(range(100000))


class TwoPatients(BesideTheReport):

    def setUp(self):
        super().setUp()
        self.other = Study(images=2, PatientName="OTHER^" + self._testMethodName.upper())

    def words(self, study):
        return f"{as_written(study.patient)} ({study.uid[-16:]})"

    def expect_title_of(self, study):
        wait_until(lambda: self.viewer.title == f"Lumaret - Report of {self.words(study)}", "the title")

    def ask_for_the_others_report(self):
        editor = self.open_report()
        editor.fill(title="Not saved")
        self.viewer.choose(self.other.patient)
        self.viewer.press_report()
        return editor, self.viewer.question()

    def test_are_both_named_before_a_report_is_closed(self):
        editor, question = self.ask_for_the_others_report()
        [said] = [each for each in question.labels() if each.startswith("The open report")]
        for study in (self.study, self.other):
            self.assertIn(self.words(study), said)
        question.press("Cancel")
        question.wait_closed()
        self.assertEqual(editor.read("Report title"), "Not saved")
        self.assertEqual(editor.read("Patient ID"), self.study.uid[-16:])
        self.expect_title_of(self.study)

    def test_never_share_a_report_program(self):
        editor, question = self.ask_for_the_others_report()
        question.press("Cancel")
        question.wait_closed()
        editor = self.beside(self.viewer.close_and_open())
        self.assertEqual(editor.read("Patient ID"), self.other.uid[-16:])
        self.expect_title_of(self.other)
        editor.fill(title="Of the other")
        editor.save()
        self.assertEqual([str(each.PatientName) for each in self.other.versions()], [self.other.patient])
        self.assertEqual(self.study.versions(), [])

    def test_take_turns(self):
        self.open_report()
        for study in (self.other, self.study, self.other):
            self.viewer.choose(study.patient)
            editor = self.beside(self.viewer.close_and_open())
            self.assertEqual(editor.read("Patient ID"), study.uid[-16:])
            self.expect_title_of(study)
        editor.close()
        wait_until(lambda: self.viewer.title == "Lumaret", "the title without a report")
        self.viewer.choose(self.study.patient)
        self.open_report()  # unasked

    def test_never_share_images(self):
        self.open_report()
        self.viewer.choose(self.other.patient)
        self.viewer.press("Add to report")
        self.viewer.wait_said(f"Not added: the image is of {self.words(self.other)}, the open report of "
                              f"{self.words(self.study)}")
        self.assertEqual(self.viewer.report_images.count(), 0)

    def test_are_told_apart_by_a_viewer_that_came_later(self):
        editor = self.open_report()
        self.viewer.end()
        self.viewer = Viewer()
        self.expect_title_of(self.study)
        self.viewer.choose(self.other.patient)
        self.viewer.press_report()
        self.viewer.question().press("Cancel")
        self.assertEqual(editor.read("Patient ID"), self.study.uid[-16:])

    def test_are_told_apart_after_the_report_program_died(self):
        self.open_report()
        os.kill(processes("tavrel")[0], signal.SIGKILL)
        self.viewer.wait_said("The report was closed.")
        self.viewer.choose(self.other.patient)
        self.open_report()
        self.expect_title_of(self.other)


class ReadingAReport(BesideTheReport):

    def test_shows_every_version_beside_the_images(self):
        editor = self.open_report()
        for title in ("First <b>words</b>", "Second words"):
            editor.fill(title=title)
            editor.save()
        wait_until(lambda: self.viewer.reports(), "the report in the list")
        self.assertIn("Second words", self.viewer.read_report())
        self.viewer.choose_older_version()
        wait_until(lambda: "First <b>words</b>" in self.viewer.shown_report(), "the older version")
        editor.fill(title="Third words")
        editor.save()
        self.assertIn("First <b>words</b>", self.viewer.shown_report())


class TheReportProgram(BesideTheReport):

    def saved_report(self, images):
        editor = self.open_report()
        for _ in range(images):
            self.viewer.add()
        editor.fill(title="Chest CT")
        editor.save()
        self.viewer.report_images.wait_rows(images)
        return editor

    def test_is_not_started_twice_while_it_asks_which_report(self):
        editor = self.saved_report(0)
        editor.new()
        editor.fill(title="Second report")
        editor.save()
        editor.close()
        wait_until(lambda: len(self.viewer.reports()) == 2, "both reports in the list")

        self.viewer.press("Report")
        chooser = Program("Tavrel").window("Report selection")
        self.assertFalse(self.viewer.enabled("Report"))
        self.viewer.open_listed_report()
        self.viewer.wait_said("The report program is still opening a report. Answer its window first.")
        self.viewer.turn()
        self.assertEqual(len(processes("tavrel")), 1)
        chooser.press("Cancel")
        self.viewer.wait_said("No report was opened.")
        self.assertEqual(self.viewer.title, "Lumaret")
        self.assertEqual(len(processes("tavrel")), 1)

    def waiting(self):
        """The program that the viewer has had started, and that has no window yet."""
        [process] = wait_until(lambda: processes("tavrel"), "the report program")
        self.assertEqual(Program("Tavrel", process=process).windows(), [])
        return process

    def test_waits_for_the_report_of_the_study_and_goes_with_the_viewer(self):
        first = self.waiting()
        editor = self.open_report()
        self.assertEqual(processes("tavrel"), [first])
        editor.close()
        wait_ended(first)
        second = self.waiting()
        self.assertNotEqual(second, first)
        self.viewer.end()
        wait_ended(second)

    def test_gives_its_connection_back_while_it_waits(self):
        waiting = self.waiting()
        catalogue = (FOLDER / "catalogue.db").resolve()
        wait_until(lambda: has_open(waiting, catalogue), "the catalogue to be opened ahead")
        wait_until(lambda: not has_open(waiting, catalogue), "the catalogue to be closed")
        self.open_report()
        self.assertEqual(processes("tavrel"), [waiting])

    def test_comes_up_in_the_colours_that_the_desktop_took_while_it_waited(self):
        self.waiting()
        desktop = DarkDesktop()
        self.addCleanup(desktop.leave)
        desktop.tell()
        editor = self.open_report()
        picture = PICTURES / "dark-after-waiting.png"
        settled_screenshot(picture)
        left, top, width, _ = editor.window.box()
        self.assertLess(brightness(picture, left, top, width, height=8), 0.35)

    def test_that_dies_while_it_waits_is_started_by_the_report(self):
        first = self.waiting()
        os.kill(first, signal.SIGKILL)
        wait_ended(first)
        self.open_report()

    def test_that_dies_is_said_and_the_next_report_opens(self):
        self.open_report()
        os.kill(processes("tavrel")[0], signal.SIGKILL)
        self.viewer.wait_said("The report was closed.")
        self.assertFalse(self.viewer.enabled("Add to report"))
        self.open_report()

    def test_waits_for_a_hung_viewer_no_longer_than_its_bound(self):
        editor = self.saved_report(2)
        os.kill(self.viewer.process.pid, signal.SIGSTOP)
        self.addCleanup(os.kill, self.viewer.process.pid, signal.SIGCONT)
        began = time.monotonic()
        editor.press("Last Version")
        message = editor.program.message("SendFileInfo ", 12)
        waited = time.monotonic() - began
        print(f"a hung viewer cost {waited:.1f} s", flush=True)
        self.assertLess(waited, 7)
        message.press("OK")
        message.wait_closed()
        os.kill(self.viewer.process.pid, signal.SIGCONT)
        self.viewer.report_images.wait_rows(0)
        editor.press("Last Version")
        self.viewer.report_images.wait_rows(2)


class TheViewer(BesideTheReport):

    def start_another(self):
        process = subprocess.Popen(["lumaret"], stderr=subprocess.DEVNULL)
        self.addCleanup(process.kill)
        return process

    def test_is_there_once_and_comes_to_the_front_when_it_is_started_again(self):
        editor = self.open_report()
        for hide in (editor.activate, lambda: xdotool("windowminimize", xdotool("getactivewindow").strip())):
            hide()
            self.assertEqual(self.start_another().wait(10), 0)
            wait_until(lambda: self.viewer.window.active(), "the viewer at the front")
        self.assertEqual(len(processes("lumaret")), 1)
        self.assertEqual(self.viewer.series.count(), 1)

    def test_is_there_once_of_those_started_at_once(self):
        self.viewer.end()
        started = [self.start_another() for _ in range(3)]
        wait_until(lambda: len([each for each in started if each.poll() is None]) == 1, "one viewer")

    def test_that_hangs_is_said_to_one_that_is_started_again(self):
        os.kill(self.viewer.process.pid, signal.SIGSTOP)
        self.addCleanup(os.kill, self.viewer.process.pid, signal.SIGCONT)
        second = self.start_another()
        box = Program("Lumaret", process=second.pid).message("The viewer is open already, and does not answer.", 12)
        box.press("OK")
        self.assertEqual(second.wait(10), 0)
