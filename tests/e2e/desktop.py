"""The Windows program's windows for tests: a screen of our own, Wine on it, and the probe that looks at windows."""

import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import time
import zlib

from .windows import SETTINGS_KEY, WINDOWS_BIN, windows_path
from .world import BIN, ROOT

WINE = str(ROOT / "tools" / "wine")
PATIENCE = float(os.environ.get("MV_PATIENCE", 60))

WM_CLOSE = 0x0010
WM_QUERYENDSESSION = 0x0011
WM_ENDSESSION = 0x0016
WM_SYSCOLORCHANGE = 0x0015
WM_THEMECHANGED = 0x031A
WM_COMMAND = 0x0111
BM_CLICK = 0x00F5
BM_GETIMAGE = 0x00F6
IMAGE_ICON = 1
SS_TYPE_MASK, SS_ICON = 0x1F, 0x03

KEYS = {"Back": 8, "Tab": 9, "Enter": 13, "Alt": 18, "Escape": 27, "Space": 32, "End": 35, "Home": 36, "Left": 37,
        "Right": 39, "Down": 40, "F10": 121}
PICTURE = "MotorvaPicture"


def missing():
    """Why the window cannot be tested here; empty when it can."""
    for name in ("MVPPCSync.exe", "windowprobe.exe"):
        if not (WINDOWS_BIN / name).exists():
            return f"no {name} in {WINDOWS_BIN}"
    for tool in ("wine", "Xvfb"):
        if not shutil.which(tool):
            return f"no {tool}"
    return ""


def plain(text):
    """A text without its keyboard marks."""
    return text.replace("&&", "\0").replace("&", "").replace("\0", "&")


def wait_for(condition, what):
    """The condition's first true value."""
    end = time.monotonic() + PATIENCE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.05)


class Screen:
    """An X server of our own, whose picture lies in a file."""

    SIZE = "1280x960x24"

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", self.SIZE, "-fbdir", self.folder.name, "-nolisten", "tcp",
             # Else it begins anew whenever its last client leaves, and takes along who has just come.
             "-noreset"],
            pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            self.display = ":" + number.readline().strip()

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.folder.cleanup()

    def settle(self):
        """Returns when nothing is being painted, or when it never ends, as during a run."""
        before = None
        for _ in range(20):
            now = self.pixels()
            if now == before:
                return
            before = now
            time.sleep(0.1)

    def pixels(self):
        """Width, height, bytes a row, and the rows of blue, green, red, nothing."""
        data = pathlib.Path(self.folder.name, "Xvfb_screen0").read_bytes()
        header = struct.unpack(">25I", data[:100])
        start = header[0] + header[19] * 12
        return header[4], header[5], header[12], data[start:]

    def pixel(self, x, y):
        """Red, green and blue."""
        _, _, row_size, data = self.pixels()
        at = y * row_size + x * 4
        return data[at + 2], data[at + 1], data[at]

    def colours(self, left, top, right, bottom):
        """The points of a box as triples of red, green and blue."""
        _, _, row_size, data = self.pixels()
        for y in range(top, bottom):
            row = data[y * row_size + left * 4:y * row_size + right * 4]
            yield from zip(row[2::4], row[1::4], row[0::4])

    def capture(self, path, box=None):
        """Writes the screen, or the box (left, top, right, bottom) of it, as a PNG."""
        width, height, row_size, data = self.pixels()
        left, top, right, bottom = box or (0, 0, width, height)
        left, top, right, bottom = max(left, 0), max(top, 0), min(right, width), min(bottom, height)
        rows = []
        for y in range(top, bottom):
            row = data[y * row_size:][left * 4:right * 4]
            rgb = bytearray((right - left) * 3)
            rgb[0::3], rgb[1::3], rgb[2::3] = row[2::4], row[1::4], row[0::4]
            rows.append(b"\0" + bytes(rgb))
        write_png(path, right - left, bottom - top, b"".join(rows))


def write_png(path, width, height, rows):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    pathlib.Path(path).write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) +
                                   chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


