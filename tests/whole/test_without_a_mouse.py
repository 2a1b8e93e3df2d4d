"""The main job without a mouse: by the keyboard alone, and with the eyes shut."""

import pyatspi

from case import SystemTest, ViewerTest
from person.driver import editable, key, keys, wait_until
from person.editor import Editor, seconds
from person.studies import Study, as_written, reading_of, title_of
from person.workstation import PHYSICIAN


class ByKeyboard(ViewerTest):
    """A physician who has no pointer. The windows are asked what they show, and nothing else."""

    def add_findings(self, report):
        key("alt+d")
        manager = report.program.window("Standard codes")
        wait_until(manager.active, "the manager to be active")
        found = manager.list("Codes")
        keys("part-solid")
        found.wait_rows(1)
        key("Return")  # picks the only one
        self.expect_focus(manager, "Annotation")
        keys("left, 9 mm")
        key("Return")  # adds it
        self.expect_focus(manager, "Search code meaning")
        keys("solid lung nodule")
        found.wait_rows(2)
        key("Down")  # to the first row
        wait_until(lambda: found.pointed_at() == 0, "the focus on the first row")
        key("Down")
        key("Return")
        self.expect_focus(manager, "Annotation")
        second = found.row(1)
        key("Return")
        report.findings.wait_rows(2)
        key("alt+c")
        manager.wait_closed()
        self.assertEqual([row[2] for row in report.findings.rows()], ["left, 9 mm", ""])
        self.assertEqual(report.findings.row(1)[:2], second)

    def expect_focus(self, window, name):
        wait_until(lambda: window.focused() == name, f"the focus on {name!r} (it is on {window.focused()!r})")

    def save(self, report):
        versions = report.versions.count()
        seconds.wait()
        key("ctrl+s")
        wait_until(lambda: report.versions.count() == versions + 1, "the version", 30)
        seconds.use()
        report.wait_idle()

    def test_a_report_is_written_coded_saved_approved_and_printed(self):
        seconds.wait()
        wait_until(self.viewer.active, "the viewer to be active")
        key("ctrl+r")
        report = Editor()
        seconds.use()
        wait_until(report.active, "the editor to be active")
        keys("Chest X-ray")
        key("Tab")
        keys("Chest, two views")
        key("F2")
        keys("No effusion.")
        self.add_findings(report)
        wait_until(report.active, "the editor to be active")
        self.save(report)
        key("F2")
        key("ctrl+End")
        keys(" Nothing else.")
        self.save(report)
        key("ctrl+f")
        keys("EFFUSION")
        wait_until(lambda: report.selection("Reading") == "effusion", "the word to be found")
        key("Escape")
        seconds.wait()
        key("alt+a")
        question = report.program.message("The approved document will not be editable anymore")
        wait_until(question.active, "the question to be active")
        key("alt+y")
        wait_until(lambda: report.enabled("Print "), "the approval", 30)
        seconds.use()
        key("ctrl+p")
        preview = report.program.window("Printing report")
        wait_until(preview.active, "the preview to be active")
        key("alt+c")
        preview.wait_closed()
        wait_until(report.active, "the editor to be active")
        key("alt+c")
        report.wait_gone()

        versions = self.study.versions()
        self.assertEqual([reading_of(each) for each in versions],
                         ["No effusion.", "No effusion. Nothing else.", "No effusion. Nothing else."])
        self.assertEqual(title_of(versions[-1]), "Chest, two views")
        self.assertEqual(versions[-1].VerificationFlag, "VERIFIED")


