"""A catalogue on a database server that can be stopped, started again and frozen, also in the middle of an action.

Of the engine that DATABASE_ENGINE names (postgresql where it is not set), with database and roles as
docs/installation.md has them made."""

import csv
import os
import re
import shutil
import signal
import socket
import subprocess
import threading
import unittest
from pathlib import Path

from person.driver import wait_until
from person.workstation import CODES, FOLDER, HOSPITAL, PHYSICIAN, ask, replace_catalogue
from service import free_port
from storage import StorageService, copy, serve_all, shut

INSTALLATION = Path(__file__).resolve().parents[2] / "docs/installation.md"
ENGINE = os.environ.get("DATABASE_ENGINE", "postgresql")
DATABASE, OWNER, ROLE = "orbenta", "orbenta_owner", "orbenta"
PASSWORD = "..."  # as the page has it


def statements(heading):
    """What the page has run under that heading."""
    return re.search(rf"^    -- {heading}\n((?:    .+\n)+)", INSTALLATION.read_text(), re.MULTILINE)[1]


class DatabaseServer:
    """A server of the workstation's own. Its programs reach it through a port that counts what they ask, so that a
    fault can come with a certain request. Each engine tells its account, commands and client, and makes the page's
    database, in other words if need be."""

    alone = ()  # what has only one data folder made at a time

    def __init__(self):
        self._folder = FOLDER / self.account
        self._folder.mkdir()
        self._as = []
        if os.geteuid() == 0:  # the server refuses to be root's
            shutil.chown(self._folder, self.account, self.account)
            self._as = ["setpriv", "--reuid", self.account, "--regid", self.account, "--clear-groups"]
            FOLDER.chmod(0o711)
        subprocess.run([*self.alone, *self._as, *self._making()], cwd=self._folder, check=True,
                       stdout=subprocess.DEVNULL)
        self._server = None
        self._lock = threading.RLock()  # a fault may come from the gate's thread
        self._own_port, self.port = free_port(), free_port()
        self._gate = _Gate(self.port, self._own_port)
        self.start()
        self.make_database()

    def ask(self, statement, role=ROLE):
        """The rows that the catalogue answers, past the port that counts."""
        return list(self._rows(self.run(statement, role, check=True).stdout))

    def run(self, statements, role, database=DATABASE, **how):
        """The engine's own client."""
        return subprocess.run(self._client(role, database), input=statements, capture_output=True, text=True, **how)

    def start(self):
        with self._lock:
            if self._server is None or self._server.poll() is not None:
                self._start()

    def _start(self):
        with open(FOLDER / "logs" / f"{self.account}.log", "a") as log:
            self._server = subprocess.Popen([*self._as, *self._serving()], cwd=self._folder, stdout=log, stderr=log)
        wait_until(lambda: self.run("SELECT 1;", self.administrator, self.any_database).returncode == 0,
                   "the database server", 30)
        self._gate.open()

    def stop(self):
        """Ends the server at once; its connections are lost and nobody is let in."""
        with self._lock:
            if self._server.poll() is None:
                self.go_on()
                self._gate.close()
                self._server.send_signal(self.sudden_end)
                self._server.wait(20)

    def restart(self):
        with self._lock:
            self.stop()
            self.start()

    def freeze(self):
        """From now on the server keeps its connections and says nothing."""
        self._signal(signal.SIGSTOP)

    def go_on(self):
        if self._server.poll() is None:
            self._signal(signal.SIGCONT)

    def _signal(self, number):
        # The one that makes the others first, so that none is missed.
        for process in (self._server.pid, *_children(self._server.pid)):
            os.kill(process, number)

    def at_request(self, which, fault):
        """Has `fault` come just before a request is passed on: the one of that number from now on, or the next one that
        holds that text."""
        self._gate.plan(which, fault)

    def requests(self):
        """How much has been asked since the last `at_request`."""
        return self._gate.count


class PostgresqlServer(DatabaseServer):

    account = administrator = any_database = "postgres"
    sudden_end = signal.SIGQUIT

    def _making(self):
        return (self._program("initdb"), "-D", "data", "-U", self.administrator, "-A", "trust", "-E", "UTF8",
                "--locale=C.UTF-8", "--no-sync")

    def _serving(self):
        return (self._program("postgres"), "-D", "data", "-p", str(self._own_port), "-k", str(self._folder),
                "-c", "fsync=off")

    def _program(self, name):
        # Debian keeps the server's programs out of the path.
        return str(max(Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name)) / name)

    def make_database(self, words=str):
        self.run(words(statements("PostgreSQL, as the administrator")), self.administrator, self.any_database,
                 check=True)
        self.run(words(statements("PostgreSQL, connected to the database as orbenta_owner")), words(OWNER),
                 words(DATABASE), check=True)

    def _client(self, role, database):
        address = f"host=127.0.0.1 port={self._own_port} user={role} dbname={database}"
        return ["psql", "-X", "-q", "--csv", "-t", "-v", "ON_ERROR_STOP=1", "-d", address]

    def _rows(self, said):
        return map(tuple, csv.reader(said.splitlines()))


