"""What the whole-system tests share: a physician at a workstation whose viewer is on the bus."""

import os
import signal
import time
import unittest

from atspi_driver import Program, screenshot, wait_until
from bus import Client, Viewer
from station import FOLDER, Study

HOSPITAL = "Orbenta General Hospital"
PHYSICIAN = "Bianchi^Anna"


class _Seconds:
    """Reports and versions are named by the second in which they are made; a person is never so fast that
    two are made in one."""

    _used = 0

    def wait(self):
        wait_until(lambda: int(time.time()) > self._used, "the next second")

    def use(self):
        self._used = int(time.time())


seconds = _Seconds()


class SystemTest(unittest.TestCase):
    """Each test has studies of its own and leaves no program behind."""

    def run(self, result=None):
        self._failures = lambda: len(result.failures) + len(result.errors)
        self._failures_before = self._failures()
        return super().run(result)

    def setUp(self):
        self.viewer = Viewer()
        self.addCleanup(self.viewer.leave)

    def _picture_failure(self):
        if self._failures() > self._failures_before:
            screenshot(FOLDER / "logs" / f"{self.id()}.png")

    def client(self, address=None):
        """A client whose program runs."""
        client = self.new_client(address)
        client.create()
        return client

    def new_client(self, address=None):
        client = Client(address)
        self.addCleanup(_end, client)
        self.addCleanup(self._picture_failure)
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
        return Editor(self.program(client), client)

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


def _end(client):
    # A test that failed may have left it with a question on the screen.
    process = client._process_of("Tavrel.CTavrel")
    if process:
        os.kill(process, signal.SIGKILL)
        wait_until(lambda: client._process_of("Tavrel.CTavrel") != process, "Tavrel to end")


class Editor:
    """The report editor as the physician works it."""

    def __init__(self, program, client):
        self.program, self.client = program, client
        self.window = program.window(HOSPITAL)
        self.versions = self.window.list("Versions")

    def __getattr__(self, name):
        return getattr(self.window, name)

    def fill(self, heading=None, title=None, reading=None):
        for label, text in (("Report heading", heading), ("Report title", title), ("Reading", reading)):
            if text is not None:
                self.window.write(label, text)

    def save(self):
        """Saves and waits until the version is stored and shown."""
        before = self.versions.rows()
        seconds.wait()
        self.window.press("Save")
        wait_until(lambda: self.versions.rows() != before, "the version to be shown")
        seconds.use()
        self.wait_idle()

    def wait_idle(self):
        wait_until(lambda: not self.storing(), "the version to be stored")

    def new(self):
        """Makes another report of the study."""
        seconds.wait()
        self.window.press("New")
        wait_until(lambda: self.versions.count() == 0, "the new report")
        seconds.use()

    def storing(self):
        return "Storing the version ..." in self.window.labels()

    def approve(self):
        before = self.versions.rows()
        seconds.wait()
        self.window.press("Approve")
        self.program.message("The approved document will not be editable anymore").press("Yes")
        wait_until(lambda: self.versions.rows() != before, "the approved version to be shown")
        seconds.use()
        wait_until(lambda: not self.window.enabled("Approve"), "the report to be locked")

    def message(self, text, timeout=10):
        """The message that begins with `text`: its whole text; it has been confirmed then."""
        box = self.program.message(text, timeout)
        said = next(each for each in box.labels() if each.startswith(text))
        box.press("OK")
        box.wait_closed()
        return said

    def close(self):
        self.window.press("Close")
        self.wait_gone()

    def wait_gone(self):
        wait_until(self.client.gone, "the program to end")