class Wine:
    """Wine with a prefix of its own on a screen of its own. `dpi`: 96 is 100 %."""

    name, separator = "windows", "\\"
    rows_of_a_long_run = 10000

    def __init__(self, dpi=96, colours=None):
        self.screen = Screen()
        prefix = ROOT / "build" / f"wine-window-{dpi}{'-contrast' if colours else ''}"
        self.environment = dict(os.environ, WINEPREFIX=str(prefix), WINEDEBUG=os.environ.get("WINEDEBUG", "-all"),
                                WINEDLLOVERRIDES="mscoree,mshtml=", DISPLAY=self.screen.display, LC_ALL="C.UTF-8")
        if not (prefix / "system.reg").exists():
            prefix.mkdir(parents=True, exist_ok=True)
            self.run("wineboot", "-i")
            self.set_up(dpi, colours or {})
        self.probe = Probe(self)

    def set_up(self, dpi, colours):
        """Wine draws the frames itself, as there is no window manager, with smooth fonts. Texts open in its notepad."""
        lines = ["Windows Registry Editor Version 5.00", "",
                 "[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]", '"Managed"="N"', '"Decorated"="N"', "",
                 "[HKEY_CURRENT_USER\\Control Panel\\Desktop]", f'"LogPixels"=dword:{dpi:08x}',
                 '"FontSmoothing"="2"', '"FontSmoothingType"=dword:00000001', '"FontSmoothingGamma"=dword:00000578', "",
                 "[HKEY_CLASSES_ROOT\\.txt]", '@="txtfile"', ""]
        if colours:
            # Chosen colours and a theme of pictures exclude each other.
            lines += ["[HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\ThemeManager]",
                      '"ThemeActive"="0"', ""]
            lines += ["[HKEY_CURRENT_USER\\Control Panel\\Colors]"] + [f'"{k}"="{v}"' for k, v in colours.items()]
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "prefix.reg")
            file.write_text("\r\n".join(lines) + "\r\n", encoding="utf-16")
            self.run("regedit", windows_path(file))
        # The fonts that Wine brings along lie where Debian's Wine does not look for them.
        for font in pathlib.Path("/usr/share/wine/fonts").glob("*.ttf"):
            shutil.copy(font, self.drive_c / "windows" / "Fonts")
        # The running server has read the old values.
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self.environment, check=False)

    def run(self, *words):
        subprocess.run([WINE, *words], env=self.environment, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=300)

    @staticmethod
    def path(path):
        """A path of this machine as the program takes it."""
        return windows_path(path)

    def settings(self, folder):
        return Settings(self, folder)

    def world(self, rows=None, folder=None):
        return World(self, rows, folder)

    def app(self, *arguments):
        return App(self, *arguments)

    @property
    def drive_c(self):
        return pathlib.Path(self.environment["WINEPREFIX"], "drive_c")

    def close(self):
        self.probe.close()
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)
        self.screen.close()


class Probe:
    """windowprobe.exe, one for all tests of a Wine."""

    def __init__(self, wine):
        self.process = subprocess.Popen([WINE, str(WINDOWS_BIN / "windowprobe.exe")], env=wine.environment,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        encoding="utf-8")

    def ask(self, *words):
        self.process.stdin.write(" ".join(str(w) for w in words) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError("the probe has ended")
        return json.loads(line)

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=PATIENCE)
        self.process.stdout.close()


def escaped(text):
    return text.replace("\\", "\\\\").replace('"', '\\"')


def unescaped(text):
    return text.replace('\\"', '"').replace("\\\\", "\\")


class Settings:
    """The settings that the program finds in the registry and leaves there."""

    def __init__(self, wine, folder):
        self.wine = wine
        self.folder = pathlib.Path(folder)

    def write(self, sections):
        """{section: {key: text}}, instead of what was there."""
        lines = ["Windows Registry Editor Version 5.00", "", f"[-{SETTINGS_KEY}]"]
        for section, values in sections.items():
            lines += ["", f"[{SETTINGS_KEY}\\{section}]"]
            lines += [f'"{key}"="{escaped(value)}"' for key, value in values.items()]
        file = self.folder / "settings.reg"
        file.write_text("\r\n".join(lines) + "\r\n", encoding="utf-16", newline="")
        self.wine.run("reg", "import", windows_path(file))

    def read(self, section):
        return self.read_key(f"{SETTINGS_KEY}\\{section}")

    def read_key(self, key):
        """The text values of any key of the registry."""
        file = self.folder / "export.reg"
        self.wine.run("reg", "export", key, windows_path(file), "/y")
        lines = file.read_text(encoding="utf-16").splitlines()
        pairs = [re.fullmatch(r'"(.*?)"="(.*)"', line) for line in lines]
        return {pair[1]: unescaped(pair[2]) for pair in pairs if pair}


