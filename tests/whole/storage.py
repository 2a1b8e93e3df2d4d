"""The workstation's storage service, and a wire to it that can be slow, silent or cut."""

import os
import signal
import socket
import struct
import subprocess
import threading
from io import BytesIO

from pydicom import dcmread

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

    def process(self):
        return ask_bus(connect(), "GetConnectionUnixProcessID", "(s)", "Porvane.Service")

    def freeze(self):
        """From now on the service keeps its connections and says nothing."""
        os.kill(self.process(), signal.SIGSTOP)

    def go_on(self):
        os.kill(self.process(), signal.SIGCONT)

    def kill(self):
        """Ends the service at once, as a power failure does."""
        os.kill(self.process(), signal.SIGKILL)
        wait_until(lambda: not self.running(), "the storage service to end")

    def start(self, log=FOLDER / "logs" / "porvane.log"):
        with open(log, "a") as log:
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
        serve_all(self._listener, self._pass)

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
            shut(end)
        self.release()

    def close(self):
        shut(self._listener)
        self.cut()

    def _pass(self, caller):
        with caller, socket.create_connection(("127.0.0.1", self.target)) as service:
            self._ends += [caller, service]
            back = threading.Thread(target=copy, args=(service, caller), daemon=True)
            back.start()
            try:
                service.sendall(caller.recv(65536))  # the request for the association
                version = caller.recv(65536)
                self._held.set()
                self._flowing.wait()
                service.sendall(version)
                copy(caller, service)
            except OSError:
                pass
            shut(service)
            back.join()


class FailingService:
    """Stands before the storage service and answers each version with a status, without handing it on."""

    def __init__(self, target, status):
        self._target, self.status = target, status
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        serve_all(self._listener, self._serve)

    def close(self):
        shut(self._listener)

    def _serve(self, caller):
        with caller, socket.create_connection(("127.0.0.1", self._target)) as service:
            threading.Thread(target=copy, args=(service, caller), daemon=True).start()
            command = b""
            while unit := _unit(caller):
                kind, control = unit[0], unit[11:12]
                if kind != DATA:
                    service.sendall(unit)
                elif control[0] & COMMAND:
                    command += unit[12:]
                elif control[0] & LAST:
                    caller.sendall(_response(unit[10], command, self.status))
            shut(service)


DATA, COMMAND, LAST = 4, 1, 2


def _unit(caller):
    """The next unit of the upper-layer protocol (DICOM PS3.8, 9.3), empty at the end."""
    head = caller.recv(6, socket.MSG_WAITALL)
    return head + caller.recv(int.from_bytes(head[2:], "big"), socket.MSG_WAITALL) if len(head) == 6 else b""


def _response(context, command, status):
    """The answer to a C-STORE request, as a unit."""
    request = dcmread(BytesIO(command), force=True)
    elements = ((0x0002, request[0x0000, 0x0002].value), (0x0100, 0x8001),
                (0x0120, request[0x0000, 0x0110].value), (0x0800, 0x0101), (0x0900, status),
                (0x1000, request[0x0000, 0x1000].value))
    body = b""
    for element, value in elements:
        value = value.to_bytes(2, "little") if isinstance(value, int) else str(value).encode()
        value += b"\0" * (len(value) % 2)
        body += struct.pack("<HHI", 0, element, len(value)) + value
    body = struct.pack("<HHII", 0, 0, 4, len(body)) + body
    value = struct.pack(">IBB", len(body) + 2, context, COMMAND | LAST) + body
    return struct.pack(">BBI", DATA, 0, len(value)) + value


class SilentService:
    """Accepts a connection and says nothing."""

    def __init__(self):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]

    def close(self):
        self._listener.close()


def serve_all(listener, serve):
    """Serves each caller, in threads, until the listener is shut."""
    def accept():
        while True:
            try:
                caller, _ = listener.accept()
            except OSError:
                return
            threading.Thread(target=serve, args=(caller,), daemon=True).start()
    threading.Thread(target=accept, daemon=True).start()


def copy(source, target):
    try:
        while data := source.recv(65536):
            target.sendall(data)
    except OSError:
        pass
    shut(target)


def shut(end):
    try:
        end.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass
