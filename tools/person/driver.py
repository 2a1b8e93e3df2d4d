"""Drives the real windows as a person does, through the accessibility bus.

Needs a display with a window manager, a session bus with the accessibility service, xdotool, and in the
program's environment QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1. Runs with Debian's /usr/bin/python3 and its
python3-pyatspi.

    program = Program("Tavrel")
    report = program.window("Orbenta General Hospital")
    report.write("Report title", "Chest CT")
    report.press("Save")

A window's things are found as a person finds them: buttons and options by their caption, fields by
their label, lists and the reading by their accessible names ("Versions", "Findings", "Diagnoses",
"Codes", "Reports", "Reading"). Nothing answers at once, so everything waits until it is there.
"""

import contextlib
import itertools
import os
import re
import subprocess
import time

import pyatspi
from gi.repository import Atspi

from person.things import LISTS, things

# The seconds that a person waits. A program that runs under a checker is slow.
TIMEOUT = int(os.environ.get("PATIENCE", "10"))
if "PATIENCE" in os.environ:
    Atspi.set_timeout(TIMEOUT * 1000, TIMEOUT * 1000)
_TEXTS = (pyatspi.ROLE_TEXT, pyatspi.ROLE_ENTRY, pyatspi.ROLE_PARAGRAPH)
_BUTTONS = (pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_CHECK_BOX)
_FRAMES = (pyatspi.ROLE_PANEL, pyatspi.ROLE_GROUPING)


def wait_until(condition, what, timeout=TIMEOUT, every=0.05):
    """Polls until `condition()` is true and answers what it answered. A thing that has gone while it
    was looked at counts as not there yet."""
    end = time.monotonic() + timeout
    while True:
        began = time.monotonic()
        try:
            answer = condition()
        except (RuntimeError, LookupError, NotImplementedError, FileNotFoundError) as error:
            answer, what_went = None, error
        else:
            what_went = None
        if answer:
            return answer
        now = time.monotonic()
        if now > end:
            raise TimeoutError(f"waited {timeout} s for {what}" + (f" ({what_went})" if what_went else ""))
        time.sleep(max(every, min(3 * (now - began), 0.3)))  # what is waited for needs the processor more


def xdotool(*command):
    """What xdotool answers."""
    return subprocess.run(["xdotool", *map(str, command)], check=True, capture_output=True, text=True).stdout


def key(name):
    """Presses and releases a key by its X name ("Return", "Escape", "Down", "Tab", "a")."""
    xdotool("key", "--clearmodifiers", name)


def keys(text):
    """Types into whatever has the focus."""
    xdotool("type", "--clearmodifiers", "--delay", 5, text)


def _has(accessible, state):
    return accessible.getState().contains(state)


class Program:
    """A running program, known to the accessibility bus by its name, if need be the one of that process."""

    def __init__(self, name, timeout=TIMEOUT, process=None):
        self.name, self.process = name, process
        self._application = wait_until(self._find, f"the program {name}", timeout)
        self.process = self._application.get_process_id()

    def _find(self):
        found = [each for each in pyatspi.Registry.getDesktop(0) if each is not None and each.name == self.name and
                 self.process in (None, each.get_process_id())]
        return found[-1] if found else None

    def windows(self):
        """The windows on the screen."""
        return [Window(each) for each in self._application if each is not None and _has(each, pyatspi.STATE_SHOWING)]

    def window(self, title, timeout=TIMEOUT):
        """The window with that title, as soon as it is there."""
        return wait_until(lambda: next((each for each in self.windows() if each.title == title), None),
                          f"the window {title!r}", timeout)

    def message(self, text, timeout=TIMEOUT):
        """The message box that says `text`, which may be its beginning only."""
        return wait_until(lambda: next((each for each in self.windows()
                                        if any(said.startswith(text) for said in each.labels())), None),
                          f"the message {text!r}", timeout)

    def confirm(self, text, timeout=TIMEOUT):
        """The whole text of the message that begins with `text`; it has been confirmed then."""
        box = self.message(text, timeout)
        said = next(each for each in box.labels() if each.startswith(text))
        box.press("OK")
        box.wait_closed()
        return said


