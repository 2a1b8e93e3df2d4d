"""One physician, one run of the program, one patient after another: what the screen says is true."""

import re
import shutil

import pydicom
from gi.repository import GLib
from pydicom.dataset import Dataset
from pydicom.uid import generate_uid

from case import PICTURES, SystemTest
from person.driver import wait_until
from person.editor import SEARCH
from person.pictures import settled_screenshot
from person.studies import Study, reading_of
from person.workstation import FOLDER, ask
from storage import StorageService

UNSENT = FOLDER / "state" / "tavrel" / "unsent"


class RightPatientTest(SystemTest):

    scheme = "light"

    def add_image(self, client, name):
        client.begin("RemoveImagesFromSR").result(10)
        view = {"Zoom": GLib.Variant("d", 1.5)}
        client.begin("AddImageToSR", "(sa{sv}s)", name, view, "").result(10)

    def expect_band(self, editor, text):
        """The line at the top of the editor begins with that; its picture is kept."""
        line = wait_until(lambda: next((each for each in editor.labels() if each.startswith(text)), None),
                          f"the line {text!r}")
        settled_screenshot(PICTURES / f"{self.scheme}-band-{re.sub('[^a-z]+', '-', text.lower()).strip('-')}.png")
        return line

    def stop_storage(self):
        storage = StorageService()
        storage.kill()
        self.addCleanup(lambda: storage.running() or storage.start())
        return storage

    def break_unsent_folder(self):
        """Nothing can be kept in it."""
        if UNSENT.is_dir():
            shutil.rmtree(UNSENT)
        UNSENT.parent.mkdir(parents=True, exist_ok=True)
        UNSENT.write_text("in the way")
        self.addCleanup(UNSENT.unlink, missing_ok=True)


class AnotherPatient(RightPatientTest):

    def setUp(self):
        super().setUp()
        self.rossi = self.reported(PatientName="ROSSI^MARIA", PatientBirthDate="19600520")
        self.verdi = Study(PatientName="VERDI^LUIGI", PatientBirthDate="")
        self.viewers_client = self.client()

    def test_starts_clean(self):
        report = self.open(self.rossi, self.viewers_client)
        self.add_image(self.viewers_client, "rossi.dcm")
        report.save()
        self.assertRegex(report.read("Age"), r"\d+ y")
        self.viewer.told.clear()

        report = self.open(self.verdi, self.viewers_client)

        self.assertEqual(report.read("Name"), "VERDI, LUIGI")
        self.assertEqual(report.read("Age"), "....")
        self.assertEqual(self.viewer.told, [("ClearRefertList",)])
        report.fill(reading="Of Verdi")
        report.save()
        self.assertFalse([*self.verdi.folder.rglob("SR.dat")])
        self.assertTrue([*self.rossi.folder.rglob("SR.dat")])

    def test_that_was_cancelled_leaves_the_open_report_as_usable_as_before(self):
        two = self.open(self.verdi)
        two.fill(title="First")
        two.save()
        two.new()
        two.fill(title="Second")
        two.save()
        two.close()
        client = self.client()
        report = self.open(self.rossi, client)
        report.fill(reading="Of Rossi, typed before")

        opening = client.begin("LoadForImgSeries", "(as)", self.verdi.images())
        self.program(client).window("Report selection").press("Cancel")
        opening.result(10)
        report.save()

        self.assertEqual([reading_of(each) for each in self.rossi.versions()], ["Reading 1", "Of Rossi, typed before"])
        self.assertEqual(report.read("Name"), "ROSSI, MARIA")

    def test_whose_opening_failed_leaves_the_open_report_as_usable_as_before(self):
        report = self.open(self.rossi, self.viewers_client)
        report.fill(reading="Typed before")

        opening = self.viewers_client.begin("LoadForImgSeries", "(as)", [])
        self.program(self.viewers_client).confirm("APPLICATION: Quendor --- Function: Esegui --- Error: ")
        opening.result(10)
        report.save()

        self.assertEqual(reading_of(self.rossi.versions()[-1]), "Typed before")


