"""The catalogue's server ends, or falls silent, in the middle of what a physician does: what is said, what is kept,
and that it goes on."""

import time

from case import SystemTest, ViewerTest, end
from database import catalogue_on_a_server
from faults import STORING, WAITING, Approving, Coding, Opening, Printing, Saving, expect_done, expect_waiting
from person.driver import wait_until
from person.studies import Study
from person.workstation import FOLDER

UNSENT = FOLDER / "state" / "tavrel" / "unsent"
GONE = "database cannot be opened: |connection to the database was lost: "
SILENT = "The database has not answered for 20 seconds."
BOUND = 20  # seconds for one answer of the database
AUDIT, FILING = "INSERT INTO History", "INSERT INTO Image"  # requests of an opening and of a storing
MOST_REQUESTS = 40  # of one action


def setUpModule():
    global server
    server = catalogue_on_a_server()


class DatabaseTest(SystemTest):

    approved = None

    def setUp(self):
        super().setUp()
        self.addCleanup(server.start)
        if not DatabaseTest.approved:
            DatabaseTest.approved = self.reported(PatientName="VERDI^LUIGI")
            report = self.open(DatabaseTest.approved)
            report.approve()
            report.close()

    def new(self, kind):
        """The action at a report of its own."""
        if kind is Printing:
            return Printing(self, self.approved)
        self.study = Study(PatientName="ROSSI^MARIA")
        return Opening(self, self.study, self.approved) if kind is Opening else kind(self, self.study)

    def start(self):
        """Starts the server, and waits until what was kept meanwhile is stored."""
        server.start()
        wait_until(lambda: not list(UNSENT.glob("*.dcm")), "what was kept to be stored", 30)


class AServerThatEnds(DatabaseTest):
    """It is started again once its end has been told."""

    def expect_told(self, kind, request):
        """The action meets the end with that request, twice."""
        action = self.new(kind)
        for _ in range(2):
            server.at_request(request, server.stop)
            action.begin()
            self.assertRegex("\n".join(action.outcome()), GONE)
            self.assertTrue(action.kept())
            self.start()
            action.resume()
        expect_done(self, action)
        return action

    def test_in_the_middle_of_an_opening_leaves_the_open_report(self):
        self.expect_told(Opening, AUDIT)

    def test_in_the_middle_of_a_save_loses_no_version(self):
        action = self.expect_told(Saving, FILING)
        action.report.close()
        self.assertEqual(self.open(self.study).versions.count(), 3)

    def test_before_an_approval_leaves_a_report_that_can_be_approved(self):
        self.expect_told(Approving, 1)

    def test_in_the_middle_of_coding_leaves_the_report_as_it_was(self):
        self.expect_told(Coding, 1)

    def test_in_the_middle_of_printing_leaves_a_report_that_can_be_printed(self):
        self.expect_told(Printing, "Update Report")


class AServerThatEndsWithAnyRequest(DatabaseTest):

    def expect_survived(self, kind):
        for request in range(1, MOST_REQUESTS):
            action = self.new(kind)
            server.at_request(request, server.stop)
            action.begin()
            with self.subTest(request=request):
                action.outcome()
                self.assertTrue(action.kept())
            met = server.requests() >= request
            server.at_request(0, None)
            self.start()
            if not met:
                break  # each has met it
            with self.subTest(request=request):
                action.resume()
                if not action.done():
                    expect_done(self, action)
            end(action.client)
        print(f"{kind.__name__}: {request - 1} requests", flush=True)

    def test_of_an_opening_mixes_no_patients(self):
        self.expect_survived(Opening)

    def test_of_a_save_loses_nothing(self):
        self.expect_survived(Saving)

    def test_of_an_approval_loses_nothing(self):
        self.expect_survived(Approving)

    def test_of_coding_loses_nothing(self):
        self.expect_survived(Coding)

    def test_of_printing_loses_nothing(self):
        self.expect_survived(Printing)


