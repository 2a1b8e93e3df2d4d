"""The viewer as the physician works it."""

import subprocess
import time

from person.driver import Program, key, wait_until, xdotool
from person.editor import Editor, seconds
from person.pictures import pixels
from person.workstation import processes, wait_ended

WORDS_ABOVE_THE_IMAGE = 130


class Viewer:
    """Starts the viewer; does all that its window can do."""

    def __init__(self):
        self.process = subprocess.Popen(["lumaret"], stderr=subprocess.DEVNULL)
        self.program = Program("Lumaret", process=self.process.pid)
        self.window = wait_until(lambda: next(iter(self.program.windows()), None), "the viewer's window")
        self.studies, self.series = self.window.list("Studies"), self.window.list("Series")
        self.report_images = self.window.list("Report images")

    def __getattr__(self, name):
        return getattr(self.window, name)

    def end(self):
        self.process.terminate()
        self.process.wait(10)

    def begin_search(self, patient):
        self.window.write("Patient name", patient)
        self.window.press("Search")
        time.sleep(0.3)  # a button that is pressed through the accessibility bus clicks a moment later

    def search(self, patient):
        self.begin_search(patient)
        wait_until(lambda: self.said() != "Searching ...", "what was searched for")

    def choose(self, patient):
        """Searches for a patient, whose only study is opened then."""
        self.search(patient)
        wait_until(lambda: self.studies.count() == 1 and self.series.count() > 0, f"the study of {patient}")

    def said(self):
        return self.window.read("Message")

    def wait_said(self, words):
        wait_until(lambda: self.said().startswith(words), f"the message {words!r}")

    def press_report(self):
        """Asks for the report of the images that are shown."""
        wait_until(lambda: self.window.enabled("Report"), "Report to be enabled")
        seconds.wait()
        self.window.press("Report")

    def open_report(self):
        """Opens the report of the images that are shown, and answers its editor."""
        self.press_report()
        editor = Editor()
        self.wait_said("Ready.")
        seconds.use()
        return editor

    def question(self):
        """What the viewer asks before it closes the open report."""
        return self.program.message("The open report is of ")

    def close_and_open(self):
        """Asks for the report of the images that are shown in place of the open one, and answers its editor."""
        before = processes("tavrel")
        self.press_report()
        self.question().press("Close and open")
        for process in before:
            wait_ended(process)
        editor = Editor()
        self.wait_said("Ready.")
        seconds.use()
        return editor

    def read_report(self, kind="Report"):
        """Chooses a report in the list, and answers what is shown of it."""
        self.window.activate()
        self.series.click(self.series.find(kind))
        return self.shown_report()

    def shown_report(self):
        text = self.window.thing("Report text")
        return text.queryText().getText(0, -1)

    def choose_older_version(self):
        """Of the shown report, the next in the list of its versions."""
        self.window.activate()
        self.window.click_field("Version")
        for name in ("Down", "Return"):
            time.sleep(0.3)
            key(name)

    def reports(self):
        return [row for row in self.series.rows() if row[1] == "Report"]

    def open_listed_report(self):
        self.window.activate()
        self.series.click(self.series.find("Report"), times=2)

    def turn(self, name="Down"):
        """Clicks the image and turns to another one by a key."""
        self._at_the_image("click", 1)
        key(name)

    def drag(self, button, x, y):
        """Drags on the image with a mouse button."""
        self._at_the_image("mousedown", button, "mousemove_relative", "--", x, y, "mouseup", button)

    def add(self):
        """Hands the image that is shown over to the report."""
        before = self.report_images.count()
        self.window.press("Add to report")
        self.report_images.wait_rows(before + 1)

    def picture(self):
        """The image on the screen without the words above it, as its pixels."""
        self.window.activate()
        time.sleep(0.3)
        left, top, width, height = self.window.box("Image")
        return pixels(left, top + WORDS_ABOVE_THE_IMAGE, width, height - WORDS_ABOVE_THE_IMAGE)

    def _at_the_image(self, *command):
        self.window.activate()
        left, top, width, height = self.window.box("Image")
        xdotool("mousemove", left + width // 2, top + height // 2, *command)