class Window:
    def __init__(self, accessible):
        self.accessible = accessible

    @property
    def title(self):
        return self.accessible.name

    def open(self):
        """Whether it is still on the screen."""
        try:
            return _has(self.accessible, pyatspi.STATE_SHOWING)
        except (RuntimeError, LookupError):
            return False

    def active(self):
        """Whether it is the one that is typed into."""
        return _has(self.accessible, pyatspi.STATE_ACTIVE)

    def close_by_frame(self):
        """Presses Alt+F4 until the window closes: on a busy machine the window manager may miss one that comes
        right after the window."""
        wait_until(self.active, "the window to be active")

        def closed():
            key("alt+F4")
            with contextlib.suppress(TimeoutError):
                self.wait_closed(2)
                return True
        wait_until(closed, "the window to close by its frame")

    def activate(self):
        """Brings it before the other windows."""
        self._manage("windowactivate", "--sync")

    def place(self, x, y, width, height):
        self._manage("windowsize", "--sync", width, height, "windowmove", x, y)

    def _manage(self, *command):
        title = re.sub(r"([\\.^$*+?()\[\]{}|])", r"\\\1", self.title)
        xdotool("search", "--sync", "--onlyvisible", "--name", f"^{title}$", *command)

    def wait_closed(self, timeout=TIMEOUT):
        wait_until(lambda: not self.open(), "the window to close", timeout)

    def labels(self):
        """The texts of the labels that are seen."""
        return [name for _, name in things(self.accessible, [pyatspi.ROLE_LABEL], state=pyatspi.STATE_SHOWING)]

    def _find(self, what, roles, name, state=None, timeout=TIMEOUT):
        """The first thing of one of those roles, that name and state."""
        def search():
            found = things(self.accessible, roles, name, state)
            return found[0][0].within(self.accessible) if found else None
        return wait_until(search, what, timeout)

    def button(self, caption, frame=None, timeout=TIMEOUT):
        """The button or option with that caption, if need be the one in the frame of that caption."""
        within = self if frame is None else Window(self._find(f"the frame {frame!r}", _FRAMES, frame))
        return within._find(f"the button {caption!r}", _BUTTONS, caption, pyatspi.STATE_SHOWING, timeout)

    def press(self, caption, frame=None):
        """Presses a button; answers before what it does is done."""
        button = self.button(caption, frame)
        wait_until(lambda: _has(button, pyatspi.STATE_ENABLED), f"{caption!r} to be enabled")
        button.queryAction().doAction(0)

    def click(self, caption, frame=None):
        """Clicks a button with the mouse, whatever comes of it."""
        _click(self.button(caption, frame))

    def click_field(self, label):
        """Clicks what a label stands for with the mouse."""
        _click(self.field(label))

    def enabled(self, caption, frame=None):
        return _has(self.button(caption, frame), pyatspi.STATE_ENABLED)

    def field(self, label):
        """What the label stands for: a box, a combo box or another label. The reading is "Reading"."""
        def search():
            # Of two fields with one label, one is hidden.
            for found, _ in things(self.accessible, (*_TEXTS, pyatspi.ROLE_LABEL), label, pyatspi.STATE_SHOWING):
                each = found.within(self.accessible)
                field = _labelled(each) if found.role == pyatspi.ROLE_LABEL else each
                if field:
                    return field
            return None
        return wait_until(search, f"the field {label!r}")

    def read(self, label):
        """The text of a field."""
        field = self.field(label)
        if field.getRole() == pyatspi.ROLE_LABEL:
            # An empty label answers its own label; of the editor's each says what it is first.
            return "" if field.name == label else field.name.removeprefix(f"{label}: ")
        return _text(field).queryText().getText(0, -1)

    def write(self, label, text):
        """Puts `text` in place of what a field holds, at once."""
        field = _text(self.field(label))
        wait_until(lambda: editable(field), f"{label!r} to be editable")
        field.queryEditableText().setTextContents(text)

    def type(self, label, text):
        """Types into a field, key by key; it has the focus then."""
        self.focus(label)
        keys(text)

    def focused(self):
        """The name of what has the focus: a button's caption, a field's label, a list's name."""
        return next((name for _, name in things(self.accessible, state=pyatspi.STATE_FOCUSED)), None)

    def focus(self, label):
        """Gives a field the focus."""
        field = _text(self.field(label))
        field.queryComponent().grabFocus()
        wait_until(lambda: _has(field, pyatspi.STATE_FOCUSED), f"the focus on {label!r}")

    def selection(self, label):
        """The text that is selected in a field."""
        text = _text(self.field(label)).queryText()
        return text.getText(*text.getSelection(0)) if text.getNSelections() else ""

    def thing(self, name):
        """Whatever has that name."""
        return self._find(f"{name!r}", None, name)

    def box(self, name=None):
        """Left, top, width and height on the display, its own or those of the thing with that name."""
        thing = self.thing(name) if name else self.accessible
        return tuple(thing.queryComponent().getExtents(pyatspi.DESKTOP_COORDS))

    def editable(self, label):
        """Whether a person can type into a field."""
        return editable(_text(self.field(label)))

    def list(self, name):
        """The list with that accessible name."""
        return List(self._find(f"the list {name!r}", LISTS, name))