class MariadbServer(DatabaseServer):

    account, administrator, any_database = "mysql", "root", "mysql"
    sudden_end = signal.SIGKILL
    # Two that are made at the same moment have failed one another.
    alone = ("flock", f"/tmp/tavrel-engines.{os.geteuid()}.lock")

    def _making(self):
        return ("mariadb-install-db", "--no-defaults", *self._folders(),
                "--auth-root-authentication-method=normal", "--skip-test-db")

    def _folders(self):
        return f"--datadir={self._folder}/data", f"--tmpdir={self._folder}"

    def _serving(self):
        return ("mariadbd", "--no-defaults", *self._folders(), f"--port={self._own_port}", "--bind-address=127.0.0.1",
                f"--socket={self._folder}/socket", f"--pid-file={self._folder}/pid",
                "--character-set-server=utf8mb4", "--innodb-flush-method=nosync", "--skip-name-resolve")

    def make_database(self, words=str):
        self.run(words(statements("MariaDB, as the administrator")), self.administrator, self.any_database, check=True)

    def _client(self, role, database):
        way = ([f"--socket={self._folder}/socket"] if role == self.administrator else
               ["--protocol=tcp", "--host=127.0.0.1", f"--port={self._own_port}", f"--password={PASSWORD}"])
        # A backslash is a character, as in the programs' connections.
        return ["mariadb", "--no-defaults", "--default-character-set=utf8mb4", *way, f"--user={role}", "--init-command",
                "SET SESSION sql_mode='STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES'", "--raw", "-NB", database]

    def _rows(self, said):
        return (tuple(line.split("\t")) for line in said.splitlines())


def catalogue_on_a_server():
    """The workstation's catalogue is on a server from now on, which ends with the test's module."""
    server = {"postgresql": PostgresqlServer, "mariadb": MariadbServer}[ENGINE]()
    unittest.addModuleCleanup(server.stop)
    password = FOLDER / "password"
    password.write_text(PASSWORD + "\n")
    move_catalogue([["--engine", ENGINE, "--server", "127.0.0.1", "--port", str(server.port), "--database", DATABASE,
                     "--user", role, "--password-file", str(password), *entry]
                    for role, *entry in ((OWNER, "--dsn", "OrbentaOwner"), (ROLE,))], server.ask)
    return server


def _children(process):
    return [int(child) for child in Path(f"/proc/{process}/task/{process}/children").read_text().split()]


def move_catalogue(entries, answers):
    """To where the entries lead, that of the tables' owner first, with the same settings."""
    port, title = ask("SELECT Port, AETitle FROM Port")[0]
    for entry in entries:
        catalogue("odbc", *entry)
    catalogue("init", "--dsn", "OrbentaOwner")
    replace_catalogue(answers)
    catalogue("site", "--base-uid", "2.999.1", "--organization", HOSPITAL, "--node", "ORBENTA")
    catalogue("user", subprocess.run(["id", "-un"], capture_output=True, text=True).stdout.strip(),
               "--signature", PHYSICIAN)
    for kind in ("titles", "bodyparts", "findings", "diagnoses"):
        catalogue("codes", "import", str(CODES / f"{kind}.csv"), "--table", kind)
    catalogue("port", "--port", str(port), "--ae-title", title)
    storage = StorageService()
    storage.kill()
    storage.start()


def catalogue(*arguments):
    """Runs the catalogue tool."""
    subprocess.run(["orbenta-catalogue", *arguments], check=True, stdout=subprocess.DEVNULL)


class _Gate:
    """Passes on what comes to a port, and counts it."""

    def __init__(self, port, target):
        self._port, self._target = port, target
        self._listener = None
        self._ends = []
        self._lock = threading.Lock()
        self.plan(0, None)

    def plan(self, which, fault):
        with self._lock:
            self.count, self._which, self._fault = 0, which, fault

    def open(self):
        # The port may still hold connections that have ended.
        self._listener = socket.create_server(("127.0.0.1", self._port))
        serve_all(self._listener, self._pass)

    def close(self):
        for end in [self._listener, *self._ends]:
            shut(end)
        self._listener.close()
        self._ends.clear()

    def _pass(self, caller):
        with caller, socket.create_connection(("127.0.0.1", self._target)) as server:
            self._ends += [caller, server]
            for end in (caller, server):
                end.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)  # as between the two
            threading.Thread(target=copy, args=(server, caller), daemon=True).start()
            try:
                while asked := caller.recv(65536):
                    if not _awaits_nothing(asked):
                        self._counted(asked)
                    server.sendall(asked)
            except OSError:
                pass
            shut(server)

    def _counted(self, asked):
        with self._lock:
            self.count += 1
            met = self.count == self._which or (isinstance(self._which, str) and self._which.encode() in asked)
            fault = self._fault if met else None
            if met:
                self._fault = None
        if fault:
            fault()


def _awaits_nothing(asked):
    """MariaDB's word that a statement is done with, which comes alone or with the next request."""
    return asked.startswith(b"\5\0\0\0\x19") and len(asked) == 9
