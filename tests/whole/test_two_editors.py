"""Two workplaces on one catalogue and one storage service."""

from bus import FurtherBus, RecordingViewer
from case import SystemTest
from person.driver import wait_until
from person.editor import save_on_top_until, seconds, show_all
from person.studies import Study, reading_of
from person.workstation import FOLDER, ask


class TwoEditors(SystemTest):

    def setUp(self):
        super().setUp()
        self.second_bus = FurtherBus("second", XDG_STATE_HOME=str(FOLDER / "second"))
        self.addCleanup(self.second_bus.close)
        second_viewer = RecordingViewer(self.second_bus.address)
        self.addCleanup(second_viewer.leave)

    def both(self, study):
        return self.open(study), self.open(study, self.client(self.second_bus.address))

    def test_of_one_report_lose_no_version_when_they_save_at_once(self):
        study = self.reported()
        first, second = self.both(study)
        for turn in range(1, 4):
            first.fill(reading=f"First {turn}")
            second.fill(reading=f"Second {turn}")
            seconds.wait()
            first.press("Save")
            second.press("Save")
            save_on_top_until((first, second), lambda: len(study.versions()) == 1 + 2 * turn)
            seconds.use()
            show_all((first, second), 1 + 2 * turn)

        self.assertEqual(sorted(reading_of(each) for each in study.versions()),
                         ["First 1", "First 2", "First 3", "Reading 1", "Second 1", "Second 2", "Second 3"])

    def test_of_one_report_leave_a_report_that_opens_with_every_version(self):
        study = self.reported()
        first, second = self.both(study)
        first.fill(reading="The first's")
        first.save()
        second.fill(reading="The second's")
        second.press("Save")
        save_on_top_until([second], lambda: len(study.versions()) == 3)
        for editor in (first, second):
            editor.close()
        report = self.open(study)

        self.assertEqual(report.versions.count(), 3)
        self.assertEqual(report.read("Reading"), "The second's")

    def test_of_two_studies_store_side_by_side(self):
        studies = Study(), Study()
        editors = self.open(studies[0]), self.open(studies[1], self.client(self.second_bus.address))
        seconds.wait()
        for number, editor in enumerate(editors):
            editor.fill(reading=f"Study {number}")
            editor.press("Save")
        for number, study in enumerate(studies):
            wait_until(study.report_files, "the version")
            self.assertEqual([reading_of(each) for each in study.versions()], [f"Study {number}"])

    def test_write_their_audit_rows_beside_each_other(self):
        study = self.reported()
        opened = len(study.history())
        for editor in self.both(study):
            editor.close()

        self.assertEqual(study.history()[opened:], ["View Refert", "View Refert"])
        self.assertEqual(ask("SELECT DISTINCT Node FROM History"), [("ORBENTA",)])
