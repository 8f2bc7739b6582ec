"""The Linux program's windows for tests: a screen of our own with a window manager and an accessibility bus, through which
windows are looked at; the mouse and the keyboard are those of the screen."""

import ctypes
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile

from .desktop import PATIENCE, Program, Screen, World, middle, wait_for
from .world import BIN, ROOT

PROBE = ROOT / "tests" / "window" / "accessprobe.py"
TOOLS = ("Xvfb", "openbox", "xdotool", "xprop", "dbus-daemon")
KEYS = {"Enter": "Return", "Tab": "Tab", "Escape": "Escape", "Space": "space", "End": "End", "Home": "Home", "Left": "Left",
        "Right": "Right", "Down": "Down", "F10": "F10", "Back": "BackSpace"}

PICTURE = "graphic"


def missing():
    """Why the window cannot be tested here; empty when it can."""
    if not (BIN / "libmvppcsync-window.so").exists():
        return f"no libmvppcsync-window.so in {BIN}"
    for tool in TOOLS:
        if not shutil.which(tool):
            return f"no {tool}"
    if subprocess.run(["/usr/bin/python3", "-c", "import gi"], stderr=subprocess.DEVNULL).returncode:
        return "no python3-gi"
    if not pathlib.Path("/usr/share/dbus-1/services/org.a11y.Bus.service").exists():
        return "no at-spi2-core"
    return ""


class Settings:
    """The settings that the program finds in its file and leaves there."""

    def __init__(self, folder):
        self.file = pathlib.Path(folder, "config", "Motorva32.ini")

    def write(self, sections):
        """{section: {key: text}}, instead of what was there."""
        lines = []
        for section, values in sections.items():
            lines += [f"[{section}]"] + [f"{key}={value}" for key, value in values.items()]
        self.file.parent.mkdir(exist_ok=True)
        self.file.write_text("\n".join(lines) + "\n", encoding="utf-8")

    def read(self, section):
        found, values = "", {}
        for line in self.file.read_text(encoding="utf-8").splitlines():
            if line.startswith("["):
                found = line.strip("[]")
            elif found == section and "=" in line:
                key, _, value = line.partition("=")
                values[key] = value
        return values


# Of a desktop whose colours Qt reads by itself: what is behind texts, and texts.
DARK = {"Window": ("42,46,50", "252,252,252"), "View": ("27,30,32", "252,252,252"), "Button": ("49,54,59", "252,252,252"),
        "Selection": ("61,174,233", "252,252,252"), "Tooltip": ("49,54,59", "252,252,252")}
CONTRAST = {"Window": ("0,0,0", "255,255,255"), "View": ("0,0,0", "255,255,255"), "Button": ("0,0,0", "255,255,255"),
            "Selection": ("26,235,255", "0,0,0"), "Tooltip": ("0,0,0", "255,255,255")}


