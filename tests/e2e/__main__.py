"""Runs the end-to-end tests over the built programs: python3 -m tests.e2e [unittest arguments].

MV_BIN: folder of the programs. MV_WINDOWS_BIN: folder of the Windows programs. MV_CASES: random worlds per mode, and
random databases. MV_SEED: first seed. JETCHECK: external checker. JET_SAMPLES: folder of real database files.
"""

import os
import sys
import unittest

from . import world

if not (world.BIN / "MVPPCSync").exists():
    sys.exit(f"no programs in {world.BIN}; build them first")
loader = unittest.TestLoader()
names = sys.argv[1:]
here = os.path.dirname(__file__)
suite = loader.loadTestsFromNames(names) if names else loader.discover(here, top_level_dir=world.ROOT)
result = unittest.TextTestRunner(verbosity=1).run(suite)
# A test with several failing parts is one test.
failed = len({getattr(t, "test_case", t) for t, _ in result.failures + result.errors})
for _, reason in result.skipped:
    print(f"  skipped: {reason}")
if not os.environ.get("JETCHECK"):
    print("  skipped: the external structure check (JETCHECK is not set)")
print(f"  {result.testsRun - failed - len(result.skipped)} passed, {failed} failed, {len(result.skipped)} skipped")
sys.exit(1 if failed or not result.testsRun else 0)
