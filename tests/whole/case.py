"""What the tests of the whole workstation share."""

import os
import signal
import unittest
from pathlib import Path

from bus import Client, RecordingViewer
from person.driver import Program, wait_until
from person.editor import Editor, seconds
from person.pictures import screenshot
from person.studies import Study
from person.viewer import Viewer
from person.workstation import processes, wait_ended

PICTURES = Path(os.environ["PICTURES"])


class WorkstationTest(unittest.TestCase):
    """Keeps a picture of the display when a test has failed."""

    def run(self, result=None):
        self._failures = lambda: len(result.failures) + len(result.errors)
        self._failures_before = self._failures()
        return super().run(result)

    def picture_failure(self):
        if self._failures() > self._failures_before:
            screenshot(PICTURES / f"{self.id()}.png")


class SystemTest(WorkstationTest):
    """A physician at a workstation whose viewer is on the bus. Each test has studies of its own and leaves
    no program behind."""

    def setUp(self):
        self.viewer = RecordingViewer()
        self.addCleanup(self.viewer.leave)

    def client(self, address=None):
        """A client whose program runs."""
        client = self.new_client(address)
        client.create()
        return client

    def new_client(self, address=None):
        client = Client(address)
        self.addCleanup(end, client)
        self.addCleanup(self.picture_failure)
        return client

    def program(self, client):
        """The windows of the program that serves a client."""
        return Program("Tavrel", process=client.process())

    def open(self, study, client=None):
        """Opens the study's report and answers its editor."""
        client = client or self.client()
        seconds.wait()
        opening = client.begin("LoadForImgSeries", "(as)", study.images())
        editor = self.editor(client)
        opening.result(10)
        seconds.use()
        return editor

    def open_report(self, series_uid, client=None):
        """Opens the report of that series and answers its editor."""
        client = client or self.client()
        client.begin("LoadSRSeries", "(s)", series_uid).result(10)
        return self.editor(client)

    def editor(self, client):
        """The editor of the report that a client has opened."""
        return Editor(self.program(client))

    def expect_no_window(self, client):
        program = self.program(client)
        wait_until(lambda: not program.windows(), "the last window to close")

    def reported(self, versions=1, **attributes):
        """A study with one saved report; the program has ended."""
        study = Study(**attributes)
        editor = self.open(study)
        for version in range(1, versions + 1):
            editor.fill(title=f"Title {version}", reading=f"Reading {version}")
            editor.save()
        editor.close()
        return study


class ViewerTest(WorkstationTest):
    """A physician before the viewer, with a study of three images open."""

    def setUp(self):
        self.study = Study(images=3, PatientName="TEST^" + self._testMethodName.upper())
        self.viewer = Viewer()
        self.addCleanup(self._end)
        self.addCleanup(self.picture_failure)
        self.viewer.choose(self.study.patient)

    def _end(self):
        for process in processes("tavrel"):
            os.kill(process, signal.SIGKILL)
            wait_ended(process)
        self.viewer.end()


def end(client):
    """Ends the program that serves a client."""
    # A test that failed may have left it with a question on the screen.
    process = client.process_now()
    if process:
        os.kill(process, signal.SIGKILL)
        wait_ended(process)
