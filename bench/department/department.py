"""A department in one folder: a database server with one catalogue, and as many workstations as are asked for, each in a
network namespace of its own where that is allowed."""

import contextlib
import csv
import functools
import os
import pathlib
import random
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
CODES = ROOT / "suite" / "catalogue" / "codes"
CLUSTERS, PROXY = ROOT / "tests" / "support" / "clusters", ROOT / "tests" / "support" / "haproxy.cfg"
FINDINGS = 5000  # of the department's table, beside those of the suite
OWNER, OWNERS_ENTRY, PASSWORD = "orbenta", "OrbentaOwner", "orbenta"
STUDIES = "studies"
BRIDGE, LINK, SERVER, NETWORK = "department", "desk", "10.77.0.1", 16
CONNECTIONS = 1000  # that the server takes; a desk keeps three: its editor, its viewer, its storage service
PATIENCE = 120  # seconds, for whatever is awaited


class Failure(Exception):
    """Why the department cannot be laid or judged."""


def run(*command, **how):
    """What a program prints; one that fails speaks through the failure."""
    ended = subprocess.run([str(word) for word in command], capture_output=True, text=True, **how)
    if ended.returncode != 0:
        raise Failure(f"{command[0]} ended with status {ended.returncode}: {ended.stderr.strip() or ended.stdout.strip()}")
    return ended.stdout


def wait_until(condition, what, seconds=PATIENCE):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise Failure(f"{what} has not come in {seconds} seconds")
        time.sleep(0.05)


# The network

def own_network():
    """Begins this program again in a network namespace of its own, where that is allowed."""
    if os.geteuid() != 0 or "DEPARTMENT_NETWORK" in os.environ:
        return
    if subprocess.run(["unshare", "--net", "true"], stderr=subprocess.DEVNULL).returncode == 0:
        os.environ["DEPARTMENT_NETWORK"] = BRIDGE
        os.execvp("unshare", ["unshare", "--net", "sh", "-c", 'ip link set lo up && exec "$@"', "sh", sys.executable,
                              *sys.argv])


def networks_apart():
    return "DEPARTMENT_NETWORK" in os.environ


@functools.cache
def lay_network():
    """The server's end of it. Answers the server's address."""
    if not networks_apart():
        return "127.0.0.1"
    # With an address of its own: otherwise it takes another one with each link, and packets go astray meanwhile.
    run("ip", "link", "add", BRIDGE, "address", "02:00:00:00:00:01", "type", "bridge")
    run("ip", "address", "add", f"{SERVER}/{NETWORK}", "dev", BRIDGE)
    run("ip", "link", "set", BRIDGE, "up")
    return SERVER


def bytes_on_network():
    """What has passed between the server and the desks' networks."""
    received, sent = 1, 9  # columns of the kernel's table
    lines = pathlib.Path("/proc/net/dev").read_text().splitlines()
    desks = [line.replace(":", " ").split() for line in lines if line.lstrip().startswith(LINK)]
    return sum(int(fields[received]) + int(fields[sent]) for fields in desks)


def free_port():
    """Below the ports that outgoing connections take."""
    while True:
        port = random.randrange(20000, 32000)
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) != 0:
                return port


# The database

class PostgresqlServer:
    """One server that waits for the disk as it comes from Debian."""

    name, engine = "PostgreSQL", "postgresql"

    def __init__(self, folder):
        self._folder = folder / "server"
        self._folder.mkdir()
        self._as = []
        if os.geteuid() == 0:  # the server refuses to be root's
            shutil.chown(self._folder, "postgres", "postgres")
            self._as = ["setpriv", "--reuid", "postgres", "--regid", "postgres", "--clear-groups"]
        self._programs = max(pathlib.Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name))
        self.address, self.port = lay_network(), free_port()
        self._password = folder / "password"
        self._password.write_text(PASSWORD + "\n")
        self._password.chmod(0o644)
        run(*self._as, self._programs / "initdb", "-D", self._folder / "data", "-U", OWNER, "-A", "scram-sha-256",
            "--pwfile", self._password, "-E", "UTF8", "--locale=C.UTF-8", cwd=self._folder)
        with open(self._folder / "data" / "pg_hba.conf", "a") as rules:
            rules.write(f"host all all {SERVER}/{NETWORK} scram-sha-256\n")
        self._server = subprocess.Popen(
            [*self._as, "setpriv", "--pdeathsig", "INT", self._programs / "postgres", "-D", self._folder / "data",
             "-p", str(self.port), "-k", self._folder, "-c", f"listen_addresses=127.0.0.1,{self.address}",
             "-c", f"max_connections={CONNECTIONS}"],
            cwd=self._folder, stdout=(self._folder / "log").open("w"), stderr=subprocess.STDOUT)
        wait_until(lambda: self._client("postgres", "SELECT 1", check=False).returncode == 0, "the database server")
        self._client("postgres", "CREATE DATABASE orbenta")

    def _client(self, database, statement, check=True):
        address = f"host=127.0.0.1 port={self.port} user={OWNER} password={PASSWORD} dbname={database}"
        ended = subprocess.run(["psql", "-X", "-q", "--csv", "-t", "-d", address, "-c", statement],
                               capture_output=True, text=True)
        if check and ended.returncode != 0:
            raise Failure(ended.stderr)
        return ended

    def rows(self, statement):
        return list(csv.reader(self._client("orbenta", statement).stdout.splitlines()))

    def entry(self):
        return ("--server", self.address, "--port", self.port, "--database", "orbenta", "--user", OWNER,
                "--password-file", self._password)

    def counters(self):
        """What grows with the work, by name."""
        [(synced, written, size)] = self.rows(
            "SELECT wal_sync, wal_bytes, pg_database_size('orbenta') FROM pg_stat_wal")
        return {"syncs of the database": int(synced), "bytes of the database's log": int(written),
                "bytes of the database": int(size)}

    def tables(self):
        """Of each table that grows with the reports: rows and bytes, indexes included."""
        return {table: [int(figure) for figure in self.rows(
            f"SELECT count(*), pg_total_relation_size('{table.lower()}') FROM {table}")[0]]
            for table in ("Patient", "Study", "Series", "Image", "History")}

    def waits(self):
        """What the sessions that work wait for at this moment: name to how many."""
        rows = self.rows("SELECT coalesce(wait_event_type || ': ' || wait_event, 'working'), count(*) FROM"
                         " pg_stat_activity WHERE datname = 'orbenta' AND state <> 'idle' AND pid <> pg_backend_pid()"
                         " GROUP BY 1")
        return {what: int(sessions) for what, sessions in rows}

    def stop(self):
        self._server.send_signal(signal.SIGINT)
        self._server.wait(PATIENCE)


