"""Where the editor opens: beside the images, on one screen and on two, and never partly off them."""

import os
import re
import signal
import subprocess
import time

from case import PICTURES, SystemTest, ViewerTest
from person.driver import wait_until, xdotool
from person.pictures import display_size, screenshot
from person.studies import Study
from person.workstation import FOLDER, processes, wait_ended

EDITOR = 720  # as narrow as it becomes


def frame(window):
    """Left, top, right and bottom of a window with its frame."""
    title = re.sub(r"([()])", r"\\\1", window.title)
    number = xdotool("search", "--onlyvisible", "--name", f"^{title}$").split()[-1]
    extents = subprocess.run(["xprop", "-id", number, "-notype", "_NET_FRAME_EXTENTS"], check=True,
                             capture_output=True, text=True).stdout.split("=")
    left, right, top, bottom = map(int, extents[1].split(",")) if len(extents) > 1 else (0, 0, 0, 0)
    x, y, width, height = window.box()
    return x - left, y - top, x + width + right, y + height + bottom


def inside(place, screen):
    return all((place[0] >= screen[0], place[1] >= screen[1], place[2] <= screen[2], place[3] <= screen[3]))


def apart(one, other):
    return one[2] <= other[0] or other[2] <= one[0] or one[3] <= other[1] or other[3] <= one[1]


def settle():
    time.sleep(1)  # a window that was moved has its place then, and the file knows it


def two_screens(test, at):
    """Makes two screens of the display, of which the second begins there, until the test is over."""
    width, height = display_size()
    for number, (left, right) in enumerate(((0, at), (at, width))):
        place = f"{right - left}/{right - left}x{height}/{height}+{left}+0"
        subprocess.run(["xrandr", "--setmonitor", f"VIRTUAL-{number}", place, "none" if number else "screen"],
                       check=True, capture_output=True)
        test.addCleanup(subprocess.run, ["xrandr", "--delmonitor", f"VIRTUAL-{number}"], check=True)


class BesideTheImages(ViewerTest):

    def setUp(self):
        super().setUp()
        self.width, self.height = display_size()

    def tearDown(self):
        (FOLDER / "state" / "tavrel" / "windows").unlink(missing_ok=True)

    def place_viewer(self, left, top, width, height):
        self.viewer.window.place(left, top, width, height)
        settle()

    def frames(self, editor):
        settle()
        return frame(editor.window), frame(self.viewer.window)

    def test_the_editor_opens_on_the_free_side(self):
        room = self.width - EDITOR - 20
        for left in (0, self.width - room):
            with self.subTest(left=left):
                self.place_viewer(left, 0, room, self.height - 60)
                editor = self.viewer.open_report()
                place, images = self.frames(editor)
                screenshot(PICTURES / f"beside-{self.width}-{left}.png")
                self.assertTrue(apart(place, images), (place, images))
                self.assertTrue(inside(place, (0, 0, self.width, self.height)), place)
                editor.close()

    def test_the_editor_that_waited_opens_on_the_screen_that_came_meanwhile(self):
        [waiting] = wait_until(lambda: processes("tavrel"), "the report program")
        left = self.width - EDITOR - 20
        two_screens(self, at=left)
        self.place_viewer(0, 0, left, self.height - 60)
        editor = self.viewer.open_report()
        self.assertEqual(editor.program.process, waiting)
        place, _ = self.frames(editor)
        self.assertTrue(inside(place, (left, 0, self.width, self.height)), place)
        editor.close()

    def test_both_are_seen_and_worked_on_a_small_screen(self):
        self.place_viewer(0, 0, self.width - EDITOR - 20, self.height - 30)
        editor = self.viewer.open_report()
        place, images = self.frames(editor)
        screenshot(PICTURES / f"worked-beside-{self.width}.png")
        self.assertTrue(apart(place, images), (place, images))
        self.viewer.turn()
        self.viewer.add()
        editor.fill(title="Beside the images", reading="Both are seen.")
        editor.save()
        self.assertTrue(inside(frame(editor.window), (0, 0, self.width, self.height)))


class TheEditor(SystemTest):

    def setUp(self):
        super().setUp()
        self.screen = (0, 0, *display_size())
        self.places = FOLDER / "state" / "tavrel" / "windows"
        self.addCleanup(self.places.unlink, missing_ok=True)

    def opened(self):
        editor = self.open(Study())
        settle()
        return editor

    def test_is_not_partly_off_the_screen_at_any_opening(self):
        for turn in range(3):
            editor = self.opened()
            self.assertTrue(inside(frame(editor.window), self.screen), (turn, frame(editor.window)))
            editor.close()
        self.assertFalse(self.places.exists(), "nobody has moved it")

    def test_opens_where_it_was_put(self):
        editor = self.opened()
        editor.window.place(30, 60, 900, 700)
        settle()
        placed = frame(editor.window)
        editor.close()
        for _ in range(2):
            editor = self.opened()
            self.assertEqual(frame(editor.window), placed)
            editor.close()

    def test_that_is_killed_opens_where_it_was_put(self):
        client = self.client()
        editor = self.open(Study(), client)
        settle()
        editor.window.place(30, 60, 900, 700)
        settle()
        placed = frame(editor.window)
        os.kill(client.process(), signal.SIGKILL)
        wait_ended(editor.program.process)
        self.assertEqual(frame(self.opened().window), placed)

    def test_opens_on_the_screen_where_the_person_does_not_look_at_images(self):
        two_screens(self, at=self.screen[2] - EDITOR - 20)
        xdotool("mousemove", 100, 100)
        editor = self.opened()
        screenshot(PICTURES / "two-screens.png")
        self.assertTrue(inside(frame(editor.window), (self.screen[2] - EDITOR - 20, *self.screen[1:])))
