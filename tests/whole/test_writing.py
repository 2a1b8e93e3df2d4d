"""What helps in writing, of a site that has set it: by the keyboard alone."""

import subprocess

from case import SystemTest
from person.driver import key, keys, wait_until
from person.studies import Study
from person.workstation import FOLDER, program

TEXTS = """Kind,Name,Body
template,Chest X-ray,"Heart: ___
Lungs: ___"
short,nad,No abnormality detected.
"""


def tool(*arguments):
    subprocess.run([program("orbenta-catalogue"), *arguments], check=True, stdout=subprocess.DEVNULL)


class WritingWell(SystemTest):
    def setUp(self):
        super().setUp()
        texts = FOLDER / "texts.csv"
        texts.write_text(TEXTS)
        tool("texts", "import", str(texts))
        tool("writing", "--spelling", "en_US")
        self.desk = self.client()
        self.study = Study(PatientName="GALLI^PAOLA")
        self.report = self.open(self.study, self.desk)
        wait_until(self.report.active, "the window to be active")

    def expect(self, reading):
        wait_until(lambda: self.report.read("Reading") == reading,
                   f"the reading {reading!r} (it is {self.report.read('Reading')!r})")

    def expect_selected(self, text):
        wait_until(lambda: self.report.selection("Reading") == text, f"{text!r} to be selected")

    def write(self):
        keys("Chest X-ray")
        self.expect("Heart: ___\nLungs: ___")
        self.assertEqual(self.report.field("Reading").description, "2 blanks to fill in: F3 goes to the next")
        key("F3")
        self.expect_selected("___")
        keys("normal.")
        key("F3")
        keys("nad.")
        self.expect("Heart: normal.\nLungs: No abnormality detected.")
        key("ctrl+z")
        self.expect("Heart: normal.\nLungs: nad.")
        keys(" No abnormallity.")
        key("ctrl+Home")
        key("F7")
        self.expect_selected("nad")
        key("Escape")
        key("F7")
        self.expect_selected("abnormallity")
        key("Down")
        key("Return")
        self.expect("Heart: normal.\nLungs: nad. No abnormality.")

    def compare(self):
        key("alt+k")
        window = self.report.program.window("Compare versions - GALLI, PAOLA")
        wait_until(window.active, "the comparison to be active")
        self.assertIn("2 words added, 0 words removed.", window.labels())
        self.assertIn("[added: Nothing else.]", window.read("Differences"))
        key("alt+v")
        key("Down")
        wait_until(lambda: "The two versions say the same." in window.labels(), "the same version twice")
        key("Escape")
        window.wait_closed()

    def test_a_report_is_written_spelt_compared_and_dictated(self):
        self.write()
        self.report.save()
        key("alt+r")
        key("ctrl+End")
        keys(" Nothing else.")
        self.report.save()
        self.compare()
        wait_until(self.report.active, "the editor to be active")
        key("alt+v")
        self.report.confirm("No dictation command is set.")

        tool("writing", "--dictation", "echo Spoken words.")
        self.report = self.open_report(self.study.report_series()[0], self.desk)
        key("alt+r")
        key("ctrl+End")
        key("alt+v")
        self.expect("Heart: normal.\nLungs: nad. No abnormality. Nothing else. Spoken words.")
