"""Two workstations of a department: one catalogue on a database server, accounts, services and editors of their own."""

import os
import re
import stat
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

import pydicom
from pydicom.uid import generate_uid

from case import SystemTest
from department import Workstation, department_of, page_commands
from person.driver import wait_until
from person.editor import seconds
from person.studies import Study
from person.workstation import FOLDER, ask

ROOT = os.geteuid() == 0
GROUP = 20000


def setUpModule():
    global server, second
    server, [second] = department_of("ct-1", "mr-1")


class TwoWorkstations(SystemTest):

    def at_second(self):
        return self.client(second.address)

    def test_print_at_once_and_each_has_its_own_page(self):
        editors = []
        for client in (self.client(), self.at_second()):
            editor = self.open(Study(), client)
            editor.fill(heading="Chest X-ray", title="Chest", reading=f"Reading{len(editors)}")
            editor.save()
            editor.approve()
            editors.append(editor)
        for turn in range(3):
            for editor in editors:
                editor.press("Print ")
            previews = [editor.program.window("Printing report") for editor in editors]
            pages = [editor.saved_page(preview, FOLDER / f"{turn}-{number}.pdf")
                     for number, (editor, preview) in enumerate(zip(editors, previews))]
            for number, page in enumerate(pages):
                self.assertIn(f"Reading{number}", page)
                self.assertNotIn(f"Reading{1 - number}", page)

    def test_see_and_continue_each_others_reports(self):
        study = self.reported()
        there = self.open(study, self.at_second())
        self.assertEqual(there.read("Reading"), "Reading 1")
        there.fill(reading="Reading 2")
        there.save()
        there.close()
        here = self.open(study)
        self.assertEqual(here.read("Reading"), "Reading 2")
        self.assertEqual(here.versions.count(), 2)

    def test_that_save_in_one_second_make_uids_of_their_own(self):
        studies = Study(), Study()
        editors = self.open(studies[0]), self.open(studies[1], self.at_second())
        seconds.wait()
        for editor in editors:
            editor.fill(reading="No effusion.")
            editor.press("Save")
        versions = [wait_until(study.versions, "the version")[0] for study in studies]
        for number, version in enumerate(versions, 1):
            for uid in (version.SOPInstanceUID, version.SeriesInstanceUID):
                self.assertTrue(uid.startswith(f"2.999.1.{number}."), uid)
        seconds.use()

    def test_are_named_in_the_audit_trail(self):
        study = Study()
        for client in (self.client(), self.at_second()):
            self.open(study, client).close()
        self.assertEqual(ask("SELECT Node FROM History WHERE StudyUID = ? ORDER BY HistoryID", study.uid),
                         [("ORBENTA",), ("MR-1",)])

    def test_maintain_the_same_codes(self):
        manager = self.open(Study(), self.at_second()).codes("Admin report title")
        manager.press("Add")
        manager.write("Code", "OWN1")
        manager.write("Meaning", "A heading of our own")
        manager.press("Done")
        manager.wait_emptied()
        self.assertEqual(ask("SELECT CodeMeaning FROM StdTitles WHERE CodeValue = 'OWN1'"),
                         [("A heading of our own",)])

    def test_store_what_is_sent_to_either(self):
        study = Study()
        said = second.tool("import", str(study.folder))
        self.assertEqual((said.returncode, said.stderr), (0, ""))
        self.assertEqual(ask("SELECT count(*) FROM Image WHERE SeriesInstanceUID = ?", study.series_uid), [("1",)])


