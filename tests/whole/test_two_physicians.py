"""Two physicians at one report: each at a workstation of a department, with a storage service of its own, before one
catalogue on a database server."""

import time

from case import PICTURES, SystemTest
from department import department_of
from person.driver import wait_until
from person.editor import save_on_top_until, seconds, show_all
from person.pictures import screenshot
from person.studies import Study, as_written, observers_of, predecessors_of, reading_of
from person.workstation import ask

ROSSI, BIANCHI = "Rossi^Mario", "Bianchi^Anna"


def setUpModule():
    global second
    _, [second] = department_of("ct-1", "mr-1")


class TwoPhysicians(SystemTest):
    """Rossi has a report of one version open, and Bianchi has it open at the second workstation."""

    def setUp(self):
        super().setUp()
        sign(ROSSI)
        self.study = self.reported()
        self.rossi = self.open(self.study)
        sign(BIANCHI)
        self.bianchi = self.open(self.study, self.client(second.address))

    def readings(self):
        return sorted(reading_of(each) for each in self.study.versions())

    def last(self):
        """The version that names the most."""
        return max(self.study.versions(), key=lambda each: len(predecessors_of(each)))

    def test_who_saves_second_is_told_and_saves_on_top(self):
        self.rossi.fill(reading="Rossi's")
        self.rossi.save()
        self.bianchi.fill(reading="Bianchi's")
        seconds.wait()
        self.bianchi.press("Save")
        box = question(self.bianchi, as_written(ROSSI))
        screenshot(PICTURES / "two-physicians-question.png")
        self.assertEqual(self.readings(), ["Reading 1", "Rossi's"])
        self.answer(self.bianchi, box, "Save on top")

        self.assertEqual(self.readings(), ["Bianchi's", "Reading 1", "Rossi's"])
        self.assertEqual(len(predecessors_of(self.last())), 2)
        self.assertEqual(observers_of(self.last())[-2:], [ROSSI, BIANCHI])
        self.assertEqual(self.bianchi.versions.count(), 3)

    def test_who_saves_second_looks_first_and_loses_no_word(self):
        self.rossi.fill(reading="Rossi's")
        self.rossi.save()
        self.bianchi.fill(reading="Bianchi's")
        self.bianchi.press("Save")
        question(self.bianchi, as_written(ROSSI)).press("Look at it first")
        wait_until(lambda: self.bianchi.read("Reading") == "Rossi's", "what Rossi saved")
        self.bianchi.press("Put back")
        wait_until(lambda: self.bianchi.read("Reading") == "Bianchi's", "what was typed")
        self.bianchi.save()

        self.assertEqual(self.readings(), ["Bianchi's", "Reading 1", "Rossi's"])
        self.assertEqual(len(predecessors_of(self.last())), 2)

    def test_who_save_at_once_make_one_chain(self):
        both = self.rossi, self.bianchi
        for turn in range(1, 6):
            for name, editor in (("Rossi", self.rossi), ("Bianchi", self.bianchi)):
                editor.fill(reading=f"{name} {turn}")
            seconds.wait()
            for editor in both:
                editor.press("Save")
            save_on_top_until(both, lambda: len(self.study.versions()) == 1 + 2 * turn)
            seconds.use()
            show_all(both, 1 + 2 * turn)

        chain = sorted(len(predecessors_of(each)) for each in self.study.versions())
        self.assertEqual(chain, list(range(11)))

    def test_an_open_report_is_told_within_seconds_and_keeps_what_is_typed(self):
        self.bianchi.fill(reading="Bianchi types")
        self.rossi.fill(reading="Rossi's")
        self.rossi.save()
        saved = time.monotonic()
        told(self.bianchi, f"{as_written(ROSSI)} saved a version at ")
        self.assertLess(time.monotonic() - saved, 8)
        screenshot(PICTURES / "two-physicians-band.png")
        self.assertEqual(self.bianchi.read("Reading"), "Bianchi types")
        self.bianchi.press("Last Version")
        wait_until(lambda: self.bianchi.read("Reading") == "Rossi's", "what Rossi saved")
        self.bianchi.press("Put back")
        wait_until(lambda: self.bianchi.read("Reading") == "Bianchi types", "what was typed")

    def test_a_report_that_one_approves_is_locked_for_the_other(self):
        self.bianchi.fill(reading="Bianchi types")
        self.rossi.approve()
        told(self.bianchi, f"{as_written(ROSSI)} approved this report at ")
        wait_until(lambda: not self.bianchi.enabled("Save"), "the report to be locked")
        screenshot(PICTURES / "two-physicians-approved.png")
        self.bianchi.press("Last Version")
        told(self.bianchi, f"Approved by {as_written(ROSSI)} on ")
        told(self.bianchi, "Draft of ")
        self.assertEqual(len(self.study.versions()), 2)

    def test_another_report_is_told_nothing(self):
        other = self.open(Study(), self.client(second.address))
        before = other.labels()
        self.rossi.save()
        time.sleep(5)
        self.assertEqual(other.labels(), before)

    def test_what_is_kept_while_a_service_is_away_is_stored_beside_the_other(self):
        second.kill_service()
        self.addCleanup(self.start_service)
        seconds.wait()
        self.bianchi.fill(reading="Bianchi's, kept")
        self.bianchi.press("Save")
        self.bianchi.confirm("The version could not be stored")
        seconds.use()
        self.rossi.fill(reading="Rossi's")
        self.rossi.save()
        self.start_service()
        wait_until(lambda: len(self.study.versions()) == 3, "the version that was kept")
        self.bianchi.fill(reading="Bianchi's, later")
        seconds.wait()
        self.bianchi.press("Save")
        self.answer(self.bianchi, question(self.bianchi, as_written(ROSSI)), "Save on top")

        self.assertEqual(self.readings(), ["Bianchi's, kept", "Bianchi's, later", "Reading 1", "Rossi's"])
        self.assertEqual(len(predecessors_of(self.last())), 3)

    def test_what_is_kept_of_a_report_that_is_approved_meanwhile_stays_and_is_named(self):
        second.kill_service()
        self.addCleanup(self.start_service)
        seconds.wait()
        self.bianchi.fill(reading="Bianchi's, kept")
        self.bianchi.press("Save")
        self.bianchi.confirm("The version could not be stored")
        seconds.use()
        self.rossi.approve()
        self.start_service()
        wait_until(lambda: "stays unstored" in second.tool("check").stdout, "the check to name it")
        self.assertEqual(len(self.study.versions()), 2)

    def start_service(self):
        if second.service_ended():
            second.start_service()

    def answer(self, editor, box, button):
        """Answers the question and waits until the version is stored."""
        before = len(self.study.versions())
        box.press(button)
        wait_until(lambda: len(self.study.versions()) > before, "the version")
        wait_until(lambda: editor.versions.count() == before + 1, "the version to be shown")
        seconds.use()


def sign(name):
    """Who works at the workstation whose report is opened next."""
    ask("UPDATE Users SET Signature = ?", name)


def question(editor, name):
    return editor.program.message(f"{name} saved a version of this report at ")


def told(editor, beginning):
    wait_until(lambda: any(each.startswith(beginning) for each in editor.labels()), repr(beginning), 10)
