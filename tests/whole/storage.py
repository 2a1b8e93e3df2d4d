"""The workstation's storage service, and a wire to it that can be slow, silent or cut."""

import os
import signal
import socket
import subprocess
import threading

from bus import ask_bus, connect
from person.driver import wait_until
from person.workstation import FOLDER, STUDIES, ask


class StorageService:
    """The workstation's storage service: where it is called, and its process."""

    @property
    def port(self):
        return ask("SELECT Port FROM Port")[0][0]

    def call_at(self, port=None, ae_title=None):
        """Has the service called elsewhere, or under another title."""
        if port is not None:
            ask("UPDATE Port SET Port = ?", port)
        if ae_title is not None:
            ask("UPDATE Port SET AETitle = ?", ae_title)

    def kill(self):
        """Ends the service at once, as a power failure does."""
        os.kill(ask_bus(connect(), "GetConnectionUnixProcessID", "(s)", "Porvane.Service"), signal.SIGKILL)
        wait_until(lambda: not self.running(), "the storage service to end")

    def start(self):
        with open(FOLDER / "logs" / "porvane.log", "a") as log:
            subprocess.Popen(["porvane", "--studies", str(STUDIES)], stdout=log, stderr=log)
        wait_until(self.running, "the storage service")

    def running(self):
        return ask_bus(connect(), "NameHasOwner", "(s)", "Porvane.Service")


class Wire:
    """Listens on a port of its own and passes on to `target` what comes in. Between an accepted
    association and the version itself it can be held: the service is slow then."""

    def __init__(self, target):
        self.target = target
        self._flowing = threading.Event()
        self._flowing.set()
        self._held = threading.Event()
        self._ends = []
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def hold(self):
        """From the next association on, the version waits on the wire."""
        self._held.clear()
        self._flowing.clear()

    def wait_held(self, timeout):
        """Until a version waits."""
        if not self._held.wait(timeout):
            raise TimeoutError("no version came to the wire")

    def release(self):
        self._flowing.set()

    def cut(self):
        """Ends what goes on, as if a cable had been pulled, and lets nobody wait any longer."""
        for end in self._ends:
            _shut(end)
        self.release()

    def close(self):
        _shut(self._listener)
        self.cut()

    def _accept(self):
        while True:
            try:
                caller, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._pass, args=(caller,), daemon=True).start()

    def _pass(self, caller):
        with caller, socket.create_connection(("127.0.0.1", self.target)) as service:
            self._ends += [caller, service]
            back = threading.Thread(target=_copy, args=(service, caller), daemon=True)
            back.start()
            try:
                service.sendall(caller.recv(65536))  # the request for the association
                version = caller.recv(65536)
                self._held.set()
                self._flowing.wait()
                service.sendall(version)
                _copy(caller, service)
            except OSError:
                pass
            _shut(service)
            back.join()


class SilentService:
    """Accepts a connection and says nothing."""

    def __init__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]

    def close(self):
        self._listener.close()


def unused_port():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        return listener.getsockname()[1]


def _copy(source, target):
    try:
        while data := source.recv(65536):
            target.sendall(data)
    except OSError:
        pass
    _shut(target)


def _shut(end):
    try:
        end.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass
