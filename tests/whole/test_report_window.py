"""The report editor under the physician's hands."""

import subprocess

from case import SystemTest
from person.driver import key, keys, wait_until, xdotool
from person.studies import Study, as_written
from person.workstation import HOSPITAL, PHYSICIAN, ask

LONG = "\n".join(f"Line {number}" for number in range(1, 120))


class ReportWindowTest(SystemTest):

    def wait_active(self):
        wait_until(self.report.active, "the window to be active")

    def expect_focus(self, name):
        wait_until(lambda: self.report.focused() == name, f"the focus on {name!r} (it is on {self.report.focused()!r})")


class AnEditableReport(ReportWindowTest):
    def setUp(self):
        super().setUp()
        self.study = Study(PatientName="GALLI^PAOLA", StudyDescription="CT abdomen")
        self.report = self.open(self.study)
        self.wait_active()

    def test_begins_with_the_heading_and_follows_the_work_by_tab(self):
        self.expect_focus("Report heading")
        for name in ("Report title", "Body part", "Reading", "Save"):
            key("Tab")
            self.expect_focus(name)

    def test_goes_back_by_shift_and_tab(self):
        self.report.focus("Reading")
        for name in ("Body part", "Report title", "Report heading"):
            key("shift+Tab")
            self.expect_focus(name)

    def test_reaches_each_field_by_its_letter(self):
        for letter, name in (("t", "Report title"), ("b", "Body part"), ("r", "Reading"), ("h", "Report heading")):
            key(f"alt+{letter}")
            self.expect_focus(name)

    def test_shows_what_its_labels_say(self):
        expected = {"Name": "GALLI, PAOLA", "Patient ID": self.study.uid[-16:], "Sex": "O", "Birth date": "",
                    "Study date": "19/01/2004", "Description": "CT abdomen", "Reading physician": "Not yet referred",
                    "Approving physician": "Not yet approved", "Last updated": "", "Approving date": "",
                    "Report heading": "", "Report title": "", "Body part": "", "Reading": ""}
        self.assertEqual({label: self.report.read(label) for label in expected}, expected)

    def test_offers_the_headings_of_the_table_in_their_order(self):
        [(first,)] = ask("SELECT CodeMeaning FROM StdTitles ORDER BY CodeMeaning LIMIT 1")
        self.expect_focus("Report heading")
        key("Down")

        wait_until(lambda: self.report.read("Report heading") == first, "the first heading")

    def test_makes_typographic_marks_plain_when_they_are_pasted(self):
        self.report.write("Report heading", "“Spot” – the patient’s")
        self.report.focus("Report heading")
        key("ctrl+a")
        key("ctrl+c")
        for label in ("Report title", "Reading"):
            self.report.focus(label)
            key("ctrl+v")
            wait_until(lambda: self.report.read(label) == "\"Spot\" - the patient's", f"the plain text in {label}")
        self.assertEqual(self.report.read("Report heading"), "“Spot” – the patient’s")

    def test_takes_several_lines_of_reading_and_moves_on_by_tab(self):
        self.report.type("Reading", "One")
        key("Return")
        keys("Two")
        wait_until(lambda: self.report.read("Reading") == "One\nTwo", "two lines")
        key("Tab")

        self.expect_focus("Save")

    def test_can_be_approved_new_and_saved_but_not_printed(self):
        self.assertEqual({caption: self.report.enabled(caption) for caption in
                          ("Save", "Approve", "New", "Other reports", "Close", "Print ")},
                         {"Save": True, "Approve": True, "New": True, "Other reports": True, "Close": True,
                          "Print ": False})

    def test_stays_above_other_windows(self):
        window = xdotool("search", "--name", f"^{HOSPITAL}$").split()[-1]
        state = subprocess.run(["xprop", "-id", window, "_NET_WM_STATE"], check=True, capture_output=True, text=True)

        self.assertIn("_NET_WM_STATE_ABOVE", state.stdout)

    def test_says_so_when_a_heading_breaks_its_statement(self):
        self.report.write("Report heading", "Doctor's")
        self.report.press("Save")

        self.assertRegex(self.report.confirm("Save report - "), r"^Save report - -?\d+-.")
        self.assertEqual(self.study.report_series(), [])


