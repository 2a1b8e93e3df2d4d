"""The clock is set back and forth, the time zone changes, and there is a leap day: versions keep their order."""

import glob

from bus import FurtherBus, RecordingViewer
from case import SystemTest
from person.driver import wait_until
from person.studies import Study, predecessors_of, reading_of
from person.workstation import FOLDER, program

LIBRARY = glob.glob("/usr/lib/*/faketime/libfaketimeMT.so.1")


class ClockTest(SystemTest):
    """The report program's clock, and its alone, is set by hand. Reports and versions are named by the second in which
    they are made: each test has days of its own."""

    start = "2027-06-15 12:00:00"

    def setUp(self):
        super().setUp()
        self.assertTrue(LIBRARY, "libfaketime is not installed")
        self.clock, self.zone = FOLDER / "time", FOLDER / "zone"
        self.set(self.start)
        self.zone.write_text("UTC")
        script = FOLDER / "with-a-clock"
        script.write_text(f'''#!/bin/sh
export TZ=$(cat "{self.zone}") LD_PRELOAD={LIBRARY[0]} FAKETIME_TIMESTAMP_FILE="{self.clock}"
export FAKETIME_NO_CACHE=1 FAKETIME_DONT_FAKE_MONOTONIC=1 DONT_FAKE_MONOTONIC=1
exec {program("tavrel")} "$@"
''')
        script.chmod(0o755)
        self.bus = FurtherBus("clock", script)
        self.addCleanup(self.bus.close)
        viewer = RecordingViewer(self.bus.address)
        self.addCleanup(viewer.leave)
        self.study = Study(PatientName="ROSSI^MARIA", PatientBirthDate="19600229")

    def set(self, when):
        """The clock stands at that time of the program's zone."""
        self.clock.write_text(when + "\n")

    def open_with_clock(self, study=None):
        return self.open(study or self.study, self.client(self.bus.address))

    def save(self, report, reading):
        before = report.versions.count()
        report.fill(reading=reading)
        report.press("Save")
        wait_until(lambda: report.versions.count() == before + 1, "the version to be shown", 15)
        report.wait_idle()

    def expect_versions(self, *readings):
        """They are stored, and shown in the order in which they were written by a program that starts now."""
        versions = self.study.versions()
        self.assertEqual([reading_of(each) for each in versions], list(readings))
        uids = [each.SOPInstanceUID for each in versions]
        self.assertEqual([predecessors_of(each) for each in versions], [uids[:place] for place in range(len(uids))])
        report = self.open_with_clock()
        self.assertEqual(report.versions.count(), len(readings))
        self.assertEqual(report.read("Reading"), readings[-1])
        self.assertTrue(report.enabled("Save"))
        return report


class AClockThatIsSet(ClockTest):

    def expect_in_order(self, *times):
        self.set(times[0])
        report = self.open_with_clock()
        for number, when in enumerate(times):
            self.set(when)
            self.save(report, f"Reading {number}")
        self.assertEqual(report.read("Reading"), f"Reading {len(times) - 1}")
        report.close()
        report = self.expect_versions(*(f"Reading {number}" for number in range(len(times))))
        report.close()

    def test_back_and_forth_leaves_the_versions_in_their_order(self):
        self.expect_in_order("2027-06-15 12:00:00", "2027-06-15 11:00:00", "2027-06-16 12:00:00",
                             "2020-01-01 00:00:00", "2027-06-15 11:30:00")

    def test_to_the_second_of_an_older_version_keeps_both(self):
        self.expect_in_order("2027-07-15 12:00:00", "2027-07-15 12:00:10", "2027-07-15 12:00:00",
                             "2027-07-15 12:00:00")

    def test_to_the_second_of_another_studys_report_is_told_and_the_text_kept(self):
        self.set("2027-10-15 12:00:00")
        report = self.open_with_clock(Study(PatientName="VERDI^LUIGI"))
        self.save(report, "Of Verdi")
        report.close()
        report = self.open_with_clock()
        report.fill(reading="Of Rossi")
        report.press("Save")
        said = report.confirm("The version could not be stored ")
        self.assertIn('("the series belongs to another study"). It is kept in the file ', said)
        self.assertEqual(report.read("Reading"), "Of Rossi")
        self.set("2027-10-15 12:00:01")
        report.press("New")
        wait_until(lambda: report.versions.count() == 0, "the new report")
        self.save(report, "Of Rossi")
        report.close()
        self.expect_versions("Of Rossi")

    def test_back_keeps_what_is_typed_as_a_draft(self):
        self.set("2027-08-15 12:00:00")
        report = self.open_with_clock()
        self.save(report, "Saved")
        self.set("2027-08-14 12:00:00")
        report.fill(reading="Typed")
        report.close()
        report = self.open_with_clock()
        report.press("Put back")
        wait_until(lambda: report.read("Reading") == "Typed", "the draft")


class ATimeZoneThatChanges(ClockTest):

    def test_leaves_the_versions_in_their_order(self):
        for number, zone in enumerate(("Europe/Rome", "America/New_York", "Asia/Tokyo")):
            self.zone.write_text(zone)
            self.set("2027-09-15 12:00:00" if number == 0 else f"2027-09-15 0{number}:00:00")
            report = self.open_with_clock()
            self.save(report, f"Reading {number}")
            report.close()
        self.expect_versions("Reading 0", "Reading 1", "Reading 2")


class ALeapDay(ClockTest):

    def test_is_a_day_like_any_other(self):
        self.set("2028-02-29 23:59:59")
        report = self.open_with_clock()
        self.save(report, "On the leap day")
        self.assertEqual(report.read("Last updated"), "29/02/2028 23:59:59")
        self.assertEqual(report.read("Birth date"), "29/02/1960")
        self.assertIn("Saved at 29/02/2028 23:59:59", report.labels())
        self.set("2028-03-01 00:00:00")
        self.save(report, "On the day after")
        report.close()
        self.expect_versions("On the leap day", "On the day after")
        [first, _] = self.study.versions()
        self.assertEqual((first.ContentDate, first.ContentTime[:6]), ("20280229", "235959"))
