"""A world whose runs keep a history, and what their entries say, for tests."""

import json
import os
import shutil
import signal
import subprocess

from . import cases, merge, pdbfile
from .test_sync import lay_out, with_empty_template
from .world import BIN, KEYS, World, to_json

MODES = (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC)


class HistoryWorld(World):
    """A world whose runs and tools tell what they print."""

    def run(self, mode):
        """Runs a silent sync to its end."""
        return self.start(str(self.program_folder / "MVPPCSync"), f"-Mode{mode}")

    def mvtool(self, *words):
        return self.start(str(self.program_folder / "mvtool"), *words)

    def start(self, *words):
        return subprocess.run(words, env=self.environment(), timeout=60, text=True, capture_output=True)

    def environment(self):
        temporary = self.folder / "tmp"
        temporary.mkdir(exist_ok=True)
        return dict(super().environment(), TMPDIR=str(temporary))

    def history(self):
        return self.folder / "sync" / "history"

    def entries(self):
        """Folders of the entries, oldest first."""
        return sorted(self.history().iterdir()) if self.history().is_dir() else []

    def newest(self):
        return self.entries()[-1]

    def record(self):
        return json.loads((self.newest() / "run.json").read_text(encoding="utf-8"))

    def changes(self):
        return [json.loads(line) for line in (self.newest() / "changes.jsonl").read_text(encoding="utf-8").splitlines()]

    def add_settings(self, **sections):
        """{section: {key: value}}, added to the settings."""
        file = self.folder / "config" / "Motorva32.ini"
        text = file.read_text(encoding="utf-8")
        for section, values in sections.items():
            text += f"[{section}]\n" + "".join(f"{k}={v}\n" for k, v in values.items())
        file.write_text(text, encoding="utf-8")

    def handheld_files(self):
        return {f.name: f.read_bytes() for f in sorted(self.tables.glob("*.pdb"))}

    def files(self):
        """Content and time of every file, times of every folder; the folder for temporary files aside."""
        found = {}
        for path in sorted(self.folder.rglob("*")):
            facts = path.stat()
            if path.name != "tmp":
                found[path] = (facts.st_mtime_ns, facts.st_mode, path.read_bytes() if path.is_file() else None)
        return found

    def desktop_rows(self, table):
        """Rows by their folded key, each as a JSON object."""
        out = subprocess.run([str(BIN / "mvtool"), "show", str(self.database), table], check=True,
                             capture_output=True).stdout.decode("utf-8")
        return {folded(row[KEYS[table]]): row for row in map(json.loads, out.splitlines())}

    def handheld_rows(self, table):
        """The same of the handheld's table, and the flags of each row."""
        return rows_of_file(table, self.read_table(table))


def folded(key):
    return (key or "").casefold()


def rows_of_file(table, data):
    _, fields, records = pdbfile.parse(data)
    key = KEYS.get(table, "KY_RECID")
    rows = [{n: to_json(v) for (n, _), v in zip(fields, r.values)} for r in records]
    return ({folded(row[key]): row for row in rows},
            {folded(row[key]): r.attributes & (pdbfile.MODIFIED | pdbfile.DELETED)
             for row, r in zip(rows, records)})


ZEROS = {"Currency": "0.0000", "DateTime": "1904-01-01T00:00:00", "Boolean": False, "Text": "", "Memo": ""}


def on_handheld(columns, row):
    """A row of a report as the handheld holds it, which knows no null."""
    if row is None:
        return None
    return {n: ZEROS.get(t, 0) if row[n] is None else row[n] for n, t, _ in columns}


def new_world(folder, rng, most=30):
    world = HistoryWorld(folder)
    case = cases.world_case(rng, most)
    lay_out(world, case)
    with_empty_template(world, case)
    shutil.copy(BIN / "mvtool", world.program_folder / "mvtool")
    return world, case


class holding:
    """Another program that has a file open."""

    def __init__(self, file, lock):
        self.words = ["flock", lock, str(file), "-c", "echo held; exec sleep 60"]

    def __enter__(self):
        self.process = subprocess.Popen(self.words, start_new_session=True, stdout=subprocess.PIPE)
        self.process.stdout.readline()

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        self.process.stdout.close()
