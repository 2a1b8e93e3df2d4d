"""What the tests of faults share: a physician's actions, and what became of them."""

import time

from person.driver import wait_until, xdotool
from person.editor import SEARCH, seconds
from person.pictures import pixels
from person.studies import as_written
from person.workstation import HOSPITAL

TYPED = "Typed with care"
WAITING = "Waiting for the catalogue ..."
STORING = "Storing the version ..."
_WINDOWS = (HOSPITAL, "Standard codes", "Printing report")
_QUIET = 0.7  # seconds without a further word: it is over


class Action:
    """Something that a physician does with a report in which something has been typed."""

    def __init__(self, test, study):
        self.client = test.client()
        self.report = test.open(study, self.client)
        self.prepare()

    @property
    def program(self):
        return self.report.program

    def prepare(self):
        self.report.fill(reading=TYPED)

    def begin(self):
        raise NotImplementedError

    def done(self):
        """Whether it has its effect."""
        raise NotImplementedError

    def over(self):
        """Whether it was answered, where somebody asked for it."""
        return True

    def kept(self):
        """Whether what was typed is on the screen."""
        return self.report.read("Reading") == TYPED

    def resume(self):
        """Has the screen filled anew, where the fault has left it in part."""
        def part():
            return any(each.startswith("NOT SHOWN: ") for each in self.report.labels())
        if part():
            self.report.press("Last Version")
            wait_until(lambda: not part(), "the screen to be filled")

    def finish(self):
        """Takes back what would be in the way of the same action once more."""

    def outcome(self, within=15):
        """What was said until it was done, or was told to have failed. Each message has been confirmed then."""
        began, said, quiet = time.monotonic(), [], None
        while not quiet or time.monotonic() - quiet < _QUIET:
            if time.monotonic() - began > within:
                raise TimeoutError(f"it is not over within {within} s; said: {said}")
            try:
                quiet = (quiet or time.monotonic()) if self._still(said) else None
            except (RuntimeError, LookupError, NotImplementedError):
                quiet = None  # a window vanished while it was looked at
            time.sleep(0.05)
        return said

    def _still(self, said):
        windows = self.program.windows()
        for box in windows:
            if box.title not in _WINDOWS and box.labels():
                said.append(max(box.labels(), key=len))
                box.press("OK")
                box.wait_closed()
                return False
        return (said or self.done()) and self.over() and not waiting(windows)


def waiting(windows):
    return any(words in each.labels() for each in windows for words in (WAITING, STORING))


class Opening(Action):
    """Of another patient's report, in place of one in which something has been typed."""

    def __init__(self, test, study, other):
        self.images, self.patient = other.images(), other.patient
        super().__init__(test, study)

    def begin(self):
        seconds.wait()
        self.opening = self.client.begin("LoadForImgSeries", "(as)", self.images)

    def over(self):
        return self.opening.done()

    def done(self):
        return self.report.read("Name") == as_written(self.patient)

    def kept(self):
        # What is shown is one patient's.
        return (self.report.read("Name") == as_written(self.patient)) != (self.report.read("Reading") == TYPED)


class Saving(Action):

    def begin(self):
        self.before = self.report.versions.count()
        seconds.wait()
        self.report.press("Save")

    def done(self):
        seconds.use()
        return self.report.versions.count() == self.before + 1


class Approving(Action):

    def begin(self):
        seconds.wait()
        question = self.report.ask_approval()
        question.press("Yes")
        question.wait_closed()

    def done(self):
        seconds.use()
        return not self.report.enabled("Approve")


class Coding(Action):

    def prepare(self):
        super().prepare()
        self.codes = self.report.codes("Add", "Finding")

    def begin(self):
        self.codes.write(SEARCH, "")
        self.codes.type(SEARCH, "p")

    def done(self):
        return self.codes.found.count() > 0

    def finish(self):
        self.codes.close()
        self.codes = self.report.codes("Add", "Finding")


class Printing(Action):
    """Of an approved report."""

    def prepare(self):
        self.text = self.report.read("Reading")

    def begin(self):
        self.report.press("Print ")

    def done(self):
        return any(each.title == "Printing report" for each in self.program.windows())

    def kept(self):
        return self.report.read("Reading") == self.text

    def finish(self):
        preview = self.program.window("Printing report")
        preview.press("Close")
        preview.wait_closed()


def expect_done(test, action):
    """Done without a word."""
    action.begin()
    test.assertEqual(action.outcome(), [])
    test.assertTrue(action.done())
    test.assertTrue(action.kept())


def expect_waiting(test, window, words, within=1.5):
    """The window says soon that it waits, is painted and can be moved."""
    wait_until(lambda: words in window.labels(), f"{words!r} on the window", within)
    left, top, width, height = window.box()
    xdotool("search", "--sync", "--onlyvisible", "--name", f"^{window.title}$", "windowmove", left + 60, top + 40)
    wait_until(lambda: window.box()[:2] != (left, top), "the window to be moved", 2)
    left, top, width, height = window.box()
    seen = pixels(left, top, width, height)
    wait_until(lambda: pixels(left, top, width, height) != seen, "the window to be painted", 2)  # its bar runs
    test.assertIn(words, window.labels())
