#!/usr/bin/env python3
"""Ctrl-C, SIGTERM and SIGHUP, on a disk slow enough for them to arrive within the run."""

import fcntl
import glob
import json
import os
import re
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

    def end(self, *arguments, signals, when=None, disk=None, status, **options):
        """Sends the signals one by one when `when` says so: a few files of `first` were moved."""
        process = self.start("first", "second", *arguments, environment=disk or slow_disk(SLOW),
                             **options)
        self.wait_until(when or (lambda: self.moved("first") >= 12), process)
        for number in signals:
            process.send_signal(number)
            time.sleep(0.005)
        return self.finish(process, status, None)

    def assertComplete(self, *folders):
        """Every content is there once, under a name of its own or a unique one."""
        for folder in folders:
            self.assertCountEqual(self.contents(self.path(folder)),
                                  [f"{folder} {i}" for i in range(FILES)])
            names = [name for _, _, files in os.walk(self.path(folder)) for name in files]
            for name in names:
                self.assertRegex(name, r"\A\d+( - [-0-9A-F]{36})?\.txt\Z", "no temporary name is left")

    def count(self, folder):
        return sum(len(files) for _, _, files in os.walk(self.path(folder)))

    def moved(self, folder):
        return sum(os.path.isfile(self.path(folder, n)) for n in os.listdir(self.path(folder)))

    def test_each_signal_ends_all_folders_and_deletes_nothing(self):
        for signals, status in (([signal.SIGINT], 130), ([signal.SIGTERM], 143),
                                ([signal.SIGHUP], 129), ([signal.SIGINT] * 3, 130),
                                ([signal.SIGINT, signal.SIGTERM], 130)):
            for arguments in ((), ("--delete-emptied-folders", "--aggregate-files-when-done")):
                with self.subTest(signals=signals, arguments=arguments):
                    self.make_folders()
                    _, err = self.end(*arguments, signals=signals, status=status)
                    self.assertComplete("first", "second")
                    self.assertEqual(self.moved("second"), 0)
                    place = "first/txt" if arguments else "first"
                    self.assertGreaterEqual(self.moved(place), 12)
                    self.assertLess(self.moved(place), FILES // 2)
                    self.assertNotIn("Deleting", err)
                    # What was not moved is where it was, so the next run ends the work.
                    self.run_cli("first", "second", *arguments[:1])
                    self.assertComplete("first", "second")
                    for folder in ("first", "second"):
                        shutil.rmtree(self.path(folder))

    def test_signals_that_do_not_end_it(self):
        """Those ignored when it starts, as by nohup, and those of outputs."""
        def ignore():
            for number in (signal.SIGHUP, signal.SIGINT):
                signal.signal(number, signal.SIG_IGN)

        self.make_folders()
        self.end("--delete-emptied-folders", status=0, preexec_fn=ignore,
                 signals=[signal.SIGHUP, signal.SIGINT, signal.SIGPIPE, signal.SIGXFSZ])
        self.assertEqual([self.moved(folder) for folder in ("first", "second")], [FILES, FILES])
        self.assertComplete("first", "second")

    def test_one_before_the_run_keeps_it_from_beginning(self):
        self.make_folders()
        os.makedirs(self.path("state/vannerly/journal"))
        lock = os.open(self.path("state/vannerly/journal"), os.O_RDONLY)
        fcntl.flock(lock, fcntl.LOCK_EX)  # for which it waits before its run
        process = self.start("first", "second")

        def catches_signals():
            with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
                caught = int(re.search(r"SigCgt:\s*(\w+)", file.read())[1], 16)
            return caught >> (signal.SIGINT - 1) & 1

        while not catches_signals():
            time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        os.close(lock)
        _, err = self.finish(process, 130)
        self.assertNotIn("Counting", err)

    def test_a_deletion_under_way_ends(self):
        for number, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129)):
            with self.subTest(number=number):
                self.make_folders()
                out, _ = self.end("--operation=3", "--delete-emptied-folders", "--json",
                                  signals=[number], disk=slow_disk(0, 5 * SLOW), status=status,
                                  when=lambda: self.count("first") < FILES - 10)
                left = self.contents(self.path("first"))
                self.assertGreater(len(left), FILES // 4, "deleted further")
                self.assertComplete("second")
                first, second = json.loads(out)["folders"]
                self.assertEqual((first["ended"], second["ended"]), ("stopped", "stopped"))
                self.assertEqual(first["counts"]["deletedFiles"], FILES - len(left))
                self.assertIn(("userCanceledErr", "the program was told to end"),
                              {(item["error"], item["reason"]) for item in first["notDeleted"]})
                journals = glob.glob(self.path("state/vannerly/journal/*"))
                for journal in journals:
                    with open(journal, "rb") as file:
                        self.assertIn(b"\nend\tstopped\t", file.read())
                for folder in ("first", "second", "state"):
                    shutil.rmtree(self.path(folder))


if __name__ == "__main__":
    unittest.main()