def own_cluster(bin_folder):
    """Begins this program again beside three nodes of MariaDB Galera."""
    if "CLUSTER_NODE" not in os.environ:
        os.environ["TAVREL_BIN"] = str(bin_folder)
        os.execv(CLUSTERS, [str(CLUSTERS), "galera", sys.executable, *sys.argv])


class GaleraCluster:
    """Three nodes behind HAProxy, which wait for no disk: what one has committed the others have as well."""

    name, engine = "MariaDB Galera", "mariadb"
    serving = "galera-1"  # the node that HAProxy turns to first

    def __init__(self, folder):
        self.address, self.port = lay_network(), int(os.environ["MYSQL_TCP_PORT"])
        self._proxy = None
        if networks_apart():  # the cluster's own proxy is to be reached from within the server alone
            self.port = free_port()
            nodes = re.sub(r"NODE(\d):3306", rf"127.0.0.1\1:{os.environ['GALERA_PORT']}", PROXY.read_text())
            (folder / "haproxy.cfg").write_text(nodes.replace("ADDRESS:PORT", f"{self.address}:{self.port}"))
            self._proxy = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", "haproxy", "-f", folder / "haproxy.cfg",
                                            "-db"], stderr=(folder / "haproxy.log").open("w"))
        self._password = folder / "password"
        self._password.write_text(PASSWORD + "\n")
        wait_until(lambda: self._client("SELECT 1", check=False).returncode == 0, "the cluster")
        for node in (1, 2, 3):
            self._as_root(f"galera-{node}", f"SET GLOBAL max_connections = {CONNECTIONS}")

    def _as_root(self, node, statement):
        return subprocess.run(["mariadb", "--no-defaults", "--user=root", "-NB", "-e", statement,
                               f"--socket={os.environ['ENGINES_FOLDER']}/mysql/{node}.socket"],
                              capture_output=True, text=True).stdout

    def _client(self, statement, check=True):
        ended = subprocess.run(["mariadb", "--no-defaults", "--protocol=tcp", f"--host={self.address}",
                                f"--port={self.port}", f"--user={OWNER}", f"--password={PASSWORD}", "--raw", "-NB", "-e",
                                statement, "orbenta"], capture_output=True, text=True)
        if check and ended.returncode != 0:
            raise Failure(ended.stderr)
        return ended

    def rows(self, statement):
        return [line.split("\t") for line in self._client(statement).stdout.splitlines()]

    def entry(self):
        return ("--server", self.address, "--port", self.port, "--database", "orbenta", "--user", OWNER,
                "--password-file", self._password)

    def counters(self):
        status = dict(self.rows("SHOW GLOBAL STATUS LIKE 'wsrep_%'"))
        return {"bytes between the nodes": int(status["wsrep_replicated_bytes"]),
                "transactions that another node's undid":
                    int(status["wsrep_local_cert_failures"]) + int(status["wsrep_local_bf_aborts"])}

    def tables(self):
        return {}  # the engine guesses

    def waits(self):
        sessions = self._as_root(
            self.serving, "SELECT coalesce(nullif(STATE, ''), COMMAND), count(*) FROM information_schema.PROCESSLIST"
            " WHERE COMMAND <> 'Sleep' AND USER LIKE 'desk%' GROUP BY 1")
        return {what: int(count) for what, count in (line.split("\t") for line in sessions.splitlines())}

    def kill_node(self):
        run(os.environ["CLUSTER_NODE"], "kill", self.serving)

    def stop(self):
        if self._proxy:
            self._proxy.terminate()
            self._proxy.wait()