class ALockedReport(ReportWindowTest):
    """An approved report with an older version, which no test changes."""

    study = None

    def setUp(self):
        super().setUp()
        if not ALockedReport.study:
            study = Study(PatientName="GALLI^PAOLA")
            report = self.open(study)
            report.fill(heading="Chest X-ray", title="Chest", reading=LONG)
            report.save()
            report.approve()
            report.close()
            ALockedReport.study = study
        self.report = self.open(ALockedReport.study)
        self.wait_active()

    def test_takes_no_text_and_no_press_but_lets_print(self):
        for label in ("Report heading", "Report title", "Body part", "Reading"):
            self.assertFalse(self.report.editable(label), label)
        for caption in ("Save", "Approve", "Admin report title", "Admin body part"):
            self.assertFalse(self.report.enabled(caption), caption)
        for frame in ("Finding", "Diagnosis"):
            for caption in ("Add", "Modify", "Delete"):
                self.assertFalse(self.report.enabled(caption, frame), f"{frame}, {caption}")
        for caption in ("Print ", "New", "Other reports", "Last Version", "Close"):
            self.assertTrue(self.report.enabled(caption), caption)

    def test_says_who_approved_it_and_when(self):
        self.assertEqual(self.report.read("Approving physician"), as_written(PHYSICIAN))
        approved = self.report.read("Approving date")
        self.assertIn(f"Approved by {as_written(PHYSICIAN)} on {approved}", self.report.labels())

    def test_lets_its_reading_be_selected_and_copied(self):
        self.report.focus("Reading")
        key("ctrl+a")

        wait_until(lambda: self.report.selection("Reading") == LONG, "the reading to be selected")

    def test_lets_its_reading_be_scrolled_to_the_end(self):
        self.report.focus("Reading")
        text = self.report.field("Reading").queryText()
        key("ctrl+End")

        wait_until(lambda: text.caretOffset == len(LONG), "the end of the reading")

    def test_leaves_the_reading_as_it_is_when_somebody_types(self):
        self.report.type("Reading", "typed in vain")
        key("ctrl+a")
        wait_until(lambda: self.report.selection("Reading") == LONG, "the reading to be selected")

        self.assertEqual(self.report.read("Reading"), LONG)

    def test_pages_through_its_versions_by_arrow_keys(self):
        self.report.versions.click(1)
        key("Up")
        wait_until(lambda: self.report.read("Approving physician") == "Not yet approved", "the first version")

        self.assertIn("Older version, read-only", self.report.labels())
        self.assertFalse(self.report.enabled("Print "))
        self.assertFalse(self.report.enabled("Save"))
        key("Down")
        wait_until(lambda: self.report.enabled("Print "), "the approved version")

    def test_goes_to_its_last_version_by_the_button(self):
        self.report.versions.click(0)
        wait_until(lambda: not self.report.enabled("Print "), "the first version")
        self.report.press("Last Version")

        wait_until(lambda: self.report.enabled("Print "), "the last version")
        self.assertEqual(self.report.versions.selected(), 1)


class TheQuestionBeforeAnApproval(ReportWindowTest):

    def setUp(self):
        super().setUp()
        self.study = Study()
        self.report = self.open(self.study)
        self.report.fill(title="To be approved")
        self.question = self.report.ask_approval()
        wait_until(self.question.active, "the question to be active")

    def expect_nothing_done(self):
        self.question.wait_closed()
        self.assertTrue(self.report.enabled("Save"))
        self.assertEqual(self.study.report_series(), [])
        self.assertEqual(self.study.history(), ["View Refert"])

    def test_bears_its_title(self):
        self.assertEqual(self.question.title, "Approving document ... ")

    def test_is_answered_with_no_by_enter(self):
        key("Return")
        self.expect_nothing_done()

    def test_is_answered_with_no_by_escape(self):
        key("Escape")
        self.expect_nothing_done()

    def test_approves_on_yes(self):
        self.question.press("Yes")
        wait_until(lambda: self.report.enabled("Print "), "the approval")

        [version] = self.study.versions()
        self.assertEqual(version.CompletionFlag, "COMPLETE")
        self.assertEqual(self.study.history(), ["View Refert", "Validate Refert"])
