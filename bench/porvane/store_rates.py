#!/usr/bin/python3
"""How long an object takes to be stored, sent by unmodified dcmsend processes:

    store_rates.py PROGRAMS FOLDER OBJECTS ROUNDS [SENDERS...]

In turns, on the disk of FOLDER: a bare loop that writes and syncs a file, then appends to a small log and syncs that;
porvane on a SQLite catalogue; Orthanc, which syncs its storage too. Prints a line for each run: the name, the seconds
of an object, and 0."""

import contextlib
import json
import os
import shutil
import socket
import subprocess
import sys
import time
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[2] / "tests/kills"))
from objects import make_object  # noqa: E402  (behind the path to it)

PIXELS = 32768  # of two bytes
ORTHANC_SHARE = 5  # of the objects; it takes as many times longer
QUIET = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def make_files(folder, count):
    """As many as are sent by one sender, of a series of their own."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    study = f"2.999.9.{time.time_ns()}"
    for number in range(count):
        (folder / f"{number:06}.dcm").write_bytes(make_object(study, study + ".1", pixels=PIXELS).file())


def bare_loop(folder, count):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    data, line = os.urandom(2 * PIXELS), os.urandom(100)
    log = os.open(folder / "log", os.O_WRONLY | os.O_CREAT | os.O_APPEND, 0o600)
    begun = time.monotonic()
    for number in range(count):
        file = os.open(folder / str(number), os.O_WRONLY | os.O_CREAT, 0o600)
        os.write(file, data)
        os.fsync(file)
        os.close(file)
        os.write(log, line)
        os.fsync(log)
    seconds = time.monotonic() - begun
    os.close(log)
    return seconds / count


def send_all(port, title, files, senders, count):
    """The seconds of an object, from the start of the senders to the end of the last one."""
    for number in range(senders):
        make_files(files / str(number), count // senders)
    os.sync()
    begun = time.monotonic()
    running = [subprocess.Popen(["dcmsend", "-aec", title, "+sd", "127.0.0.1", str(port), files / str(number)], **QUIET)
               for number in range(senders)]
    if any([each.wait() for each in running]):
        sys.exit(f"{title} refused an object")
    return (time.monotonic() - begun) / (count // senders * senders)


@contextlib.contextmanager
def service(port, *command, **settings):
    process = subprocess.Popen(command, **settings, **QUIET)
    try:
        for _ in range(200):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
                break
            time.sleep(0.05)
        yield port
    finally:
        process.terminate()
        process.wait()


def porvane(programs, folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    port = free_port()
    environment = {**os.environ, "ODBCINI": str(folder / "odbc.ini"),
                   "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
    for arguments in (("odbc", "--engine", "sqlite", "--database", folder / "catalogue.db"), ("init",),
                      ("port", "--port", port, "--ae-title", "PORVANE")):
        subprocess.run([programs / "orbenta-catalogue", *map(str, arguments)], env=environment, check=True, **QUIET)
    return service(port, programs / "porvane", "--studies", folder / "studies", "--unsent", folder / "unsent",
                   env=environment)


def orthanc(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    port = free_port()
    (folder / "orthanc.json").write_text(json.dumps({
        "Name": "ORTHANC", "DicomAet": "ORTHANC", "DicomPort": port, "HttpServerEnabled": False,
        "SyncStorageArea": True, "StorageDirectory": str(folder / "db"), "IndexDirectory": str(folder / "db"),
        "DicomCheckCalledAet": False}))
    return service(port, "Orthanc", folder / "orthanc.json")


def main():
    programs, folder, count, rounds = Path(sys.argv[1]), Path(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
    folder.mkdir(parents=True, exist_ok=True)
    for _ in range(rounds):
        for senders in map(int, sys.argv[5:] or ("1", "8")):
            print(f"bare {senders}", bare_loop(folder / "bare", count), 0, sep="\t", flush=True)
            with porvane(programs, folder / "porvane") as port:
                seconds = send_all(port, "PORVANE", folder / "files", senders, count)
                print(f"porvane {senders}", seconds, 0, sep="\t", flush=True)
            if shutil.which("Orthanc"):
                with orthanc(folder / "orthanc") as port:
                    seconds = send_all(port, "ORTHANC", folder / "files", senders, max(count // ORTHANC_SHARE, senders))
                    print(f"orthanc {senders}", seconds, 0, sep="\t", flush=True)
    shutil.rmtree(folder)


main()
