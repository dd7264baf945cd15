#!/usr/bin/env python3
"""Ctrl-C, a second one, and SIGTERM, on a disk slow enough for them to arrive within the run."""

import os
import shutil
import signal
import time
import unittest

from cli_case import CliCase, slow_disk

FILES = 160
SLOW = 10_000  # microseconds that a rename takes longer: a folder takes some 3 s


class Stopping(CliCase):
    def make_folders(self):
        for folder in ("first", "second"):
            for i in range(FILES):
                # Every second name clashes, so that files are stopped under temporary names too.
                self.write(f"{folder}/sub{i % 7}/{i // 2}.txt", f"{folder} {i}")

    def stop(self, *arguments, signals, folder="first", status):
        """Sends the signals one by one when a few files of `folder` have been moved."""
        process = self.start("first", "second", *arguments, environment=slow_disk(SLOW))
        deadline = time.monotonic() + 60
        while len(os.listdir(self.path(folder))) < 20:
            self.assertIsNone(process.poll(), "ended before it could be stopped")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        for number in signals:
            process.send_signal(number)
            time.sleep(0.005)
        return self.finish(process, status)[1]

    def assertComplete(self, *folders):
        """Every content is there once, under a name of its own or a unique one."""
        for folder in folders:
            self.assertCountEqual(self.contents(self.path(folder)),
                                  [f"{folder} {i}" for i in range(FILES)])
            names = [name for _, _, files in os.walk(self.path(folder)) for name in files]
            for name in names:
                self.assertRegex(name, r"\A\d+( - [-0-9A-F]{36})?\.txt\Z", "no temporary name is left")

    def moved(self, folder):
        return sum(os.path.isfile(self.path(folder, n)) for n in os.listdir(self.path(folder)))

    def test_first_interrupt_stops_the_folder_in_hand(self):
        self.make_folders()
        err = self.stop(signals=[signal.SIGINT], status=130)
        self.assertComplete("first", "second")
        self.assertLess(self.moved("first"), FILES // 2)
        self.assertEqual(self.moved("second"), FILES, "the next folder is flattened")
        self.assertEqual(err.count("Elapsed time: "), 2)
        # Stopping harms nothing: the next run ends the work.
        self.run_cli("first")
        self.assertEqual(self.moved("first"), FILES)
        self.assertComplete("first")

    def test_second_interrupt_quits(self):
        self.make_folders()
        self.stop(signals=[signal.SIGINT, signal.SIGINT], status=130)
        self.assertComplete("first", "second")
        self.assertLess(self.moved("first"), FILES // 2)
        self.assertLess(self.moved("second"), 20, "what was moved between the two")

    def test_termination_quits(self):
        for number, status in ((signal.SIGTERM, 143), (signal.SIGHUP, 129)):
            with self.subTest(number=number):
                self.make_folders()
                self.stop(signals=[number], status=status)
                self.assertComplete("first", "second")
                self.assertLess(self.moved("first"), FILES // 2)
                self.assertEqual(self.moved("second"), 0)
                for folder in ("first", "second"):
                    shutil.rmtree(self.path(folder))

    def test_later_phases_still_run_when_stopped(self):
        """Deleting is told to delete whatever is left, a stopped run's files too."""
        self.make_folders()
        self.stop("--delete-emptied-folders", "--aggregate-files-when-done",
                  signals=[signal.SIGINT], status=130)
        self.assertEqual(os.listdir(self.path("first")), ["txt"])
        self.assertLess(self.moved("first/txt"), FILES // 2)
        self.assertEqual(self.moved("second/txt"), FILES)

if __name__ == "__main__":
    unittest.main()