class ByEar(SystemTest):
    """A physician who sees nothing: all is found by its role and its name, and only what is said of it is known.
    What is typed goes where the focus was put."""

    def say(self, window, role, name, frame=None):
        """The one thing of this role that is called so; in the group of that name when there are several."""
        within = window.accessible if frame is None else self.say(window, pyatspi.ROLE_PANEL, frame)
        return wait_until(lambda: self.only([each for each in _showing(within)
                                             if each.getRole() == role and each.name == name]),
                          f"one {name!r} of the role {role}")

    @staticmethod
    def only(found):
        return found[0] if len(found) == 1 else None

    def press(self, window, name, frame=None):
        button = self.say(window, pyatspi.ROLE_PUSH_BUTTON, name, frame)
        wait_until(lambda: button.getState().contains(pyatspi.STATE_ENABLED), f"{name!r} to be enabled")
        button.queryAction().doAction(0)

    def enabled(self, window, name):
        return self.say(window, pyatspi.ROLE_PUSH_BUTTON, name).getState().contains(pyatspi.STATE_ENABLED)

    def type(self, window, name, text):
        field = self.say(window, pyatspi.ROLE_TEXT, name)
        self.assertTrue(editable(field), name)
        field.queryComponent().grabFocus()
        wait_until(lambda: field.getState().contains(pyatspi.STATE_FOCUSED), f"the focus on {name!r}")
        pyatspi.Registry.generateKeyboardEvent(0, text, pyatspi.KEY_STRING)
        wait_until(lambda: field.queryText().getText(0, -1).lower() == text.lower(), f"{text!r} in {name!r}")

    def expect_said(self, window, words):
        wait_until(lambda: any(each.startswith(words) for each in window.labels()), f"{words!r}")

    def add_a_finding(self, report):
        self.press(report, "Add", "Finding")
        manager = self.window(report, pyatspi.ROLE_DIALOG, "Standard codes")
        option = self.say(manager, pyatspi.ROLE_RADIO_BUTTON, "Manage report codes .....")
        self.assertTrue(option.getState().contains(pyatspi.STATE_CHECKED))
        self.type(manager, "Search code meaning", "part-solid")
        codes = manager.list("Codes")
        codes.wait_rows(1)
        codes.select(0)
        self.type(manager, "Annotation", "left, 9 mm")
        self.press(manager, "Add")
        report.findings.wait_rows(1)
        self.press(manager, "Close")
        manager.wait_closed()

    def window(self, report, role, title):
        found = report.program.window(title)
        wait_until(lambda: found.accessible.getRole() == role, f"{title!r} to be of the role {role}")
        return found

    def test_a_report_is_written_coded_saved_approved_and_printed(self):
        study = Study(PatientName="ROSSI^CARLA")
        report = self.open(study)
        self.window(report, pyatspi.ROLE_FRAME, report.title)
        self.say(report, pyatspi.ROLE_LABEL, "Patient ID: " + study.uid[-16:], "Patient Information")
        self.say(report, pyatspi.ROLE_LABEL, "Approving physician: Not yet approved", "Report")
        self.type(report, "Report heading", "Chest X-ray")
        self.type(report, "Report title", "Chest, two views")
        self.type(report, "Reading", "No effusion.")
        self.add_a_finding(report)
        seconds.wait()
        self.press(report, "Save")
        report.versions.wait_rows(1)
        self.expect_said(report, "Saved at ")
        report.wait_idle()
        seconds.use()
        seconds.wait()
        self.press(report, "Approve")
        question = report.program.message("The approved document will not be editable anymore")
        self.assertEqual(question.accessible.getRole(), pyatspi.ROLE_ALERT)
        self.press(question, "Yes")
        self.expect_said(report, f"Approved by {as_written(PHYSICIAN)} on ")
        self.assertFalse(self.enabled(report, "Save"))
        self.assertFalse(editable(self.say(report, pyatspi.ROLE_TEXT, "Reading")))
        self.press(report, "Print ")
        self.press(self.window(report, pyatspi.ROLE_DIALOG, "Printing report"), "Close")
        self.press(report, "Close")
        report.wait_gone()

        self.assertEqual([each.VerificationFlag for each in study.versions()], ["UNVERIFIED", "VERIFIED"])


def _showing(accessible):
    for child in accessible:
        if child is not None and child.getState().contains(pyatspi.STATE_SHOWING):
            yield child
            if child.getRole() not in (pyatspi.ROLE_LIST, pyatspi.ROLE_TREE):  # of many rows
                yield from _showing(child)
