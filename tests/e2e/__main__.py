"""Runs the end-to-end tests over the built programs: python3 -m tests.e2e [unittest arguments].

Without arguments all of them, as many modules at a time as there are processors.

MV_BIN: folder of the programs. MV_WINDOWS_BIN: folder of the Windows programs. MV_CASES: random worlds per mode, and
random databases. MV_SEED: first seed. JETCHECK: external checker. JET_SAMPLES: folder of real database files.
"""

import collections
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import unittest

from . import world

HERE = pathlib.Path(__file__).parent
SUMMARY = re.compile(r"^  (\d+) passed, (\d+) failed, (\d+) skipped$", re.MULTILINE)


def run_here(names):
    """Runs the tests named and returns whether all passed; the last line printed is a summary."""
    result = unittest.TextTestRunner(verbosity=1).run(unittest.TestLoader().loadTestsFromNames(names))
    # A test with several failing parts is one test.
    failed = len({getattr(t, "test_case", t) for t, _ in result.failures + result.errors})
    for _, reason in result.skipped:
        print(f"  skipped: {reason}")
    print(f"  {result.testsRun - failed - len(result.skipped)} passed, {failed} failed, {len(result.skipped)} skipped")
    return failed == 0 and result.testsRun > 0


def run_module(name):
    """Runs one module in a process of its own; returns its exit status and what it printed."""
    done = subprocess.run([sys.executable, "-m", "tests.e2e", f"tests.e2e.{name}"], cwd=world.ROOT, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


def run_all():
    """Runs all modules, the largest first; says how many tests passed and returns whether all did."""
    modules = sorted(HERE.glob("test_*.py"), key=lambda file: file.stat().st_size, reverse=True)
    total = collections.Counter()
    sound = bool(modules)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for module, (status, text) in zip(modules, pool.map(run_module, [file.stem for file in modules])):
            print(f"-- {module.stem}\n{text}", end="", flush=True)
            summary = SUMMARY.search(text)
            sound = sound and status == 0 and summary is not None
            if summary:
                total.update(dict(zip(("passed", "failed", "skipped"), map(int, summary.groups()))))
    if not os.environ.get("JETCHECK"):
        print("  skipped: the external structure check (JETCHECK is not set)")
    print(f"All modules: {total['passed']} passed, {total['failed']} failed, {total['skipped']} skipped")
    return sound


if not (world.BIN / "MVPPCSync").exists():
    sys.exit(f"no programs in {world.BIN}; build them first")
sys.exit(0 if (run_here(sys.argv[1:]) if sys.argv[1:] else run_all()) else 1)