class QtDesk:
    """A desktop for the Linux program. `dpi`: 96 is 100 %. `colours`: DARK or CONTRAST; else Qt's own."""

    name, separator = "qt", "/"
    rows_of_a_long_run = 10000

    def __init__(self, dpi=96, colours=None):
        self.screen = Screen()
        self.folder = tempfile.TemporaryDirectory()
        self.home = pathlib.Path(self.folder.name)
        for name in ("runtime", "bin", "settings"):
            (self.home / name).mkdir(mode=0o700)
        self.environment = dict(
            os.environ, DISPLAY=self.screen.display, LC_ALL="C.UTF-8", HOME=str(self.home), QT_SCALE_FACTOR=str(dpi / 96),
            XDG_RUNTIME_DIR=str(self.home / "runtime"), PATH=f"{self.home / 'bin'}:{os.environ['PATH']}",
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", XDG_CONFIG_DIRS=str(self.home / "settings"), GIO_USE_VFS="local")
        for name in ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "SESSION_MANAGER", "AT_SPI_BUS_ADDRESS"):
            self.environment.pop(name, None)
        if colours:
            self.set_colours(colours)
        self.answer_to("xdg-open", 0)
        self.let_service_be_off()
        self.bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"], env=self.environment,
                                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.bus.stdout.readline().strip()
        self.manager = subprocess.Popen(["openbox"], env=self.environment, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_for(lambda: "window id" in self.tool("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "the window manager")
        # The pointer lies over no window.
        self.tool("xdotool", "mousemove", *Screen.SIZE.split("x")[:2])
        self.probe = Probe(self.environment)
        self.x = XClient(self.screen.display)

    def set_colours(self, colours):
        lines = []
        for name, (background, text) in colours.items():
            lines += [f"[Colors:{name}]", f"BackgroundNormal={background}", f"BackgroundAlternate={background}",
                      f"ForegroundNormal={text}", f"ForegroundLink={text}", f"ForegroundVisited={text}", ""]
        (self.home / "settings" / "kdeglobals").write_text("\n".join(lines))
        self.environment.update(XDG_CURRENT_DESKTOP="KDE", KDE_FULL_SESSION="true", KDE_SESSION_VERSION="5",
                                QT_STYLE_OVERRIDE="fusion")

    def prefer_dark(self):
        """The desktop says so to whom asks. Returns how to end that."""
        portal = subprocess.Popen(["/usr/bin/python3", str(PROBE.with_name("darkdesktop.py"))], env=self.environment,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        portal.stdout.readline()

        def end():
            portal.terminate()
            portal.wait()
            portal.stdout.close()
        return end

    def answer_to(self, command, status, statuses=None):
        """What a command of the desktop does: it notes its words and ends with that status. `statuses`: of those whose
        words hold another one."""
        file = self.home / "bin" / command
        cases = "".join(f"case \"$*\" in *{word}*) exit {code} ;; esac\n" for word, code in (statuses or {}).items())
        file.write_text(f"#!/bin/sh\nprintf '%s\\n' \"$*\" >>'{self.home}/{command}.words'\n{cases}exit {status}\n")
        file.chmod(0o755)
        self.words_of(command)

    def let_service_be_off(self):
        """The service that starts runs is there, and is not on."""
        self.answer_to("systemctl", 0, {"is-enabled": 1, "is-active": 3})

    def words_of(self, command):
        """What the command was called with, once each, and forgets that."""
        file = self.home / f"{command}.words"
        words = file.read_text().splitlines() if file.exists() else []
        file.write_text("")
        return words

    def tool(self, *words):
        return subprocess.run(words, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              text=True).stdout

    @staticmethod
    def path(path):
        return str(path)

    def settings(self, folder):
        """The settings of the world in that folder, which programs started from now on find."""
        self.environment["XDG_CONFIG_HOME"] = str(pathlib.Path(folder, "config"))
        return Settings(folder)

    def world(self, rows=None, folder=None):
        return World(self, rows, folder)

    def app(self, *arguments):
        return QtApp(self, *arguments)

    def close(self):
        self.probe.close()
        self.x.close()
        for process in (self.manager, self.bus):
            process.terminate()
            process.wait()
        self.bus.stdout.close()
        self.screen.close()
        self.folder.cleanup()


class Probe:
    """accessprobe.py, one for all tests of a desktop."""

    def __init__(self, environment):
        self.process = subprocess.Popen(["/usr/bin/python3", str(PROBE)], env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.ask("top", 0)

    def ask(self, *words):
        self.process.stdin.write(json.dumps(words) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError("the probe has ended")
        return json.loads(line)

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=PATIENCE)
        self.process.stdout.close()


class XClient:
    """What a window manager sends to a window whose close box is clicked; also to one that takes no input."""

    class Message(ctypes.Structure):
        _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                    ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                    ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 24)]

    def __init__(self, display):
        self.library = ctypes.CDLL("libX11.so.6")
        self.library.XOpenDisplay.restype = ctypes.c_void_p
        self.library.XInternAtom.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.library.XOpenDisplay(display.encode()))

    def atom(self, name):
        return self.library.XInternAtom(self.display, name.encode(), 0)

    def ask_to_close(self, window):
        message = self.Message(33, 0, 1, self.display, window, self.atom("WM_PROTOCOLS"), 32)
        message.data[0] = self.atom("WM_DELETE_WINDOW")
        self.library.XSendEvent(self.display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(message))
        self.library.XFlush(self.display)

    def close(self):
        self.library.XCloseDisplay(self.display)


def walk(node):
    yield node
    for child in node.get("children", []):
        yield from walk(child)


class QtApp(Program):
    """The program, running with the settings of the world made last."""

    def __init__(self, desk, *arguments):
        self.desk = desk
        self.probe = desk.probe
        self.parts = {}
        self.process = subprocess.Popen([str(BIN / "MVPPCSync"), *arguments], env=desk.environment,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    # ---- windows

    def tops(self):
        answer = self.probe.ask("top", self.process.pid)
        return answer if isinstance(answer, list) else []

    def nodes(self, window):
        """Everything in the window; nothing when it has just gone."""
        tree = self.probe.ask("tree", window["id"])
        return [] if "error" in tree else list(walk(tree))[1:]

    def find(self, window, condition):
        for node in self.nodes(window):
            if condition(node):
                return node
        raise AssertionError(f"nothing like it in {window['text']!r}: {[(n['role'], n['text']) for n in self.nodes(window)]}")

    def part(self, window, role):
        """The window's one object of that role; it stays the same as long as the window."""
        key = window["id"], role
        if key not in self.parts:
            self.parts[key] = self.find(window, lambda n: n["role"] == role)
        return self.parts[key]

    def inside(self, window, role):
        """What that object holds now."""
        return self.probe.ask("tree", self.part(window, role)["id"]).get("children", [])

    def control(self, window, text):
        return self.find(window, lambda n: n["text"] == text and n["role"] not in ("label", "text"))

    def numbers(self, window):
        """What the screen knows it by."""
        return self.desk.tool("xdotool", "search", "--all", "--pid", str(self.process.pid), "--name",
                              f"^{re.escape(window['text'])}$").split()

    def close(self, window):
        for number in self.numbers(window):
            self.desk.x.ask_to_close(int(number))

    def can_be_used(self, window):
        """False below a modal window."""
        others = [n for w in self.tops() if w["id"] != window["id"] for n in self.numbers(w)]
        return not any("_NET_WM_STATE_MODAL" in self.desk.tool("xprop", "-id", n, "_NET_WM_STATE") for n in others)

    def wait_for_turn(self, window):
        """Returns once it gets what is typed. The window manager has placed it by then."""
        wait_for(lambda: self.probe.ask("window", window["id"]).get("active"), f"the keyboard of {window['text']!r}")

    def box_of(self, window):
        return self.probe.ask("window", window["id"])["rect"]

    # ---- what windows show

    def menus(self, main):
        return [{"text": entry["text"], "enabled": entry["enabled"],
                 "items": [{"text": item["text"], "enabled": item["enabled"], "separator": item["role"] == "separator"}
                           for popup in entry["children"] for item in popup["children"]]}
                for entry in self.inside(main, "menu bar")]

    def toolbar(self, main):
        # The check box is for buttons that have no room.
        return [dict(b, separator=b["role"] != "push button", hot=b["focused"]) for b in self.inside(main, "tool bar")
                if b["role"] != "check box"]

    def can_start(self, main):
        return self.toolbar(main)[0]["enabled"]

    def lines(self, main):
        answer = self.probe.ask("names", self.part(main, "list")["id"])
        return answer if isinstance(answer, list) else []

    def last_line_in_sight(self, main):
        return self.probe.ask("list", self.part(main, "list")["id"])["sight"][-1]

    def panels(self, main):
        return [n for n in self.inside(main, "status bar") if n["role"] == "label"]

    def status(self, main):
        return [n["text"] for n in self.panels(main)]

    def status_tips(self, main):
        return [n["tip"] for n in self.panels(main)]

    def tip(self, window, text):
        return self.find(window, lambda n: n["text"] == text)["tip"]

    def pictures(self, window):
        return [n for n in self.nodes(window) if n["role"] == PICTURE]

    def mode_picture(self, window):
        return self.picture_in(self.pictures(window)[0])

    def spinner(self, main):
        if "spinner" not in self.parts:
            self.parts["spinner"] = self.pictures(main)[-1]
        return self.picture_in(self.parts["spinner"])

    def picture_in(self, node):
        """What tells one picture from another: of two looks that agree, as one alone may meet the picture half painted."""
        box = node["rect"]
        before, now = None, ()
        while now != before:
            before, now = now, tuple(self.desk.screen.colours(box["left"], box["top"], box["right"], box["bottom"]))
        return hash(now)

    def texts(self, window):
        """The texts in the order of the controls; of a line to type in what it holds."""
        shown = [n.get("content", n["text"]) for n in self.nodes(window) if n["role"] != PICTURE]
        return [text for text in shown if text]

    def edits(self, window):
        return [dict(n, text=n["content"]) for n in self.nodes(window) if "content" in n]

    def enabled(self, window, text):
        return self.find(window, lambda n: n["text"] == text and "content" not in n)["enabled"]

    def checked(self, window, text):
        return self.control(window, text)["checked"]

    def focused(self, window):
        """The text of the control that has the focus; nothing when none has."""
        # What holds the control that has it says the same of itself.
        focused = [node.get("content", node["text"]) for node in self.nodes(window) if node["focused"]]
        return focused[-1] if focused else None

    def any_box(self):
        """A message box, whatever its title; None when there is none."""
        return next((w for w in self.tops() if w["role"] != "frame"), None)

    def box_text(self, box):
        """A message box's text, its lines separated by carriage returns."""
        return self.find(box, lambda n: n["role"] == "label" and n["text"])["text"].replace("\n", "\r")

    def box_icon(self, box):
        self.wait_for_turn(box)
        return self.pictures(box)[0]["rect"]

    def box_buttons(self, box):
        return [n["text"] for n in self.nodes(box) if n["role"] == "push button"]

    # ---- what the user does

    def press(self, window, text):
        """Presses a button of a window; does not wait for what it does."""
        self.probe.ask("act", self.control(window, text)["id"])

    def command(self, main, *path):
        """Chooses a menu command by its texts."""
        entries = self.inside(main, "menu bar")
        for text in path:
            entry = next(n for n in entries if n["text"] == text)
            entries = entry["children"][0]["children"] if entry["children"] else []
        self.probe.ask("act", entry["id"])

    def set_edit(self, window, index, text):
        self.probe.ask("settext", self.edits(window)[index]["id"], text)

    def keys(self, window, *chords):
        """Types into a window, once it is the one that gets what is typed."""
        self.wait_for_turn(window)
        self.desk.tool("xdotool", "key", *("+".join(KEYS.get(k, k.lower()) for k in chord.split("+")) for chord in chords))

    def rest(self, window):
        """Moves the pointer over the middle of the window."""
        self.desk.tool("xdotool", "mousemove", *map(str, middle(self.box_of(window))))

    def click(self, box, clicks=1):
        x, y = middle(box)
        self.desk.tool("xdotool", "mousemove", str(x), str(y), "click", "--repeat", str(clicks), "--delay", "20", "1")

    def click_tool(self, main, index, clicks=1):
        self.wait_for_turn(main)
        self.click(self.toolbar(main)[index - 1]["rect"], clicks)

    def end_session(self, main):
        """The user logs off."""
        self.process.send_signal(signal.SIGTERM)

    def browse(self, browse, file):
        """Chooses a file in a file dialog."""
        name = self.find(browse, lambda n: "content" in n and n["text"] == "File name:")
        self.probe.ask("settext", name["id"], str(file))
        self.keys(browse, "Enter")

    def capture(self, path, window=None, settled=True):
        """With the frame that the window manager draws. `settled`: once nothing is painted any more."""
        box = window and self.box_of(window)
        if settled:
            self.desk.screen.settle()
        self.desk.screen.capture(path, box and (box["left"] - 1, box["top"] - 20, box["right"] + 1, box["bottom"] + 5))

    def end(self):
        """For a test that failed in between."""
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait(timeout=PATIENCE)
