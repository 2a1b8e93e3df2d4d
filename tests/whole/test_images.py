"""The images that viewer and report hand each other."""

from gi.repository import GLib

from case import SystemTest
from person.driver import wait_until
from person.studies import Study

VIEW = {
    "Zoom": GLib.Variant("d", 1.5),
    "FlipHorizontal": GLib.Variant("b", True),
    "DisplayedArea": GLib.Variant("(nnnn)", (10, 20, 500, 480)),
    "Rotation": GLib.Variant("i", 90),
    "WindowCenter": GLib.Variant("d", 40),
    "WindowWidth": GLib.Variant("d", 350),
}


class ImagesOfAReport(SystemTest):

    def setUp(self):
        super().setUp()
        self.study = Study(images=2)
        self.viewers_client = self.client()
        self.report = self.open(self.study, self.viewers_client)
        self.report.fill(title="With images")

    def call(self, member, signature="()", *arguments):
        self.viewers_client.begin(member, signature, *arguments).result(10)

    def add(self, *files):
        self.call("RemoveImagesFromSR")
        for file in files:
            self.call("AddImageToSR", "(sa{sv}s)", file, VIEW, "bone")

    def hand_over(self):
        return self.study.report_files()[-1].parent / "SR.dat"

    def shown(self):
        """The images that the viewer was told to show, as it knew them when it was asked to."""
        known, shown = {}, []
        for event in self.viewer.told:
            if len(event) == 2:
                known[event[0]] = event[1]
            elif event == ("ViewRefertImages",):
                shown.append(dict(known))
        return shown

    def test_stand_beside_the_version_that_was_saved(self):
        self.add("first image", "second image")
        self.report.save()

        lines = self.hand_over().read_text().splitlines()
        self.assertEqual(len(lines), 2)
        self.assertIn("first image", lines[0])
        self.assertIn("bone", lines[0])
        self.assertIn("second image", lines[1])

    def test_are_shown_by_the_viewer_when_the_report_is_opened_again(self):
        self.add(*self.study.images())
        self.report.save()
        self.report.close()
        self.viewer.told.clear()
        self.open(self.study)

        wait_until(lambda: len(self.shown()) == 2, "both images to be shown")
        self.assertEqual([each["SRFilename"] for each in self.shown()], self.study.images())
        view = self.shown()[0]["ViewPars"]
        self.assertEqual(self.shown()[0]["LUTName"], "bone")
        self.assertEqual((view["Zoom"], view["FlipHorizontal"], view["Rotation"], view["WindowWidth"]),
                         (1.5, True, 90, 350))
        self.assertEqual(view["DisplayedArea"], (10, 20, 500, 480))

    def test_are_replaced_by_those_of_the_next_hand_over(self):
        self.add("old")
        self.report.save()
        self.add("new")
        self.report.save()

        [line] = self.hand_over().read_text().splitlines()
        self.assertIn("new", line)

    def test_are_shown_when_a_client_asks_for_it(self):
        self.viewer.told.clear()
        self.call("SendFileInfo", "(sa{sv}s)", "a.dcm", VIEW, "rainbow")

        [shown] = self.shown()
        self.assertEqual((shown["SRFilename"], shown["LUTName"], shown["ViewPars"]["WindowCenter"]),
                         ("a.dcm", "rainbow", 40))

    def test_are_not_shown_without_a_file_or_a_view(self):
        self.viewer.told.clear()
        self.call("SendFileInfo", "(sa{sv}s)", "", VIEW, "")
        self.call("SendFileInfo", "(sa{sv}s)", "a.dcm", {}, "")

        self.assertEqual(self.viewer.told, [])

    def test_leave_the_viewers_list_when_a_client_asks_for_it(self):
        self.viewer.told.clear()
        self.call("RemoveImagesFromRefertList")

        self.assertEqual(self.viewer.told, [("ClearRefertList",)])


class AnUnknownReport(SystemTest):

    def test_is_named_and_not_opened(self):
        client = self.client()
        opening = client.begin("LoadSRSeries", "(s)", "1.2.3")
        self.program(client).confirm("Cannot find SRSeries UID='1.2.3'")
        opening.result(10)

        self.expect_no_window(client)

    def test_of_unreadable_images_is_told_at_length(self):
        client = self.client()
        opening = client.begin("LoadForImgSeries", "(as)", ["/nowhere/image.dcm"])
        message = self.program(client).message("APPLICATION: Quendor --- Function: Esegui --- Error: (")
        self.assertEqual(message.title, "APPLICATION ERROR")
        message.press("OK")
        opening.result(10)

        self.expect_no_window(client)
