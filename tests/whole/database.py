"""A catalogue on a database server that can be stopped, started again and frozen, also in the middle of an action."""

import csv
import os
import shutil
import signal
import socket
import subprocess
import threading
from pathlib import Path

from person.driver import wait_until
from person.workstation import CODES, FOLDER, HOSPITAL, PHYSICIAN, ask, replace_catalogue
from service import free_port
from storage import StorageService, copy, serve_all, shut

ROLE = "orbenta"


class DatabaseServer:
    """A PostgreSQL server of the workstation's own. Its programs reach it through a port that counts what they ask,
    so that a fault can come with a certain request."""

    engine = "postgresql"

    def __init__(self):
        self._folder = FOLDER / "postgres"
        self._folder.mkdir()
        self._as = []
        if os.geteuid() == 0:  # the server refuses to be root's
            shutil.chown(self._folder, "postgres", "postgres")
            self._as = ["setpriv", "--reuid", "postgres", "--regid", "postgres", "--clear-groups"]
            FOLDER.chmod(0o711)
        self._programs = max(Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name))
        self._run("initdb", "-D", "data", "-U", ROLE, "-A", "trust", "-E", "UTF8", "--locale=C.UTF-8", "--no-sync")
        self._server = None
        self._lock = threading.RLock()  # a fault may come from the gate's thread
        self._own_port, self.port = free_port(), free_port()
        self._gate = _Gate(self.port, self._own_port)
        self.start()

    def _command(self, name, *arguments):
        return [*self._as, str(self._programs / name), *arguments]

    def _run(self, name, *arguments):
        subprocess.run(self._command(name, *arguments), cwd=self._folder, check=True, stdout=subprocess.DEVNULL)

    def create_database(self):
        subprocess.run(["createdb", "-h", "127.0.0.1", "-p", str(self._own_port), "-U", ROLE, ROLE], check=True)

    def query(self, statement):
        """Past the port that counts."""
        return ask_postgresql(statement, self._own_port)

    def start(self):
        with self._lock:
            if self._server is None or self._server.poll() is not None:
                self._start()

    def _start(self):
        with open(FOLDER / "logs" / "postgres.log", "a") as log:
            self._server = subprocess.Popen(
                self._command("postgres", "-D", "data", "-p", str(self._own_port), "-k", str(self._folder), "-c",
                              "fsync=off"), cwd=self._folder, stdout=log, stderr=log)
        wait_until(lambda: subprocess.run(["pg_isready", "-q", "-h", "127.0.0.1", "-p", str(self._own_port)])
                   .returncode == 0, "the database server", 30)
        self._gate.open()

    def stop(self):
        """Ends the server at once; its connections are lost and nobody is let in."""
        with self._lock:
            if self._server.poll() is None:
                self.go_on()
                self._gate.close()
                self._server.send_signal(signal.SIGQUIT)
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

    def at_request(self, count, fault):
        """Has `fault` come just before that many further requests have been passed on."""
        self._gate.plan(count, fault)

    def requests(self):
        """How much has been asked since the last `at_request`."""
        return self._gate.count


def _children(process):
    return [int(child) for child in Path(f"/proc/{process}/task/{process}/children").read_text().split()]


def ask_postgresql(statement, port):
    said = subprocess.run(["psql", "-X", "-q", "--csv", "-t", "-h", "127.0.0.1", "-p", str(port), "-U", ROLE, "-d", ROLE,
                           "-c", statement], check=True, capture_output=True, text=True)
    return [tuple(row) for row in csv.reader(said.stdout.splitlines())]


def ask_mariadb(statement, port):
    said = subprocess.run(["mariadb", "--batch", "--raw", "--skip-column-names", "--default-character-set=utf8mb4",
                           "-h", "127.0.0.1", "-P", str(port), "-u", ROLE, f"-p{ROLE}", ROLE, "-e", statement],
                          check=True, capture_output=True, text=True)
    return [tuple(line.split("\t")) for line in said.stdout.splitlines()]


class EngineServer:
    """A server of tests/support/engines, beside which the tests run then. Its role's password is its name."""

    def __init__(self, engine):
        self.engine = engine
        self.port = int(os.environ["PGPORT" if engine == "postgresql" else "MYSQL_TCP_PORT"])

    def create_database(self):
        pass  # it is there

    def query(self, statement):
        return (ask_postgresql if self.engine == "postgresql" else ask_mariadb)(statement, self.port)


def move_catalogue_to(server):
    """The workstation's catalogue is on that server from now on, with the same settings."""
    port, title = ask("SELECT Port, AETitle FROM Port")[0]
    password = FOLDER / "password"
    password.write_text(ROLE)
    _catalogue("odbc", "--engine", server.engine, "--database", ROLE, "--user", ROLE, "--password-file", str(password),
               "--server", "127.0.0.1", "--port", str(server.port))
    server.create_database()
    replace_catalogue(server.query)
    _catalogue("init")
    _catalogue("site", "--base-uid", "2.999.1", "--organization", HOSPITAL, "--node", "ORBENTA")
    _catalogue("user", subprocess.run(["id", "-un"], capture_output=True, text=True).stdout.strip(),
               "--signature", PHYSICIAN)
    for kind in ("titles", "bodyparts", "findings", "diagnoses"):
        _catalogue("codes", "import", str(CODES / f"{kind}.csv"), "--table", kind)
    _catalogue("port", "--port", str(port), "--ae-title", title)
    storage = StorageService()
    storage.kill()
    storage.start()


def _catalogue(*arguments):
    subprocess.run(["orbenta-catalogue", *arguments], check=True, stdout=subprocess.DEVNULL)


class _Gate:
    """Passes on what comes to a port, and counts it."""

    def __init__(self, port, target):
        self._port, self._target = port, target
        self._listener = None
        self._ends = []
        self._lock = threading.Lock()
        self.plan(0, None)

    def plan(self, count, fault):
        with self._lock:
            self.count, self._at, self._fault = 0, count, fault

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
            threading.Thread(target=copy, args=(server, caller), daemon=True).start()
            try:
                while asked := caller.recv(65536):
                    self._counted()
                    server.sendall(asked)
            except OSError:
                pass
            shut(server)

    def _counted(self):
        with self._lock:
            self.count += 1
            fault = self._fault if self.count == self._at else None
        if fault:
            fault()
