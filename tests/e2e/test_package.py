"""The packages, as the scripts of packaging/ left them in build/package."""

import hashlib
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import time
import unittest
import zipfile

from .windows import WINDOWS_BIN, windows_path, wine
from .world import BIN, ROOT

PACKAGING = ROOT / "packaging" / "windows"
PACKAGE = pathlib.Path(os.environ.get("MV_PACKAGE", ROOT / "build" / "package"))
VERSION = re.search(r"project\(MVPPCSync VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text("utf-8")).group(1)
X86_BIN = ROOT / "build" / "windows-x86" / "bin"
ARCHIVE = PACKAGE / f"MVPPCSync-{VERSION}-windows.zip"
# What another builder's machine may be like.
ELSEWHERE = {"TZ": "Pacific/Auckland", "LC_ALL": "C", "USER": "other", "LOGNAME": "other"}
MACHINES = {"x86": 0x014C, "x64": 0x8664}
GUI, CONSOLE = 2, 3


def pe_header(program):
    """Machine and subsystem of a Windows program."""
    start = struct.unpack_from("<I", program, 0x3C)[0]
    assert program[start:start + 4] == b"PE\0\0"
    machine = struct.unpack_from("<H", program, start + 4)[0]
    subsystem = struct.unpack_from("<H", program, start + 24 + 68)[0]
    return machine, subsystem


def picture_count(groups):
    """How many pictures the icons name: each is a header of three words, the third the count, and 14 bytes a picture."""
    total, at = 0, 0
    while at < len(groups):
        count = struct.unpack_from("<HHH", groups, at)[2]
        total += count
        at += 6 + 14 * count
    return total


@unittest.skipUnless(ARCHIVE.exists(), "packaging/windows/build-zip has not been run")
class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with zipfile.ZipFile(ARCHIVE) as archive:
            cls.entries = archive.infolist()
            cls.files = {e.filename.split("/", 1)[1]: archive.read(e) for e in cls.entries}

    def test_it_holds_both_programs_with_template_and_companion(self):
        expected = ["README.txt", "licence-json.txt"]
        expected += [f"{m}/{f}" for m in ("x64", "x86") for f in ("MVPPCSync.exe", "_20", "mvtool.exe")]
        self.assertEqual([e.filename for e in self.entries], [f"MVPPCSync-{VERSION}/{name}" for name in expected])

    def test_the_programs_are_for_their_systems_and_only_the_companion_has_a_console(self):
        for folder, machine in MACHINES.items():
            self.assertEqual(pe_header(self.files[f"{folder}/MVPPCSync.exe"]), (machine, GUI))
            self.assertEqual(pe_header(self.files[f"{folder}/mvtool.exe"]), (machine, CONSOLE))

    def test_no_program_tells_when_it_was_built(self):
        for folder in MACHINES:
            for program in ("MVPPCSync.exe", "mvtool.exe"):
                content = self.files[f"{folder}/{program}"]
                start = struct.unpack_from("<I", content, 0x3C)[0]
                self.assertEqual(struct.unpack_from("<I", content, start + 8)[0], 0, program)

    def test_no_program_tells_where_it_was_built(self):
        # Also as a tool makes a symbol of a path.
        paths = [str(X86_BIN.parents[1]), re.sub(r"\W", "_", str(X86_BIN.parents[1]))]
        for folder in MACHINES:
            for program in ("MVPPCSync.exe", "mvtool.exe"):
                for path in paths:
                    self.assertNotIn(path.encode("utf-8"), self.files[f"{folder}/{program}"], program)

    def test_each_program_carries_the_version_and_the_manifest(self):
        version = "FileVersion\0".encode("utf-16-le") + b"\0\0" + f"{VERSION}\0".encode("utf-16-le")
        manifest = (PACKAGING / "resources" / "program.manifest").read_bytes()
        for folder in MACHINES:
            for program in ("MVPPCSync.exe", "mvtool.exe"):
                content = self.files[f"{folder}/{program}"]
                self.assertIn(version, content, program)
                self.assertIn(manifest, content, program)

    def test_each_program_has_every_size_of_its_icons(self):
        pictures, icons = b"3", b"14"
        for folder in MACHINES:
            for name, expected in (("MVPPCSync.exe", 13), ("mvtool.exe", 1)):
                with tempfile.NamedTemporaryFile(suffix=".exe") as program:
                    program.write(self.files[f"{folder}/{name}"])
                    program.flush()
                    listed = subprocess.run(["wrestool", "--list", program.name], check=True, capture_output=True).stdout
                    groups = subprocess.run(["wrestool", "--extract", "--raw", "--type=14", program.name], check=True,
                                            capture_output=True).stdout
                numbers = re.findall(rb"--type=(\d+) ", listed)
                self.assertEqual(numbers.count(icons), expected, name)
                self.assertEqual(numbers.count(pictures), picture_count(groups), name)

    def test_the_template_is_a_database_and_the_same_for_both(self):
        self.assertEqual(self.files["x64/_20"][4:19], b"Standard Jet DB")
        self.assertEqual(self.files["x64/_20"], self.files["x86/_20"])

    def test_the_read_me_is_for_windows(self):
        text = self.files["README.txt"]
        self.assertEqual(text.count(b"\n"), text.count(b"\r\n"))
        self.assertTrue(text.startswith(f"MVPPCSync {VERSION} ".encode("ascii")))
        self.assertLessEqual(max(map(len, text.split(b"\r\n"))), 80)

    def test_the_licence_of_the_json_library_comes_along(self):
        self.assertIn(b"Permission is hereby granted, free of charge", self.files["licence-json.txt"])

    def test_packing_again_gives_the_same_bytes(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, content in self.files.items():
                path = pathlib.Path(folder, name)
                path.parent.mkdir(exist_ok=True)
                path.write_bytes(content)
            subprocess.run([PACKAGING / "pack-zip", f"x64={folder}/x64", f"x86={folder}/x86", f"{folder}/out"], check=True,
                           stdout=subprocess.DEVNULL, env=dict(os.environ, **ELSEWHERE), umask=0o077)
            again = pathlib.Path(folder, "out", ARCHIVE.name).read_bytes()
        self.assertEqual(hashlib.sha256(again).hexdigest(), hashlib.sha256(ARCHIVE.read_bytes()).hexdigest())


class CheckImports(unittest.TestCase):
    """What keeps a program from starting on an old system is found before it is packed."""

    def outcome(self, program, listed):
        with tempfile.TemporaryDirectory() as folder:
            script = pathlib.Path(folder, "check-imports")
            script.write_bytes((PACKAGING / "check-imports").read_bytes())
            pathlib.Path(folder, "imports.txt").write_text(listed, encoding="ascii")
            run = subprocess.run(["python3", script, program], capture_output=True, text=True)
            return run.returncode, run.stdout

    @unittest.skipUnless(ARCHIVE.exists(), "packaging/windows/build-zip has not been run")
    def test_a_function_or_a_dll_that_is_not_listed_is_named(self):
        listed = (PACKAGING / "imports.txt").read_text("ascii")
        program = ROOT / "build" / "windows-x86" / "bin" / "mvtool.exe"
        self.assertEqual(self.outcome(program, listed)[0], 0)
        status, text = self.outcome(program, re.sub(r"\bCreateFileW\b", "", listed))
        self.assertEqual(status, 1)
        self.assertIn("kernel32.dll: CreateFileW: not known", text)
        status, text = self.outcome(program, listed.replace("[shell32.dll]", "[other.dll]"))
        self.assertEqual(status, 1)
        self.assertIn("shell32.dll: not a DLL of every system", text)


@unittest.skipUnless(shutil.which("makensis"), "makensis is not installed (Debian: nsis)")
@unittest.skipUnless((X86_BIN / "MVPPCSync.exe").exists(), "the Windows programs have not been built")
class Installer(unittest.TestCase):
    """Runs the installer under Wine. That runs 64-bit programs only, so it is packed a second time with a 64-bit stub;
    of the one for users, whose script is the same, the stub is looked at."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.prefix = cls.folder / "prefix"
        cls.shipped = cls.pack("x86-unicode")
        cls.setup = cls.pack("amd64-unicode")

    @classmethod
    def pack(cls, target, out="out", **options):
        said = subprocess.run([PACKAGING / "pack-installer", WINDOWS_BIN, X86_BIN, cls.folder / out, target], check=True,
                              capture_output=True, text=True, **options).stdout
        return pathlib.Path(said.strip())

    def wine(self, *command):
        return wine(*command, WINEPREFIX=str(self.prefix))

    def install(self, *options):
        self.assertEqual(self.wine(self.setup, "/S", *options), 0)

    def uninstall(self, folder, mode, root):
        """The uninstaller goes on in a copy of itself; what it takes away last is its entry in the list of programs."""
        self.assertEqual(self.wine(folder / "uninstall.exe", "/S", mode), 0)
        until = time.monotonic() + 60
        while self.listed(root) and time.monotonic() < until:
            pass
        self.assertFalse(self.listed(root))

    def listed(self, root):
        return self.wine("reg", "query", root + r"\Software\Microsoft\Windows\CurrentVersion\Uninstall\MVPPCSync") == 0

    def test_the_installer_runs_on_every_windows_from_xp_on(self):
        program = self.shipped.read_bytes()
        self.assertEqual(pe_header(program), (MACHINES["x86"], GUI))
        start = struct.unpack_from("<I", program, 0x3C)[0]
        self.assertLessEqual(struct.unpack_from("<HH", program, start + 24 + 48), (5, 1))

    def test_packing_again_gives_the_same_bytes(self):
        again = self.pack("x86-unicode", "a longer name", env=dict(os.environ, **ELSEWHERE), umask=0o077)
        self.assertEqual(again.read_bytes(), self.shipped.read_bytes())

    def test_what_a_user_made_outlives_updates_and_the_uninstaller(self):
        folder = self.folder / "program"
        place = f"/D={windows_path(folder)}"
        self.install("/CurrentUser", place)
        self.assertEqual(sorted(f.name for f in folder.iterdir()),
                         ["MVPPCSync.exe", "README.txt", "_20", "licence-json.txt", "mvtool.exe", "uninstall.exe"])
        self.assertEqual((folder / "MVPPCSync.exe").read_bytes(), (WINDOWS_BIN / "MVPPCSync.exe").read_bytes())
        self.assertTrue(self.listed("HKCU"))
        self.assertEqual(len(list(self.prefix.rglob("Start Menu/Programs/MVPPCSync/*.lnk"))), 3)

        demo = folder / "data"
        self.assertEqual(self.wine(folder / "mvtool.exe", "demo", windows_path(demo)), 0)
        self.assertEqual(self.wine(folder / "mvtool.exe", "check", windows_path(demo / "Motorva.db")), 0)
        database = (demo / "Motorva.db").read_bytes()
        self.assertEqual(self.wine(folder / "mvtool.exe", "template", windows_path(demo / "Motorva.db"),
                                   windows_path(folder / "_20"), "--force"), 0)
        settings = r"HKCU\Software\VB and VBA Program Settings\Motorva32\General"
        self.assertEqual(self.wine("reg", "add", settings, "/v", "DBPath", "/d", windows_path(demo), "/f"), 0)
        template = (folder / "_20").read_bytes()
        os.utime(folder / "_20", (10**9, 10**9))

        self.install("/CurrentUser")
        self.assertEqual((folder / "_20").read_bytes(), template)

        self.uninstall(folder, "/CurrentUser", "HKCU")
        self.assertEqual(sorted(f.name for f in folder.iterdir()), ["_20", "data"])
        self.assertEqual((demo / "Motorva.db").read_bytes(), database)
        self.assertEqual(self.wine("reg", "query", settings, "/v", "DBPath"), 0)
        self.assertEqual(list(self.prefix.rglob("Start Menu/Programs/MVPPCSync/*.lnk")), [])

    def test_for_all_users_it_goes_where_programs_are_and_leaves_nothing(self):
        autostart = r"HKLM\Software\Microsoft\Windows CE Services\AutoStartOnConnect"
        # The 64-bit stub knows this folder alone; the one for users puts 32-bit programs into "Program Files (x86)".
        folder = self.prefix / "drive_c" / "Program Files" / "MVPPCSync"
        for option, machine in ((), "x64"), (("/X86",), "x86"):
            self.install("/AllUsers", *option)
            self.assertEqual(pe_header((folder / "MVPPCSync.exe").read_bytes()), (MACHINES[machine], GUI))
            self.assertTrue(self.listed("HKLM"))
            program = r"C:\Program Files\MVPPCSync\MVPPCSync.exe -Mode0"
            self.wine("reg", "add", autostart, "/v", "Brindle Software", "/d", program, "/f")

            self.uninstall(folder, "/AllUsers", "HKLM")

            self.assertFalse(folder.exists())
            self.assertNotEqual(self.wine("reg", "query", autostart, "/v", "Brindle Software"), 0)


class Release(unittest.TestCase):
    """tools/release in small clones, whose packages are stand-ins: what it refuses, and what comes out of it."""

    STAND_IN = """#!/bin/sh
        set -eu
        [ ! -e "$(dirname "$0")/broken" ] || exit 1
        echo "$SOURCE_DATE_EPOCH $TZ $LC_ALL $(umask)" >"$1/$(basename "$0")"
        """

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.clone = self.folder / "first"
        for name in ("debian/build-deb", "windows/build-zip", "windows/build-installer"):
            script = self.clone / "packaging" / name
            script.parent.mkdir(parents=True, exist_ok=True)
            script.write_text(self.STAND_IN, encoding="utf-8")
            script.chmod(0o755)
        (self.clone / "tools").mkdir()
        shutil.copy(ROOT / "tools" / "release", self.clone / "tools")
        shutil.copy(ROOT / ".gitignore", self.clone)
        (self.clone / "CMakeLists.txt").write_text("project(MVPPCSync VERSION 2.3.4 LANGUAGES CXX)\n", encoding="utf-8")
        self.git("init", "--quiet")
        self.git("add", ".")
        self.commit()
        self.git("tag", "v2.3.4")
        self.out = self.clone / "build" / "release" / "2.3.4"

    def git(self, *words):
        who = ["-c", "user.name=Kim", "-c", "user.email=kim@mvppcsync.example"]
        subprocess.run(["git", *who, *words], cwd=self.clone, check=True, capture_output=True)

    def commit(self):
        self.git("commit", "--quiet", "--all", "--message=A change")

    def release(self, *words, clone=None, **options):
        return subprocess.run([(clone or self.clone) / "tools" / "release", *words], capture_output=True, text=True, **options)

    def refused(self, *words):
        done = self.release(*words)
        self.assertNotEqual(done.returncode, 0)
        return done.stderr

    def test_two_clones_of_a_tag_give_the_same_files_whatever_their_surroundings(self):
        other = self.folder / "the second, with a longer name"
        subprocess.run(["git", "clone", "--quiet", self.clone, other], check=True)
        for clone, options in (self.clone, {}), (other, {"env": dict(os.environ, **ELSEWHERE), "umask": 0o077}):
            done = self.release("v2.3.4", clone=clone, **options)
            self.assertEqual(done.returncode, 0, done.stderr)
        again = other / "build" / "release" / "2.3.4"
        self.assertEqual(sorted(f.name for f in self.out.iterdir()),
                         ["MVPPCSync-2.3.4.tar.gz", "SHA256SUMS", "build-deb", "build-installer", "build-zip"])
        self.assertEqual((self.out / "SHA256SUMS").read_text("ascii"), (again / "SHA256SUMS").read_text("ascii"))
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=again, check=True)

    def test_a_tag_that_is_none_is_named(self):
        self.assertEqual(self.refused("v9"), 'release: there is no commit or tag "v9"\n')

    def test_a_tag_that_is_not_the_version_is_refused(self):
        self.git("tag", "v2.3.5")
        self.assertIn('the tag "v2.3.5" is not the version, 2.3.4', self.refused("v2.3.5"))

    def test_changes_that_are_not_committed_are_refused(self):
        (self.clone / "new.txt").touch()
        self.assertIn("changes that are not committed", self.refused())

    def test_a_release_that_is_there_stays(self):
        self.out.mkdir(parents=True)
        (self.out / "mine").touch()
        self.assertIn("is there already", self.refused("v2.3.4"))
        self.assertEqual([f.name for f in self.out.iterdir()], ["mine"])

    def test_one_that_cannot_be_made_whole_leaves_no_folder_of_its_name(self):
        (self.clone / "packaging" / "windows" / "broken").touch()
        self.git("add", ".")
        self.commit()
        self.refused()
        self.assertFalse(self.out.exists())


class LinuxCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_overwrite_pc(self, programs):
        """What is installed finds its template: the run that starts from it works."""
        demo = self.folder / "demo"
        subprocess.run([programs / "mvtool", "demo", demo], check=True, stdout=subprocess.DEVNULL)
        done = subprocess.run([programs / "MVPPCSync", "-Mode2"], env={"XDG_CONFIG_HOME": str(demo / "config")},
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 0, (demo / "SyncLog.txt").read_text("cp1252"))


class Installation(LinuxCase):
    """cmake --install of the build for Linux."""

    def install(self, prefix, destination=""):
        subprocess.run(["cmake", "--install", BIN.parent, "--prefix", prefix, "--component", "program"], check=True,
                       stdout=subprocess.DEVNULL, env=dict(os.environ, DESTDIR=str(destination)))

    def test_it_runs_from_wherever_it_lies(self):
        self.install(self.folder / "first")
        (self.folder / "first").rename(self.folder / "second")
        self.assertEqual(sorted(f.name for f in (self.folder / "second" / "bin").iterdir()), ["MVPPCSync", "mvtool"])
        self.run_overwrite_pc(self.folder / "second" / "bin")

    def test_everything_lies_in_its_folder_below_destdir(self):
        self.install("/usr", self.folder)
        tree = self.folder / "usr"
        for name in ("bin/MVPPCSync", "bin/mvtool", "share/mvppcsync/_20", "share/man/man1/mvtool.1",
                     "share/man/man1/MVPPCSync.1", "share/bash-completion/completions/mvtool",
                     "share/zsh/site-functions/_mvtool", "share/fish/vendor_completions.d/mvtool.fish",
                     "share/doc/mvppcsync/user/install.md", "share/doc/mvppcsync/examples/90-mvppcsync.conf"):
            self.assertTrue((tree / name).is_file(), name)
        unit = (tree / "lib" / "systemd" / "user" / "mvppcsync-listen.service").read_text("utf-8")
        self.assertIn("\nExecStart=/usr/bin/mvtool listen\n", unit)
        self.assertNotIn("@", unit)

    def test_what_the_documents_link_to_is_installed_too(self):
        self.install("/usr", self.folder)
        pages = list((self.folder / "usr/share/doc/mvppcsync").rglob("*.md"))
        self.assertGreater(len(pages), 10)
        for page in pages:
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", page.read_text("utf-8")):
                self.assertTrue((page.parent / target).is_file(), f"{page.name}: {target}")

    @unittest.skipUnless(shutil.which("appstreamcli") and shutil.which("desktop-file-validate"),
                         "appstreamcli and desktop-file-validate are not installed (Debian: appstream, desktop-file-utils)")
    def test_what_desktops_read_is_valid(self):
        linux = ROOT / "packaging" / "linux"
        subprocess.run(["appstreamcli", "validate", "--no-net", "--strict", linux / "mvppcsync.metainfo.xml"], check=True,
                       stdout=subprocess.DEVNULL)
        said = subprocess.run(["desktop-file-validate", linux / "mvppcsync.desktop"], capture_output=True, text=True)
        self.assertEqual((said.returncode, said.stdout), (0, ""))
        self.assertIn(f'<release version="{VERSION}" ', (linux / "mvppcsync.metainfo.xml").read_text("utf-8"))


@unittest.skipUnless(shutil.which("dpkg-shlibdeps"), "dpkg-shlibdeps is not installed (Debian: dpkg-dev)")
class DebianPackage(LinuxCase):
    """The package, in a root of its own: with dpkg's own data base there, without the packages that it depends on."""

    WHEN = "1700000000"

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.packages = cls.pack(folder.name)
        cls.package = next(p for p in cls.packages if p.name.startswith(f"mvppcsync_{VERSION}_"))

    @classmethod
    def pack(cls, out, environment=None, **options):
        said = subprocess.run([ROOT / "packaging" / "debian" / "pack-deb", BIN.parent, out], check=True,
                              capture_output=True, text=True,
                              env=dict(os.environ, SOURCE_DATE_EPOCH=cls.WHEN, **(environment or {})), **options).stdout
        return [pathlib.Path(line) for line in said.splitlines()]

    def dpkg(self, *words):
        subprocess.run(["dpkg", f"--root={self.folder}", "--force-depends", "--force-not-root", *words], check=True,
                       capture_output=True)

    def fresh_root(self):
        for name in ("updates", "info", "triggers"):
            (self.folder / "var" / "lib" / "dpkg" / name).mkdir(parents=True)
        (self.folder / "var" / "lib" / "dpkg" / "status").touch()

    def files(self):
        return sorted(str(f.relative_to(self.folder)) for f in self.folder.rglob("*")
                      if not f.is_dir() and not f.relative_to(self.folder).parts[0] == "var")

    def older_package(self):
        """The same as a version before, with a file that the next one has no more."""
        tree = self.folder / "older"
        subprocess.run(["dpkg-deb", "-R", self.package, tree], check=True)
        control = (tree / "DEBIAN" / "control").read_text("utf-8")
        (tree / "DEBIAN" / "control").write_text(control.replace(f"Version: {VERSION}", "Version: 0.1"), encoding="utf-8")
        (tree / "usr" / "share" / "mvppcsync" / "gone").touch()
        path = self.folder / "older.deb"
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, path], check=True, stdout=subprocess.DEVNULL)
        shutil.rmtree(tree)
        return path

    @unittest.skipUnless(hasattr(os, "geteuid") and os.geteuid() == 0, "dpkg installs as root only")
    def test_it_is_installed_updated_and_purged(self):
        older = self.older_package()
        self.fresh_root()
        before = self.files()
        self.dpkg("--install", older)
        self.assertIn("usr/share/mvppcsync/gone", self.files())
        self.dpkg("--install", self.package)
        self.assertNotIn("usr/share/mvppcsync/gone", self.files())
        self.run_overwrite_pc(self.folder / "usr" / "bin")
        shutil.rmtree(self.folder / "demo")
        self.dpkg("--purge", "mvppcsync")
        self.assertEqual(self.files(), before)
        self.assertFalse((self.folder / "usr").exists())

    @unittest.skipUnless(shutil.which("lintian"), "lintian is not installed")
    def test_lintian_finds_no_error(self):
        # A new package closes no wish for it in Debian's list.
        said = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning", "--suppress-tags",
                               "initial-upload-closes-no-bugs", *self.packages], capture_output=True, text=True)
        self.assertEqual((said.returncode, said.stdout), (0, ""))

    def test_packing_again_gives_the_same_bytes(self):
        for first, again in zip(self.packages, self.pack(self.folder / "a longer name", ELSEWHERE, umask=0o077)):
            self.assertEqual(first.read_bytes(), again.read_bytes(), first.name)

    def test_nothing_in_it_tells_where_it_was_built(self):
        subprocess.run(["dpkg-deb", "-x", self.package, self.folder / "tree"], check=True)
        for file in (self.folder / "tree").rglob("*"):
            if file.is_file():
                self.assertNotIn(str(ROOT).encode("utf-8"), file.read_bytes(), file.name)
