"""A storage service on a catalogue of its own, that is started, killed and judged."""

import contextlib
import os
import random
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from objects import SERVICE, Association, data_set

ENGINES = ("sqlite", "postgresql", "mariadb")
ROWS = ("SELECT Image.SOPInstanceUID, Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image "
        "LEFT JOIN Series ON Series.SeriesInstanceUID=Image.SeriesInstanceUID "
        "LEFT JOIN Study ON Study.StudyInstanceUID=Series.StudyInstanceUID")
TABLES = ("Image", "Series", "Study", "Patient", "Port")


class Lost(AssertionError):
    """Something that was answered is not there whole and once, or something else is there by half."""


NO_TRACING = 77


def tracing_refused():
    """Why no process may be traced here; empty when it may."""
    tried = subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True, text=True)
    return tried.stderr.strip() if tried.returncode != 0 else ""


def require_tracing(what):
    """Ends the run where no process may be traced."""
    if refused := tracing_refused():
        print(f"No {what} here, where no process may be traced: {refused}")
        sys.exit(NO_TRACING)


class Room:
    """A catalogue of an engine, a folder of studies and one of kept versions. `programs` is where the suite's
    programs are; the servers are those of tests/support/engines; `setting` is a text of a SQLite file's entry and
    what stands there instead; `within` is a folder for all of it."""

    def __init__(self, programs, engine, setting=None, within=None):
        self.programs, self.engine = Path(programs), engine
        self.folder = Path(tempfile.mkdtemp(prefix="tavrel-kills.", dir=within))
        self.studies, self.unsent = self.folder / "disk/data/studies", self.folder / "disk/unsent"
        self.unsent.mkdir(parents=True)
        self.catalogue = self.folder / "disk/catalogue.db"
        self.environment = {**os.environ, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent",
                            "XDG_STATE_HOME": str(self.folder / "state")}
        self.entry = f"DicomFDB_{engine}"
        if engine == "sqlite":
            self.environment["ODBCINI"] = str(self.folder / "odbc.ini")
            self.tool("odbc", "--engine", "sqlite", "--database", self.catalogue)
            if setting:
                entry = self.folder / "odbc.ini"
                entry.write_text(entry.read_text().replace(*setting))
        self.tool("init")
        self.sent, self.answered, self.kept = {}, set(), set()
        self.process = None
        self.clear()

    def tool(self, *arguments):
        """What the catalogue's tool says."""
        done = subprocess.run([self.programs / "orbenta-catalogue", "--dsn", self.entry, *map(str, arguments)],
                              env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.stdout

    def ask(self, statement):
        if self.engine == "sqlite":
            catalogue = sqlite3.connect(self.catalogue, timeout=10)
            try:
                with catalogue:
                    return [[str(field) for field in row] for row in catalogue.execute(statement)]
            finally:
                catalogue.close()
        client = (["psql", "-qAtX", "-F", "\t", "-c", statement] if self.engine == "postgresql" else
                  ["mariadb", "--no-defaults", "--protocol=tcp", "--raw", "-NBu", "orbenta", "-porbenta", "orbenta",
                   "-e", statement])
        told = subprocess.run(client, env=self.environment, check=True, capture_output=True, text=True).stdout
        return [line.split("\t") for line in told.splitlines()]

    def clear(self):
        """Empties it, at a port that is free."""
        shutil.rmtree(self.studies, ignore_errors=True)
        for table in TABLES:
            self.ask(f"DELETE FROM {table}")
        self.port = free_port()
        self.ask(f"INSERT INTO Port (Port, AETitle) VALUES ({self.port}, '{SERVICE}')")
        self.sent.clear()
        self.answered.clear()
        self.kept.clear()

    def start(self, wait=True, tracer=()):
        with open(self.folder / "porvane.log", "a") as log:
            self.process = subprocess.Popen(
                [*tracer, self.programs / "porvane", "--dsn", self.entry, "--studies", self.studies,
                 "--unsent", self.unsent], env=self.environment, stdout=log, stderr=log)
        if wait:
            self.wait_served()

    def wait_served(self):
        """Until an association is taken. A service that has ended is a Lost."""
        end = time.monotonic() + 60
        while not self.serves():
            if self.process.poll() is not None or time.monotonic() > end:
                raise Lost(f"the service does not start, in {self.folder}\n{self.log()[-2000:]}")
            time.sleep(0.003)

    def serves(self):
        """Whether it takes an association; all that it found at its start is settled then."""
        try:
            Association(self.port, "JUDGE").close()
            return True
        except OSError:
            return False

    def kill(self, how=signal.SIGKILL):
        self.process.send_signal(how)
        self.process.wait()

    def log(self):
        return (self.folder / "porvane.log").read_text(errors="replace")

    def close(self):
        if self.process:
            self.kill()
        shutil.rmtree(self.folder)

    def keep(self, version):
        """As the editor does: whole at once."""
        self.sent[version.uid] = version
        self.kept.add(version.uid)
        half = self.unsent / f".{version.uid}"
        half.write_bytes(version.file())
        half.rename(self.unsent / f"{version.uid}.dcm")

    def judge(self):
        """What was answered is there once and whole, what was kept there or still kept, and nothing else is there
        that was not sent, in the catalogue as on the disk. The service has started again and rests."""
        rows = self.ask(ROWS)
        uids = [row[0] for row in rows]
        self._expect("catalogued twice", [uid for uid in set(uids) if uids.count(uid) > 1])
        self._expect("answered and not catalogued", self.answered - set(uids))
        self._expect("catalogued and never sent", set(uids) - set(self.sent))
        files = {uid: Path(path.replace("\\", "/")) / series / file for uid, path, series, file in rows}
        self._expect("catalogued and not whole", [uid for uid in uids if not self._whole(files[uid], uid)])
        self._expect("on the disk and in no row", self._objects() - set(files.values()))
        named = {identity(file) for file in files.values()} | {identity(self.folder / "gone meanwhile")}
        self._expect("left in the incoming areas", [each for each in self._received() if identity(each) not in named])
        self._expect("not kept any longer and not stored", [
            uid for uid in self.kept - set(uids) if not self._whole(self.unsent / f"{uid}.dcm", uid)])

    def _objects(self):
        incoming = self.studies / ".incoming"
        return {each for each in self.studies.rglob("*") if each.is_file() and incoming not in each.parents}

    def _received(self):
        """What lies in the areas; names that were made ahead have nothing in them. A former name may go meanwhile."""
        for each in (self.studies / ".incoming").glob("*/*"):
            with contextlib.suppress(FileNotFoundError):
                if each.name != "lock" and (each.is_symlink() or each.stat().st_size > 0):
                    yield each

    def check(self):
        """The catalogue's tool finds what `judge` finds."""
        if "catalogue and the files of all studies agree" not in (said := self.tool("check")):
            raise Lost(f"orbenta-catalogue check, in {self.folder}:\n{said}")

    def _whole(self, file, uid):
        try:
            return data_set(file.read_bytes()) == self.sent[uid].data
        except OSError:
            return False

    def _expect(self, what, found):
        if found:
            raise Lost(f"{what}: {sorted(map(str, found))[:5]}, in {self.folder}\n{self.log()[-3000:]}")


def identity(file):
    """Which no other file has."""
    try:
        state = file.stat()
    except FileNotFoundError:
        return None
    return state.st_dev, state.st_ino


def free_port():
    """Below the ports that outgoing connections take."""
    while True:
        port = random.randrange(20000, 32000)
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) != 0:
                return port