class AServerThatIsStartedAgain(DatabaseTest):

    def test_between_two_actions_is_noticed_by_nobody(self):
        for kind in (Opening, Saving, Approving, Coding, Printing):
            with self.subTest(kind.__name__):
                action = self.new(kind)
                server.restart()
                expect_done(self, action)
                end(action.client)


class AServerThatFallsSilent(DatabaseTest):
    """It keeps its connections, and answers later or never."""

    def setUp(self):
        super().setUp()
        self.addCleanup(server.go_on)

    def expect_waited_for(self, kind, request, words=WAITING):
        action = self.new(kind)
        server.at_request(request, server.freeze)
        action.begin()
        window = action.codes.window if kind is Coding else action.report.window
        expect_waiting(self, window, words)
        server.go_on()
        self.assertEqual(action.outcome(), [])
        self.assertTrue(action.done())
        self.assertTrue(action.kept())
        action.finish()
        expect_done(self, action)

    def test_for_a_moment_of_an_opening_is_waited_for(self):
        self.expect_waited_for(Opening, AUDIT)

    def test_for_a_moment_of_a_save_is_waited_for(self):
        self.expect_waited_for(Saving, "FROM Port")

    def test_for_a_moment_of_storing_is_waited_for(self):
        self.expect_waited_for(Saving, FILING, STORING)

    def test_for_a_moment_of_coding_is_waited_for(self):
        self.expect_waited_for(Coding, 1)

    def test_for_a_moment_of_printing_is_waited_for(self):
        self.expect_waited_for(Printing, "Update Report")


class AServerThatStaysSilent(DatabaseTest):

    def setUp(self):
        super().setUp()
        self.addCleanup(server.go_on)

    def expect_given_up(self, kind, request, answers=1):
        """The action waits for so many answers, each within the bound."""
        bound = answers * BOUND + 5
        action = self.new(kind)
        server.at_request(request, server.freeze)
        action.begin()
        began = time.monotonic()
        said = action.outcome(within=2 * bound)
        print(f"{kind.__name__} at request {request}: over after {time.monotonic() - began:.1f} s, {said}", flush=True)
        self.assertLess(time.monotonic() - began, bound)
        self.assertIn(SILENT, "\n".join(said))
        self.assertTrue(action.kept())
        server.go_on()
        action.resume()
        expect_done(self, action)

    def test_in_the_middle_of_an_opening_leaves_the_open_report(self):
        self.expect_given_up(Opening, AUDIT)

    def test_before_a_save_is_told_and_keeps_what_is_typed(self):
        self.expect_given_up(Saving, 1)

    def test_while_the_version_is_stored_loses_no_version(self):
        self.expect_given_up(Saving, FILING, answers=2)  # the service's, and that with the list of headings

    def test_before_an_approval_leaves_a_report_that_can_be_approved(self):
        self.expect_given_up(Approving, 1)

    def test_in_the_middle_of_coding_leaves_the_report_as_it_was(self):
        self.expect_given_up(Coding, 1)

    def test_in_the_middle_of_printing_leaves_a_report_that_can_be_printed(self):
        self.expect_given_up(Printing, "Update Report")


class TheViewersSearch(ViewerTest):

    def search(self):
        self.viewer.begin_search(self.study.patient)

    def expect_found(self):
        wait_until(lambda: self.viewer.said() == "One study.", "the study")
        wait_until(lambda: self.viewer.series.count() == 1, "its series")

    def test_goes_on_once_the_server_is_there_again(self):
        self.addCleanup(server.start)
        for _ in range(2):
            server.stop()
            self.search()
            self.viewer.wait_said("The catalogue cannot be read: The ")
            server.start()
            self.search()
            self.expect_found()

    def test_of_a_silent_server_says_so_and_leaves_the_window_alive(self):
        self.addCleanup(server.go_on)
        for _ in range(2):
            before = self.viewer.picture()
            server.freeze()
            self.search()
            self.viewer.wait_said("Searching ...")
            self.viewer.press("Flip horizontally")
            wait_until(lambda: self.viewer.picture() != before, "the image flipped")
            self.assertEqual(self.viewer.said(), "Searching ...")
            server.go_on()
            self.expect_found()
