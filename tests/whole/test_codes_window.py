"""The code tables manager, in each of the ways in which the report editor opens it."""

from case import SystemTest
from person.driver import key, keys, wait_until
from person.editor import SEARCH
from person.studies import Study
from person.workstation import ask


class CodesWindowTest(SystemTest):

    def setUp(self):
        super().setUp()
        self.report = self.open(Study())

    def search(self, manager, text, rows):
        manager.type(SEARCH, text)
        manager.found.wait_rows(rows)

    def add(self, manager, search, annotation=""):
        """Finds a code and adds it to the report."""
        manager.write(SEARCH, "")
        manager.type(SEARCH, search)
        wait_until(lambda: 0 < manager.found.count() < 5, f"codes for {search}")
        row = manager.pick(0)
        manager.write("Annotation", annotation)
        manager.press("Add")
        manager.wait_emptied()
        return row

    def add_findings(self, *searches):
        manager = self.report.codes("Add", "Finding")
        rows = [self.add(manager, search) for search in searches]
        manager.close()
        return rows


class TheSearch(CodesWindowTest):

    def setUp(self):
        super().setUp()
        self.manager = self.report.codes("Add", "Finding")

    def test_begins_in_the_box_over_an_empty_list(self):
        self.assertEqual(self.manager.focused(), SEARCH)
        self.assertEqual(self.manager.found.count(), 0)

    def test_narrows_with_each_key_in_capitals(self):
        for typed, shown in (("n", "N"), ("od", "NOD"), ("ule", "NODULE")):
            keys(typed)
            wait_until(lambda: self.manager.read(SEARCH) == shown, f"the text {shown}")
            [(count,)] = ask("SELECT count(*) FROM StdFinding WHERE Upper(CodeMeaning) LIKE ?", f"%{shown}%")
            self.manager.found.wait_rows(count)
        self.assertTrue(all("NODULE" in meaning for _, meaning in self.manager.found.rows()))

    def test_of_a_hundred_thousand_codes_keeps_up_with_ten_letters(self):
        self.addCleanup(ask, "DELETE FROM StdFinding WHERE CodeScheme = 'MANY'")
        ask("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
            "INSERT INTO StdFinding SELECT 'MANY', 'N' || i, 'Ossification number ' || i FROM n")
        keys("ossificati")
        self.manager.found.wait_rows(100000)
        keys("on number 77777")
        self.manager.found.wait_rows(1)
        self.assertEqual(self.manager.found.row(0), ["N77777", "OSSIFICATION NUMBER 77777"])

    def test_turns_an_apostrophe_into_a_back_quote(self):
        keys("crohn's")

        wait_until(lambda: self.manager.read(SEARCH) == "CROHN`S", "the back-quote")

    def test_lists_the_whole_table_for_blanks_and_for_nothing(self):
        [(all_codes,)] = ask("SELECT count(*) FROM StdFinding")
        self.search(self.manager, "  ", all_codes)
        self.manager.write(SEARCH, "zzz")
        key("End")
        self.manager.found.wait_rows(0)
        self.manager.write(SEARCH, "")
        key("Delete")

        self.manager.found.wait_rows(all_codes)

    def test_goes_to_the_first_row_on_the_down_arrow_and_selects_none(self):
        self.search(self.manager, "part-solid", 1)
        key("Down")
        wait_until(lambda: self.manager.found.pointed_at() == 0, "the focus on the first row")

        self.assertEqual(self.manager.found.selected(), -1)
        self.assertEqual(self.manager.read("Code"), "")

    def test_hands_on_to_the_list_the_annotation_and_the_button_by_tab(self):
        self.search(self.manager, "part-solid", 1)
        for name in ("Codes", "Annotation", "Add"):
            key("Tab")
            wait_until(lambda: self.manager.focused() == name, f"the focus on {name}")


