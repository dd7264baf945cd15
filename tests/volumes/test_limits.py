#!/usr/bin/env python3
"""Little of what a process may have: size of files, stack, memory, and an output that is full."""

import json
import os
import resource

from volume_case import DELETE, VolumeCase, run_tests


def limit(kind, size):
    return lambda: resource.setrlimit(kind, (size, size))


class Limits(VolumeCase):
    def test_output_that_cannot_be_written(self):
        for option in ("--help", "--version", "--preferences"):
            with self.subTest(option=option), open("/dev/full", "wb") as full:
                _, err = self.run_cli(option, status=1, stdout=full)
                self.assertIn("No space left on device", err)

    def test_files_that_may_not_grow(self):
        """A preference file is left as it is."""
        self.write_preferences("Operation = 1 # one\n")
        for setting in ("Operation=2", "QuitWhenDone=true"):
            self.run_cli("--set", setting, status=1,
                         preexec_fn=limit(resource.RLIMIT_FSIZE, 4))
            self.assertEqual(self.tree(self.path("config")),
                             {"vannerly": "folder",
                              "vannerly/preferences.toml": "Operation = 1 # one\n"})

    def deep(self, depth):
        """A folder with one file at the bottom of so many others."""
        drop = self.path(f"deep{depth}")
        os.mkdir(drop)
        here = os.open(drop, os.O_RDONLY)
        for _ in range(depth):
            os.mkdir("d", dir_fd=here)
            below = os.open("d", os.O_RDONLY, dir_fd=here)
            os.close(here)
            here = below
        os.close(os.open("a.txt", os.O_CREAT | os.O_WRONLY, dir_fd=here))
        os.close(here)
        return drop

    def test_little_stack(self):
        drop = self.deep(2000)
        self.run_cli("--quiet", DELETE, drop,
                     preexec_fn=limit(resource.RLIMIT_STACK, 256 << 10))
        self.assertEqual(os.listdir(drop), ["a.txt"])

    def test_memory_for_what_lies_deep(self):
        """What a report needs does not grow with the square of the depth."""
        drop = self.deep(6000)
        with open(self.path("report"), "wb") as report:
            # What the sanitizer keeps of freed memory is no need of the report.
            process = self.start("--quiet", "--json", DELETE, drop, stdout=report,
                                 environment={"ASAN_OPTIONS": "quarantine_size_mb=1"})
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        with open(self.path("report"), encoding="utf-8") as report:
            told, = json.load(report)["folders"]
        self.assertEqual(told["counts"]["deletedFolders"], 6000)
        self.assertLess(usage.ru_maxrss, 120 << 10, "kB")


if __name__ == "__main__":
    run_tests()
