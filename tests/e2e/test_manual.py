"""Help, version, manual pages and completions, as somebody at a prompt meets them."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from . import windows, world

MANUAL = world.BIN.parent / "manual"


def run(*command, **options):
    return subprocess.run([str(word) for word in command], text=True, capture_output=True, timeout=60, **options)


def needs(program):
    return unittest.skipUnless(shutil.which(program), f"{program} is not installed")


class Help(unittest.TestCase):
    def test_both_programs_answer_help_and_version(self):
        for program in ("mvtool", "MVPPCSync"):
            for option in ("--help", "--version"):
                done = run(world.BIN / program, option)
                self.assertEqual((done.returncode, done.stderr), (0, ""), (program, option))
                self.assertIn(program, done.stdout)
                lines = done.stdout.splitlines()
                self.assertLessEqual(max(map(len, lines)), 80)
                # With the prompt below it.
                self.assertLessEqual(len(lines), 23)

    def test_an_option_that_is_none_is_named_and_nothing_is_done(self):
        with tempfile.TemporaryDirectory() as folder:
            done = run(world.BIN / "MVPPCSync", "-Mode0", "--frob", env=dict(os.environ, XDG_CONFIG_HOME=folder))
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertIn('"--frob"', done.stderr)
            self.assertEqual(list(pathlib.Path(folder).iterdir()), [])


@unittest.skipUnless(windows.PROGRAM.exists(), "there are no Windows programs")
class HelpOnWindows(unittest.TestCase):
    def test_the_program_without_a_console_answers_where_its_output_goes(self):
        for option, status, stream in (("--help", 0, "stdout"), ("--version", 0, "stdout"), ("--frob", 2, "stderr")):
            done = run(world.ROOT / "tools" / "wine-run", windows.PROGRAM, option,
                       env=dict(os.environ, WINEPREFIX=str(windows.WINE_PREFIX)))
            self.assertEqual(done.returncode, status, option)
            self.assertIn("MVPPCSync", getattr(done, stream))


class Pages(unittest.TestCase):
    @needs("mandoc")
    def test_the_pages_are_without_a_fault(self):
        for page in ("mvtool.1", "MVPPCSync.1"):
            done = run("mandoc", "-Tlint", "-Wwarning", MANUAL / page)
            self.assertEqual((done.returncode, done.stdout), (0, ""), page)

    @needs("mandoc")
    def test_the_page_says_what_help_says(self):
        text = run("mandoc", "-Tascii", "-Owidth=200", MANUAL / "mvtool.1").stdout
        self.assertIn("--dry-run", re.sub(".\x08", "", text))


class Completions(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        for name in ("Motorva.db", "other file.db"):
            (pathlib.Path(self.folder.name) / name).touch()
        (pathlib.Path(self.folder.name) / "sub").mkdir()

    def bash(self, *words):
        """What bash offers for the last of the words."""
        script = (f'. "{MANUAL}/mvtool.bash"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _mvtool; '
                  '((${#COMPREPLY[@]})) && printf "%s\\n" "${COMPREPLY[@]}"')
        done = run("bash", "-c", script, "bash", "mvtool", *words, cwd=self.folder.name)
        self.assertEqual(done.stderr, "")
        return done.stdout.split("\n")[:-1]

    def test_bash_completes_commands(self):
        self.assertEqual(self.bash("sh"), ["show"])
        self.assertIn("restore", self.bash(""))
        self.assertIn("--version", self.bash("--"))

    def test_bash_completes_options_of_the_command_alone(self):
        self.assertEqual(self.bash("restore", "last", "--d"), ["--dry-run", "--desktop-only"])
        self.assertEqual(self.bash("list", "--c"), [])

    def test_bash_completes_operands_by_their_place(self):
        self.assertEqual(sorted(self.bash("show", "")), ["Motorva.db", "other file.db", "sub"])
        self.assertEqual(self.bash("show", "--csv", "Motorva.db", "brnd_F"), ["brnd_FieldValues", "brnd_Fuel"])
        self.assertEqual(self.bash("export", "Motorva.db", ""), ["sub"])
        self.assertEqual(self.bash("handheld", "b"), ["backup"])
        self.assertEqual(self.bash("restore", ""), ["last"])
        self.assertEqual(self.bash("list", "Motorva.db", ""), [])

    def test_bash_completes_values_of_options(self):
        self.assertEqual(self.bash("changes", "--table", "brnd_Fu"), ["brnd_Fuel"])
        self.assertEqual(self.bash("send", "--from", "x", "brnd_Fu"), ["brnd_Fuel"])

    @needs("fish")
    def test_fish_completes_commands_options_and_tables(self):
        def offers(line):
            done = run("fish", "--no-config", "-c", f'source {MANUAL}/mvtool.fish; complete -C "{line}"', cwd=self.folder.name)
            self.assertEqual(done.stderr, "")
            return [offer.split("\t")[0] for offer in done.stdout.splitlines()]
        self.assertEqual(offers("mvtool sh"), ["show"])
        self.assertEqual(sorted(offers("mvtool restore --d")), ["--desktop-only", "--dry-run"])
        self.assertIn("brnd_Fuel", offers("mvtool show Motorva.db brnd_F"))

    @needs("zsh")
    def test_zsh_reads_its_script(self):
        done = run("zsh", "-n", MANUAL / "_mvtool")
        self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main()
