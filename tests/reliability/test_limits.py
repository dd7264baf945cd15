#!/usr/bin/env python3
"""What a run leaves when the system gives it little: descriptors, memory."""

import os
import resource
import subprocess
import unittest

from cli_case import PROGRAM, CliCase, fast_place


def is_sanitized():
    with open(PROGRAM, "rb") as file:
        return b"__asan_init" in file.read()


class Limits(CliCase):
    where = fast_place()

    def test_sixteen_descriptors(self):
        """All goes as it does with as many as are wanted."""
        def make(name):
            for i in range(30):
                for path in ("a.txt", f"{i}.jpg", "deep/" * 20 + "a.txt"):
                    self.write(f"{name}/{i}/{path}", f"{i} {path}")
            os.mkdir(self.path(name, "jpg"))
            return self.path(name)

        for options in ((), ("--operation=alias",), ("--no-rename-duplicates",),
                        ("--delete-emptied-folders", "--aggregate-files-when-done")):
            with self.subTest(options=options):
                outcomes = []
                for most in (None, 16):
                    drop = make(f"drop{most}")
                    limit = (most, most)
                    status = 3 if "--no-rename-duplicates" in options else 0
                    self.run_cli(*options, drop, status=status, preexec_fn=most and (
                        lambda limit=limit: resource.setrlimit(resource.RLIMIT_NOFILE, limit)))
                    outcomes.append(sorted(
                        value.replace(drop, "") for value in self.contents_and_links(drop)))
                    subprocess.run(["rm", "-rf", drop], check=True)
                self.assertEqual(*outcomes)

    def contents_and_links(self, drop):
        """Each item as its folder, and what is in it: new names differ from run to run."""
        found = []
        for parent, folders, files in os.walk(drop):
            for name in folders + files:
                path = os.path.join(parent, name)
                if os.path.islink(path):
                    found.append(f"{path} -> {os.readlink(path)}")
                elif os.path.isdir(path):
                    found.append(path)
                else:
                    with open(path, encoding="utf-8") as file:
                        found.append(f"{parent}: {file.read()}")
        return found

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
