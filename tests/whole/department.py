"""A department: one catalogue on a database server, and workstations on it that have each an account of the server, a
port, a storage service, a session bus and a state of their own."""

import os
import re
import shutil
import signal
import socket
import subprocess
import unittest

from bus import FurtherBus, RecordingViewer
from database import ENGINE, INSTALLATION, OWNER, catalogue, catalogue_on_a_server, statements
from person.driver import wait_until
from person.workstation import FOLDER, STUDIES, replace_catalogue
from service import free_port
from storage import StorageService

OWNERS_ENTRY = ("--dsn", "OrbentaOwner")
PAGES_NAME = {"postgresql": "PostgreSQL", "mariadb": "MariaDB"}[ENGINE]


def department_of(first, *others):
    """The test's own workstation is the first of a department from now on, as docs/installation.md has it made of a
    catalogue that has served one; answers the server and the others. All of it ends with the test's module."""
    server = catalogue_on_a_server()
    server.run(statements(f"{PAGES_NAME}, for a department, as the administrator"), server.administrator,
               server.any_database, check=True)
    # The rows of a workstation's own are no other account's, not even the owner's.
    replace_catalogue(lambda statement: server.ask(statement, OWNER))
    catalogue("department", "init", "--former", first, *OWNERS_ENTRY)
    join(first, os.environ["ODBCINI"])
    storage = StorageService()
    storage.kill()
    storage.start()
    return server, [Workstation(name) for name in others]


def page_commands(heading):
    """What docs/installation.md has run in its chapter on departments, under that heading."""
    chapter = re.search(r"^## A department\n(.*?)^## ", INSTALLATION.read_text(), re.MULTILINE | re.DOTALL)[1]
    part = re.search(rf"^### {heading}\n(.*?)(?=^### |\Z)", chapter, re.MULTILINE | re.DOTALL)[1]
    return re.findall(r"^    ((?:orbenta-catalogue|install|chgrp|chmod|find) .+)$", part, re.MULTILINE)


def join(name, file, *options):
    """A workstation of that name has its entry in `file`."""
    catalogue("department", "join", "--name", name, "--file", str(file), *options, *OWNERS_ENTRY)


class Workstation:
    """A workstation beside the test's own. Its editor is on `address`, where a client asks for it
    (`self.client(workstation.address)`), its windows are on the same display. Its service may run as another account of
    the machine, which is then in that group."""

    def __init__(self, name, studies=STUDIES, account=None, group=None):
        self.name, self.folder = name, FOLDER / name
        self.folder.mkdir()
        self.port, self.studies = free_port(), studies
        self._as = ["setpriv", "--reuid", str(account), "--regid", str(account), "--groups", str(group),
                    "--inh-caps=-all"] if account else []
        join(name, self.folder / "odbc.ini", "--port", str(self.port), "--ae-title", "PORVANE", "--machine", name)
        self.environment = {"ODBCINI": str(self.folder / "odbc.ini"), "XDG_STATE_HOME": str(self.folder / "state")}
        if account:
            shutil.chown(self.folder, account)
            shutil.chown(self.folder / "odbc.ini", account)
            FOLDER.chmod(0o711)
        self._bus = FurtherBus(name, **self.environment)
        self.address = self._bus.address
        self.viewer = RecordingViewer(self.address)
        self._service = None
        unittest.addModuleCleanup(self._end)
        self.start_service()

    def start_service(self):
        with open(FOLDER / "logs" / f"porvane-{self.name}.log", "a") as log:
            self._service = subprocess.Popen(
                [*self._as, "porvane", "--studies", str(self.studies)], stdout=log, stderr=log,
                env={**os.environ, **self.environment, "DBUS_SESSION_BUS_ADDRESS": self.address})
        wait_until(self._serves, f"the storage service of {self.name}")

    def _serves(self):
        with socket.socket() as caller:
            return caller.connect_ex(("127.0.0.1", self.port)) == 0

    def kill_service(self):
        self._service.send_signal(signal.SIGKILL)
        self._service.wait()

    def service_ended(self):
        return self._service.poll() is not None

    def tool(self, *arguments):
        """What the catalogue tool says at this workstation."""
        return subprocess.run(["orbenta-catalogue", *arguments], env={**os.environ, **self.environment},
                              capture_output=True, text=True)

    def _end(self):
        self.viewer.leave()
        self._service.terminate()
        self._service.wait()
        self._bus.close()
