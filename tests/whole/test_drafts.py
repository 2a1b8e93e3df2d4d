"""What is typed and not saved outlives the program, however it ends."""

import os
import random
import signal
import time

from bus import FurtherBus, RecordingViewer
from case import SystemTest
from person.driver import key, wait_until
from person.studies import Study
from person.workstation import FOLDER, wait_ended

DRAFTS = FOLDER / "state" / "tavrel" / "drafts"
KILLS = int(os.environ.get("DRAFT_KILLS", "5"))
LANES = 1 if KILLS < 20 else 4
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
        wait_until(lambda: any(DRAFTS.glob("*.draft")), "the draft")
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


class Lane:
    """A physician on a bus of his own, who types into one report until the program is killed."""

    def __init__(self, test, number):
        self.test = test
        self.study = test.reported()
        name = f"lane{number}"
        self.bus = FurtherBus(name)
        test.addCleanup(self.bus.close)
        viewer = RecordingViewer(self.bus.address)
        test.addCleanup(viewer.leave)
        self.typed = [(0.0, "Reading 1")]
        self.losses = []
        self.words = 0
        self.begin()

    def begin(self):
        """Opens the report, and looks what is left of the typing before."""
        editor = self.test.open_report(self.study.report_series()[0], self.test.client(self.bus.address))
        self.reading = editor.field("Reading")
        if offered(editor):
            editor.press("Put back")
            wait_until(lambda: self.read() != "Reading 1", "the draft's text")
        found, texts = self.read(), [text for _, text in self.typed]
        self.test.assertIn(found, texts)
        if len(texts) > 1:
            lost = self.typed[texts.index(found) + 1:]
            self.losses.append(self.ended - lost[0][0] if lost else 0.0)
            self.test.assertLessEqual(self.losses[-1], BOUND)
        self.typed = [(time.monotonic(), found)]
        self.process = editor.program.process
        # Most moments lie around the first two writes, some well behind the bound.
        self.end = time.monotonic() + (random.uniform(0, 4.5) if random.random() < 0.75 else random.uniform(5, 8))

    def read(self):
        return self.reading.queryText().getText(0, -1)

    def type(self):
        """Types a word, or kills the program when its time has come."""
        if time.monotonic() > self.end:
            os.kill(self.process, signal.SIGKILL)
            self.ended = time.monotonic()
            wait_ended(self.process)
            return self.begin()
        self.words += 1
        text = f"{self.typed[-1][1][-200:]} {self.words}"
        self.typed.append((time.monotonic(), text))
        self.reading.queryEditableText().setTextContents(text)


class AKilledProgram(SystemTest):

    def test_loses_five_seconds_of_typing_at_most(self):
        lanes = [Lane(self, number) for number in range(LANES)]
        while sum(len(lane.losses) for lane in lanes) < KILLS:
            for lane in lanes:
                lane.type()
            time.sleep(0.03)
        losses = [loss for lane in lanes for loss in lane.losses]
        print(f"{len(losses)} kills: {max(losses):.2f} s lost at most, {sum(losses) / len(losses):.2f} s on average, "
              f"{len(list(DRAFTS.iterdir()))} drafts left")
