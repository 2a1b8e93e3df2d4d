"""Pictures of the display, taken and measured with ImageMagick."""

import subprocess

from person.driver import xdotool


def display_size():
    """Width and height of the display."""
    return tuple(map(int, xdotool("getdisplaygeometry").split()))


def screenshot(path):
    """A picture of the whole display as PNG."""
    subprocess.run(["import", "-window", "root", str(path)], check=True)


def settled_screenshot(path):
    """A picture that was drawn to the end: the next one is the same. A caret may blink on."""
    before = None
    for _ in range(5):
        screenshot(path)
        drawn = _magick("identify", "-format", "%#", path)
        if drawn == before:
            return
        before = drawn


def pixels(left, top, width, height):
    """What is seen there on the display, to be compared."""
    return _magick("import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "+repage", "rgb:-")


def brightness(path, left, top, width, height):
    """The mean of a part of a picture, from 0 for black to 1 for white."""
    return float(_magick("convert", path, "-crop", f"{width}x{height}+{left}+{top}", "-colorspace", "gray",
                         "-format", "%[fx:mean]", "info:"))


def _magick(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout
