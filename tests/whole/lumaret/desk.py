"""The viewer and the report editor as a physician works them, on a workstation with studies of real
images."""

import os
import subprocess
import tempfile
import time
from pathlib import Path

import pydicom
from pydicom.uid import generate_uid

from atspi_driver import Program, key, wait_until

FOLDER = Path(os.environ["TAVREL_WORKSTATION"])
SAMPLES = Path(pydicom.__file__).parent / "data" / "test_files"
HOSPITAL = "Orbenta General Hospital"


def import_study(patient, source="CT_small.dcm", slices=3):
    """A study of that patient: slices of one real image, each a little brighter than the one before."""
    study, series = generate_uid(), generate_uid()
    with tempfile.TemporaryDirectory() as folder:
        for number in range(1, slices + 1):
            image = pydicom.dcmread(SAMPLES / source)
            image.PatientName, image.PatientID = patient, study[-16:]
            image.StudyInstanceUID, image.SeriesInstanceUID = study, series
            image.SOPInstanceUID = image.file_meta.MediaStorageSOPInstanceUID = generate_uid()
            image.InstanceNumber = number
            image.PixelData = (image.pixel_array + 100 * number).astype(image.pixel_array.dtype).tobytes()
            image.save_as(f"{folder}/{number}.dcm")
        subprocess.run(["orbenta-catalogue", "import", folder], check=True, stdout=subprocess.DEVNULL)


def processes(program):
    """The workstation's processes of that program."""
    found = []
    for folder in Path("/proc").glob("[0-9]*"):
        try:
            ours = f"TAVREL_WORKSTATION={FOLDER}".encode() in (folder / "environ").read_bytes().split(b"\0")
            if ours and (folder / "exe").resolve().name == program:
                found.append(int(folder.name))
        except OSError:
            pass  # it has ended
    return found


def place(title, x, y, width, height):
    """Moves the window with that title."""
    subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", f"^{title}", "windowsize", "--sync",
                    str(width), str(height), "windowmove", str(x), str(y)], check=True)


class Viewer:
    def __init__(self, place_at=(0, 0, 1400, 1000)):
        self.process = subprocess.Popen(["lumaret"])
        self.window = Program("lumaret").window("Lumaret")
        self.studies, self.series = self.window.list("Studies"), self.window.list("Series")
        self.report_images = self.window.list("Report images")
        place("Lumaret", *place_at)

    def __getattr__(self, name):
        return getattr(self.window, name)

    def end(self):
        self.process.terminate()
        self.process.wait(10)

    def raise_window(self):
        subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Lumaret$", "windowactivate", "--sync"],
                       check=True)

    def choose(self, patient):
        """Searches for a patient, whose only study is opened then."""
        self.window.write("Patient name", patient)
        self.window.press("Search")
        time.sleep(0.3)  # a button that is pressed through the accessibility bus clicks a moment later
        wait_until(lambda: self.studies.count() == 1 and self.series.count() > 0, f"the study of {patient}")

    def said(self):
        return self.window.read("Message")

    def wait_said(self, words, timeout=10):
        wait_until(lambda: self.said().startswith(words), f"the message {words!r}", timeout)

    def reports(self):
        return [row for row in self.series.rows() if row[1] == "Report"]

    def open_listed_report(self):
        self.raise_window()
        self.series.click(next(i for i, row in enumerate(self.series.rows()) if row[1] == "Report"), times=2)

    def focus_image(self):
        self.raise_window()
        box = self._image_box()
        subprocess.run(["xdotool", "mousemove", str(box.x + box.width // 2), str(box.y + box.height // 2), "click", "1"],
                       check=True)

    def turn(self, name="Down"):
        self.focus_image()
        key(name)

    def drag(self, button, x, y):
        """Drags on the image with a mouse button."""
        self.raise_window()
        box = self._image_box()
        subprocess.run(["xdotool", "mousemove", str(box.x + box.width // 2), str(box.y + box.height // 2),
                        "mousedown", str(button), "mousemove_relative", "--", str(x), str(y), "mouseup", str(button)],
                       check=True)

    def add(self):
        before = self.report_images.count()
        self.window.press("Add to report")
        self.report_images.wait_rows(before + 1)

    def picture(self):
        """The image on the screen without the words above it, as its pixels."""
        self.raise_window()
        time.sleep(0.3)
        box = self._image_box()
        area = f"{box.width}x{box.height - 130}+{box.x}+{box.y + 130}"
        return subprocess.run(["import", "-window", "root", "-crop", area, "+repage", "rgb:-"], check=True,
                              capture_output=True).stdout

    def _image_box(self):
        return self.window._find(lambda each: each.name == "Image", "the image").queryComponent().getExtents(0)


class Editor:
    def __init__(self, place_at=(1450, 0, 1300, 900)):
        self.program = Program("Tavrel")
        self.window = self.program.window(HOSPITAL)
        place(HOSPITAL, *place_at)
        self.versions = self.window.list("Versions")

    def save(self, title, reading="No finding."):
        """Saves a version; two of one second would have one name."""
        self.window.write("Report title", title)
        self.window.write("Reading", reading)
        before = self.versions.rows()
        time.sleep(1.05)
        self.window.press("Save")
        wait_until(lambda: self.versions.rows() != before, "the version to be shown", 30)

    def close(self):
        self.window.press("Close")
        wait_until(lambda: not processes("tavrel"), "the report program to end")
