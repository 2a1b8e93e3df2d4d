"""A catalogue on a cluster whose nodes can be killed (tests/support/clusters, beside which the tests run)."""

import csv
import os
import random
import subprocess
import threading
import time
from pathlib import Path

from database import move_catalogue
from person.driver import wait_until

GALERA = "GALERA_PORT" in os.environ
ENGINES = Path(os.environ.get("ENGINES_FOLDER", "."))
DATABASE = ROLE = PASSWORD = "orbenta"
PROMOTED_AFTER = 1  # seconds that a standby's watcher takes


class Cluster:
    """Everybody asks one node, the first, until it is gone."""

    def __init__(self):
        self._back = None

    def ask(self, statement):
        """The rows that the catalogue answers, of which some seconds may pass."""
        rows = []

        def answered():
            said = subprocess.run(self._client(), input=statement, capture_output=True, text=True)
            rows[:] = [self._rows(said.stdout)]
            return said.returncode == 0
        wait_until(answered, "the catalogue's answer", 30)
        return rows[0]

    def _client(self):
        if GALERA:
            return ["mariadb", "--no-defaults", "--default-character-set=utf8mb4", "--protocol=tcp", f"--user={ROLE}",
                    f"--password={PASSWORD}", "--port=" + os.environ["MYSQL_TCP_PORT"], "--init-command",
                    "SET SESSION sql_mode='STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES', wsrep_sync_wait=1", "--raw", "-NB",
                    DATABASE]
        return ["psql", "-X", "-q", "--csv", "-t", "-v", "ON_ERROR_STOP=1", "-d",
                "host=127.0.0.21,127.0.0.22 target_session_attrs=read-write connect_timeout=2"]

    def _rows(self, said):
        lines = said.splitlines()
        return [tuple(line.split("\t")) for line in lines] if GALERA else list(map(tuple, csv.reader(lines)))

    def entry(self):
        """What the tool is told of where it is."""
        server, port = (("127.0.0.1", "MYSQL_TCP_PORT") if GALERA else ("127.0.0.21,127.0.0.22", "POSTGRESQL_PORT"))
        return ["--engine", "mariadb" if GALERA else "postgresql", "--server", server, "--port", os.environ[port],
                "--database", DATABASE, "--user", ROLE, "--password-file", str(ENGINES / "password")]

    def first(self):
        """The node that everybody asks."""
        if GALERA:
            return self.ask("SELECT @@wsrep_node_name")[0][0]
        return "postgresql-" + self.ask("SELECT host(inet_server_addr())")[0][0][-1]

    def kill_first_within(self, seconds):
        """Its end comes at a random moment from now on, and it is started again some seconds later."""
        self.whole()
        node, after = self.first(), random.uniform(0, seconds)
        self._back = threading.Thread(target=self._fall, args=(node, after))
        self._back.start()

    def whole(self):
        """Waits until all nodes are at work."""
        if self._back:
            self._back.join()

    def _fall(self, node, after):
        time.sleep(after)
        _node("kill", node)
        if not GALERA:
            time.sleep(PROMOTED_AFTER)
            _node("promote", "postgresql-1" if node == "postgresql-2" else "postgresql-2")
        time.sleep(5)
        _node("start", node)


def catalogue_on_a_cluster():
    """The workstation's catalogue is on the cluster from now on."""
    cluster = Cluster()
    move_catalogue([[*cluster.entry(), "--dsn", "OrbentaOwner"], cluster.entry()], cluster.ask)
    return cluster


def _node(action, name):
    subprocess.run([os.environ["CLUSTER_NODE"], action, name], check=True, stdout=subprocess.DEVNULL)
