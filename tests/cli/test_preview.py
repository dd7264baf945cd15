#!/usr/bin/env python3
"""What --dry-run shows to people, and that nothing comes of it. That it is what a run does, the tests
of random trees and of volumes tell."""

import os
import signal
import unittest

from cli_case import UUID, CliCase, slow_disk
from portrait import differences, portrait

DELETE, TRASH = "--delete-emptied-folders", "--delete-to-trash"
COLLATE, KEEP_NAMES = "--aggregate-files-when-done", "--no-rename-duplicates"
STRANGE = "x\n\x1b[2J\udcff.txt"


class Preview(CliCase):
    def preview(self, *arguments, status=0, **options):
        """Answers the lines of standard output, and those of standard error."""
        before = portrait(self.place, isStrict=True)
        out, err = self.run_cli("--dry-run", *arguments, status=status, output=None, **options)
        self.assertEqual(differences(before, portrait(self.place, isStrict=True)), [])
        return UUID.sub("UUID", out).splitlines(), err.splitlines()

    def test_list(self):
        """Everything that would be done, and left, is there in its order, and fit for a terminal."""
        gone = ["one/two: would be deleted", "one: would be deleted", "three: would be deleted"]
        taken = "one/two/a.txt: would be left in place: its name is taken (dupFNErr, -48)"
        moved = ["one/d.txt -> d.txt", "one/two/a.txt -> a - UUID.txt", "three/e.jpg -> e.jpg"]
        for status, options, expected in (
                (0, (), moved),
                (0, (DELETE, COLLATE), [
                    *moved, *gone, "txt: would be made", "a - UUID.txt -> txt/a - UUID.txt",
                    "a.txt -> txt/a.txt", "jpg: would be made", "b.jpg -> jpg/b.jpg",
                    "d.txt -> txt/d.txt", "e.jpg -> jpg/e.jpg"]),
                (3, (KEEP_NAMES, DELETE), [
                    moved[0], taken, moved[2], "one/two/a.txt: would be deleted", *gone]),
                (3, (KEEP_NAMES, DELETE, TRASH), [
                    moved[0], taken, moved[2],
                    "one: would be moved to the trash with all that is in it", gone[2]]),
                (0, ("--operation=alias",), [
                    "a.txt -> a.txt alias (alias)", "b.jpg -> b.jpg alias (alias)",
                    "c -> c alias (alias)", "one/d.txt -> d.txt (alias)",
                    "one/two/a.txt -> a.txt alias 2 (alias)", "three/e.jpg -> e.jpg (alias)"]),
                (0, ("--operation=3",), [])):
            with self.subTest(options=options):
                self.make_sample()
                lines, err = self.preview(*options, "drop", status=status)
                self.assertEqual(lines, expected)
                self.assertTrue(err[-1].startswith("Nothing was done"), err)
                self.assertEqual(self.preview("--quiet", *options, "drop", status=status),
                                 (lines, []))

    def test_names(self):
        self.write(f"drop/{STRANGE}/{STRANGE}")
        self.write(f"drop/{'n' * 240}.txt")
        self.write(f"drop/in/{'n' * 240}.txt")
        shown = "x??[2J?"
        lines, _ = self.preview("drop", status=3)
        self.assertEqual(lines[0], f"in/{'n' * 240}.txt: would be left in place: its new name or its "
                                   "path would be too long (bdNamErr, -37)")
        self.assertEqual(lines[1:], [f"{shown}.txt/{shown}.txt -> {shown} - UUID.txt"])

    def test_several_folders(self):
        """Each has a line of its own above, also when what is done to one decides about another, and
        whatever the stored preferences say about the end."""
        self.write_preferences("QuitWhenDone = true\n")
        for name in ("drop", "other\n"):
            self.make_sample(name)
        lines, err = self.preview("--operation=3", DELETE, "drop", "missing", "other\n", "drop/one",
                                  status=1)
        heads = [line for line in lines if line.startswith("/")]
        self.assertEqual(heads[:2], [self.path("drop") + ":", self.path("other?") + ":"])
        self.assertEqual(lines.count("one/two/a.txt: would be deleted"), 2)
        self.assertIn("vannerly-cli: missing: No such file or directory", err)
        self.assertIn(f"vannerly-cli: {self.path('drop/one')}: it is no folder any more", err)

    def test_home(self):
        self.make_sample("home")
        _, err = self.preview("home", status=1)
        self.assertIn("--force", err[0])
        self.assertEqual(len(self.preview("--force", "home")[0]), 3)

    def test_folder_in_use(self):
        """Neither waits for a run nor puts anything right that a killed one has left."""
        for i in range(300):
            self.write(f"drop/sub/{i}/a.txt")
        process = self.start("drop", environment=slow_disk(20_000))
        self.wait_until(lambda: os.path.exists(self.path("drop/a.txt")), process)
        process.send_signal(signal.SIGSTOP)
        self.assertIsNone(process.poll())
        for _ in range(2):
            self.assertGreater(len(self.preview("--quiet", "drop")[0]), 200)
            process.kill()
            process.communicate()

    def test_ctrl_c(self):
        """It ends with the line in hand, and nothing comes of that either."""
        for i in range(1000):
            self.write(f"drop/sub/{i:03}{'n' * 200}")
        before = portrait(self.path("drop"), isStrict=True)
        process = self.start("--dry-run", "drop")
        self.assertTrue(process.stdout.readline().startswith(b"sub/000n"))
        process.send_signal(signal.SIGINT)  # Most of the lines do not fit into the pipe.
        out, _ = self.finish(process, 130, None)
        self.assertLess(out.count("\n"), 900)
        self.assertEqual(differences(before, portrait(self.path("drop"), isStrict=True)), [])


if __name__ == "__main__":
    unittest.main()
