#!/usr/bin/env python3
"""Lets others change a folder at full speed while it is flattened; see race.cpp.

VANNERLY_RACE is the program that does it, VANNERLY_RACE_SECONDS says how long (10), VANNERLY_SEED
what is done.
"""

import os
import random
import subprocess
import unittest

from cli_case import PROGRAM, CliCase, fast_place

SECONDS = os.environ.get("VANNERLY_RACE_SECONDS", "10")
SEED = os.environ.get("VANNERLY_SEED", str(random.randrange(1 << 32)))


class Races(CliCase):
    where = fast_place()

    def test_nothing_is_lost_replaced_or_touched_outside(self):
        os.mkdir(self.path("race"))
        done = subprocess.run([os.path.abspath(os.environ["VANNERLY_RACE"]), PROGRAM,
                               self.path("race"), SECONDS, SEED],
                              check=False, capture_output=True, text=True)
        print(f"seed {SEED}: {done.stdout}")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertRegex(done.stdout, r"[1-9]\d* runs, [1-9]\d* contents made by others")


if __name__ == "__main__":
    unittest.main()