class TheBand(RightPatientTest):

    def test_says_what_is_saved(self):
        report = self.open(Study())
        self.expect_band(report, "New report, not yet saved")
        report.fill(reading="First")
        report.save()
        self.expect_band(report, "Saved at ")
        report.fill(reading="Second")
        self.expect_band(report, "Unsaved changes")
        report.save()
        report.versions.click(0)
        self.expect_band(report, "Older version, read-only")
        report.press("Last Version")
        report.approve()
        self.expect_band(report, "Approved by ")

    def test_says_what_waits_until_the_service_has_it(self):
        study = self.reported()
        report = self.open(study)
        storage = self.stop_storage()
        report.fill(reading="While it was down")
        report.press("Save")
        report.confirm("The version could not be stored by the storage service")
        line = self.expect_band(report, "Saved at ")
        self.assertIn("waiting for the storage service (1 version)", line)

        storage.start()

        wait_until(lambda: len(study.versions()) == 2, "the version to be stored")
        wait_until(lambda: not any("waiting" in each for each in report.labels()), "the band to know")
        self.assertEqual(reading_of(study.versions()[-1]), "While it was down")

    def test_says_what_is_nowhere(self):
        report = self.open(self.reported())
        report.fill(reading="Wide ≥ 5 mm")
        report.press("Save")
        report.confirm("The report cannot be stored: its file cannot hold these characters.")
        self.expect_band(report, "NOT STORED: ")
        self.assertEqual(report.versions.count(), 1)
        self.assertEqual(report.read("Reading"), "Wide ≥ 5 mm")

    def test_names_a_patient_for_whom_nothing_can_be_saved(self):
        study = Study(PatientName="ŁUKASZEWSKI^ŁUKASZ", SpecificCharacterSet="ISO_IR 192")
        self.expect_band(self.open(study), "No report can be saved for this patient: ")

    def test_says_that_contents_are_not_shown(self):
        study = self.reported()
        path = study.report_files()[0]
        version = pydicom.dcmread(path)
        number = Dataset()
        number.RelationshipType, number.ValueType = "CONTAINS", "NUM"
        version.ContentSequence.append(number)
        version.SOPInstanceUID = version.file_meta.MediaStorageSOPInstanceUID = generate_uid()
        version.save_as(path)

        report = self.open(study)

        self.expect_band(report, "Read-only: ")
        self.assertFalse(report.enabled("Save"))


class AnApproval(RightPatientTest):

    def test_of_a_version_that_is_nowhere_approves_nothing(self):
        study = self.reported()
        report = self.open(study)
        self.stop_storage()
        self.break_unsent_folder()

        report.ask_approval().press("Yes")
        report.confirm("The version could not be stored by the storage service")

        self.expect_band(report, "NOT STORED: ")
        wait_until(lambda: report.enabled("Approve"), "the report to be as before")
        self.assertFalse(report.enabled("Print "))
        self.assertEqual(report.read("Approving physician"), "Not yet approved")
        self.assertNotIn("Validate Refert", study.history())


class AHeadingTypedFreely(RightPatientTest):

    def test_is_kept_when_nothing_else_changes(self):
        study = Study()
        report = self.open(study)
        for heading in ("My own heading", "Another heading"):
            report.fill(heading=heading)
            report.save()

        self.assertEqual(report.read("Report heading"), "Another heading")
        self.assertEqual(study.versions()[-1].ConceptNameCodeSequence[0].CodeMeaning, "Another heading")


class AnIncompleteRow(RightPatientTest):

    def test_leaves_its_report_out_of_the_choice_alone(self):
        study = Study()
        report = self.open(study)
        for title in ("First", "Second", "Third"):
            report.fill(title=title)
            report.save()
            if title != "Third":
                report.new()
        report.close()
        ask("UPDATE Series SET SeriesDir = NULL WHERE SeriesInstanceUID = ?", study.report_series()[1])

        client = self.client()
        client.begin("LoadForImgSeries", "(as)", study.images())
        reports = self.program(client).window("Report selection").list("Reports")

        wait_until(lambda: [row[0] for row in reports.rows()] == ["First", "Third"], "the two others")


class AnImage(RightPatientTest):

    def test_that_the_viewer_does_not_take_is_not_shown_and_told_once(self):
        study = self.reported()
        client = self.client()
        report = self.open(study, client)
        client.begin("RemoveImagesFromSR").result(10)
        for name in ("1.dcm", "2.dcm"):
            client.begin("AddImageToSR", "(sa{sv}s)", name, {"Zoom": GLib.Variant("d", 1)}, "").result(10)
        report.save()
        self.viewer.told.clear()
        self.viewer.refused = "LUTName"

        report.press("Last Version")
        said = report.confirm("SendFileInfo The viewer failed in LUTName")

        self.assertIn("The viewer did not show 2 of the report's images.", said)
        self.assertNotIn(("ViewRefertImages",), self.viewer.told)


class TwinCodes(RightPatientTest):

    def test_are_changed_one_at_a_time(self):
        for _ in range(2):
            ask("INSERT INTO StdTitles (CodeScheme, CodeValue, CodeMeaning) VALUES ('99SS', 'TWIN', 'TWIN HEADING')")
        self.addCleanup(ask, "DELETE FROM StdTitles WHERE CodeValue = 'TWIN'")
        manager = self.open(Study()).codes("Admin report title")
        manager.type(SEARCH, "twin")
        manager.found.wait_rows(2)
        manager.pick(0)
        manager.press("Modify")
        wait_until(lambda: manager.read("Code") == "TWIN", "the code to be taken over")
        manager.write("Meaning", "ONE OF TWO")
        manager.press("Done")

        wait_until(lambda: sorted(row[0] for row in ask("SELECT CodeMeaning FROM StdTitles WHERE CodeValue = 'TWIN'"))
                   == ["ONE OF TWO", "TWIN HEADING"], "one of the twins to change")
