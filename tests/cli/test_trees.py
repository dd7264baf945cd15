#!/usr/bin/env python3
"""Trees that are hard on the terminal program: depth, size, permissions, what is not a file."""

import json
import os
import subprocess
import unittest

from cli_case import PROGRAM, CliCase, fast_place, limits, powerless

DEPTH = 3000


def is_sanitized():
    with open(PROGRAM, "rb") as file:
        return b"__asan_init" in file.read()


class Large(CliCase):
    where = fast_place()

    def make_deep(self, drop, depth, nameOfFolder, nameOfFile):
        """Folders in each other, deeper than any path may be, and a file at each level for which
        `nameOfFile` has a name."""
        os.mkdir(drop)
        above = os.open(drop, os.O_RDONLY)
        for level in range(depth):
            os.mkdir(nameOfFolder, dir_fd=above)
            folder = os.open(nameOfFolder, os.O_RDONLY | os.O_DIRECTORY, dir_fd=above)
            os.close(above)
            above = folder
            if name := nameOfFile(level):
                with open(os.open(name, os.O_WRONLY | os.O_CREAT, 0o644, dir_fd=above), "w",
                          encoding="ascii") as file:
                    file.write(str(level))
        os.close(above)

    def test_deeper_than_any_path_with_few_descriptors_and_little_stack(self):
        for options in ((), ("--no-rename-duplicates",), ("--operation=alias",)):
            with self.subTest(options=options):
                drop = self.path("".join(options) or "drop")
                self.make_deep(drop, DEPTH, "folder", lambda level:
                               "same.txt" if level % 2 else f"level {level}.txt")
                self.run_cli(*options, "--delete-emptied-folders", "--", drop,
                             status=3 if options else 0,
                             preexec_fn=limits(NOFILE=16, STACK=256 << 10))
                names = os.listdir(drop)
                self.assertNotIn("folder", names, "deleted to the bottom")
                if options == ("--operation=alias",):
                    # An alias is made as far as a path can lead.
                    levels = (4096 - len(drop) - len("/level 600.txt") - 1) // len("/folder")
                    self.assertAlmostEqual(len(names), levels, delta=2)
                    continue
                # "folder" comes before "same.txt", so the deepest of that name is the first.
                expected = [str(level) for level in range(DEPTH)
                            if not options or level % 2 == 0 or level == DEPTH - 1]
                contents = self.contents(drop)
                self.assertEqual(len(contents), len(expected))  # says it shorter when many miss
                self.assertCountEqual(contents, expected)

    def test_memory_for_a_report_of_what_lies_deep(self):
        """It does not grow with the square of the depth."""
        drop, depth = self.path("drop"), 6000
        self.make_deep(drop, depth, "d", lambda level: "a.txt" if level == depth - 1 else None)
        with open(self.path("report"), "w+b") as report:
            # What the sanitizer keeps of freed memory is no need of the report.
            process = self.start("--quiet", "--json", "--delete-emptied-folders", drop,
                                 stdout=report, environment={"ASAN_OPTIONS": "quarantine_size_mb=1"})
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            self.assertEqual(process.returncode, 0)
            report.seek(0)
            told, = json.load(report)["folders"]
        self.assertEqual(told["counts"]["deletedFolders"], depth)
        self.assertLess(usage.ru_maxrss, 120 << 10, "kB")

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
        self.assertTrue(self.tree(self.path("drop")) == before)
        self.run_cli("--quiet", "drop")
        self.assertEqual(sum(name.isdigit() for name in os.listdir(self.path("drop"))), files)


class Permissions(CliCase):
    """Root is bound by permissions here too, see `powerless`."""

    def setUp(self):
        super().setUp()
        self.addCleanup(self.open_up)

    def open_up(self):
        for parent, folders, _ in os.walk(self.place):
            for name in folders:
                os.chmod(os.path.join(parent, name), 0o755, follow_symlinks=False)

    def test_dropped_folder_without_permissions(self):
        for mode in (0o555, 0o311, 0o444, 0o000):
            for options in ((), ("--operation=alias", "--aggregate-files-when-done")):
                with self.subTest(mode=f"{mode:o}", options=options):
                    drop = self.make_sample(f"drop{mode:o}{len(options)}")
                    before = self.tree(drop)
                    os.chmod(drop, mode)
                    _, err = self.run_cli(*options, drop, status=3, before=powerless())
                    # It is to blame for it, not the folder of the journals.
                    told = f"{drop}: cannot be looked at (Permission denied)" in err
                    self.assertEqual(told, mode & 0o100 == 0, err)
                    self.assertNotIn(self.path("state"), err)
                    os.chmod(drop, 0o755)
                    self.assertEqual(self.tree(drop), before)

    def test_powerless_is_powerless(self):
        """The means of these tests itself: without it they would pass on an open door."""
        drop = self.make_sample()
        os.chmod(drop, 0)
        listing = subprocess.run(powerless() + ["ls", drop], capture_output=True, check=False)
        self.assertNotEqual(listing.returncode, 0)


if __name__ == "__main__":
    unittest.main()
