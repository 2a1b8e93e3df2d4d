"""The icons by which a desktop tells the windows apart."""

import subprocess

from case import ViewerTest
from person.driver import wait_until

SIZES = {16, 24, 32, 48, 64, 128}


def ask(*words):
    return subprocess.run(["xprop", *words], check=True, capture_output=True, text=True).stdout


def icons():
    """The sizes of the icon of each window on the screen, by the window's program."""
    found = {}
    for window in ask("-root", "-notype", "_NET_CLIENT_LIST").partition("#")[2].replace(",", " ").split():
        program = ask("-id", window, "-notype", "WM_CLASS").split('"')[1]
        found.setdefault(program, []).append(sizes_of(window))
    return found


def sizes_of(window):
    _, _, words = ask("-id", window, "-len", "400000", "-notype", "32c", " = $0+\\n", "_NET_WM_ICON").partition(" = ")
    numbers = [int(word) for word in words.replace(",", " ").split()]
    sizes = set()
    while numbers:
        width, height = numbers[:2]
        sizes.add(width)
        numbers = numbers[2 + width * height :]
    return sizes


class EveryWindow(ViewerTest):
    def test_has_its_programs_icon_in_every_usual_size(self):
        report = self.viewer.open_report()
        manager = report.codes("Admin report title")
        wait_until(lambda: len(icons().get("tavrel", [])) == 2, "two windows of the editor")

        self.assertEqual(icons(), {"lumaret": [SIZES], "tavrel": [SIZES, SIZES]})
        manager.close()
        report.close()
