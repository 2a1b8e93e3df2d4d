"""Two workstations of a department: one catalogue on a database server, accounts, services and editors of their own."""

from case import SystemTest
from department import department_of
from person.driver import wait_until
from person.editor import seconds
from person.studies import Study
from person.workstation import FOLDER, ask


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