class List:
    """A list or table on a window. Rows count from 0."""

    def __init__(self, accessible):
        self.accessible = accessible
        self._table = accessible.queryTable()

    def count(self):
        return self._table.nRows

    def row(self, index):
        """The texts of a row, one for each column."""
        return [self._table.getAccessibleAt(index, column).name for column in range(self._table.nColumns)]

    def rows(self):
        return [self.row(index) for index in range(self.count())]

    def find(self, text):
        """The first row with that text in one of its columns, as soon as it is there."""
        return wait_until(lambda: [index for index, row in enumerate(self.rows()) if text in row],
                          f"the row of {text!r}")[0]

    def selected(self):
        """The selected row, -1 for none."""
        return next((index for index in range(self.count()) if self._table.isRowSelected(index)), -1)

    def select(self, index):
        """Selects a row as an assistive technology does."""
        self._table.addRowSelection(index)

    def pointed_at(self):
        """The row that the focus is on, -1 for none."""
        return next((index for index in range(self.count())
                     if _has(self._table.getAccessibleAt(index, 0), pyatspi.STATE_FOCUSED)), -1)

    def click(self, index, times=1):
        """Clicks a row with the mouse, twice for a double click, once the wheel has brought it into view."""
        row = self._table.getAccessibleAt(index, 0)

        def seen():
            view, box = _extents(self.accessible), _extents(row)
            up, down = box.y < view.y, box.y + box.height > view.y + view.height
            if up or down:
                xdotool("mousemove", view.x + view.width // 2, view.y + view.height // 2, "click", 4 if up else 5)
            return not up and not down
        wait_until(seen, f"row {index} in view")
        _click(row, times)

    def wait_rows(self, count, timeout=TIMEOUT):
        wait_until(lambda: self.count() == count, f"{count} rows", timeout)


_places = itertools.cycle((5, 20))


def _extents(accessible):
    return accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)


def _click(accessible, times=1):
    # Not where the last click was: two quick ones would be a double click.
    box = _extents(accessible)
    xdotool("mousemove", box.x + next(_places), box.y + box.height // 2,
            "click", "--repeat", times, "--delay", 60, 1)


def _labelled(label):
    for relation in label.getRelationSet():
        if relation.getRelationType() == pyatspi.RELATION_LABEL_FOR:
            return relation.getTarget(0)
    return None


def editable(field):
    return (_has(field, pyatspi.STATE_EDITABLE) and _has(field, pyatspi.STATE_ENABLED) and
            not _has(field, pyatspi.STATE_READ_ONLY))


def _text(field):
    # The text of a combo box is a box within.
    if field.getRole() == pyatspi.ROLE_COMBO_BOX:
        return things(field, _TEXTS)[0][0].within(field)
    return field
