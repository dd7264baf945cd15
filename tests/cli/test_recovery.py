#!/usr/bin/env python3
"""A run that is killed, two at once, and a disk that has no room for the journal."""

import fcntl
import json
import os
import re
import signal
import subprocess
import unittest

from cli_case import CliCase, slow_disk

SLOW = 3_000_000  # microseconds that a rename takes longer
TEMPORARY = "517A7274"


class Recovery(CliCase):
    def test_the_next_start_puts_back_what_a_killed_one_was_moving(self):
        for step, place, end in ((1, f"one/two/{TEMPORARY}", "is back in its place"),
                                 (2, TEMPORARY, "has its new name now")):
            with self.subTest(place):
                subprocess.run(["rm", "-rf", self.path("drop")], check=True)
                drop = self.make_sample()
                before = self.tree(drop)
                process = self.start(drop, environment={**slow_disk(0),
                                                        "OTHER_DISK_HOLD": str(step)})
                self.wait_until(lambda: os.path.exists(self.path("drop", place)), process)
                process.send_signal(signal.SIGKILL)
                self.finish(process, -signal.SIGKILL, None)
                self.make_sample("other")
                _, err = self.run_cli("--quiet", "other")
                after = self.tree(drop)
                self.assertCountEqual(after.values(), before.values())
                self.assertFalse(any(TEMPORARY in path for path in after))
                self.assertRegex(err, rf"\Avannerly-cli: {re.escape(drop)}/[^\n]+: {end}; "
                                      r"a run was interrupted while moving it\n\Z")
                self.assertEqual(self.run_cli("--quiet", "drop")[1], "")

    def test_two_at_once(self):
        drop = self.make_sample("above/drop")
        self.make_sample("beside")
        os.symlink("above/drop", self.path("link"))
        before = self.tree(drop)
        process = self.start(drop, environment=slow_disk(SLOW))
        self.wait_until(lambda: re.search("\n(move|steps)\t", self.journal_text()), process)
        for folder, where in ((drop, "it"), (drop + "/one", drop), (self.path("above"), drop),
                              (self.path("link"), "it")):
            out, err = self.run_cli("--delete-emptied-folders", "--aggregate-files-when-done",
                                    "--json", "--quiet", folder, "beside", status=1, output=None)
            path, reason = (os.path.realpath(folder), f"another Vannerly (process {process.pid}) is "
                            f"at work in {where}")
            self.assertEqual(err, f"vannerly-cli: {path}: {reason}\n")
            document = json.loads(out)
            self.assertEqual(document["errors"], [{"folder": path, "reason": reason}])
            self.assertEqual([told["path"] for told in document["folders"]], [self.path("beside")])
        self.assertEqual(self.tree(drop), before)
        process.send_signal(signal.SIGKILL)
        self.finish(process, -signal.SIGKILL, None)
        self.run_cli("above/drop")
        self.assertNotEqual(self.tree(drop), before)

    def test_in_use_while_the_journals_are_locked(self):
        """When it cannot be known whether another run is at work in the folder, it may be."""
        drop = self.make_sample()
        before = self.tree(drop)
        self.run_cli("--quiet", self.make_sample("elsewhere"))
        lock = os.open(self.path("state/vannerly/journal"), os.O_RDONLY | os.O_DIRECTORY)
        self.addCleanup(os.close, lock)
        fcntl.flock(lock, fcntl.LOCK_EX)
        _, err = self.run_cli("--quiet", "--delete-emptied-folders", drop, status=1)
        self.assertTrue(err.startswith(f"vannerly-cli: {drop}: "), err)
        self.assertEqual(self.tree(drop), before)

    def journal_text(self):
        folder = self.path("state/vannerly/journal")
        if not os.path.isdir(folder):
            return ""
        return "".join(self.read(f"state/vannerly/journal/{name}") for name in os.listdir(folder))


if __name__ == "__main__":
    unittest.main()
