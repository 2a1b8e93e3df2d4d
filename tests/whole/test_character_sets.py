"""Names in every writing: right on the screen, in the file and in the catalogue, or refused with a clear
word and not stored.

With DATABASE_ENGINE the catalogue is on a server of that engine."""

import csv
import os
import re
import subprocess
from pathlib import Path

import pydicom

from case import SystemTest, WorkstationTest
from database import catalogue_on_a_server
from person.driver import wait_until
from person.studies import Study, as_written, reading_of, title_of
from person.viewer import Viewer
from person.workstation import FOLDER, ask

with open(Path(__file__).parents[1] / "support" / "names-in-scripts.csv") as names:
    NAMES = list(csv.DictReader(names, delimiter=";"))
# Those whose letters the font has that the programs need; what else is printed depends on the fonts of the machine.
PRINTED = ("Polish", "Turkish", "Vietnamese", "Greek", "Cyrillic", "Hebrew")
SAMPLES = {
    "chrArab": "قباني^لنزار", "chrFren": "Buc^Jérôme", "chrFrenMulti": "Buc^Jérôme", "chrGerm": "Äneas^Rüdiger",
    "chrGreek": "Διονυσιος", "chrH31": "Yamada^Tarou=山田^太郎=やまだ^たろう",
    "chrH32": "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう", "chrHbrw": "שרון^דבורה", "chrI2": "Hong^Gildong=洪^吉洞=홍^길동",
    "chrJapMulti": "やまだ^たろう", "chrJapMultiExplicitIR6": "やまだ^たろう", "chrKoreanMulti": "김희중",
    "chrRuss": "Люкceмбypг", "chrX1": "Wang^XiaoDong=王^小東=", "chrX2": "Wang^XiaoDong=王^小东="}


def setUpModule():
    if "DATABASE_ENGINE" in os.environ:
        catalogue_on_a_server()


def set_form(form):
    subprocess.run(["orbenta-catalogue", "site", "--reports", form], check=True, stdout=subprocess.DEVNULL)


def of_script(name):
    """A study of a patient of one of NAMES."""
    return Study(SpecificCharacterSet="ISO_IR 192", PatientName=name["Name"])


class CharacterSetTest(SystemTest):

    def open_sample(self, sample, **attributes):
        self.study = Study(f"charset_files/{sample}", **attributes)
        self.report = self.open(self.study)

    def saved(self, **texts):
        """The version that is stored when those texts have been written."""
        self.report.fill(**texts)
        self.report.save()
        return self.study.versions()[-1]

    def catalogued_name(self):
        return ask("SELECT PatientName FROM Patient JOIN Study ON IDPatient = ID WHERE StudyInstanceUID = ?",
                   self.study.uid)[0][0]

    def expect_stored(self, name):
        version = self.saved(title="Kopf", reading="Ohne Befund")
        self.assertEqual(self.report.read("Name"), as_written(name))
        self.assertEqual(self.catalogued_name(), name)
        self.assertEqual(version.SpecificCharacterSet, "ISO_IR 100")
        self.assertEqual(str(version.PatientName), name)

    def refused(self):
        """What was said about a version that could not be written; it has been confirmed then."""
        self.report.press("Save")
        said = self.report.confirm("The report cannot be stored: its file cannot hold these characters.")
        self.assertEqual(self.study.report_series(), [])
        return said

    def expect_refused(self, name, character):
        self.assertEqual(self.report.read("Name"), as_written(name))
        self.assertEqual(self.catalogued_name(), name)
        self.report.fill(reading="Not to be lost")
        self.assertIn(character, self.refused())
        self.assertEqual(self.report.read("Reading"), "Not to be lost")
        self.assertTrue(self.report.enabled("Save"))


