"""The session bus as a viewer meets it: calls to Tavrel, a viewer that records what it is told, and
further buses beside the workstation's own."""

import os
import subprocess
import threading
from concurrent.futures import ThreadPoolExecutor

from gi.repository import Gio, GLib

from person.driver import TIMEOUT, wait_until
from person.workstation import FOLDER, program

NO_LIMIT = GLib.MAXINT32
_calls = ThreadPoolExecutor(max_workers=16)

VIEWER = "Lumaret.Viewer"
_VIEWER_XML = """
<node>
  <interface name="Lumaret.Viewer">
    <property name="SRFilename" type="s" access="readwrite"/>
    <property name="LUTName" type="s" access="readwrite"/>
    <property name="ViewPars" type="a{sv}" access="readwrite"/>
    <method name="ViewRefertImages"/>
    <method name="ClearRefertList"/>
  </interface>
</node>
"""
_SETTINGS_XML = """
<node>
  <interface name="org.freedesktop.portal.Settings">
    <method name="Read">
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
    </method>
  </interface>
</node>
"""
_ACCESSIBILITY_XML = """
<node>
  <interface name="org.a11y.Bus">
    <method name="GetAddress"><arg type="s" direction="out"/></method>
  </interface>
</node>
"""


def connect(address=None):
    """A connection of its own to the workstation's bus, or to the one at `address`."""
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(address or os.environ["DBUS_SESSION_BUS_ADDRESS"], flags)


def call(connection, name, path, interface, member, arguments=None):
    """The answer to a call, as a message."""
    message = Gio.DBusMessage.new_method_call(name, path, interface, member)
    if arguments is not None:
        message.set_body(arguments)
    reply = connection.send_message_with_reply_sync(message, Gio.DBusSendMessageFlags.NONE, NO_LIMIT)[0]
    reply.to_gerror()
    return reply


def ask_bus(connection, member, signature, *arguments):
    reply = call(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member,
                 GLib.Variant(signature, arguments))
    return reply.get_body().get_child_value(0).unpack() if reply.get_body() else None


class Client:
    """A client of Tavrel: one creation, and the calls to the object that it answered."""

    def __init__(self, address=None):
        self.connection = connect(address)
        self._sender = self._path = None

    def begin_creation(self):
        """Asks for an object and answers at once with what will be its creation."""
        return _calls.submit(self._create)

    def create(self):
        self.begin_creation().result(2 * TIMEOUT)
        return self

    def _create(self):
        reply = call(self.connection, "Tavrel.CTavrel", "/Tavrel/CTavrel", "Tavrel.ClassFactory", "CreateInstance")
        self._sender, self._path = reply.get_sender(), reply.get_body().get_child_value(0).get_string()

    def begin(self, member, signature="()", *arguments):
        """Makes a call and answers at once with its future answer."""
        return _calls.submit(call, self.connection, self._sender, self._path, "Tavrel.CTavrel", member,
                             GLib.Variant(signature, arguments))

    def process(self):
        """The process that serves this bus's name, once it is there."""
        return wait_until(self.process_now, "the process of Tavrel")

    def process_now(self):
        try:
            return ask_bus(self.connection, "GetConnectionUnixProcessID", "(s)", "Tavrel.CTavrel")
        except GLib.Error:
            return None

    def gone(self):
        """Whether the process that served this client has left the bus."""
        return not ask_bus(self.connection, "NameHasOwner", "(s)", self._sender)


class _Served:
    """An object that is served from a thread of its own, so that the test may wait for something else."""

    def __init__(self, name, path, xml, address=None):
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self.connection = connect(address)
        ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=(path, xml, ready), daemon=True)
        self._thread.start()
        ready.wait()
        ask_bus(self.connection, "RequestName", "(su)", name, 4)

    def _serve(self, path, xml, ready):
        self._context.push_thread_default()
        interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        self.connection.register_object(path, interface, self._on_call, self._on_get, self._on_set)
        ready.set()
        self._loop.run()
        self._context.pop_thread_default()

    def _on_call(self, _connection, _sender, _path, _interface, member, arguments, invocation):
        invocation.return_value(self.called(member, arguments.unpack()))

    def _on_get(self, _connection, _sender, _path, _interface, _name):
        return None

    def _on_set(self, _connection, _sender, _path, _interface, name, value):
        return self.assigned(name, value.unpack()) is not False

    def leave(self):
        if not self.connection.is_closed():
            self.connection.close_sync()
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, self._loop.quit)
        self._thread.join()


class RecordingViewer(_Served):
    """Has the viewer's name and keeps what it is told, in order: ("SRFilename", "a.dcm") for a property,
    ("ViewRefertImages",) for a method."""

    def __init__(self, address=None):
        self.told = []
        self.refused = None  # a property that it does not take
        super().__init__(VIEWER, "/Lumaret/Viewer", _VIEWER_XML, address)

    def called(self, member, _arguments):
        self.told.append((member,))

    def assigned(self, name, value):
        self.told.append((name, value))
        return name != self.refused


class DarkDesktop(_Served):
    """A desktop that asks for dark windows."""

    def __init__(self):
        super().__init__("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", _SETTINGS_XML)

    def called(self, _member, _arguments):
        return GLib.Variant("(v)", (GLib.Variant("v", GLib.Variant("u", 1)),))

    def tell(self):
        """Tells the programs that run, as when a person has just chosen it."""
        self.connection.emit_signal(None, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                                    "SettingChanged", GLib.Variant("(ssv)", ("org.freedesktop.appearance",
                                                                             "color-scheme", GLib.Variant("u", 1))))


class _SharedAccessibility(_Served):
    """Leads the programs of another bus to the workstation's accessibility bus."""

    def __init__(self, address):
        reply = call(connect(), "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
        self._answer = reply.get_body()
        super().__init__("org.a11y.Bus", "/org/a11y/bus", _ACCESSIBILITY_XML, address)

    def called(self, _member, _arguments):
        return self._answer


class FurtherBus:
    """A session bus of its own that starts Tavrel, or another executable, with other environment variables.
    Its windows are on the workstation's display and its accessibility bus."""

    def __init__(self, name, executable=None, **environment):
        folder = FOLDER / name
        folder.mkdir(exist_ok=True)
        executable = executable or program("tavrel")
        (folder / "Tavrel.CTavrel.service").write_text(
            f'[D-BUS Service]\nName=Tavrel.CTavrel\nExec="{executable}" --automation\n')
        configuration = folder / "bus.conf"
        configuration.write_text(f"""<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>
            <auth>EXTERNAL</auth><servicedir>{folder}</servicedir><policy context="default">
            <allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
            </policy></busconfig>""")
        with open(folder / "bus.log", "a") as log:
            self._daemon = subprocess.Popen(
                ["dbus-daemon", "--nofork", f"--config-file={configuration}", "--print-address"],
                env={**os.environ, **environment}, stdout=subprocess.PIPE, stderr=log, text=True)
        self.address = self._daemon.stdout.readline().strip()
        self._accessibility = _SharedAccessibility(self.address)

    def kill(self):
        """Ends at once, as a desktop that crashes does."""
        self._daemon.kill()
        self._daemon.wait()

    def close(self):
        self._accessibility.leave()
        self._daemon.terminate()
        self._daemon.wait()
        self._daemon.stdout.close()