class AddingAFinding(CodesWindowTest):

    def test_shows_the_manager_for_findings(self):
        manager = self.report.codes("Add", "Finding")

        self.assertIn("Finding code", manager.labels())
        self.assertFalse(manager.enabled("Modify"))

    def test_puts_the_code_into_the_findings_with_its_annotation(self):
        manager = self.report.codes("Add", "Finding")
        row = self.add(manager, "part-solid", "left, 9 mm")

        self.report.findings.wait_rows(1)
        self.assertEqual(self.report.findings.row(0), [*row, "left, 9 mm"])
        self.assertEqual(self.report.diagnoses.count(), 0)
        self.assertTrue(manager.open())

    def test_adds_several_codes_in_one_visit_but_none_twice(self):
        manager = self.report.codes("Add", "Finding")
        first = self.add(manager, "part-solid", "once")
        second = self.add(manager, "normal lungs")
        manager.pick(0)
        manager.press("Add")
        manager.close()

        self.assertEqual(self.report.findings.rows(), [[*first, "once"], [*second, ""]])

    def test_forgets_the_annotation_when_another_row_is_clicked(self):
        manager = self.report.codes("Add", "Finding")
        self.search(manager, "solid lung nodule", 2)
        manager.pick(0)
        manager.write("Annotation", "of the first")
        manager.pick(1)

        self.assertEqual(manager.read("Annotation"), "")

    def test_keeps_the_scheme_when_the_boxes_are_cleared(self):
        manager = self.report.codes("Add", "Finding")
        self.search(manager, "part-solid", 1)
        manager.pick(0)
        manager.press("Clear")
        manager.wait_emptied()

        self.assertEqual((manager.read("Scheme"), manager.read("Meaning")), ("99SS", ""))

    def test_lets_the_table_be_maintained_on_the_way(self):
        manager = self.report.codes("Add", "Finding")
        manager.press("Manage standard codes .....")
        wait_until(lambda: "Standard codes" in manager.labels(), "the table's boxes")
        self.assertNotIn("Report codes", manager.labels())
        manager.press("Manage report codes .....")

        wait_until(lambda: "Report codes" in manager.labels(), "the report's boxes")
        self.assertNotIn("Standard codes", manager.labels())


class AddingADiagnosis(CodesWindowTest):

    def test_puts_the_code_into_the_diagnoses(self):
        manager = self.report.codes("Add", "Diagnosis")
        self.assertIn("Diagnosis code", manager.labels())
        row = self.add(manager, "viral pneumonia", "typical")

        self.report.diagnoses.wait_rows(1)
        self.assertEqual(self.report.diagnoses.row(0), [*row, "typical"])
        self.assertEqual(self.report.findings.count(), 0)


class ModifyingAFinding(CodesWindowTest):

    def setUp(self):
        super().setUp()
        self.added = self.add_findings("part-solid", "normal lungs")

    def test_does_nothing_without_a_selected_row(self):
        self.report.press("Modify", "Finding")
        self.report.press("Add", "Diagnosis")
        manager = self.report.program.window("Standard codes")

        self.assertIn("Diagnosis code", manager.labels())

    def test_changes_the_annotation_alone(self):
        self.report.findings.click(0)
        manager = self.report.codes("Modify", "Finding")
        self.assertEqual([manager.read("Code"), manager.read("Meaning")], self.added[0])
        self.assertFalse(manager.editable("Code"))
        self.assertFalse(manager.editable("Meaning"))
        self.assertFalse(manager.editable(SEARCH))
        self.assertFalse(manager.enabled("Add"))
        self.assertFalse(manager.enabled("Clear"))
        manager.write("Annotation", "changed")
        manager.press("Modify")
        manager.close()

        self.assertEqual(self.report.findings.rows(), [[*self.added[0], "changed"], [*self.added[1], ""]])

    def test_leaves_no_trace_in_the_next_opening(self):
        self.report.findings.click(0)
        self.report.codes("Modify", "Finding").close()
        manager = self.report.codes("Add", "Finding")

        self.assertTrue(manager.editable(SEARCH))
        self.assertTrue(manager.editable("Code"))
        self.assertTrue(manager.enabled("Add"))
        self.assertEqual(manager.read("Code"), "")


class DeletingAFinding(CodesWindowTest):

    def setUp(self):
        super().setUp()
        self.added = self.add_findings("part-solid", "normal lungs", "ground-glass lung nodule")
        self.report.findings.click(1)
        wait_until(lambda: self.report.findings.selected() == 1, "the second finding to be selected")
        self.report.press("Delete", "Finding")
        self.question = self.report.program.message(f"Are you sure you want to delete {self.added[1][0]}?")

    def expect_buttons_off(self):
        self.question.wait_closed()
        wait_until(lambda: not self.report.enabled("Delete", "Finding"), "Delete to be disabled")
        self.assertFalse(self.report.enabled("Modify", "Finding"))
        self.assertTrue(self.report.enabled("Add", "Finding"))
        self.assertTrue(self.report.enabled("Delete", "Diagnosis"))

    def test_removes_the_row_after_an_ok(self):
        self.question.press("OK")

        self.expect_buttons_off()
        self.assertEqual([row[0] for row in self.report.findings.rows()], [self.added[0][0], self.added[2][0]])

    def test_leaves_the_row_after_a_cancel(self):
        self.question.press("Cancel")

        self.expect_buttons_off()
        self.assertEqual(self.report.findings.count(), 3)


