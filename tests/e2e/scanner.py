"""Another program that looks at each new file of a folder, as scanners, indexers and backup programs do."""

import ctypes
import fcntl
import os
import struct
import threading
import time

CREATED, MOVED_HERE, WRITTEN = 0x100, 0x80, 0x8
LIBC = ctypes.CDLL(None, use_errno=True)


class Scanner:
    """Holds a shared lock on each new file of `folder` for `seconds`; `names`: which, by a function of the name."""

    def __init__(self, folder, seconds, names=lambda name: name.endswith(".pdb")):
        self.folder = os.fsencode(folder)
        self.seconds = seconds
        self.names = names
        self.held = 0
        self.over = False
        self.notices = LIBC.inotify_init1(os.O_CLOEXEC)
        if LIBC.inotify_add_watch(self.notices, self.folder, CREATED | MOVED_HERE | WRITTEN) < 0:
            raise OSError(ctypes.get_errno(), "inotify_add_watch")
        self.thread = threading.Thread(target=self.work)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.over = True
        open(os.path.join(self.folder, b"end of scan"), "w").close()
        self.thread.join()
        os.close(self.notices)
        os.unlink(os.path.join(self.folder, b"end of scan"))

    def work(self):
        while not self.over:
            notices = os.read(self.notices, 65536)
            while notices:
                (length,) = struct.unpack_from("12xI", notices)
                name = notices[16:16 + length].rstrip(b"\0")
                notices = notices[16 + length:]
                if self.names(os.fsdecode(name)):
                    self.look_at(os.path.join(self.folder, name))

    def look_at(self, path):
        try:
            file = os.open(path, os.O_RDONLY)
        except FileNotFoundError:
            return
        try:
            # Waits for its turn, and so has it as soon as the run lets go of the file.
            fcntl.flock(file, fcntl.LOCK_SH)
            self.held += 1
            time.sleep(self.seconds)
        finally:
            os.close(file)
