"""The choice among the reports of a study."""

from case import SystemTest
from person.driver import key, wait_until
from person.editor import seconds
from person.studies import Study, as_written
from person.workstation import HOSPITAL, PHYSICIAN


class TheChooser(SystemTest):
    """Over a study with an approved report and a pending one, which no test changes."""

    study = None

    def setUp(self):
        super().setUp()
        if not TheChooser.study:
            TheChooser.study = self.study_with_two_reports()
        self.study = TheChooser.study
        self.viewed = len(self.study.history())
        self.viewers_client = self.client()
        self.opening = self.begin_opening()
        self.chooser = self.program(self.viewers_client).window("Report selection")
        self.reports = self.chooser.list("Reports")

    def study_with_two_reports(self):
        study = Study(PatientName="CONTI^MARTA")
        report = self.open(study)
        report.fill(title="Approved one", reading="First reading")
        report.save()
        report.approve()
        report.new()
        report.fill(title="Pending one", reading="Second reading")
        report.save()
        report.close()
        return study

    def begin_opening(self):
        seconds.wait()
        return self.viewers_client.begin("LoadForImgSeries", "(as)", self.study.images())

    def expect_report(self, title):
        self.opening.result(10)
        self.assertFalse(self.chooser.open())
        self.assertEqual(self.editor(self.viewers_client).read("Report title"), title)

    def expect_nothing_opened(self):
        self.opening.result(10)
        self.expect_no_window(self.viewers_client)
        self.assertEqual(len(self.study.history()), self.viewed)

    def test_shows_title_state_date_and_observer_of_each_report(self):
        first, second = self.reports.rows()

        self.assertEqual((first[0], first[1], first[3]), ("Approved one", "APPROVED", as_written(PHYSICIAN)))
        self.assertEqual((second[0], second[1], second[3]), ("Pending one", "", as_written(PHYSICIAN)))
        for row in first, second:
            self.assertRegex(row[2], r"^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d$")

    def test_takes_the_first_report_on_ok(self):
        self.assertEqual(self.reports.selected(), 0)
        self.chooser.press("OK")

        self.expect_report("Approved one")

    def test_takes_the_report_that_was_clicked(self):
        self.reports.click(1)
        wait_until(lambda: self.reports.selected() == 1, "the second report to be selected")
        self.chooser.press("OK")

        self.expect_report("Pending one")

    def test_takes_the_report_that_is_double_clicked(self):
        self.reports.click(1, times=2)

        self.expect_report("Pending one")

    def test_is_worked_by_arrow_keys_and_enter(self):
        wait_until(lambda: self.chooser.active() and self.chooser.focused(), "the list to have the focus")
        key("Down")
        wait_until(lambda: self.reports.selected() == 1, "the second report to be selected")
        key("Return")

        self.expect_report("Pending one")

    def test_takes_the_selected_report_on_enter(self):
        wait_until(self.chooser.active, "the chooser to be active")
        key("Return")

        self.expect_report("Approved one")

    def test_opens_nothing_on_cancel_nor_later_on(self):
        self.chooser.press("Cancel")
        self.expect_nothing_opened()

        self.opening = self.begin_opening()
        self.program(self.viewers_client).window("Report selection").press("OK")
        self.expect_nothing_opened()

    def test_opens_nothing_on_escape(self):
        wait_until(self.chooser.active, "the chooser to be active")
        key("Escape")

        self.expect_nothing_opened()

    def test_opens_nothing_when_its_frame_is_closed_but_asks_again_afterwards(self):
        self.chooser.close_by_frame()
        self.expect_nothing_opened()

        self.opening = self.begin_opening()
        self.chooser = self.program(self.viewers_client).window("Report selection")
        self.chooser.press("OK")
        self.expect_report("Approved one")

    def test_makes_a_new_report_on_new(self):
        self.chooser.press("New")
        self.program(self.viewers_client).message("No referenced Series").press("OK")
        self.opening.result(10)
        report = self.editor(self.viewers_client)

        self.assertEqual(report.versions.count(), 0)
        self.assertEqual(report.read("Report title"), "")
        self.assertTrue(report.enabled("Save"))

    def test_leads_from_one_report_to_another(self):
        self.chooser.press("OK")
        self.opening.result(10)
        report = self.editor(self.viewers_client)
        report.press("Other reports")
        chooser = report.program.window("Report selection")
        chooser.list("Reports").click(1, times=2)
        wait_until(lambda: report.read("Report title") == "Pending one", "the other report")

        self.assertTrue(report.enabled("Save"))
        self.assertTrue(report.enabled("New"))

    def test_changes_nothing_when_it_is_cancelled_over_a_report(self):
        self.chooser.press("OK")
        self.opening.result(10)
        report = self.editor(self.viewers_client)
        report.press("Other reports")
        chooser = report.program.window("Report selection")
        chooser.press("Cancel")
        chooser.wait_closed()

        self.assertEqual(report.read("Report title"), "Approved one")
        self.assertEqual(report.title, HOSPITAL)
