"""The Debian packages on a whole machine: dependencies, maintainer scripts of other packages, updates with a user's data there,
removing and purging; what shells and man make of them."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from . import shells
from .machine import Machine, why_not
from .world import BIN, ROOT

OLDER = "0.9.0"
USER = "kim"
WANTED = ("apt-get", "bash", "dpkg-shlibdeps", "fish", "man", "nsenter", "setpriv", "zsh")
MISSING = [program for program in WANTED if not shutil.which(program)]
WHY_NOT = f"not installed: {', '.join(MISSING)}" if MISSING else why_not()
UNIT = "/usr/lib/systemd/user/mvppcsync-listen.service"
WANTS = ".config/systemd/user/default.target.wants"


def pack(out, version=None):
    """{package: file}; with another version the packages of a project that is the same otherwise."""
    with tempfile.TemporaryDirectory() as folder:
        project = pathlib.Path(folder)
        shutil.copytree(ROOT / "packaging", project / "packaging")
        text = (ROOT / "CMakeLists.txt").read_text("utf-8")
        if version:
            text = re.sub(r"project\(MVPPCSync VERSION \S+", f"project(MVPPCSync VERSION {version}", text)
        (project / "CMakeLists.txt").write_text(text, encoding="utf-8")
        environment = dict(os.environ, SOURCE_DATE_EPOCH="1700000000", DPKG_DEB_COMPRESSOR_LEVEL="1")
        said = subprocess.run([project / "packaging" / "debian" / "pack-deb", BIN.parent, out], check=True, capture_output=True,
                              text=True, env=environment).stdout
    return {pathlib.Path(line).name.split("_")[0]: pathlib.Path(line) for line in said.splitlines()}


@unittest.skipIf(WHY_NOT, WHY_NOT)
class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.new = pack(pathlib.Path(folder.name, "new"))
        cls.old = pack(pathlib.Path(folder.name, "old"), OLDER)

    def setUp(self):
        self.machine = Machine()
        self.machine.__enter__()
        self.addCleanup(self.machine.__exit__)
        self.must("useradd", "--create-home", USER)
        for group, files in ("new", self.new), ("old", self.old):
            for package, file in files.items():
                self.machine.put(f"/opt/{group}-{package}.deb", file.read_bytes())

    def must(self, *words, **options):
        done = self.machine.run(*words, **options)
        self.assertEqual(done.returncode, 0, f"{words}: {done.stdout}{done.stderr}")
        return done.stdout

    def install(self, *names, **options):
        return self.machine.run("apt-get", "install", "--yes", "--no-install-recommends", "--allow-downgrades",
                                *[f"/opt/{name}.deb" for name in names], **options)

    def must_install(self, *names):
        done = self.install(*names)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def version(self, package):
        """Of an installed package; nothing when it is not."""
        done = self.machine.run("dpkg-query", "--show", "--showformat=${db:Status-Status} ${Version}", package)
        status, _, version = done.stdout.partition(" ")
        return version if status == "installed" else None

    def use(self):
        """What a user has made of the programs: data, settings, a run, the service switched on."""
        self.must("mvtool", "demo", "first data", user=USER)
        self.must("mvtool", "setup", "--database", "first data", "--handheld", "folder", "--root", "first data/handheld", "--yes",
                  user=USER)
        self.must("MVPPCSync", "-Mode0", user=USER)
        self.must("mkdir", "-p", WANTS, user=USER)
        self.must("ln", "-s", UNIT, f"{WANTS}/mvppcsync-listen.service", user=USER)

    def test_a_user_s_data_settings_and_service_outlive_an_update_and_purging_leaves_nothing_else(self):
        before = self.machine.files()
        self.must_install("old-mvppcsync", "old-mvppcsync-window")
        self.assertEqual((self.version("mvppcsync"), self.version("mvppcsync-window")), (OLDER, OLDER))
        self.use()
        data = self.machine.content(f"/home/{USER}")

        self.must_install("new-mvppcsync", "new-mvppcsync-window")

        self.assertEqual(self.machine.content(f"/home/{USER}"), data)
        self.must("test", "-f", f"{WANTS}/mvppcsync-listen.service", user=USER)
        self.must("mvtool", "doctor", user=USER)
        self.must("MVPPCSync", "-Mode0", user=USER)
        self.must("MVPPCSync", "-Mode2", user=USER)
        self.assertEqual(len(self.must("mvtool", "runs", "--json", user=USER).splitlines()), 3)
        self.must("mvtool", "restore", "last", user=USER)
        data = self.machine.content(f"/home/{USER}")

        self.must("apt-get", "remove", "--yes", "mvppcsync")
        self.assertEqual((self.version("mvppcsync"), self.version("mvppcsync-window")), (None, None))
        # There is nothing in /etc that would have to stay until now.
        self.must("dpkg", "--purge", "mvppcsync", "mvppcsync-window")

        self.assertEqual(self.machine.content(f"/home/{USER}"), data)
        left = {path: what for path, what in self.machine.files().items() if not path.startswith(f"home/{USER}")}
        self.assertEqual({path: what for path, what in left.items() if before.get(path) != what}, {})

    def test_the_window_goes_with_the_programs_of_its_own_version_alone(self):
        self.assertNotEqual(self.install("new-mvppcsync-window").returncode, 0)
        self.must_install("old-mvppcsync")
        self.assertNotEqual(self.install("new-mvppcsync-window").returncode, 0)
        self.assertEqual((self.version("mvppcsync"), self.version("mvppcsync-window")), (OLDER, None))
        self.must_install("new-mvppcsync", "new-mvppcsync-window")
        self.must("apt-get", "purge", "--yes", "mvppcsync-window")
        self.assertIsNotNone(self.version("mvppcsync"))
        self.must("MVPPCSync", "--version", user=USER)
        documents = "usr/share/doc/mvppcsync/"  # the programs' own, with pictures
        windows = [path for path in self.machine.files() if path.startswith("usr/") and not path.startswith(documents)
                   and ("mvppcsync-window" in path or path.endswith((".desktop", ".metainfo.xml", ".png", ".svg")))]
        self.assertEqual(windows, [])
        self.must_install("new-mvppcsync-window")

    def test_the_shells_complete_and_man_finds_the_pages(self):
        self.must_install("new-mvppcsync")
        self.assertIn("asks for the database", " ".join(self.must("man", "mvtool", user=USER, MANWIDTH="80").lower().split()))
        self.must("man", "MVPPCSync", user=USER)
        def words_of(*words):
            return self.machine.words(*words, user=USER, TERM="vt100")
        script = ". /usr/share/bash-completion/bash_completion; _completion_loader mvtool; complete -p mvtool"
        loaded = self.must("bash", "-ic", script, user=USER)
        self.assertIn("-F _mvtool mvtool", loaded)
        for shell in shells.bash, shells.zsh:
            with self.subTest(shell=shell.__name__):
                shell(words_of, "mvtool se\t\t", r"(?s)\bsend\b.*\bsetup\b")
                shell(words_of, "mvtool prev\t", r"mvtool preview ")
                shell(words_of, "mvtool restore last --dr\t", r"--dry-run")
        self.assertEqual(sorted(shells.fish(words_of, "mvtool se")), ["send", "setup"])


if __name__ == "__main__":
    unittest.main()