class World:
    """A folder with a handheld and a database, and the program's settings for them. `rows`: of each table; None for the
    small demonstration. `folder`: where to make it, else anywhere."""

    def __init__(self, desk, rows=None, folder=None):
        self.path = desk.path
        self.folder = pathlib.Path(folder or tempfile.mkdtemp())
        size = ["--rows", str(rows)] if rows else []
        subprocess.run([str(BIN / "mvtool"), "demo", *size, str(self.folder)], check=True, stdout=subprocess.DEVNULL)
        self.handheld = self.folder / "handheld"
        self.away = self.folder / "handheld away"
        self.tables = self.handheld / "Program Files" / "Motorva"
        self.database = self.folder / "Motorva.db"
        self.log = self.folder / "SyncLog.txt"
        self.settings = desk.settings(self.folder)
        self.set()

    def set(self, **mobile):
        self.settings.write({"General": {"DBPath": self.path(self.folder)},
                             "Handheld": {"Root": self.path(self.handheld)}, "PPC_Mobile": mobile})

    def stored(self):
        return self.settings.read("PPC_Mobile")

    def unplug(self):
        self.handheld.rename(self.away)

    def plug_in(self):
        self.away.rename(self.handheld)

    def log_text(self):
        return self.log.read_bytes().decode("cp1252") if self.log.exists() else ""

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)


def middle(box):
    return (box["left"] + box["right"]) // 2, (box["top"] + box["bottom"]) // 2


class Program:
    """A program with windows. `process`: its process; `tops()`: its windows, the topmost first, each with its members."""

    def top(self, **wanted):
        """The program's topmost window with these members, or None."""
        for window in self.tops():
            if all(window[k] == v for k, v in wanted.items()):
                return window
        return None

    def window(self, text):
        return wait_for(lambda: self.top(text=text), f"a window called {text!r}")

    def gone(self, text):
        wait_for(lambda: not self.top(text=text), f"the end of the window {text!r}")

    def wait(self):
        """The exit status."""
        return self.process.wait(timeout=PATIENCE)


