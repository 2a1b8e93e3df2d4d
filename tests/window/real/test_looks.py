"""Every window as it looks: it fits the screen and follows the desktop's colours. The pictures stay in the
folder that the variable PICTURES names."""

import os
import subprocess
import unittest
from pathlib import Path

from atspi_driver import keys, screenshot, wait_until
from bus import DarkDesktop
from case import SystemTest
from station import StorageService, Study
from wire import Wire

PICTURES = Path(os.environ.get("PICTURES", "pictures"))
READING = """Technique: volumetric acquisition before and after intravenous contrast medium, slices of 1.25 mm.

No focal lesion in either lung. A calcified nodule of 4 mm in the right upper lobe is unchanged. Trachea and main \
bronchi are free. No pleural effusion. Lymph nodes of the mediastinum within normal limits, the largest 8 mm in the \
short axis.

Conclusion: no sign of recent disease. Granuloma of the right upper lobe, stable."""


class LooksTest(SystemTest):

    scheme = None

    def setUp(self):
        super().setUp()
        PICTURES.mkdir(parents=True, exist_ok=True)
        screen = subprocess.run(["xdotool", "getdisplaygeometry"], check=True, capture_output=True, text=True)
        self.screen = [int(each) for each in screen.stdout.split()]

    def picture(self, name, window):
        """Keeps a picture of the display and looks whether the window is all on it, in the right colours."""
        wait_until(window.active, f"{name} to be active")
        path = PICTURES / f"{self.scheme}-{name}.png"
        _settled_screenshot(path)
        left, top, width, height = window.box()
        self.assertGreaterEqual(min(left, top), 0, name)
        self.assertLessEqual(left + width, self.screen[0], name)
        self.assertLessEqual(top + height, self.screen[1], name)
        light = _brightness(path, left, top, width, height=24)  # not the paper in a preview
        self.assertTrue(light > 0.7 if self.scheme == "light" else light < 0.35, f"{name}: brightness {light}")

    def take_codes(self, report):
        report.press("Add", "Finding")
        manager = report.program.window("Standard codes")
        manager.type("Search code meaning", "nodule")
        codes = manager.list("Codes")
        wait_until(lambda: codes.count() > 2, "the codes")
        codes.click(1)
        wait_until(lambda: manager.read("Code"), "the code to be taken over")
        manager.write("Annotation", "right upper lobe, 4 mm")
        self.picture("codes", manager)
        manager.press("Add")
        wait_until(lambda: manager.read("Code") == "", "the code to be added")
        manager.press("Close")
        manager.wait_closed()
        report.window.list("Findings").click(0)
        report.press("Modify", "Finding")
        manager = report.program.window("Standard codes")
        self.picture("codes-modify", manager)
        manager.press("Close")
        manager.wait_closed()
        report.press("Admin report title")
        manager = report.program.window("Standard codes")
        manager.press("Add")
        keys("ct")
        wait_until(lambda: manager.list("Codes").count() > 0, "the headings")
        self.picture("codes-maintain", manager)
        manager.press("Close")
        manager.wait_closed()

    def take_storing(self, report):
        storage = StorageService()
        wire = Wire(storage.port)
        self.addCleanup(storage.call_at, storage.port)
        self.addCleanup(wire.close)
        storage.call_at(wire.port)
        wire.hold()
        report.press("Save")
        wait_until(report.storing, "the window to say that it stores")
        self.picture("report-storing", report.window)
        wire.release()
        wait_until(lambda: report.versions.count() == 3, "the version to be shown")
        report.wait_idle()
        storage.call_at(port=wire.target)

    def take_report(self, study):
        report = self.open(study)
        self.picture("report-new", report.window)
        report.fill(heading="CT of the chest", title="Chest CT, follow-up of a nodule", reading="To be written.")
        report.save()
        report.fill(reading=READING)
        report.save()
        self.take_codes(report)
        self.picture("report", report.window)
        self.take_storing(report)
        report.versions.click(0)
        wait_until(lambda: not report.enabled("Save"), "the older version")
        self.picture("report-older", report.window)
        report.press("Last Version")
        report.press("Approve")
        question = report.program.message("The approved document")
        self.picture("approve-question", question)
        question.press("No")
        question.wait_closed()
        report.approve()
        self.picture("report-approved", report.window)
        report.press("Print ")
        preview = report.program.window("Printing report")
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
        report.fill(reading="α")
        report.press("Save")
        self.picture("message", report.program.message("The character "))
        report.message("The character ")
        report.close()

    def take_all(self):
        study = Study(PatientName="ROSSINI^ANNA MARIA", PatientBirthDate="19580214", PatientSex="F",
                      ReferringPhysicianName="Neri^Luca", StudyDescription="CT of the chest with contrast medium")
        self.take_report(study)
        self.take_failure()
        self.take_chooser(study)


class OnALightDesktop(LooksTest):

    scheme = "light"

    def test_every_window_fits_the_screen_and_is_light(self):
        self.take_all()


class OnADarkDesktop(LooksTest):

    scheme = "dark"

    def test_every_window_fits_the_screen_and_is_dark(self):
        desktop = DarkDesktop()
        self.addCleanup(desktop.leave)
        self.take_all()


def _settled_screenshot(path):
    """A picture that was drawn to the end: the next one is the same. A caret may blink on."""
    before = None
    for _ in range(5):
        screenshot(path)
        drawn = subprocess.run(["identify", "-format", "%#", path], check=True, capture_output=True).stdout
        if drawn == before:
            return
        before = drawn


def _brightness(path, left, top, width, height):
    mean = subprocess.run(["convert", path, "-crop", f"{width}x{height}+{left}+{top}", "-colorspace", "gray",
                           "-format", "%[fx:mean]", "info:"], check=True, capture_output=True, text=True)
    return float(mean.stdout)


if __name__ == "__main__":
    unittest.main()
