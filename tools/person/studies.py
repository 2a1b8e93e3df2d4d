"""The studies of the workstation, and their reports as another program reads them."""

import subprocess
import tempfile
import unicodedata
from pathlib import Path

import pydicom
from pydicom.uid import generate_uid

from person.workstation import ask

SAMPLES = Path(pydicom.__file__).parent / "data"
CT = "test_files/CT_small.dcm"


class Study:
    """A study of real images, imported into the catalogue as a person would. Each has UIDs of its own, and
    each image is a little brighter than the one before."""

    def __init__(self, source=CT, images=1, **attributes):
        self.uid, self.series_uid = generate_uid(), generate_uid()
        with tempfile.TemporaryDirectory() as folder:
            for number in range(1, images + 1):
                image = pydicom.dcmread(SAMPLES / source)
                image.StudyInstanceUID, image.SeriesInstanceUID = self.uid, self.series_uid
                image.SOPInstanceUID = image.file_meta.MediaStorageSOPInstanceUID = generate_uid()
                image.InstanceNumber = number
                if number > 1:
                    brighter = image.pixel_array + 100 * number
                    image.PixelData = brighter.astype(image.pixel_array.dtype).tobytes()
                image.PatientID = self.uid[-16:]
                for name, value in attributes.items():
                    setattr(image, name, value)
                image.save_as(f"{folder}/{number}.dcm")
            self.patient = str(image.PatientName)
            subprocess.run(["orbenta-catalogue", "import", folder], check=True, stdout=subprocess.DEVNULL)
        self.folder = Path(ask("SELECT StudyPath FROM Study WHERE StudyInstanceUID = ?", self.uid)[0][0]
                           .replace("\\", "/"))

    def images(self):
        """The image files of the series, in order."""
        return [str(path) for path in self._files(self.series_uid)]

    def report_series(self):
        """The UIDs of the study's reports, oldest first."""
        return [row[0] for row in ask("SELECT SeriesInstanceUID FROM Series WHERE StudyInstanceUID = ? "
                                      "AND Modality = 'SR' ORDER BY SeriesNumber, (SELECT MIN(ImageID) FROM Image "
                                      "WHERE Image.SeriesInstanceUID = Series.SeriesInstanceUID)", self.uid)]

    def report_files(self, report=0):
        """The version files of a report as the catalogue names them, oldest first."""
        reports = self.report_series()
        return self._files(reports[report]) if report < len(reports) else []

    def versions(self, report=0):
        """The versions of a report as another program reads them, oldest first."""
        return [pydicom.dcmread(path) for path in self.report_files(report)]

    def history(self, series_uid=None):
        """What was done to a series: the descriptions, oldest first."""
        return [row[0] for row in ask("SELECT Description FROM History WHERE SeriesUID = ? AND ActionVal = 'REFERT' "
                                      "ORDER BY HistoryID", series_uid or self.series_uid)]

    def status(self):
        return ask("SELECT SeriesStatus FROM Series WHERE SeriesInstanceUID = ?", self.series_uid)[0][0]

    def _files(self, series_uid):
        rows = ask("SELECT SeriesDir, ImageFile FROM Series JOIN Image USING (SeriesInstanceUID) "
                   "WHERE SeriesInstanceUID = ? ORDER BY ImageID", series_uid)
        return [self.folder / folder / file for folder, file in rows]


def as_written(name):
    """A name of family and given name in any writings as people write it, which is how the windows draw it."""
    def writing(group):
        eastern = unicodedata.name(group[0]).split()[0] in ("CJK", "HIRAGANA", "KATAKANA", "HANGUL", "HALFWIDTH")
        return (" " if eastern else ", ").join(part for part in group.split("^") if part)
    first, *others = [writing(group) for group in name.split("=") if group.strip("^")]
    return f"{first} ({', '.join(others)})" if others else first


def title_of(version):
    return version.ContentSequence[0].TextValue


def reading_of(version):
    return version.ContentSequence[1].TextValue


def observers_of(version):
    return [str(each.VerifyingObserverName) for each in version.VerifyingObserverSequence]


def predecessors_of(version):
    """The UIDs of the versions before, none for a first one."""
    if "PredecessorDocumentsSequence" not in version:
        return []
    series = version.PredecessorDocumentsSequence[0].ReferencedSeriesSequence[0]
    return [each.ReferencedSOPInstanceUID for each in series.ReferencedSOPSequence]
