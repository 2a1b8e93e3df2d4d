"""The storage service falls silent, is started again, or answers that it failed: each version is kept and stored once,
and the editor goes on."""

import time

from case import SystemTest
from faults import STORING, TYPED, Saving, expect_waiting
from person.driver import wait_until
from person.studies import Study, reading_of
from storage import FailingService, StorageService

ANSWERS = ((0xA700, "it is out of resources, status A700"),
           (0xA900, "the document does not match its kind, status A900"),
           (0xC000, "it cannot understand the document, status C000"),
           (0x0110, "it failed to process the document, status 0110"),
           (0x0111, "it has this document already, status 0111"),
           (0x0117, "the document's UID is not valid, status 0117"),
           (0x0122, "it does not take this kind of document, status 0122"),
           (0x0124, "this workstation may not store there, status 0124"),
           (0xFE00, "the storing was cancelled, status FE00"),
           (0x0106, "it failed, status 0106"))


class ServiceTest(SystemTest):

    def setUp(self):
        super().setUp()
        self.storage = StorageService()
        self.study = Study(PatientName="ROSSI^MARIA")
        self.save = Saving(self, self.study)

    def expect_saved(self):
        self.save.begin()
        self.assertEqual(self.save.outcome(), [])
        self.assertTrue(self.save.done())

    def expect_stored(self, count):
        wait_until(lambda: len(self.study.report_files()) == count, f"{count} versions", 40)
        self.assertEqual({reading_of(each) for each in self.study.versions()}, {TYPED})
        self.assertEqual(len({each.SOPInstanceUID for each in self.study.versions()}), count)

    def expect_clean_for_another(self):
        other = Study(PatientName="VERDI^LUIGI")
        self.save.client.begin("LoadForImgSeries", "(as)", other.images()).result(15)
        self.assertEqual(self.save.report.read("Name"), "VERDI, LUIGI")
        self.assertEqual(self.save.report.read("Reading"), "")


class AServiceThatAnswersThatItFailed(ServiceTest):

    def test_is_told_in_words_and_the_version_is_stored_later(self):
        port = self.storage.port
        failing = FailingService(port, 0)
        self.addCleanup(failing.close)
        self.addCleanup(self.storage.call_at, port)
        self.storage.call_at(failing.port)
        for status, words in ANSWERS:
            with self.subTest(words):
                failing.status = status
                self.save.begin()
                [said] = self.save.outcome()
                self.assertIn(f"the service answered that {words}. It is kept in the file ", said)
                self.assertTrue(self.save.kept())
        self.storage.call_at(port)
        self.expect_saved()
        self.expect_stored(len(ANSWERS) + 1)
        self.expect_clean_for_another()


class ASilentService(ServiceTest):

    def setUp(self):
        super().setUp()
        self.addCleanup(self.storage.go_on)

    def test_is_waited_for_while_the_window_can_be_moved(self):
        for _ in range(2):
            self.storage.freeze()
            self.save.begin()
            expect_waiting(self, self.save.report.window, STORING)
            self.storage.go_on()
            self.assertEqual(self.save.outcome(), [])
        self.expect_stored(2)
        self.expect_clean_for_another()

    def test_is_given_up_and_what_it_stored_all_the_same_is_there_once(self):
        self.storage.freeze()
        self.save.begin()
        began = time.monotonic()
        [said] = self.save.outcome(within=60)
        print(f"a silent service: told after {time.monotonic() - began:.1f} s", flush=True)
        self.assertRegex(said, r"did not answer|cannot be reached")
        self.assertIn("It is kept in the file ", said)
        self.storage.go_on()
        self.expect_saved()
        self.expect_stored(2)
        self.expect_clean_for_another()


class AServiceThatIsStartedAgain(ServiceTest):

    def test_between_two_saves_is_noticed_by_nobody(self):
        for turn in range(1, 3):
            self.storage.kill()
            self.storage.start()
            self.expect_saved()
            self.expect_stored(turn)
        self.expect_clean_for_another()