# The workstations

class Workstation:
    """Begun at once, at work from `plugged` on."""

    def __init__(self, department, number):
        self.number = number
        self.folder = department.folder / f"desk{number}"
        self.folder.mkdir()
        (self.folder / "state").mkdir()
        self._port = 10404 if networks_apart() else free_port()
        department.join(number, self._port, self.folder / "odbc.ini")
        command = [HERE / "workstation", number, self.folder, department.folder / STUDIES, self._port]
        if networks_apart():
            # Over the first address of the network come the desks'.
            command = ["unshare", "--net", *command, f"10.77.{1 + number // 250}.{1 + number % 250}/{NETWORK}"]
        self._process = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         text=True, bufsize=1, env=department.environment())
        self._plug()

    def _plug(self):
        if networks_apart():
            own = os.stat("/proc/self/ns/net").st_ino
            process = self._process.pid
            wait_until(lambda: os.stat(f"/proc/{process}/ns/net").st_ino != own, "a network namespace")
            run("ip", "link", "add", self.link(), "type", "veth", "peer", "name", "eth0", "netns", process)
            run("ip", "link", "set", self.link(), "master", BRIDGE, "up")
        self.say("plugged")

    def link(self):
        return f"{LINK}{self.number}"

    def say(self, line):
        with contextlib.suppress(BrokenPipeError):  # it is found out below
            self._process.stdin.write(line + "\n")

    def await_ready(self, seconds=PATIENCE):
        ready, _, _ = select.select([self._process.stdout], [], [], seconds)
        if not ready or self._process.stdout.readline() != "ready\n":
            words = [(self.folder / log).read_text()[-500:] for log in ("porvane.log", "desk.log")
                     if (self.folder / log).exists()]
            raise Failure("\n".join((f"desk {self.number} is not ready", *words)))

    def dismiss(self):
        self._process.stdin.close()

    def end(self):
        self.dismiss()
        self._process.wait(PATIENCE)

    def await_end(self):
        if self._process.wait(PATIENCE) != 0:
            raise Failure(f"desk {self.number} ended with status {self._process.returncode}: "
                          + (self.folder / "desk.log").read_text()[-500:])



class Department:

    def __init__(self, folder, bin_folder, server, form):
        self.folder, self._bin, self.server = folder, bin_folder, server
        self.desks = []
        self._owners = self.folder / "owner.ini"
        self._catalogue("--dsn", OWNERS_ENTRY, "odbc", "--engine", server.engine, *server.entry())
        self._as_owner("department", "init")
        self._as_owner("site", "--base-uid", "2.999.1", "--organization", "Orbenta General Hospital", "--reports", form)
        findings = self.folder / "findings.csv"
        with findings.open("w") as table:
            print("CodeScheme,CodeValue,CodeMeaning", file=table)
            for number in range(FINDINGS):
                what = ("Nodule", "Effusion", "Calcification", "Opacity", "Fracture")[number % 5]
                print(f"99SS,D-{number},\"{what}, place {number * 7919 % FINDINGS}\"", file=table)
        for kind in ("titles", "bodyparts", "findings", "diagnoses"):
            self._as_owner("codes", "import", CODES / f"{kind}.csv", "--table", kind)
        self._as_owner("codes", "import", findings, "--table", "findings")

    def environment(self):
        return {**os.environ, "PATH": f"{self._bin}:{os.environ['PATH']}"}

    def _catalogue(self, *arguments):
        return run(self._bin / "orbenta-catalogue", *arguments,
                   env={**self.environment(), "ODBCINI": str(self._owners)})

    def _as_owner(self, *arguments):
        return self._catalogue("--dsn", OWNERS_ENTRY, *arguments)

    def join(self, number, port, entry):
        self._as_owner("department", "join", "--name", f"desk{number}", "--port", port, "--ae-title", f"DESK{number}",
                       "--file", entry)
        self._as_owner("user", f"desk{number}", "--signature", signature(number))

    def grow(self, desks):
        """Has that many desks, all ready."""
        added = [Workstation(self, number) for number in range(len(self.desks) + 1, desks + 1)]
        for desk in added:
            try:
                desk.await_ready()
            except Failure:
                for other in added:
                    other.end()
                raise
        self.desks += added

    def begin(self, seconds, visit):
        """All desks work for so long, a visit in so many seconds, or as fast as they can."""
        for desk in self.desks:
            desk.say(f"{seconds} {visit} {desk.number / len(self.desks)}")

    def await_ready(self):
        for desk in self.desks:
            desk.await_ready()

    def close(self):
        for desk in self.desks:
            desk.dismiss()
        for desk in self.desks:
            desk.await_end()


def signature(number):
    return f"Physician^Desk{number}"
