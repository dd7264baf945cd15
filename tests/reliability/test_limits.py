#!/usr/bin/env python3
"""What a run leaves when the system gives it little memory."""

import os
import unittest

from cli_case import PROGRAM, CliCase, fast_place


def is_sanitized():
    with open(PROGRAM, "rb") as file:
        return b"__asan_init" in file.read()


class Limits(CliCase):
    where = fast_place()

    @unittest.skipUnless(is_sanitized(), "needs the sanitizer's limit for one allocation")
    def test_no_memory_for_the_list(self):
        """Nothing is moved; without the limit everything is."""
        files = 1024 * 1024 // 80 + 1000
        for i in range(files):
            self.write(f"drop/{i % 10}/{i}", str(i))
        before = self.tree(self.path("drop"))
        limit = ":".join(o for o in (os.environ.get("ASAN_OPTIONS"), "allocator_may_return_null=1",
                                     "max_allocation_size_mb=1") if o)
        _, err = self.run_cli("--quiet", "drop", status=3, environment={"ASAN_OPTIONS": limit})
        self.assertIn(f"\n{files} files were not reached; --verbose tells more.\n", err)
        self.assertEqual(len(self.tree(self.path("drop"))), len(before))
        self.assertEqual(self.tree(self.path("drop")), before)
        self.run_cli("--quiet", "drop")
        self.assertEqual(sum(name.isdigit() for name in os.listdir(self.path("drop"))), files)


if __name__ == "__main__":
    unittest.main()
