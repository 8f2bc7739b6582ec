"""What shells offer to complete a command line, as somebody sees it who presses the Tab key."""

import os
import pty
import re
import select
import subprocess
import time

SOON = 30
ESCAPES = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|[\0\r\a]")


class Terminal:
    """A shell on a terminal of its own."""

    def __init__(self, words, **options):
        self.end, other = pty.openpty()
        self.process = subprocess.Popen([str(word) for word in words], stdin=other, stdout=other, stderr=other,
                                        start_new_session=True, **options)
        os.close(other)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.end)

    def type(self, text):
        os.write(self.end, text.encode("utf-8"))

    def read_until(self, wanted):
        """What the shell has written up to and with a match of `wanted`, a regular expression."""
        text, until = "", time.monotonic() + SOON
        while not re.search(wanted, text):
            if not select.select([self.end], [], [], max(0, until - time.monotonic()))[0]:
                raise AssertionError(f"{wanted} did not come: {text!r}")
            text = ESCAPES.sub("", text + os.read(self.end, 65536).decode("utf-8", "replace"))
        return text


def bash(words_of, keys, wanted):
    """What bash shows when `keys` are pressed, Tab among them, up to `wanted`. `words_of` puts a program's words where it
    is to run."""
    with Terminal(words_of("bash", "--norc", "--noprofile", "-i")) as shell:
        shell.type("PS1='rea''dy> '; bind 'set bell-style none'; . /usr/share/bash-completion/bash_completion\n")
        shell.read_until("ready> ")
        shell.type(keys)
        return shell.read_until(wanted)


def zsh(words_of, keys, wanted):
    """The same for zsh."""
    with Terminal(words_of("zsh", "-f", "-i")) as shell:
        shell.type("autoload -U compinit && compinit -D -u; PS1='rea''dy> '\n")
        shell.read_until("ready> ")
        shell.type(keys)
        return shell.read_until(wanted)


def fish(words_of, line):
    """What fish offers, word by word."""
    done = subprocess.run([str(word) for word in words_of("fish", "-c", f"complete -C'{line}'")], text=True, capture_output=True,
                          timeout=SOON, stdin=subprocess.DEVNULL)
    return [offer.split("\t")[0] for offer in done.stdout.splitlines()]
