"""Every window as it looks: it fits the screen and follows the desktop's colours. The pictures stay,
for whoever changes a layout."""

from pathlib import Path

from bus import DarkDesktop, FurtherBus, GLib, RecordingViewer
from case import PICTURES, SystemTest, ViewerTest
from person.driver import key, keys, wait_until
from person.editor import SEARCH
from person.pictures import brightness, display_size, settled_screenshot
from person.studies import Study
from person.workstation import FOLDER
from storage import StorageService, Wire

READING = """Technique: volumetric acquisition before and after intravenous contrast medium, slices of 1.25 mm.

No focal lesion in either lung. A calcified nodule of 4 mm in the right upper lobe is unchanged. Trachea and main \
bronchi are free. No pleural effusion. Lymph nodes of the mediastinum within normal limits, the largest 8 mm in the \
short axis.

Conclusion: no sign of recent disease. Granuloma of the right upper lobe, stable."""


class Looks:

    dark = False

    def setUp(self):
        if self.dark:
            desktop = DarkDesktop()
            self.addCleanup(desktop.leave)
        self.scheme = "dark" if self.dark else "light"
        self.screen = display_size()
        super().setUp()

    def picture(self, name, window):
        """Keeps a picture of the display and looks whether the window is all on it, in the right colours."""
        wait_until(window.active, f"{name} to be active")
        path = PICTURES / f"{self.scheme}-{name}.png"
        settled_screenshot(path)
        left, top, width, height = window.box()
        self.assertGreaterEqual(min(left, top), 0, name)
        self.assertLessEqual(left + width, self.screen[0], name)
        self.assertLessEqual(top + height, self.screen[1], name)
        light = brightness(path, left, top, width, height=8)  # neither the band nor the paper in a preview
        self.assertTrue(light < 0.35 if self.dark else light > 0.7, f"{name}: brightness {light}")


