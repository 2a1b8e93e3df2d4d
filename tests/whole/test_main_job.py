"""The main job: a report is written, saved, approved, opened again."""

from case import SystemTest
from person.driver import wait_until
from person.studies import Study, as_written, observers_of, predecessors_of, reading_of, title_of
from person.workstation import PHYSICIAN, ask


class ANewReport(SystemTest):

    def setUp(self):
        super().setUp()
        self.study = Study(PatientName="ROSSI^CARLA", images=2)
        self.report = self.open(self.study)

    def test_opens_with_the_patient_and_the_study_of_the_images(self):
        self.assertEqual(self.report.read("Name"), "ROSSI, CARLA")
        self.assertEqual(self.report.read("Patient ID"), self.study.uid[-16:])
        self.assertEqual(self.report.versions.count(), 0)
        self.assertTrue(self.report.enabled("New"))

    def test_marks_the_images_as_viewed(self):
        self.assertEqual(self.study.history(), ["View Refert"])
        self.assertEqual(self.study.status(), "VIEWED")

    def test_stores_nothing_before_it_is_saved(self):
        self.report.fill(title="Never saved", reading="Never saved")
        self.report.close()

        self.assertEqual(self.study.report_series(), [])

    def test_is_stored_in_a_folder_and_a_series_of_its_own(self):
        self.report.fill(heading="Chest X-ray", title="Chest, two views", reading="No effusion.")
        self.report.save()

        [series] = self.study.report_series()
        [file] = self.study.report_files()
        [version] = self.study.versions()
        self.assertEqual(version.SeriesInstanceUID, series)
        self.assertEqual(version.StudyInstanceUID, self.study.uid)
        self.assertEqual(file.parent.parent, self.study.folder)
        self.assertEqual(ask("SELECT SOPInstanceUID FROM Image WHERE SeriesInstanceUID = ?", series),
                         [(version.SOPInstanceUID,)])

    def test_holds_heading_title_and_reading_as_written(self):
        self.report.fill(heading="Chest X-ray", title="Chest, two views", reading="No effusion.\nNo infiltrate.")
        self.report.save()

        [version] = self.study.versions()
        code = version.ConceptNameCodeSequence[0]
        self.assertEqual((code.CodingSchemeDesignator, code.CodeValue, code.CodeMeaning),
                         ("99SS", "TI01", "Chest X-ray"))
        self.assertEqual(title_of(version), "Chest, two views")
        self.assertEqual(version.SeriesDescription, "Chest, two views")
        self.assertEqual(reading_of(version), "No effusion.\r\nNo infiltrate.")
        self.assertEqual((version.CompletionFlag, version.VerificationFlag), ("PARTIAL", "UNVERIFIED"))

    def test_keeps_a_heading_that_is_in_no_table(self):
        self.report.fill(heading="Whole body survey", title="Survey")
        self.report.save()

        code = self.study.versions()[0].ConceptNameCodeSequence[0]
        self.assertEqual((code.CodingSchemeDesignator, code.CodeValue, code.CodeMeaning), ("", "", "Whole body survey"))

    def test_shows_who_wrote_it_and_when(self):
        self.report.fill(title="Chest")
        self.report.save()

        self.assertEqual(self.report.read("Reading physician"), as_written(PHYSICIAN))
        self.assertRegex(self.report.read("Last updated"), r"^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d$")
        self.assertEqual(self.report.read("Approving physician"), "Not yet approved")

    def test_grows_by_a_version_with_each_save(self):
        for turn in range(1, 4):
            self.report.fill(reading=f"Reading {turn}")
            self.report.save()

        self.assertEqual(self.report.versions.count(), 3)
        self.assertEqual(self.report.versions.selected(), 2)
        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Reading 1", "Reading 2", "Reading 3"])
        self.assertEqual([len(observers_of(each)) for each in self.study.versions()], [1, 2, 3])
        self.assertEqual(len({each.SOPInstanceUID for each in self.study.versions()}), 3)


class AReportOpenedAgain(SystemTest):

    def setUp(self):
        super().setUp()
        self.study = self.reported(versions=2)
        self.report = self.open(self.study)

    def test_shows_its_versions_the_newest_selected(self):
        self.assertEqual(self.report.versions.count(), 2)
        self.assertEqual(self.report.versions.selected(), 1)
        self.assertEqual(self.report.read("Reading"), "Reading 2")

    def test_shows_an_older_version_read_only(self):
        self.report.versions.click(0)

        wait_until(lambda: self.report.read("Reading") == "Reading 1", "the first version")
        self.assertFalse(self.report.enabled("Save"))
        self.assertFalse(self.report.editable("Report title"))
        self.report.press("Last Version")
        wait_until(lambda: self.report.read("Reading") == "Reading 2", "the last version")
        self.assertTrue(self.report.enabled("Save"))

    def test_names_every_version_before_in_each_version_after(self):
        for turn in (3, 4):
            self.report.fill(title=f"Title {turn}", reading=f"Reading {turn}")
            self.report.save()

        versions = self.study.versions()
        uids = [each.SOPInstanceUID for each in versions]
        self.assertEqual(self.report.versions.count(), 4)
        self.assertEqual([predecessors_of(each) for each in versions], [[], uids[:1], uids[:2], uids[:3]])
        self.assertEqual([len(observers_of(each)) for each in versions], [1, 2, 3, 4])
        self.assertEqual([title_of(each) for each in versions], ["Title 1", "Title 2", "Title 3", "Title 4"])

    def test_is_approved_only_after_a_yes(self):
        self.report.ask_approval().press("No")

        wait_until(lambda: self.report.enabled("Approve"), "the editor")
        self.assertEqual(len(self.study.versions()), 2)
        self.assertEqual(self.study.history(), ["View Refert", "View Refert"])

    def test_is_complete_and_locked_once_it_is_approved(self):
        self.report.approve()

        version = self.study.versions()[-1]
        self.assertEqual((version.CompletionFlag, version.VerificationFlag), ("COMPLETE", "VERIFIED"))
        self.assertEqual(self.report.read("Approving physician"), as_written(PHYSICIAN))
        self.assertFalse(self.report.enabled("Save"))
        self.assertFalse(self.report.editable("Reading"))
        self.assertTrue(self.report.enabled("Print "))
        self.assertEqual(self.study.history(), ["View Refert", "View Refert", "Validate Refert"])


class AnApprovedReport(SystemTest):

    def setUp(self):
        super().setUp()
        self.study = Study()
        report = self.open(self.study)
        report.fill(heading="Chest X-ray", title="Chest", reading="No effusion.")
        report.save()
        report.approve()
        report.close()
        [self.series] = self.study.report_series()

    def test_opens_by_its_own_series_and_can_only_be_read(self):
        report = self.open_report(self.series)

        self.assertEqual(report.read("Report title"), "Chest")
        self.assertEqual(report.read("Reading"), "No effusion.")
        self.assertEqual(report.read("Report heading"), "Chest X-ray")
        self.assertFalse(report.enabled("Save"))
        self.assertFalse(report.enabled("New"))
        self.assertTrue(report.enabled("Print "))
        self.assertEqual(self.study.history(self.series), ["View Refert"])

    def test_is_left_as_it_is_by_a_second_report_of_the_study(self):
        report = self.open(self.study)
        report.new()
        report.fill(title="Second reading")
        report.save()

        self.assertEqual(len(self.study.report_series()), 2)
        self.assertEqual([title_of(each) for each in self.study.versions(0)], ["Chest", "Chest"])
        self.assertEqual([title_of(each) for each in self.study.versions(1)], ["Second reading"])
