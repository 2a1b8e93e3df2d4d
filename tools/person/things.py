"""The things in a window as the accessibility bus tells of them. What is asked of many is asked at once and of no more
than it takes: a window has a hundred, and to ask one after the other took longer than all that a person does there."""

import functools
from typing import NamedTuple

from gi.repository import Atspi, Gio, GLib

LISTS = (Atspi.Role.LIST, Atspi.Role.LIST_BOX, Atspi.Role.TABLE, Atspi.Role.TREE, Atspi.Role.TREE_TABLE)
# Nothing is in these; and in a list there may be a hundred thousand rows.
_CLOSED = LISTS + (Atspi.Role.LABEL, Atspi.Role.PUSH_BUTTON, Atspi.Role.RADIO_BUTTON, Atspi.Role.CHECK_BOX)
_ACCESSIBLE = "org.a11y.atspi.Accessible"
_NAME = ("org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (_ACCESSIBLE, "Name")))
_roles = {}  # of a program's things, which keep theirs


class Thing(NamedTuple):
    path: str
    place: tuple[int, ...]  # the number among its owner's children, from the window on
    role: int

    def within(self, window):
        """The thing itself, to be worked."""
        for number in self.place:
            window = window.getChildAtIndex(number)
            if window is None:
                break
        if window is None or window.path != self.path:
            raise LookupError("it has gone")
        return window


def things(window, roles=None, name=None, state=None):
    """Those of such a role, name and state below it, each with its name, and before what is in it."""
    found = [each for each in _below(window) if roles is None or each.role in roles]
    if name is not None:
        found = [each for each, told in zip(found, _names(window, found)) if told == name]
    if state is not None:
        states = _ask(window, [(each.path, _ACCESSIBLE, "GetState", None) for each in found])
        found = [each for each, told in zip(found, states) if told and (told[0] | told[1] << 32) >> state & 1]
    return [(each, told) for each, told in zip(found, _names(window, found) if name is None else [name] * len(found))
            if told is not None]


def _below(window):
    found = []
    level = [(window.path, ())]
    while level:
        children = _ask(window, [(path, _ACCESSIBLE, "GetChildren", None) for path, _ in level])
        if level[0][1] == () and children == [None]:
            raise LookupError("the window has gone")
        level = [(path, (*place, number)) for (_, place), inner in zip(level, children) if inner
                 for number, (_, path) in enumerate(inner) if path != "/org/a11y/atspi/null"]
        _learn_roles(window, [path for path, _ in level])
        here = [Thing(path, place, _roles[window.app.bus_name, path]) for path, place in level]
        found += here
        level = [(each.path, each.place) for each in here if each.role not in _CLOSED]
    return sorted(found, key=lambda each: each.place)


def _learn_roles(window, paths):
    unknown = [path for path in paths if (window.app.bus_name, path) not in _roles]
    for path, role in zip(unknown, _ask(window, [(path, _ACCESSIBLE, "GetRole", None) for path in unknown])):
        _roles[window.app.bus_name, path] = role


def _names(window, found):
    return _ask(window, [(each.path, *_NAME) for each in found])


def _ask(window, questions):
    """What the window's program answers to each (path, interface, method, arguments); None where that has gone."""
    answers = {}

    def take(bus, result, number):
        try:
            answers[number], = bus.call_finish(result).unpack()
        except GLib.Error as error:
            gone = error.matches(Gio.dbus_error_quark(), Gio.DBusError.UNKNOWN_OBJECT)
            answers[number] = None if gone else error

    context = GLib.MainContext()
    context.push_thread_default()
    try:
        for number, question in enumerate(questions):
            _bus().call(window.app.bus_name, *question, None, Gio.DBusCallFlags.NONE, -1, None, take, number)
        while len(answers) < len(questions):
            context.iteration(True)
    finally:
        context.pop_thread_default()
    for answer in answers.values():
        if isinstance(answer, GLib.Error):
            raise answer
    return [answers[number] for number in range(len(questions))]


@functools.cache
def _bus():
    address, = Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
        "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, Gio.DBusCallFlags.NONE, -1).unpack()
    return Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