class MaintainingATable(CodesWindowTest):

    def setUp(self):
        super().setUp()
        self.manager = self.report.codes("Admin report title")

    def done(self, action, **boxes):
        """Arms an action, fills the boxes and carries it out."""
        self.manager.press(action)
        for label, text in boxes.items():
            self.manager.write(label, text)
        self.manager.press("Done")
        self.manager.wait_emptied()

    def row(self, code):
        return ask("SELECT CodeScheme, CodeValue, CodeMeaning FROM StdTitles WHERE Upper(CodeValue) = ?", code)

    def pick_own(self, code, meaning):
        """Adds a code and picks it."""
        self.done("Add", Code=code, Meaning=meaning)
        self.search(self.manager, meaning, 1)
        self.manager.pick(0)

    def test_offers_the_tables_boxes_alone(self):
        labels = self.manager.labels()

        self.assertIn("Report heading code", labels)
        self.assertIn("Standard codes", labels)
        self.assertNotIn("Report codes", labels)
        with self.assertRaises(TimeoutError):
            self.manager.button("Manage report codes .....", timeout=0.5)

    def test_adds_a_code_of_its_own_as_it_was_typed(self):
        self.done("Add", Code="own1", Meaning="My own heading")

        self.assertEqual(self.row("OWN1"), [("99SS", "own1", "My own heading")])
        self.assertIn(["OWN1", "MY OWN HEADING"], self.manager.found.rows())

    def test_leaves_a_code_that_is_there_alone(self):
        before = self.row("TI01")
        self.done("Add", Code="TI01", Meaning="Something else")

        self.assertEqual(self.row("TI01"), before)

    def test_changes_the_code_that_was_picked(self):
        self.pick_own("OWN2", "To be changed")
        self.manager.press("Modify")
        wait_until(lambda: self.manager.read("Code") == "OWN2", "the code to be taken over")
        self.manager.write("Meaning", "Changed")
        self.manager.press("Done")

        wait_until(lambda: self.row("OWN2") == [("99SS", "OWN2", "Changed")], "the change")
        wait_until(lambda: ["OWN2", "CHANGED"] in self.manager.found.rows(), "the changed row")

    def test_deletes_the_code_that_was_picked_without_a_question(self):
        self.pick_own("OWN3", "To be deleted")
        self.manager.press("Delete")
        wait_until(lambda: self.manager.read("Code") == "OWN3", "the code to be taken over")
        self.manager.press("Done")

        wait_until(lambda: self.row("OWN3") == [], "the deletion")

    def test_drops_what_was_begun_on_undo(self):
        self.manager.press("Add")
        self.manager.write("Code", "OWN4")
        self.manager.write("Meaning", "Dropped")
        self.manager.press("Undo")
        self.manager.wait_emptied()
        self.manager.press("Done")
        self.manager.close()

        self.assertEqual(self.row("OWN4"), [])

    def test_refuses_a_code_that_would_turn_a_statement_and_keeps_the_boxes(self):
        self.manager.press("Add")
        self.manager.write("Code", "o'wn")
        self.manager.write("Meaning", "With an apostrophe")
        self.manager.press("Done")
        self.report.confirm("The catalogue cannot be asked with a text that holds an apostrophe: O'WN")

        self.assertEqual(self.manager.read("Code"), "o'wn")
        self.assertEqual(self.row("O'WN"), [])


class MaintainingTheBodyParts(CodesWindowTest):

    def test_works_on_the_table_of_body_parts(self):
        manager = self.report.codes("Admin body part")
        self.assertIn("Body part code", manager.labels())
        self.search(manager, "skull base", 1)

        self.assertEqual(manager.pick(0), ["BO04", "SKULL BASE"])
        self.assertEqual(manager.read("Scheme"), "99SS")
