"""The viewer falls silent or dies, and the desktop's bus ends, while a report is written."""

import os
import signal
import time

from bus import Client, FurtherBus, RecordingViewer
from case import SystemTest, WorkstationTest, end
from person.driver import Program, wait_until
from person.editor import Editor, seconds
from person.studies import Study, reading_of
from person.viewer import Viewer
from person.workstation import processes, wait_ended

VIEWERS_BOUND = 5  # seconds for an answer


class BesideARealViewer(WorkstationTest):

    def setUp(self):
        self.study, self.other = Study(PatientName="ROSSI^MARIA"), Study(PatientName="VERDI^LUIGI")
        self.viewer = Viewer()
        self.addCleanup(self.viewer.end)
        self.client = Client()
        self.addCleanup(end, self.client)
        self.addCleanup(self.picture_failure)

    def open(self, study):
        seconds.wait()
        self.client.begin("LoadForImgSeries", "(as)", study.images()).result(20)
        seconds.use()
        return Editor(Program("Tavrel", process=self.client.process()))

    def expect_work_goes_on(self):
        report = self.open(self.study)
        for turn in (1, 2):
            report.fill(reading=f"Reading {turn}")
            report.save()
        self.assertEqual([reading_of(each) for each in self.study.versions()], ["Reading 1", "Reading 2"])
        report = self.open(self.other)
        self.assertEqual(report.read("Name"), "VERDI, LUIGI")
        self.assertEqual(report.read("Reading"), "")


class AFrozenViewer(BesideARealViewer):

    def test_delays_the_start_of_the_editor_no_longer_than_its_bound(self):
        os.kill(self.viewer.process.pid, signal.SIGSTOP)
        self.addCleanup(os.kill, self.viewer.process.pid, signal.SIGCONT)
        began = time.monotonic()
        self.client.create()
        self.client.begin("LoadForImgSeries", "(as)", self.other.images()).result(20)
        waited = time.monotonic() - began
        print(f"with a frozen viewer a report was open after {waited:.1f} s", flush=True)
        self.assertLess(waited, VIEWERS_BOUND)
        os.kill(self.viewer.process.pid, signal.SIGCONT)  # it would keep the windows from being looked at
        self.expect_work_goes_on()


class AKilledViewer(BesideARealViewer):

    def test_is_missed_by_no_report(self):
        self.client.create()
        self.expect_work_goes_on()
        self.viewer.process.kill()
        self.viewer.process.wait()
        self.study = Study(PatientName="ROSSI^MARIA")
        self.expect_work_goes_on()
        for process in processes("lumaret"):  # the bus may have started another
            os.kill(process, signal.SIGKILL)


class ABusThatEnds(SystemTest):

    def test_leaves_the_report_that_is_written_until_it_is_closed(self):
        self.bus = FurtherBus("ended")
        self.addCleanup(self.bus.close)
        viewer = RecordingViewer(self.bus.address)
        self.addCleanup(viewer.leave)
        study = Study(PatientName="ROSSI^MARIA")
        client = self.client(self.bus.address)
        process = client.process()
        report = self.open(study, client)
        report.fill(reading="Typed before")
        self.bus.kill()
        report.fill(reading="Typed after")
        report.save()
        self.assertEqual([reading_of(each) for each in study.versions()], ["Typed after"])
        report.fill(reading="Not saved")
        wait_until(lambda: "Unsaved changes" in report.labels(), "the band")
        report.press("Close")
        wait_ended(process)
        again = self.open(study)
        self.assertEqual(again.read("Reading"), "Typed after")
        again.press("Put back")
        wait_until(lambda: again.read("Reading") == "Not saved", "the draft")