class App(Program):
    """The program, running with the settings of the world made last."""

    def __init__(self, wine, *arguments):
        self.wine = wine
        self.probe = wine.probe
        self.process = subprocess.Popen([WINE, str(WINDOWS_BIN / "MVPPCSync.exe"), *arguments],
                                        env=wine.environment,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def tops(self):
        return self.probe.ask("top")

    def children(self, window):
        return self.probe.ask("children", window["hwnd"])

    def child(self, window, text=None, **wanted):
        """The child with that text, marks aside, and these members."""
        for child in self.children(window):
            if (text is None or plain(child["text"]) == text) and all(child[k] == v for k, v in wanted.items()):
                return child
        raise AssertionError(f"no child {text!r} {wanted}")

    def press(self, window, text, **wanted):
        """Presses a button of a window; does not wait for what it does."""
        self.probe.ask("post", self.child(window, text, **wanted)["hwnd"], BM_CLICK, 0, 0)

    def keys(self, window, *chords):
        """Types into a window, once it is the one that gets what is typed: a window that another one has just given way
        to may take some time for that, and what is typed before goes to nobody."""
        self.probe.ask("foreground", window["hwnd"])
        wait_for(lambda: self.probe.ask("takeskeys", window["hwnd"]), f"the keyboard of {window['text']!r}")
        self.probe.ask("keys", *("+".join(str(KEYS.get(key) or ord(key)) for key in chord.split("+")) for chord in chords))

    def menus(self, main):
        def shown(items):
            return [dict(item, text=plain(item["text"]), items=shown(item.get("items", []))) for item in items]
        return shown(self.probe.ask("menu", main["hwnd"]))

    def can_start(self, main):
        return self.toolbar(main)[0]["enabled"]

    def can_be_used(self, window):
        """False below a modal window."""
        return self.probe.ask("window", window["hwnd"])["enabled"]

    def last_line_in_sight(self, main):
        shown = self.list(main)
        return shown["first"] + shown["page"] >= len(shown["items"])

    def status_tips(self, main):
        bar = self.child(main, **{"class": "msctls_statusbar32"})["hwnd"]
        return [self.probe.ask("tip", bar, part) for part in (0, 1)]

    def tip(self, window, text):
        return self.probe.ask("tip", self.child(window, text)["hwnd"])

    def pictures(self, window):
        return [c["hwnd"] for c in self.children(window) if c["class"] == PICTURE]

    def mode_picture(self, window):
        """What tells one picture from another."""
        return self.probe.ask("icon", self.pictures(window)[0])

    def spinner(self, main):
        return self.probe.ask("icon", self.pictures(main)[-1])

    def texts(self, window):
        """The texts in the order of the controls; of a line to type in what it holds."""
        return [plain(c["text"]) for c in self.children(window) if c["text"]]

    def edits(self, window):
        return [c for c in self.children(window) if c["class"] == "Edit"]

    def set_edit(self, window, index, text):
        self.probe.ask("settext", self.edits(window)[index]["hwnd"], text)

    def enabled(self, window, text):
        return self.child(window, text)["enabled"]

    def checked(self, window, text):
        return self.child(window, text)["checked"]

    def focused(self, window):
        """The text of the control that has the focus; nothing when none has."""
        focus = self.probe.ask("focus")
        return plain(self.probe.ask("window", focus)["text"]) if focus else None

    def any_box(self):
        """A message box, whatever its title; None when there is none."""
        return self.top(**{"class": "#32770"})

    def box_text(self, box):
        """A message box's text, its lines separated by carriage returns."""
        return next(c["text"] for c in self.children(box) if c["class"] == "Static" and c["text"])

    def box_icon(self, box):
        return next(c["rect"] for c in self.children(box) if c["class"] == "Static" and c["style"] & SS_TYPE_MASK == SS_ICON)

    def box_buttons(self, box):
        return [plain(c["text"]) for c in self.children(box) if c["class"] == "Button"]

    def end_session(self, main):
        """The user logs off."""
        if self.probe.ask("send", main["hwnd"], WM_QUERYENDSESSION, 0, 0) != 1:
            raise AssertionError("the window refuses")
        self.probe.ask("send", main["hwnd"], WM_ENDSESSION, 1, 0)

    def command(self, window, *path):
        """Chooses a menu command by its texts; the window's thread runs it."""
        items = self.probe.ask("menu", window["hwnd"])
        for text in path:
            item = next(i for i in items if plain(i["text"]) == text)
            items = item.get("items", [])
        self.probe.ask("post", window["hwnd"], WM_COMMAND, item["id"], 0)

    def toolbar(self, window):
        bar = self.child(window, **{"class": "ToolbarWindow32"})
        return self.probe.ask("toolbar", bar["hwnd"])

    def click(self, box, clicks=1):
        self.probe.ask("mouse", *middle(box), clicks)

    def click_tool(self, window, index, clicks=1):
        self.click(self.toolbar(window)[index - 1]["rect"], clicks)

    def lines(self, window):
        return self.list(window)["items"]

    def list(self, window):
        return self.probe.ask("list", self.child(window, **{"class": "SysListView32"})["hwnd"])

    def status(self, window):
        return self.probe.ask("status", self.child(window, **{"class": "msctls_statusbar32"})["hwnd"])

    def capture(self, path, window=None, settled=True):
        box = window and self.probe.ask("window", window["hwnd"])["rect"]
        if settled:
            self.wine.screen.settle()
        self.wine.screen.capture(path, box and (box["left"], box["top"], box["right"], box["bottom"]))

    def close(self, window):
        self.probe.ask("post", window["hwnd"], WM_CLOSE, 0, 0)

    def end(self):
        """For a test that failed in between."""
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(timeout=PATIENCE)