class ThePageOnDepartments(unittest.TestCase):
    """Its commands, each as it stands there but for a name, a port and a path."""

    def run_commands(self, heading, **replacements):
        for command in page_commands(heading):
            for old, new in replacements.items():
                command = re.sub(rf"\b{old.replace('_', '-')}\b", new, command)
            said = subprocess.run(command, shell=True, cwd=FOLDER, capture_output=True, text=True)
            yield command, said.returncode, said.stdout + said.stderr

    def at(self, name):
        return {**os.environ, "ODBCINI": str(FOLDER / f"{name}.ini")}

    def test_makes_a_workstation_and_lets_it_leave(self):
        renamed = {"mr_1": "us-1", "10404": "10499"}
        for command, status, said in self.run_commands("The workstations", **renamed):
            if "check" not in command:
                self.assertEqual(status, 0, said)
        check = subprocess.run(["orbenta-catalogue", "check"], env=self.at("us-1"), capture_output=True, text=True)
        self.assertIn("well     this is us-1, of a department of ", check.stdout)
        self.assertIn("well     its account may do what it must\n", check.stdout)
        self.assertEqual([status for _, status, _ in self.run_commands("When one leaves", **renamed)], [0])
        self.assertNotEqual(subprocess.run(["orbenta-catalogue", "port"], env=self.at("us-1"),
                                           capture_output=True).returncode, 0)

    def test_makes_a_catalogue_a_departments_once_more(self):
        for heading in ("The server", "Update and backup"):
            for command, status, said in self.run_commands(heading):
                self.assertEqual(status, 0, f"{command}: {said}")

    @unittest.skipUnless(ROOT, "needs the right to give files to a group")
    def test_opens_a_tree_to_its_group(self):
        tree = FOLDER / "tree-of-before"
        (tree / "2.999.1/2.999.2").mkdir(parents=True)
        (tree / "2.999.1/2.999.2/img_000001.dcm").touch()
        for path in (tree, *tree.rglob("*")):
            path.chmod(0o700 if path.is_dir() else 0o600)
        for command in page_commands("The tree"):
            if not command.startswith("install"):
                command = command.replace("/data/studies", str(tree)).replace("-R orbenta", f"-R {GROUP}")
                subprocess.run(command, shell=True, check=True)
        for path in (tree, *tree.rglob("*")):
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o2770 if path.is_dir() else 0o660, path)
            self.assertEqual(path.stat().st_gid, GROUP)


@unittest.skipUnless(ROOT, "needs the right to act as other accounts")
class ATreeOfSeveralAccounts(unittest.TestCase):

    def test_takes_what_their_services_store_at_once_into_one_series(self):
        tree = FOLDER / "shared"
        [command] = [each for each in page_commands("The tree") if each.startswith("install")]
        command = command.replace("/data/studies", str(tree)).replace("orbenta", str(GROUP))
        subprocess.run(command, shell=True, check=True)
        places = [Workstation(f"account-{number}", tree, number, GROUP) for number in (20001, 20002)]
        sample = Study().images()[0]
        halves = [FOLDER / f"half-{number}" for number in range(2)]
        study, series = generate_uid(), generate_uid()
        for number in range(40):
            image = pydicom.dcmread(sample)
            image.StudyInstanceUID, image.SeriesInstanceUID = study, series
            image.SOPInstanceUID = generate_uid()
            image.file_meta.MediaStorageSOPInstanceUID = image.SOPInstanceUID
            halves[number % 2].mkdir(exist_ok=True)
            image.save_as(halves[number % 2] / f"{number}.dcm")
        with ThreadPoolExecutor() as both:
            said = list(both.map(lambda each: each[0].tool("import", str(each[1])), zip(places, halves)))
        self.assertEqual([each.stdout for each in said],
                         ["Stored 20 objects; 0 failed; 0 files are not DICOM objects\n"] * 2)
        files = [row[0] for row in ask("SELECT ImageFile FROM Image WHERE SeriesInstanceUID = ?", series)]
        folder = tree / study / series
        self.assertCountEqual(files, [path.name for path in folder.glob("*.dcm")])
        self.assertEqual(len(set(files)), 40)
        owners = {path.stat().st_uid for path in folder.glob("*.dcm")}
        self.assertEqual(owners, {20001, 20002})
