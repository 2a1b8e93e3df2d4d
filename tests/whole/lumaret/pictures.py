"""Pictures of the viewer and the editor side by side, each on half of the display, for whoever changes
one of them:

    WORKSTATION_SCREEN=2560x800x24 run PROGRAMS pictures.py FOLDER [dark]

A dark desktop is one whose settings portal says so.
"""

import subprocess
import sys
import time
from pathlib import Path

from gi.repository import Gio, GLib

from atspi_driver import key, screenshot
from desk import Editor, Viewer, import_study

PORTAL = """
<node>
  <interface name="org.freedesktop.portal.Settings">
    <method name="Read">
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
    </method>
  </interface>
</node>
"""
DARK = 1


def serve_portal():
    def read(connection, sender, path, interface, member, arguments, invocation):
        invocation.return_value(GLib.Variant("(v)", (GLib.Variant("u", DARK),)))

    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    bus.register_object("/org/freedesktop/portal/desktop", Gio.DBusNodeInfo.new_for_xml(PORTAL).interfaces[0], read)
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE, None, None)
    GLib.MainLoop().run()


def take(folder, scheme):
    display = subprocess.run(["xdotool", "getdisplaygeometry"], check=True, capture_output=True, text=True).stdout
    width, height = map(int, display.split())
    import_study("ROSSI^MARIA")
    import_study("BIANCHI^GIUSEPPE", "MR_small.dcm", 7)
    viewer = Viewer((0, 0, width // 2, height - 40))
    viewer.choose("ROSSI MARIA")
    viewer.press("Report")
    editor = Editor((width // 2, 0, width // 2, height - 40))
    viewer.add()
    viewer.turn()
    key("i")
    viewer.add()
    editor.save("CT of the abdomen", "The liver is of normal size and density.\nNo free fluid.")
    time.sleep(1)
    screenshot(Path(folder) / f"viewer-and-report-{width}x{height}-{scheme}.png")
    editor.close()
    viewer.window.write("Patient name", "")
    viewer.press("Search")
    time.sleep(1)
    viewer.raise_window()
    screenshot(Path(folder) / f"viewer-{width}x{height}-{scheme}.png")
    viewer.end()


if __name__ == "__main__":
    if sys.argv[1:] == ["portal"]:
        serve_portal()
    dark = sys.argv[2:] == ["dark"]
    portal = subprocess.Popen([sys.executable, __file__, "portal"]) if dark else None
    time.sleep(1 if dark else 0)
    take(sys.argv[1], "dark" if dark else "light")
    if portal:
        portal.terminate()
