"""An archive of other people's (Orthanc), that is started, killed and asked what it holds; and a workstation's storage
service that forwards to it."""

import os
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "kills"))

from objects import EDITOR, STORED, Association, make_object  # noqa: E402
from service import Lost, Room, free_port  # noqa: E402

ARCHIVE = "ARCHIVE"
QUEUED, WAITING, COMMITTED = ("SELECT count(*) FROM Outgoing", "SELECT count(*) FROM Outgoing WHERE State<>'committed'",
                              "SELECT SOPInstanceUID FROM Outgoing WHERE State='committed'")


class Certificates:
    """Of an archive and of the workstations, by one authority; and one by another."""

    def __init__(self, folder):
        self.folder = Path(folder)
        for authority, names in (("authority", ("archive", "workstation")), ("stranger", ("intruder",))):
            self._make(authority, "-x509", "-subj", f"/CN={authority}")
            for name in names:
                self._make(name, "-x509", "-subj", f"/CN={name}", "-CA", self.folder / f"{authority}.pem", "-CAkey",
                           self.folder / f"{authority}.key", "-addext", "basicConstraints=CA:FALSE")

    def of(self, name):
        return self.folder / f"{name}.pem", self.folder / f"{name}.key"

    def _make(self, name, *arguments):
        certificate, key = self.of(name)
        subprocess.run(["openssl", "req", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-keyout", key, "-out",
                        certificate, *map(str, arguments)], check=True, capture_output=True)


class Archive:
    def __init__(self, answers, tls=None):
        """`answers` is the port at which the workstations hear of storage commitment."""
        self.folder = Path(tempfile.mkdtemp(prefix="tavrel-orthanc."))
        self.port, self.process = free_port(), None
        secured = "" if tls is None else f"""
    "DicomTlsEnabled": true, "DicomTlsRemoteCertificateRequired": true,
    "DicomTlsCertificate": "{tls.of("archive")[0]}", "DicomTlsPrivateKey": "{tls.of("archive")[1]}",
    "DicomTlsTrustedCertificates": "{tls.of("authority")[0]}","""
        (self.folder / "archive.json").write_text(f"""{{
    "Name": "archive", "StorageDirectory": "{self.folder}/files", "IndexDirectory": "{self.folder}/files",
    "HttpServerEnabled": false, "Plugins": [], "SyncStorageArea": true, "SaveJobs": false,{secured}
    "DicomAet": "{ARCHIVE}", "DicomPort": {self.port}, "DicomCheckCalledAet": true,
    "DicomModalities": {{ "orbenta": {{ "AET": "PORVANE", "Host": "127.0.0.1", "Port": {answers},
                                       "UseDicomTls": {"true" if tls else "false"} }} }}
}}""")

    def start(self):
        environment = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin"}
        with open(self.folder / "log", "a") as log:
            self.process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", "Orthanc",
                                             self.folder / "archive.json"], stdout=log, stderr=log, env=environment)
        for _ in range(300):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", self.port)) == 0:
                    return
            if self.process.poll() is not None:
                break
            time.sleep(0.05)
        raise Lost("the archive does not start: " + (self.folder / "log").read_text()[-2000:])

    def kill(self, how=signal.SIGKILL):
        self.process.send_signal(how)
        self.process.wait()

    def instances(self):
        """The SOP Instance UIDs that it holds, in the order of their coming. It is not running."""
        index = sqlite3.connect(self.folder / "files/index")
        try:
            return [uid for uid, in index.execute(
                "SELECT value FROM DicomIdentifiers JOIN Resources ON Resources.internalId=DicomIdentifiers.id "
                "WHERE tagGroup=8 AND tagElement=24 AND resourceType=4 ORDER BY Resources.internalId")]
        finally:
            index.close()

    def close(self):
        if self.process and self.process.poll() is None:
            self.kill()
        shutil.rmtree(self.folder)


class Workstation(Room):
    """A storage service that forwards."""

    options = ()

    def start(self, wait=True, tracer=()):
        with open(self.folder / "porvane.log", "a") as log:
            self.process = subprocess.Popen(
                [*tracer, self.programs / "porvane", "--dsn", self.entry, "--studies", self.studies,
                 "--unsent", self.unsent, *map(str, self.options)], env=self.environment, stdout=log, stderr=log)
        if wait:
            self.wait_served()

    def store(self, item, caller=EDITOR):
        sender = Association(self.port, caller)
        try:
            if (status := sender.store(item)) != STORED:
                raise Lost(f"the service refused an object: {status:04X}\n{self.log()[-2000:]}")
        finally:
            sender.close()
        self.sent[item.uid] = item

    def helper(self, number):
        """Another service on the same catalogue, which forwards what this one stores."""
        return Helper(self, number)

    def number(self, query):
        return int(self.ask(query)[0][0])

    def wait_archived(self, seconds):
        end = time.monotonic() + seconds
        while (left := self.number(WAITING)) > 0 or self.number(QUEUED) < len(self.sent):
            if time.monotonic() > end:
                rows = self.ask("SELECT State, count(*), MAX(LastWords) FROM Outgoing GROUP BY State")
                raise Lost(f"{left} objects are not archived: {rows}\n{self.log()[-3000:]}")
            time.sleep(0.2)


class Helper:
    """Stores nothing; it forwards, and hears no answers. It reads its port when it starts."""

    def __init__(self, station, number):
        self._station, self._process, self._number = station, None, number

    def start(self):
        station, port = self._station, free_port()
        station.ask(f"UPDATE Port SET Port={port}")
        at = station.options.index("--archive-answers")
        options = [*station.options[:at], *station.options[at + 2:]]
        with open(station.folder / f"porvane{self._number}.log", "a") as log:
            self._process = subprocess.Popen(
                [station.programs / "porvane", "--dsn", station.entry, "--studies",
                 station.folder / f"other{self._number}", "--unsent", station.folder / "none", *map(str, options)],
                env=station.environment, stdout=log, stderr=log)
        end = time.monotonic() + 30
        while socket.socket().connect_ex(("127.0.0.1", port)) != 0:
            if time.monotonic() > end:
                raise Lost("another service does not start")
            time.sleep(0.02)

    def kill(self):
        self._process.kill()
        self._process.wait()

    def close(self):
        if self._process:
            self.kill()
