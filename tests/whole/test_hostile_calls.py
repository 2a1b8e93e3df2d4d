"""A client on the bus that sends what no viewer would, before real windows."""

import time
from pathlib import Path

from gi.repository import GLib

from bus import Client
from case import SystemTest
from person.studies import Study

MEGABYTE = 2 ** 20
SOON = 5  # seconds, on a busy machine too


def view_of(count):
    """So many view parameters that nobody knows."""
    return {f"Unknown{number}": GLib.Variant("s", "x" * 100) for number in range(count)}


def memory_of(process):
    """Megabytes."""
    [line] = [line for line in Path(f"/proc/{process}/status").read_text().splitlines() if line.startswith("VmRSS:")]
    return int(line.split()[1]) / 1024


class AHostileClient(SystemTest):

    def setUp(self):
        super().setUp()
        self.hostile = self.client()

    def expect_told_soon(self, words, member, signature, *arguments):
        began = time.monotonic()
        call = self.hostile.begin(member, signature, *arguments)
        said = self.program(self.hostile).confirm(words)
        call.result(10)
        waited = time.monotonic() - began
        print(f"{member}: told within {waited:.1f} s", flush=True)
        self.assertLess(waited, SOON)
        self.assertLess(len(said), 1000)

    def test_is_told_soon_that_no_series_has_so_long_a_uid(self):
        for size in (1, 10):
            self.expect_told_soon("Cannot find SRSeries UID='1111", "LoadSRSeries", "(s)", "1" * size * MEGABYTE)

    def test_is_told_soon_that_no_file_has_so_long_a_name(self):
        for size in (1, 10):
            self.expect_told_soon("APPLICATION: Quendor --- Function: Esegui --- Error: ", "LoadForImgSeries",
                                  "(as)", ["/" + "x" * size * MEGABYTE])

    def test_is_told_soon_that_no_image_has_so_long_a_name(self):
        for member in ("AddImageToSR", "SendFileInfo"):
            self.expect_told_soon(f"{member} The name of the image is longer than 4096 characters: xxxx", member,
                                  "(sa{sv}s)", "x" * 10 * MEGABYTE, {"Zoom": GLib.Variant("d", 2)}, "")

    def test_costs_little_with_twenty_thousand_view_parameters(self):
        began = time.monotonic()
        self.hostile.begin("RemoveImagesFromSR").result(10)
        self.hostile.begin("AddImageToSR", "(sa{sv}s)", "a.dcm", view_of(20_000), "").result(10)
        self.assertLess(time.monotonic() - began, SOON)

    def test_may_make_a_thousand_objects_and_vanish(self):
        before = memory_of(self.hostile.process())
        began = time.monotonic()
        flood = Client()
        for _ in range(1000):
            flood.create()
        flood.connection.close_sync()
        grown = memory_of(self.hostile.process()) - before
        print(f"a thousand objects: {time.monotonic() - began:.1f} s, {grown:.0f} MB", flush=True)
        self.assertLess(grown, 50)
        study = Study()
        self.open(study, self.client()).close()