class ANameIn(CharacterSetTest):

    def test_latin_1_is_stored(self):
        self.open_sample("chrFren.dcm")
        self.expect_stored("Buc^Jérôme")

    def test_latin_1_with_umlauts_is_stored(self):
        self.open_sample("chrGerm.dcm")
        self.expect_stored("Äneas^Rüdiger")

    def test_utf_8_that_latin_1_holds_is_stored_as_latin_1(self):
        self.open_sample("chrX1.dcm", PatientName="Müller^Zoë")
        self.expect_stored("Müller^Zoë")

    def test_utf_8_keeps_the_letters_and_leaves_out_the_ideographs_beside_them(self):
        self.open_sample("chrX1.dcm")
        version = self.saved(title="Head")

        self.assertEqual(self.report.read("Name"), "Wang, XiaoDong (王 小東)")
        self.assertEqual(str(version.PatientName), "Wang^XiaoDong")

    def test_japanese_keeps_the_letters_and_leaves_out_the_ideographs_beside_them(self):
        self.open_sample("chrH31.dcm")
        version = self.saved(title="Head")

        self.assertEqual(str(version.PatientName), "Yamada^Tarou")

    def test_korean_keeps_the_letters_and_leaves_out_the_ideographs_beside_them(self):
        self.open_sample("chrI2.dcm")
        version = self.saved(title="Head")

        self.assertEqual(str(version.PatientName), "Hong^Gildong")

    def test_greek_is_refused(self):
        self.open_sample("chrGreek.dcm")
        self.expect_refused("Διονυσιος", "Δ")

    def test_cyrillic_is_refused(self):
        self.open_sample("chrRuss.dcm")
        self.expect_refused("Люкceмбypг", "Л")

    def test_japanese_alone_is_refused(self):
        self.open_sample("chrJapMulti.dcm")
        self.expect_refused("やまだ^たろう", "や")


class ATextOf(CharacterSetTest):

    def setUp(self):
        super().setUp()
        self.open_sample("chrGerm.dcm")

    def test_latin_1_comes_back_as_it_was_written(self):
        version = self.saved(title="Schädel übersehen?", reading="Größe 5 µm, ±0,5°")

        self.assertEqual(title_of(version), "Schädel übersehen?")
        self.assertEqual(reading_of(version), "Größe 5 µm, ±0,5°")
        self.report.close()
        self.assertEqual(self.open(self.study).read("Reading"), "Größe 5 µm, ±0,5°")

    def test_typographic_marks_becomes_plain_as_it_is_written(self):
        version = self.saved(title="“Spot” – left", reading="No change … the patient’s own words: ‘better’")

        self.assertEqual(title_of(version), '"Spot" - left')
        self.assertEqual(reading_of(version), "No change ... the patient's own words: 'better'")

    def test_a_letter_that_the_file_lacks_is_refused_until_it_is_changed(self):
        self.report.fill(reading="α-particle")
        self.assertIn("α", self.refused())
        self.assertEqual(reading_of(self.saved(reading="alpha particle")), "alpha particle")


class AnApostrophe(SystemTest):

    def test_in_the_patients_name_is_no_obstacle(self):
        study = Study(PatientName="D'ANGELO^LUCIA")
        report = self.open(study)
        report.fill(title="Caput")
        report.save()
        report.close()
        again = self.open(study)

        self.assertEqual(again.read("Name"), "D'ANGELO, LUCIA")
        self.assertEqual([str(each.PatientName) for each in study.versions()], ["D'ANGELO^LUCIA"])
        self.assertEqual(study.history(), ["View Refert", "View Refert"])

    def test_in_the_images_stays_in_their_files(self):
        study = Study(PatientName="O'NEILL^SEAN")

        self.assertEqual(str(pydicom.dcmread(study.images()[0]).PatientName), "O'NEILL^SEAN")

    def test_in_title_and_reading_is_kept(self):
        study = Study()
        report = self.open(study)
        report.fill(title="Patient's head", reading="It's normal")
        report.save()

        [version] = study.versions()
        self.assertEqual((title_of(version), reading_of(version)), ("Patient's head", "It's normal"))


