"""The workstation itself: its folder, its catalogue, its programs."""

import os
import shutil
import sqlite3
from pathlib import Path

from person.driver import wait_until

FOLDER = Path(os.environ["TAVREL_WORKSTATION"])
STUDIES = FOLDER / "studies"
HOSPITAL = "Orbenta General Hospital"
PHYSICIAN = "Bianchi^Anna"
CODES = Path(__file__).resolve().parents[2] / "suite" / "catalogue" / "codes"
_ask_server = None  # of the catalogue, if it is no file


def replace_catalogue(ask_server):
    """The catalogue is on a server from now on; what is given answers a statement's rows."""
    global _ask_server
    _ask_server = ask_server


def ask(statement, *values):
    """The rows that the catalogue answers; a server's are texts."""
    if _ask_server:
        for value in values:
            statement = statement.replace("?", "'{}'".format(str(value).replace("'", "''")), 1)
        return _ask_server(statement)
    catalogue = sqlite3.connect(FOLDER / "catalogue.db", timeout=10)
    try:
        with catalogue:
            return catalogue.execute(statement, values).fetchall()
    finally:
        catalogue.close()


def program(name):
    """The path of a program of the suite."""
    return Path(shutil.which(name)).resolve()


def processes(name):
    """The workstation's processes of that program."""
    found = []
    for folder in Path("/proc").glob("[0-9]*"):
        try:
            ours = f"TAVREL_WORKSTATION={FOLDER}".encode() in (folder / "environ").read_bytes().split(b"\0")
            if ours and (folder / "exe").resolve().name == name:
                found.append(int(folder.name))
        except OSError:
            pass  # it has ended
    return found


def ended(process):
    """Whether a process has ended, be it that its parent has not taken notice of it yet: that of what the bus starts is
    the machine's first process, and some look but every two seconds."""
    try:
        state = Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    except OSError:
        return True
    return state[0] == "Z" and state[17] == "1"  # none of its threads is left


def wait_ended(process):
    wait_until(lambda: ended(process), f"the process {process} to end")
