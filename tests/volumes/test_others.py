#!/usr/bin/env python3
"""Others at work at the same time: the dropped folder is exchanged, or the journals are locked."""

import fcntl
import os
import subprocess
import sys

from volume_case import COLLATE, VolumeCase, run_tests

# Exchanges two folders over and over until it is ended; says when it has begun.
EXCHANGING = """
import ctypes, os, random, sys, time
rename = ctypes.CDLL(None).renameat2
first, second = map(os.fsencode, sys.argv[1:])
print(flush=True)
while True:
    rename(-100, first, -100, second, 2)
    time.sleep(random.choice((0, 0.001, 0.01, 0.1)))
"""


class Others(VolumeCase):
    def test_collating_stays_in_its_folder(self):
        """Exchanged with another one of the same names meanwhile, each keeps what is its own."""
        names = [f"{number}.x{number % 40}" for number in range(400)]
        names += [f"x{number}/old.x{number}" for number in range(40)]
        collated = 0
        for number in range(8):
            with self.subTest(number=number):
                folders = [self.path(f"{number}", owner) for owner in ("one", "two")]
                for folder in folders:
                    for name in names:
                        self.write(os.path.join(folder, name), f"{os.path.basename(folder)} {name}")
                with subprocess.Popen([sys.executable, "-c", EXCHANGING, *folders],
                                      stdout=subprocess.PIPE) as other:
                    try:
                        other.stdout.readline()
                        # Exchanged before its turn, it is not the folder that was named.
                        run = self.flatten("--operation=3", COLLATE, folders[0], status=(0, 1, 3))
                    finally:
                        other.kill()
                collated += sum(folder["counts"]["collated"] for folder in run.folders)
                owners = [{content.split()[0] for content in self.files(folder)}
                          for folder in folders]
                self.assertCountEqual(owners, [{"one"}, {"two"}])
                for folder in folders:
                    self.assertEqual(len(self.files(folder)), len(names))
        self.assertGreater(collated, 0, "no run has sorted anything")

    def test_in_use_while_the_journals_are_locked(self):
        """When it cannot be known whether another run is at work in the folder, it may be."""
        drop = self.make_sample()
        before = self.tree(drop)
        journals = self.path("state/vannerly/journal")
        self.run_cli("--quiet", self.make_sample("elsewhere"))
        lock = os.open(journals, os.O_RDONLY | os.O_DIRECTORY)
        self.addCleanup(os.close, lock)
        fcntl.flock(lock, fcntl.LOCK_EX)
        run = self.flatten("--delete-emptied-folders", drop, status=1)
        self.assertEqual([error["folder"] for error in run.errors], [drop])
        self.assertEqual(self.tree(drop), before)
        fcntl.flock(lock, fcntl.LOCK_UN)
        self.flatten("--delete-emptied-folders", drop, status=0)


if __name__ == "__main__":
    run_tests()
