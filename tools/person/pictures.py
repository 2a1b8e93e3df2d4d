"""Pictures of the display."""

import os
import time

from PIL import Image, ImageGrab, ImageStat

from person.driver import xdotool


def display_size():
    """Width and height of the display."""
    return tuple(map(int, xdotool("getdisplaygeometry").split()))


def screenshot(path):
    """A picture of the whole display as PNG."""
    _save(_display(), path)


def settled_screenshot(path):
    """A picture that was drawn to the end: the next one is the same. A caret may blink on."""
    before, drawn = None, _display()
    for _ in range(4):
        if drawn == before:
            break
        time.sleep(0.3)
        before, drawn = drawn, _display()
    _save(drawn, path)


def pixels(left, top, width, height):
    """What is seen there on the display, to be compared."""
    return _display((left, top, left + width, top + height)).tobytes()


def brightness(path, left, top, width, height):
    """The mean of a part of a picture, from 0 for black to 1 for white."""
    with Image.open(path) as picture:
        return ImageStat.Stat(picture.crop((left, top, left + width, top + height)).convert("L")).mean[0] / 255


def _display(part=None):
    return ImageGrab.grab(part, xdisplay=os.environ["DISPLAY"])


def _save(picture, path):
    picture.save(path, compress_level=1)  # the least work, as they are many
