"""What is typed and not saved outlives the program, however it ends."""

import os
import random
import signal
import time

from case import SystemTest
from person.driver import key, wait_until
from person.studies import Study
from person.workstation import FOLDER, HOSPITAL, wait_ended

DRAFTS = FOLDER / "state" / "tavrel" / "drafts"
KILLS = int(os.environ.get("DRAFT_KILLS", "5"))
BOUND = 5  # seconds of typing that may be lost


def offered(editor):
    return any(each.startswith("Draft of ") for each in editor.labels())


def kill(editor):
    os.kill(editor.program.process, signal.SIGKILL)
    wait_ended(editor.program.process)


class Drafts(SystemTest):

    def killed(self, reading, study=None):
        """A study whose report was being typed when the program was killed."""
        study = study or self.reported()
        editor = self.open(study)
        editor.fill(reading=reading)
        wait_until(lambda: any(each.stat().st_size for each in DRAFTS.glob("*.draft")), "the draft")
        kill(editor)
        return study

    def setUp(self):
        super().setUp()
        for each in DRAFTS.glob("*"):
            each.unlink()

    def test_are_put_back_as_if_typed(self):
        study = self.killed("Typed, α")
        editor = self.open(study)
        self.assertEqual(editor.read("Reading"), "Reading 1")
        editor.press("Put back")
        wait_until(lambda: editor.read("Reading") == "Typed, α", "the draft's text")
        self.assertIn("Unsaved changes", editor.labels())
        editor.focus("Reading")
        key("ctrl+z")
        wait_until(lambda: editor.read("Reading") == "Reading 1", "the text to be taken back")
        editor.close()
        self.assertTrue(offered(self.open(study)))

    def test_are_put_back_by_keyboard(self):
        study = self.killed("Typed")
        editor = self.open(study)
        wait_until(editor.active, "the editor to be active")
        key("alt+u")
        wait_until(lambda: editor.read("Reading") == "Typed", "the draft's text")

    def test_are_discarded_by_keyboard(self):
        study = self.killed("Typed")
        editor = self.open(study)
        wait_until(editor.active, "the editor to be active")
        key("alt+x")
        wait_until(lambda: not offered(editor), "the offer to go")
        self.assertEqual(list(DRAFTS.iterdir()), [])

    def test_are_in_the_tab_order(self):
        study = self.killed("Typed")
        editor = self.open(study)
        wait_until(editor.active, "the editor to be active")
        for name in ("Put back", "Discard"):
            wait_until(lambda: (key("Tab"), editor.focused())[1] == name, f"the focus on {name}", 20)

    def test_of_a_new_report_are_found_by_the_study(self):
        study = self.killed("Typed in a new report", Study())
        editor = self.open(study)
        editor.press("Put back")
        wait_until(lambda: editor.read("Reading") == "Typed in a new report", "the draft's text")
        editor.save()
        self.assertEqual(list(DRAFTS.iterdir()), [])

    def test_are_kept_when_the_report_is_closed(self):
        study = self.reported()
        editor = self.open(study)
        editor.fill(reading="Typed")
        editor.close()
        self.assertTrue(offered(self.open(study)))

    def test_are_kept_when_the_client_closes_the_report(self):
        study = self.reported()
        client = self.client()
        editor = self.open(study, client)
        editor.fill(reading="Typed")
        client.begin("CloseReport").result(10)
        editor.wait_gone()
        self.assertTrue(offered(self.open(study)))

    def test_are_not_offered_to_another_patient(self):
        self.killed("Typed")
        self.assertFalse(offered(self.open(self.reported(PatientName="OTHER^PATIENT"))))


class AKilledProgram(SystemTest):
    """One report is typed into, time and again from where the last program was killed."""

    def reopen(self):
        """What is left of the typing."""
        client = self.client()
        client.begin("LoadSRSeries", "(s)", self.series).result(30)
        self.process = client.process()
        window = self.program(client).window(HOSPITAL)
        self.reading = window.field("Reading")
        if offered(window):
            window.press("Put back")
            wait_until(lambda: self.read() != "Reading 1", "the draft's text")
        return self.read()

    def read(self):
        return self.reading.queryText().getText(0, -1)

    def type_and_kill(self, text):
        """Types word by word for a while; answers each text with its time, and the time of the end."""
        typed = []
        # Most moments lie around the first two writes, some well behind the bound.
        length = random.uniform(0, 4.5) if random.random() < 0.75 else random.uniform(BOUND, BOUND + 3)
        end = time.monotonic() + length
        while not typed or time.monotonic() < end:
            self.words += 1
            text = f"{text[-200:]} {self.words}"
            typed.append((time.monotonic(), text))
            self.reading.queryEditableText().setTextContents(text)
            time.sleep(0.03)
        os.kill(self.process, signal.SIGKILL)
        killed = time.monotonic()
        wait_ended(self.process)
        return typed, killed

    def test_loses_five_seconds_of_typing_at_most(self):
        self.series, self.words, losses = self.reported().report_series()[0], 0, []
        self.addCleanup(self.tell, losses)
        found = self.reopen()
        for _ in range(KILLS):
            before = found
            typed, killed = self.type_and_kill(before)
            found = self.reopen()
            texts = [before] + [text for _, text in typed]
            self.assertIn(found, texts)
            lost = typed[texts.index(found):]
            losses.append(killed - lost[0][0] if lost else 0.0)
            self.assertLessEqual(losses[-1], BOUND)

    def tell(self, losses):
        if losses:
            print(f"{len(losses)} kills: {max(losses):.2f} s of typing lost at most, "
                  f"{sum(losses) / len(losses):.2f} s on average, {len(list(DRAFTS.iterdir()))} drafts left")