class OfTheReport(Looks, SystemTest):

    def take_codes(self, report):
        manager = report.codes("Add", "Finding")
        manager.type(SEARCH, "nodule")
        wait_until(lambda: manager.found.count() > 2, "the codes")
        manager.pick(1)
        manager.write("Annotation", "right upper lobe, 4 mm")
        self.picture("codes", manager)
        manager.press("Add")
        manager.wait_emptied()
        manager.close()
        wait_until(report.active, "the report to be active")  # a click before that may meet the window that closes
        report.findings.click(0)
        manager = report.codes("Modify", "Finding")
        self.picture("codes-modify", manager)
        manager.close()
        manager = report.codes("Admin report title")
        manager.press("Add")
        keys("ct")
        wait_until(lambda: manager.found.count() > 0, "the headings")
        self.picture("codes-maintain", manager)
        manager.close()

    def take_storing(self, report):
        storage = StorageService()
        wire = Wire(storage.port)
        self.addCleanup(storage.call_at, storage.port)
        self.addCleanup(wire.close)
        storage.call_at(wire.port)
        wire.hold()
        report.press("Save")
        wait_until(report.storing, "the window to say that it stores")
        self.picture("report-storing", report)
        wire.release()
        wait_until(lambda: report.versions.count() == 3, "the version to be shown")
        report.wait_idle()
        storage.call_at(port=wire.target)

    def take_draft(self, report):
        report.fill(reading=READING + "\n\nTo be discussed.")
        report.versions.click(0)
        wait_until(lambda: not report.enabled("Save"), "the older version")
        self.picture("report-draft-older", report)
        report.press("Last Version")
        wait_until(lambda: report.enabled("Put back"), "the last version")
        self.picture("report-draft", report)
        report.press("Discard")

    def take_draft_failure(self, report):
        drafts = FOLDER / "state" / "tavrel" / "drafts"
        away = drafts.rename(drafts.with_name("away"))
        drafts.touch()
        report.fill(reading="To be kept.")
        wait_until(lambda: any(each.startswith("What is typed now") for each in report.labels()), "the failure")
        self.picture("report-draft-failure", report)
        drafts.unlink()
        away.rename(drafts)

    def take_another_physician(self, study, report):
        """What is told of another's version, in the band and before a save. Leaves the report at its last version."""
        bus = FurtherBus(f"second-{self.scheme}", XDG_STATE_HOME=str(FOLDER / f"second-{self.scheme}"))
        self.addCleanup(bus.close)
        self.addCleanup(RecordingViewer(bus.address).leave)
        other = self.open(study, self.client(bus.address))
        other.fill(reading=READING + "\n\nSeen and discussed.")
        other.save()
        other.close()
        report.fill(reading=READING + "\n\nTo be discussed.")
        wait_until(lambda: any(" saved a version at " in each for each in report.labels()), "the band to tell")
        self.picture("report-of-two", report)
        report.press("Save")
        box = wait_until(lambda: next((each for each in report.program.windows()
                                       if each.title != report.window.title), None), "the question")
        self.picture("question-of-two", box)
        box.press("Look at it first")
        wait_until(lambda: report.enabled("Put back"), "the other's version")
        self.picture("report-of-two-looked-at", report)
        report.press("Discard")

    def take_report(self, study):
        report = self.open(study)
        self.picture("report-new", report)
        report.fill(heading="CT of the chest", title="Chest CT, follow-up of a nodule", reading="To be written.")
        report.save()
        report.fill(reading=READING)
        report.save()
        self.take_draft(report)
        self.take_codes(report)
        self.picture("report", report)
        self.take_storing(report)
        self.take_another_physician(study, report)
        report.versions.click(0)
        wait_until(lambda: not report.enabled("Save"), "the older version")
        self.picture("report-older", report)
        report.press("Last Version")
        question = report.ask_approval()
        self.picture("approve-question", question)
        question.press("No")
        question.wait_closed()
        report.approve()
        self.picture("report-approved", report)
        preview = report.preview()
        self.picture("print-preview", preview)
        preview.press("Close")
        preview.wait_closed()
        report.new()
        report.fill(title="Second opinion")
        report.save()
        report.close()

    def take_chooser(self, study):
        client = self.client()
        client.begin("LoadForImgSeries", "(as)", study.images())
        self.picture("chooser", self.program(client).window("Report selection"))

    def take_failure(self):
        report = self.open(Study(PatientName="CONTI-FERRARI^MARIA GIOVANNA"))
        self.take_draft_failure(report)
        report.fill(reading="α")
        report.press("Save")
        self.picture("message", report.program.message("The report cannot be stored: "))
        report.confirm("The report cannot be stored: ")
        report.close()

    def take_waiting_images(self, study):
        client = self.client()
        report = self.open(study, client)
        worthless = {"Zoom": GLib.Variant("d", float("nan"))}
        client.begin("AddImageToSR", "(sa{sv}s)", Path(study.images()[0]).name, worthless, "").result(10)
        report.fill(title="CT of the chest", reading="No focal lesion in either lung.")
        report.press("Save")
        self.picture("images-message", report.program.message("frmReport.Porvane_OnStore:13"))
        report.confirm("frmReport.Porvane_OnStore:13")
        self.picture("report-images-waiting", report)
        report.fill(reading=READING)
        report.press("Save")
        report.confirm("frmReport.Porvane_OnStore:13")
        report.close()

    def take_damaged(self, study):
        report = self.open(study)
        report.new()
        report.fill(title="Second opinion", reading="As before.")
        report.save()
        report.close()
        study.report_files(0)[1].write_bytes(b"torn")
        study.report_files(1)[0].write_bytes(b"torn")
        client = self.client()
        program = self.program(client)
        opening = client.begin("LoadForImgSeries", "(as)", study.images())
        chooser = program.window("Report selection")
        self.picture("chooser-damaged", chooser)
        chooser.list("Reports").click(0)
        chooser.press("OK")
        damage = program.message("SRDocument.LoadSeries(")
        self.picture("damaged-message", damage)
        damage.press("OK")
        opening.result(10)
        report = self.editor(client)
        self.picture("report-damaged", report)
        report.close()

    def take_all(self):
        study = Study(PatientName="ROSSINI^ANNA MARIA", PatientBirthDate="19580214", PatientSex="F",
                      ReferringPhysicianName="Neri^Luca", StudyDescription="CT of the chest with contrast medium")
        self.take_report(study)
        self.take_failure()
        other = Study(PatientName="VERDI^GIUSEPPE", StudyDescription="CT of the chest")
        self.take_waiting_images(other)
        self.take_damaged(other)
        self.take_chooser(study)


class OfTheViewer(Looks, ViewerTest):

    def take_all(self):
        report = self.viewer.open_report()
        self.viewer.add()
        self.viewer.press("Invert")
        self.viewer.add()
        report.fill(title="CT of the abdomen", reading="The liver is of normal size and density.")
        report.save()
        self.picture("viewer-and-report", report)
        report.close()
        self.viewer.activate()
        self.picture("viewer", self.viewer)
        self.viewer.read_report()
        self.picture("viewer-report-text", self.viewer)
        other = Study(PatientName=f"OTHER^{self.scheme.upper()}")
        self.viewer.choose(self.study.patient)
        self.viewer.open_report()
        self.viewer.choose(other.patient)
        self.viewer.activate()
        key("ctrl+r")  # by hand, so that what comes of it may take the place before the report
        self.picture("viewer-question", self.viewer.question())


class OnALightDesktop(OfTheReport):

    def test_every_window_fits_the_screen_and_is_light(self):
        self.take_all()


class OnADarkDesktop(OfTheReport):

    dark = True

    def test_every_window_fits_the_screen_and_is_dark(self):
        self.take_all()


class TheViewerOnALightDesktop(OfTheViewer):

    def test_fits_the_screen_and_is_light(self):
        self.take_all()


class TheViewerOnADarkDesktop(OfTheViewer):

    dark = True

    def test_fits_the_screen_and_is_dark(self):
        self.take_all()
