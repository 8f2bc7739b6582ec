#!/usr/bin/python3
"""Looks at the windows of a program through the desktop's accessibility bus, as a screen reader does: one request a line
on standard input, words as JSON; one answer a line on standard output.

Debian's own Python has the module gi; the one that runs the tests may be another."""

import json
import os
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PATIENCE = 5000  # milliseconds; a program that is busy answers later
ACCESSIBLE = "org.a11y.atspi.Accessible"
ROOT = "/org/a11y/atspi/accessible/root"
# What the program tells in units of its own.
SCALE = float(os.environ.get("QT_SCALE_FACTOR") or 1)
STATES = {"active": 1, "checked": 4, "enabled": 8, "focused": 12, "modal": 16, "showing": 25, "selected": 23,
          "visible": 30}


def bus():
    """The accessibility bus, whose address the session bus knows."""
    session = Gio.bus_get_sync(Gio.BusType.SESSION)
    address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                Gio.DBusCallFlags.NONE, PATIENCE, None)[0]
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)


class Probe:
    def __init__(self):
        self.bus = bus()
        self.objects = {}

    def call(self, place, interface, method, arguments=None):
        return self.bus.call_sync(*place, interface, method, arguments, None, Gio.DBusCallFlags.NONE, PATIENCE,
                                  None).unpack()

    def property(self, place, name, interface=ACCESSIBLE):
        return self.call(place, "org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (interface, name)))[0]

    def children(self, place):
        return self.call(place, ACCESSIBLE, "GetChildren")[0]

    def program(self, pid):
        """The program's objects begin here; None while it has none."""
        for place in self.children(("org.a11y.atspi.Registry", ROOT)):
            answer = self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                        "GetConnectionUnixProcessID", GLib.Variant("(s)", (place[0],)), None,
                                        Gio.DBusCallFlags.NONE, PATIENCE, None)
            if answer[0] == pid:
                return place
        return None

    def look(self, place):
        """What an object shows."""
        low, high = self.call(place, ACCESSIBLE, "GetState")[0]
        bits = low | high << 32
        extents = self.call(place, "org.a11y.atspi.Component", "GetExtents", GLib.Variant("(u)", (0,)))[0]
        left, top, width, height = (round(value * SCALE) for value in extents)
        number = " ".join(place)
        self.objects[number] = place
        shown = {"id": number, "text": self.property(place, "Name"), "role": self.call(place, ACCESSIBLE, "GetRoleName")[0],
                 "tip": self.property(place, "Description"),
                 "rect": {"left": left, "top": top, "right": left + width, "bottom": top + height}}
        shown.update({name: bool(bits >> bit & 1) for name, bit in STATES.items()})
        if shown["role"] == "text":
            shown["content"] = self.call(place, "org.a11y.atspi.Text", "GetText", GLib.Variant("(ii)", (0, -1)))[0]
        return shown

    # ---- requests

    def top(self, pid):
        """The program's windows that are to be seen."""
        program = self.program(pid)
        windows = [self.look(place) for place in self.children(program)] if program else []
        return [window for window in windows if window["showing"]]

    def window(self, number):
        return self.look(self.objects[number])

    def tree(self, number):
        """Everything in a window, as lists of children."""
        def grown(place):
            children = [] if self.call(place, ACCESSIBLE, "GetRoleName")[0] == "list" else self.children(place)
            return dict(self.look(place), children=[grown(child) for child in children])
        return grown(self.objects[number])

    def list(self, number):
        """The texts of a list, and which of them are in sight."""
        items = [self.look(place) for place in self.children(self.objects[number])]
        return {"items": [i["text"] for i in items], "sight": [i["showing"] for i in items]}

    def names(self, number):
        """The texts of a list alone, which is quicker."""
        return [self.property(place, "Name") for place in self.children(self.objects[number])]

    def act(self, number):
        """Does what a click does."""
        return self.call(self.objects[number], "org.a11y.atspi.Action", "DoAction", GLib.Variant("(i)", (0,)))[0]

    def settext(self, number, text):
        return self.call(self.objects[number], "org.a11y.atspi.EditableText", "SetTextContents",
                         GLib.Variant("(s)", (text,)))[0]


def main():
    probe = Probe()
    for line in sys.stdin:
        word, *arguments = json.loads(line)
        try:
            answer = getattr(probe, word)(*arguments)
        except GLib.Error as error:
            # A window that has just gone, mostly.
            answer = {"error": error.message}
        print(json.dumps(answer), flush=True)


if __name__ == "__main__":
    main()
