"""The role of the daily work on a database server, as docs/installation.md has it made: it suffices for the programs
and is refused what that page names."""

import re
import subprocess

from case import SystemTest, ViewerTest
from database import DATABASE, ENGINE, INSTALLATION, OWNER, ROLE, catalogue_on_a_server
from person.driver import wait_until
from person.editor import SEARCH
from person.studies import Study
from person.workstation import STUDIES, ask

REFUSED = r"permission denied|must be owner|must be superuser|command denied|Access denied|Invalid role"


def setUpModule():
    global server
    server = catalogue_on_a_server()


def refused_statements():
    """Those of the engine in the page's table."""
    rows = re.findall(r"^\| .+ \| `(.+)` \| (?:`(.+)`|the same) \|$", INSTALLATION.read_text(), re.MULTILINE)
    return [mariadb if mariadb and ENGINE == "mariadb" else postgresql for postgresql, mariadb in rows]


class TheRoleOfTheDailyWork(SystemTest):

    def test_suffices_for_a_report(self):
        study = Study(images=2)  # which the storage service has filed
        report = self.open(study)
        report.fill(heading="Chest X-ray", title="Chest", reading="No effusion.")
        report.save()
        report.approve()
        preview = report.preview()
        preview.press("Close")
        report.close()
        self.assertEqual([version.VerificationFlag for version in study.versions()], ["UNVERIFIED", "VERIFIED"])
        self.assertEqual((study.history(), study.status()), (["View Refert", "Validate Refert"], "VIEWED"))

    def test_suffices_for_the_code_tables(self):
        manager = self.open(Study()).codes("Admin report title")
        manager.press("Add")
        manager.write("Code", "OWN1")
        self.end_with(manager, "A heading of our own")
        self.begin(manager, "Modify", "A heading of our own")
        self.end_with(manager, "A changed heading")
        self.begin(manager, "Delete", "A changed heading")
        self.end_with(manager, None)

    def begin(self, manager, action, meaning):
        manager.write(SEARCH, "")
        manager.type(SEARCH, meaning)
        manager.found.wait_rows(1)
        manager.pick(0)
        manager.press(action)
        wait_until(lambda: manager.read("Code") == "OWN1", "the code to be taken over")

    def end_with(self, manager, meaning):
        """Of the code the table has that meaning then, or nothing."""
        if meaning:
            manager.write("Meaning", meaning)
        manager.press("Done")
        manager.wait_emptied()
        self.assertEqual(ask("SELECT CodeMeaning FROM StdTitles WHERE CodeValue = 'OWN1'"),
                         [(meaning,)] if meaning else [])

    def test_suffices_for_the_check_of_the_catalogue(self):
        study = Study()
        wait_until(lambda: not any(each.stat().st_size for each in (STUDIES / ".incoming").rglob("*.part")),
                   "the storage service to be done with its image")
        ask("DELETE FROM Image WHERE SeriesInstanceUID = ?", study.series_uid)
        subprocess.run(["orbenta-catalogue", "check", "--mend"], stdout=subprocess.DEVNULL)
        self.assertEqual(ask("SELECT count(*) FROM Image WHERE SeriesInstanceUID = ?", study.series_uid), [("1",)])
        subprocess.run(["orbenta-catalogue", "check"], check=True, stdout=subprocess.DEVNULL)

    def test_leaves_a_missing_column_to_the_owner(self):
        server.run("ALTER TABLE Study DROP COLUMN AccessionNumber", OWNER, check=True)
        subprocess.run(["orbenta-catalogue", "check", "--mend"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertNotEqual(server.run("SELECT AccessionNumber FROM Study", ROLE).returncode, 0)
        subprocess.run(["orbenta-catalogue", "check", "--mend", "--dsn", "OrbentaOwner"], stdout=subprocess.DEVNULL)
        self.assertEqual(server.run("SELECT AccessionNumber FROM Study", ROLE).returncode, 0)

    def test_that_may_read_alone_is_told_by_the_check_what_it_lacks(self):
        tables = {"postgresql": "ALL TABLES IN SCHEMA public", "mariadb": f"{DATABASE}.*"}[ENGINE]
        rights = f"UPDATE, DELETE ON {tables}"
        server.run(f"REVOKE {rights} FROM {ROLE}", server.administrator, check=True)
        self.addCleanup(server.run, f"GRANT {rights} TO {ROLE}", server.administrator, check=True)
        said = subprocess.run(["orbenta-catalogue", "check"], capture_output=True, text=True)
        self.assertEqual(said.returncode, 1)
        self.assertIn("role on the server lacks UPDATE on every table, DELETE on every table (", said.stdout)

    def test_is_refused_what_the_page_names(self):
        for statement in refused_statements():
            with self.subTest(statement):
                said = server.run(statement, ROLE)
                self.assertNotEqual(said.returncode, 0)
                self.assertRegex(said.stderr, REFUSED)

    def test_sees_nothing_of_another_workstations_database(self):
        # A name that MariaDB would take for this one's, but for the page's word on "_".
        server.make_database(lambda page: page.replace("ON orbenta.", r"ON `orbent\_`.").replace("orbenta", "orbent_"))
        for statement in ("SELECT * FROM Patient", "DELETE FROM Patient", "CREATE TABLE Note (Number INTEGER)"):
            said = server.run(statement, "orbent_")
            self.assertNotEqual(said.returncode, 0)
            self.assertRegex(said.stderr, REFUSED)


class TheRoleBeforeTheViewer(ViewerTest):

    def test_suffices_to_find_images_and_a_report(self):
        editor = self.viewer.open_report()
        self.viewer.add()
        editor.fill(title="Chest CT")
        editor.save()
        wait_until(lambda: self.viewer.reports(), "the report in the list")
        self.viewer.report_images.wait_rows(1)
