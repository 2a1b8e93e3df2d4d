"""The report editor and its code tables manager as the physician works them."""

import subprocess
import time

from person.driver import Program, wait_until
from person.workstation import HOSPITAL, wait_ended


class _Seconds:
    """Reports and versions are named by the second in which they are made; a person is never so fast that
    two are made in one."""

    _used = 0

    def wait(self):
        wait_until(lambda: int(time.time()) > self._used, "the next second")

    def use(self):
        self._used = int(time.time())


seconds = _Seconds()


class Editor:
    """The editor that a program shows, and all that its window can do."""

    def __init__(self, program=None):
        self.program = program or Program("Tavrel")
        self.window = self.program.window(HOSPITAL)
        self.versions = self.window.list("Versions")
        self.findings = self.window.list("Findings")
        self.diagnoses = self.window.list("Diagnoses")

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
        self._wait_version(before)
        self.wait_idle()

    def _wait_version(self, before):
        wait_until(lambda: self.versions.rows() != before, "the version to be shown", 30)
        seconds.use()

    def wait_idle(self):
        wait_until(lambda: not self.storing(), "the version to be stored")

    def storing(self):
        return "Storing the version ..." in self.window.labels()

    def new(self):
        """Makes another report of the study."""
        seconds.wait()
        self.window.press("New")
        wait_until(lambda: self.versions.count() == 0, "the new report")
        seconds.use()

    def ask_approval(self):
        """Presses "Approve" and answers the question that comes."""
        self.window.press("Approve")
        return self.program.message(
            "The approved document will not be editable anymore ... do you want to continue ?")

    def approve(self):
        before = self.versions.rows()
        seconds.wait()
        self.ask_approval().press("Yes")
        self._wait_version(before)
        wait_until(lambda: not self.window.enabled("Approve"), "the report to be locked")

    def codes(self, button, frame=None):
        """Opens the code tables manager with a button."""
        self.window.press(button, frame)
        return Codes(self.program.window("Standard codes"))

    def preview(self):
        """Opens the preview of the printed report."""
        self.window.press("Print ")
        return self.program.window("Printing report")

    def printed(self, path):
        """The words of the printed report, which is saved as the PDF `path`."""
        return self.saved_page(self.preview(), path)

    def saved_page(self, preview, path):
        """The words of the page in a preview that is open; it is closed."""
        preview.press("Save as PDF...")
        dialog = self.program.window("Save as PDF")
        dialog.write("File name:", str(path))
        dialog.press("Save")
        wait_until(path.exists, path.name)
        preview.press("Close")
        preview.wait_closed()
        return subprocess.run(["pdftotext", path, "-"], check=True, capture_output=True, text=True).stdout

    def confirm(self, text, timeout=10):
        """Confirms the program's message that begins with `text`, and answers its whole text."""
        return self.program.confirm(text, timeout)

    def close(self):
        self.window.press("Close")
        self.wait_gone()

    def wait_gone(self):
        wait_ended(self.program.process)


def save_on_top_until(editors, done):
    """Answers "Save on top" wherever an editor says that another has saved, until that is so."""
    def look():
        for editor in editors:
            for window in editor.program.windows():
                if window.title != editor.window.title:
                    seconds.use()
                    seconds.wait()
                    window.press("Save on top")
                    window.wait_closed()
        return done()
    wait_until(look, "every version to be stored", 30)


def show_all(editors, versions):
    """Has each editor show all that there are, as the last line of its list."""
    for editor in editors:
        editor.wait_idle()
        if editor.versions.count() < versions:
            editor.press("Last Version")
            wait_until(lambda: editor.versions.count() == versions, "every version")
        wait_until(lambda: any(each.startswith("Saved at ") for each in editor.labels()), "the last version")


SEARCH = "Search code meaning"


class Codes:
    """The code tables manager, and all that its window can do."""

    def __init__(self, window):
        self.window = window
        wait_until(window.active, "the manager to be active")
        self.found = window.list("Codes")

    def __getattr__(self, name):
        return getattr(self.window, name)

    def pick(self, row):
        """Clicks a row and answers it once the boxes show it."""
        expected = self.found.row(row)
        self.found.click(row)
        wait_until(lambda: [self.window.read("Code"), self.window.read("Meaning")] == expected,
                   f"the code {expected}")
        return expected

    def wait_emptied(self):
        """Until the boxes are empty: what was asked for is done."""
        wait_until(lambda: self.window.read("Code") == "", "the boxes to be emptied")

    def close(self):
        self.window.press("Close")
        self.window.wait_closed()