class InEveryScript(CharacterSetTest):
    """On a site whose reports are interchange."""

    @classmethod
    def setUpClass(cls):
        set_form("interchange")
        cls.addClassCleanup(set_form, "classic")

    def expect_kept(self, study, name, reading):
        """A report comes back from the file, the catalogue and the screen as it was typed."""
        self.study = study
        self.report = self.open(study)
        self.assertEqual(self.report.read("Name"), as_written(name))
        version = self.saved(title=reading[:64], reading=reading)
        self.assertEqual(version.SpecificCharacterSet, "ISO_IR 192")
        self.assertEqual(str(version.PatientName), name.rstrip("="))  # as pydicom shows it
        self.assertEqual((title_of(version), reading_of(version)), (reading[:64], reading))
        self.assertEqual(self.catalogued_name(), name)
        self.assertEqual((self.report.read("Name"), self.report.read("Reading")), (as_written(name), reading))
        self.report.close()

    def test_a_report_in_every_script_comes_back_equal(self):
        for name in NAMES:
            with self.subTest(name["Script"]):
                self.expect_kept(of_script(name), name["Name"], name["Reading"])
                again = self.open(self.study)
                self.assertEqual((again.read("Name"), again.read("Reading")), (as_written(name["Name"]), name["Reading"]))
                again.close()

    def test_a_patient_of_every_character_set_gets_a_report(self):
        for sample, name in SAMPLES.items():
            with self.subTest(sample):
                self.expect_kept(Study(f"charset_files/{sample}.dcm"), name, "Ohne Befund, α ≥ 3 µm")

    def test_the_choice_among_reports_shows_titles_of_every_script(self):
        self.study = of_script(NAMES[0])
        self.report = self.open(self.study)
        titles = [name["Reading"][:64] for name in NAMES[3:9]]
        for title in titles:
            self.saved(title=title)
            if title != titles[-1]:
                self.report.new()
        self.report.close()
        client = self.client()
        opening = client.begin("LoadForImgSeries", "(as)", self.study.images())
        chooser = self.program(client).window("Report selection")
        reports = chooser.list("Reports")
        reports.wait_rows(len(titles))
        self.assertCountEqual([row[0] for row in reports.rows()], titles)  # in the order of the engine
        chooser.press("Cancel")
        opening.result(10)

    def test_a_printed_report_has_each_word(self):
        for name in [each for each in NAMES if each["Script"] in PRINTED]:
            with self.subTest(name["Script"]):
                self.study = of_script(name)
                self.report = self.open(self.study)
                self.saved(title=name["Reading"][:64], reading=name["Reading"])
                self.report.approve()
                wait_until(lambda: self.report.enabled("Print "), "the report to be printable")
                words = re.findall(r"\w+", name["Name"] + " " + name["Reading"])
                text = self.report.printed(FOLDER / f"{name['Script']}.pdf")
                self.assertEqual([word for word in words if word not in text], [])
                self.report.close()

    def test_the_check_finds_nothing_missing(self):
        for name in NAMES[3:5]:
            self.study = of_script(name)
            self.report = self.open(self.study)
            self.saved(title=name["Reading"][:64])
            self.report.close()
        said = subprocess.run(["orbenta-catalogue", "check"], capture_output=True, text=True)
        self.assertNotIn("MISSING", said.stdout)


class TheViewer(WorkstationTest):

    def test_finds_a_patient_of_every_script(self):
        viewer = Viewer()
        self.addCleanup(viewer.end)
        self.addCleanup(self.picture_failure)
        for name in NAMES:
            with self.subTest(name["Script"]):
                study = of_script(name)
                viewer.search(name["Name"].split("=")[-1].replace("^", " "))
                wait_until(lambda: study.uid[-16:] in [row[1] for row in viewer.studies.rows()],
                           f"the study of {name['Name']}")
