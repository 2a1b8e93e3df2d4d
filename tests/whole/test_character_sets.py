"""Names in every writing: right on the screen, in the file and in the catalogue, or refused with a clear
word and not stored."""

import pydicom

from case import SystemTest
from person.studies import Study, reading_of, title_of
from person.workstation import ask


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
        self.assertEqual(self.report.read("Name"), name)
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
        self.assertEqual(self.report.read("Name"), name)
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

        self.assertEqual(self.report.read("Name"), "Wang^XiaoDong=王^小東=")
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

        self.assertEqual(again.read("Name"), "D'ANGELO^LUCIA")
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
