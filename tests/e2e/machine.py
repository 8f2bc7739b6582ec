"""A machine to install packages on: this one's files, every change to which goes into memory and is gone at the end. Needs root
and the right to mount."""

import os
import pathlib
import shlex
import subprocess
import tempfile

HERE_ON = """
mount -t tmpfs tmpfs "$1"
mkdir "$1/changes" "$1/work" "$1/root"
mount -t overlay overlay -o "lowerdir=/,upperdir=$1/changes,workdir=$1/work" "$1/root"
for name in proc dev; do mount --rbind "/$name" "$1/root/$name"; done
mount -t tmpfs tmpfs "$1/root/run"
echo ready
exec sleep infinity
"""
# What programs of the system keep for themselves.
OF_THE_SYSTEM = ("var/cache/", "var/lib/apt/", "var/lib/dpkg/", "var/log/", "run/", "tmp/", "dev/", "proc/", "etc/ld.so.cache",
                 "usr/share/applications/mimeinfo.cache", "usr/share/icons/hicolor/icon-theme.cache")


def why_not():
    """Why there can be no such machine here; empty where there can be."""
    if os.geteuid() != 0:
        return "a machine of its own needs root"
    try:
        with Machine():
            return ""
    except (OSError, RuntimeError) as error:
        return f"a machine of its own cannot be had: {error}"


class Machine:
    """Open it with "with"; then programs run on it."""

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory()
        command = ["unshare", "--mount", "--propagation", "private", "sh", "-ec", HERE_ON, "sh", self.folder.name]
        self.holder = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if self.holder.stdout.readline() != "ready\n":
            text = self.holder.stderr.read()
            self.__exit__()
            raise RuntimeError(text.strip())
        return self

    def __exit__(self, *_):
        self.holder.kill()
        self.holder.wait()
        self.holder.stdout.close()
        self.holder.stderr.close()
        self.folder.cleanup()

    def outside(self, *words):
        """The words that run a program beside the machine, where its files and their changes can be seen."""
        return ["nsenter", f"--target={self.holder.pid}", "--mount", "--", *map(str, words)]

    def words(self, *words, user="root", **environment):
        """The words that run a program on the machine, in the user's home and with nothing of this one's environment."""
        home = "/root" if user == "root" else f"/home/{user}"
        settings = {"HOME": home, "USER": user, "LC_ALL": "C.UTF-8", "DEBIAN_FRONTEND": "noninteractive",
                    "PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", **environment}
        as_user = [] if user == "root" else ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups"]
        command = "cd && exec " + shlex.join(map(str, words))
        return self.outside("chroot", f"{self.folder.name}/root", "env", "--ignore-environment",
                            *[f"{name}={value}" for name, value in settings.items()], *as_user, "sh", "-c", command)

    def run(self, *words, user="root", answers="", **environment):
        return subprocess.run(self.words(*words, user=user, **environment), input=answers, text=True, capture_output=True,
                              timeout=300)

    def put(self, path, content):
        subprocess.run(self.outside("sh", "-c", 'cat >"$0"', f"{self.folder.name}/root{path}"), input=content, check=True)

    def files(self):
        """{path: what it is} of all that was changed, but for what the system keeps for itself."""
        command = self.outside("find", f"{self.folder.name}/changes", "-mindepth", "1",
                               "(", "-not", "-type", "d", "-o", "-empty", ")", "-printf", "%P\t%y %s %l\n")
        listing = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        changed = dict(line.split("\t") for line in listing.splitlines())
        # A folder in which a file came and went is among the changes, whether it was there before or not.
        return {path: what for path, what in changed.items() if not (path + "/").startswith(OF_THE_SYSTEM)
                and not (what.startswith("d") and pathlib.Path("/", path).is_dir())}

    def content(self, folder):
        """{path: bytes as a checksum} of all files of a folder."""
        script = 'cd "$0" && find . -type f -exec sha256sum {} +; find . -type l -printf "%l  %p\n"'
        command = self.outside("sh", "-c", script, f"{self.folder.name}/root{folder}")
        listing = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        return {path: checksum for checksum, path in (line.split("  ", 1) for line in listing.splitlines())}
