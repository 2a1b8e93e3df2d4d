"""The power fails while the editor keeps a version that it could not send."""

import io
import random
import signal
import subprocess
import unittest

import pydicom

from case import SystemTest
from disk import STRACE, ContentsKept, Disk, NamesKept, Strict, Torn, calls, left
from person.studies import reading_of
from person.workstation import FOLDER
from service import free_port, tracing_refused
from storage import StorageService

STATE = FOLDER / "state"


def kept_files(disk, loss):
    """What a power failure leaves of the kept versions: the bytes of each file by its name."""
    folder = left(disk.top, loss)
    for name in ("tavrel", "unsent"):
        folder = dict(folder).get(name, ())
    return {name: data for name, data in folder if name.endswith(".dcm")}


class AVersionThatIsKept(SystemTest):

    def setUp(self):
        super().setUp()
        if refused := tracing_refused():
            raise unittest.SkipTest(f"no process may be traced here: {refused}")
        self.study = self.reported()
        storage = StorageService()
        self.addCleanup(storage.call_at, storage.port)
        storage.call_at(free_port())

    def record_keeping(self):
        """The state folder before a version is kept, and what the program does until it says so."""
        editor = self.open(self.study)
        editor.fill(reading="Written with care")
        trace = FOLDER / "trace"
        tracer = subprocess.Popen([*(each for each in STRACE if each != "-D"), "-o", trace,
                                   "-p", str(editor.program.process)], stderr=subprocess.PIPE, text=True)
        self.assertIn("attached", tracer.stderr.readline())
        disk = Disk(STATE)
        editor.press("Save")
        editor.program.message("The version could not be stored by the storage service", 15)
        tracer.send_signal(signal.SIGINT)
        tracer.communicate(timeout=20)
        return disk, list(calls(trace))

    def test_is_there_whole_after_a_power_failure_once_that_was_said_and_never_by_half(self):
        disk, recorded = self.record_keeping()
        chance = random.Random(1)
        for call in recorded:
            if call.name != "sendto" and disk.run(call):
                for loss in (Strict(), NamesKept(), ContentsKept(), *[Torn(chance)] * 5):
                    for data in filter(None, kept_files(disk, loss).values()):
                        self.assertEqual(self.reading(data), "Written with care")
        self.assertEqual([self.reading(data) for data in kept_files(disk, Strict()).values()], ["Written with care"])

    def reading(self, data):
        return reading_of(pydicom.dcmread(io.BytesIO(data)))
