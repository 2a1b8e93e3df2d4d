"""A node of the catalogue's cluster is killed at a random moment of what a physician does: what is said, that the open
report stays, and that a version is stored once or kept and said to be so."""

import collections
import os
import subprocess
import time

from case import SystemTest, end
from cluster import catalogue_on_a_cluster
from faults import TYPED, Approving, Coding, Opening, Printing, Saving, expect_done
from person.driver import wait_until
from person.editor import seconds
from person.studies import Study, reading_of
from person.workstation import FOLDER

UNSENT = FOLDER / "state" / "tavrel" / "unsent"
KILLS = int(os.environ.get("NODE_KILLS", "5"))
KEPT = "It is kept in the file"
WITHIN = 0.5  # seconds from an action's begin, most of which it is over after
BOUND = 60  # seconds after which something is over


def setUpModule():
    global cluster
    cluster = catalogue_on_a_cluster()


class ANodeKilledAtARandomMoment(SystemTest):

    def test_costs_no_report_and_doubles_none(self):
        self.seen = collections.defaultdict(list)
        self.addCleanup(self.tell)
        self.approved = self.reported(PatientName="VERDI^LUIGI")
        report = self.open(self.approved)
        report.approve()
        report.close()
        for kill in range(KILLS):
            kind = (Saving, Opening, Approving, Coding, Printing)[kill % 5]
            with self.subTest(kill=kill, kind=kind.__name__):
                self.kill_within(kind)
        cluster.whole()
        said = subprocess.run(["orbenta-catalogue", "check"], capture_output=True, text=True).stdout
        self.assertIn("the catalogue and the files of all studies agree", said)

    def kill_within(self, kind):
        cluster.whole()
        action = self.new(kind)
        seconds.wait()
        cluster.kill_first_within(WITHIN)
        began = time.monotonic()
        action.begin()
        said = action.outcome(BOUND)
        self.note(kind, said, time.monotonic() - began)
        self.assertTrue(action.kept(), said)
        self.assertTrue(said or action.done())
        self.expect_stored_once(kind, said, action.done())
        action.resume()
        if action.done():
            action.finish()
        else:
            expect_done(self, action)
        end(action.client)

    def new(self, kind):
        """The action at a report of its own."""
        self.study = self.approved if kind is Printing else Study(PatientName="ROSSI^MARIA")
        return Opening(self, self.study, self.approved) if kind is Opening else kind(self, self.study)

    def expect_stored_once(self, kind, said, done):
        """What was typed is a version once where it was called saved or kept, and else at most once."""
        if kind not in (Saving, Approving):
            return
        wait_until(lambda: not any(each.stat().st_size for each in UNSENT.glob("*.dcm")), "what was kept to be stored",
                   BOUND)
        stored = [reading_of(version) for version in self.study.versions()].count(TYPED)
        self.assertLessEqual(stored, 1, said)
        if done or any(KEPT in words for words in said):
            self.assertEqual(stored, 1, said)

    def note(self, kind, said, seconds_taken):
        words = " ".join(KEPT if KEPT in each else each for each in said) or "nothing"
        self.seen[kind.__name__, words].append(seconds_taken)

    def tell(self):
        print("\n| action | said | times | after |\n|---|---|---|---|")
        for (kind, words), times in sorted(self.seen.items()):
            print(f"| {kind} | {words} | {len(times)} | {min(times):.1f} to {max(times):.1f} s |", flush=True)
