#!/usr/bin/python3
"""What the department's judge finds missing of what desks were told, and what its tables say; rows and desks are fakes,
the files are real."""

import sys
import tempfile
import types
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench" / "department"))

import figures
import measures
import pydicom
from pydicom.dataset import Dataset, FileDataset, FileMetaDataset

BASIC_TEXT_SR = "1.2.840.10008.5.1.4.1.1.88.11"
READING = "The lungs are clear."
VERSION, SERIES, STUDY, PATIENT = "1.2.1", "1.2.2", "1.2.3", "D1P1"


def item(**elements):
    made = Dataset()
    for keyword, value in elements.items():
        setattr(made, keyword, value)
    return made


class TheJudge(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.report = self.folder / "studies" / "report"
        self.report.mkdir(parents=True)
        (self.folder / "desk1").mkdir()
        self.rows = []
        self.tell("Saved at 22/11/2026 08:00:00")

    def tell(self, band, what="save", wrong=""):
        line = ["1.0", what, "5.0", "0.0", wrong, band, VERSION, SERIES, STUDY, READING]
        (self.folder / "desk1" / "actions").write_text("\t".join(line) + "\n")

    def file(self, name="img_000001.dcm", version=VERSION, patient=PATIENT, reading=READING,
             observer="Physician^Desk1", row=True):
        meta = FileMetaDataset()
        meta.TransferSyntaxUID, meta.MediaStorageSOPClassUID = "1.2.840.10008.1.2.1", BASIC_TEXT_SR
        meta.MediaStorageSOPInstanceUID = version
        dataset = FileDataset(str(self.report / name), item(), file_meta=meta, preamble=bytes(128))
        dataset.SOPClassUID, dataset.SOPInstanceUID, dataset.Modality = BASIC_TEXT_SR, version, "SR"
        dataset.PatientID = patient
        dataset.ContentSequence = [item(PersonName=observer), item(ContentSequence=[item(TextValue=reading)])]
        dataset.save_as(self.report / name, write_like_original=False)
        if row:
            self.rows.append((version, SERIES, STUDY, patient, str(self.report.parent), "report", name))

    def judge(self):
        server = types.SimpleNamespace(rows=lambda _: self.rows)
        desk = types.SimpleNamespace(number=1, folder=self.folder / "desk1")
        return measures.Judge(types.SimpleNamespace(server=server, desks=[desk], folder=self.folder))

    def lost(self):
        [(_, fault)] = self.judge().lost
        return fault

    def test_finds_nothing_where_all_is_as_it_was_told(self):
        self.file()
        judge = self.judge()
        self.assertEqual((judge.told, judge.lost, judge.without_row), (1, [], []))

    def test_names_a_version_without_a_row(self):
        self.file(row=False)
        self.assertIn("0 rows", self.lost())
        self.assertEqual(self.judge().without_row, [str(self.report / "img_000001.dcm")])

    def test_names_a_version_of_two_rows(self):
        self.file()
        self.rows *= 2
        self.assertIn("2 rows", self.lost())

    def test_names_a_file_that_is_gone(self):
        self.file()
        (self.report / "img_000001.dcm").unlink()
        self.assertIn("img_000001.dcm", self.lost())

    def test_names_a_file_of_another_version(self):
        self.file()
        self.rows.append((VERSION, *self.rows.pop()[1:]))
        self.file(version="1.2.9", row=False)
        self.assertIn("holds 1.2.9", self.lost())

    def test_names_another_reading(self):
        self.file(reading="Another one.")
        self.assertIn("another reading", self.lost())

    def test_names_another_desks_patient(self):
        self.file(patient="D2P1")
        self.assertIn("D2P1", self.lost())

    def test_names_another_desks_physician(self):
        self.file(observer="Physician^Desk2")
        self.assertIn("Physician^Desk2", self.lost())

    def test_knows_the_physicians_of_either_form(self):
        self.file()
        dataset = pydicom.dcmread(self.report / "img_000001.dcm")
        dataset.VerifyingObserverSequence = [item(VerifyingObserverName="Physician^Desk2")]
        dataset.save_as(self.report / "img_000001.dcm")
        self.assertIn("Physician^Desk2", self.lost())

    def test_looks_for_what_was_kept_as_well(self):
        self.tell("Saved at 22/11/2026 08:00:00; waiting for the storage service (1 version)", wrong="It is kept.")
        self.assertIn("0 rows", self.lost())

    def test_looks_for_nothing_that_was_not_told(self):
        self.tell("NOT STORED: the database cannot be opened")
        self.assertEqual(self.judge().told, 0)


class TheTables(unittest.TestCase):

    def tables(self, **changed):
        go = {"desks": 50, "visit": 10, "killed": None, "seconds": 2, "late": 0, "errors": [], "lost": 0, "waits": {},
              "actions": {"save": {"count": 30, "median": 12, "p99": 34}}, "processor": {"postgres": 0.5, "porvane": 0.25},
              "counters": {"syncs of the disk": 40}, **changed}
        return figures.tables({"catalogue": "PostgreSQL", "goes": [go]})

    def test_tell_how_far_the_day_is_pressed_together(self):
        self.assertIn("18 times", self.tables())

    def test_have_rates_by_the_second(self):
        self.assertIn("| 50 | 15 |  |  |  | 12 / 34 |  |  | 0 | 0 | 0 | 0.50 / 0.25 / 0.00 | 20 |", self.tables())

    def test_tell_what_was_said_when_a_node_was_killed(self):
        told = ["desk 1, save: Lost: connection, at once", "desk 2, save: Lost: connection, at once", "desk 3, open: Gone"]
        text = self.tables(killed=1, errors=told)
        self.assertIn("| save | 2 | Lost: connection, at once |\n| open | 1 | Gone |", text)

    def test_say_so_when_nothing_was_said(self):
        self.assertIn("Nobody was shown a message.", self.tables(killed=1))


if __name__ == "__main__":
    unittest.main()
