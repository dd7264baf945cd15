#!/usr/bin/env python3
"""Options, operands, exit statuses, messages and preferences of the terminal program."""

import os
import re
import unittest

from cli_case import IDLE, CliCase, limits, slow_disk

FLATTENED = {"a.txt": "content of a.txt", "b.jpg": "content of b.jpg", "c": "content of c",
             "d.txt": "content of one/d.txt", "a - UUID.txt": "content of one/two/a.txt",
             "e.jpg": "content of three/e.jpg", "one": "folder", "one/two": "folder",
             "three": "folder"}


class Runs(CliCase):
    def test_phases_are_named(self):
        """One plain line a phase, not one a file, and no drawing where nobody looks."""
        drops = [self.make_sample(name) for name in ("drop", "again")]
        os.mkdir(self.path("empty"))
        _, err = self.run_cli("drop", "empty", "again")
        moving = r"Counting files in {0}\.\.\.\nCollecting files in {0}\.\.\.\n(Moving .*\n)?"
        time = rf"Elapsed time: \d+ secs? ?\n{re.escape(IDLE)}\n"
        end = r"\(6 of 6\)\n" + time
        self.assertRegex(err, rf"\A{moving.format('drop')}{end}Counting files in empty\.\.\.\n{time}"
                              rf"{moving.format('again')}{end}\Z")
        _, err = self.run_cli("--delete-emptied-folders", "--aggregate-files-when-done", "drop")
        self.assertRegex(err, rf"\A{moving.format('drop')}Deleting emptied folders\.\.\.\n"
                              rf"Collating files\.\.\.\n{end}\Z")
        self.assertEqual(self.tree(drops[1]), FLATTENED)
        self.run_cli("again", "again")
        self.assertEqual(self.tree(drops[1]), FLATTENED, "what is flat stays as it is")

    def test_quiet_run_says_nothing(self):
        drop = self.make_sample()
        _, err = self.run_cli("--quiet", "drop", "--delete-emptied-folders",
                              "--aggregate-files-when-done")
        self.assertEqual(err, "")
        self.assertEqual(set(self.tree(drop)), {"c", "txt", "txt/a.txt", "txt/d.txt",
                                                "txt/a - UUID.txt", "jpg", "jpg/b.jpg", "jpg/e.jpg"})


class Operands(CliCase):
    def test_what_is_no_folder(self):
        """Is told in one line, also by a quiet run, and keeps no other folder waiting."""
        drop = self.make_sample()
        self.write("file", "kept")
        os.symlink("file", self.path("link"))
        os.symlink("nowhere", self.path("dangling"))
        os.mkfifo(self.path("pipe"))
        missing, other = "No such file or directory", "Not a directory"
        for operand, reason in (("photos", missing), ("dangling", missing), ("file", other),
                                ("link", other), ("pipe", other)):
            for arguments in ((operand, "drop"), ("drop", operand), ("--quiet", operand)):
                _, err = self.run_cli(*arguments, status=1)
                told = [line for line in err.splitlines() if line.startswith("vannerly-cli: ")]
                self.assertEqual(told, [f"vannerly-cli: {operand}: {reason}"])
                self.assertEqual(self.tree(drop), FLATTENED)
        self.assertEqual(self.read("file"), "kept")

    def test_hostile_operand_names(self):
        """A name cannot forge a second line or reach the terminal's controls."""
        for name in ("no\nvannerly-cli: forged", "\x1b[2J", "\udcff\udcfe", "a\x7f\r", "", "x" * 300,
                     "p/" * 3000):
            with self.subTest(name=name[:20]):
                _, err = self.run_cli("--", name, status=1)
                self.assertEqual(err.count("\n"), 1, err)
                self.assertTrue(err.startswith("vannerly-cli: "), err)
                self.assertNotIn("\x1b", err)
                self.assertNotIn("\r", err)

    def test_names_that_look_like_options(self):
        for name in ("-rf", "--", "--help", "--operation=3"):
            self.make_sample(f"box/{name}")
        self.run_cli("--", "-rf", "--", "--help", "--operation=3", cwd=self.path("box"))
        for name in ("-rf", "--", "--help", "--operation=3"):
            self.assertEqual(self.tree(self.path("box", name)), FLATTENED)

    def test_root_is_refused(self):
        os.symlink("/", self.path("link"))
        for operand in ("/", "//", "/.", "/usr/..", "link"):
            # Operation 3 does nothing to files: should the refusal fail, no harm is done.
            _, err = self.run_cli("--operation=3", "--no-delete-emptied-folders",
                                  "--no-aggregate-files-when-done", operand, status=1)
            self.assertRegex(err, rf"\Avannerly-cli: {re.escape(operand)}: [^\n]+\n\Z")

    def test_home_is_refused_unless_forced(self):
        drop = self.make_sample()
        self.make_sample("home")
        before = self.tree(self.home)
        os.symlink("home", self.path("link"))
        for operand in (self.home, self.home + "/", "home", "home/one/..", "link", "./link/."):
            _, err = self.run_cli(operand, "drop", status=1)
            self.assertRegex(err, rf"(?m)^vannerly-cli: {re.escape(operand)}: .*--force.*$")
            self.assertEqual(self.tree(self.home), before)
        _, err = self.run_cli("home", status=1, environment={"HOME": self.path("link")})
        self.assertEqual(self.tree(self.home), before)
        self.assertEqual(self.tree(drop), FLATTENED)
        # A folder in the home is an ordinary one.
        self.make_sample("home/inner")
        self.run_cli("home/inner")
        self.assertEqual(self.tree(self.path("home/inner")), FLATTENED)
        self.run_cli("--force", "--no-rename-duplicates", "home", status=3)
        self.assertIn("d.txt", self.tree(self.home))

class Usage(CliCase):
    def test_wrong_usage_touches_nothing(self):
        drop = self.make_sample()
        before = self.tree(drop)
        for arguments in ((), ("--",), ("--nonsense", "drop"), ("drop", "--nonsense"), ("-x", "drop"),
                          ("--operation=copy", "drop"), ("--operation=", "drop"),
                          ("--operation=1x", "drop"), ("--operation=1.5", "drop"),
                          ("--rename-duplicates=maybe", "drop"), ("drop", "--operation"),
                          ("--set", "Nonsense=true"), ("--set", "RenameDuplicates=1"),
                          ("--set", "RenameDuplicates=yes"), ("--set", "Operation=true"),
                          ("--set", "Operation=two"), ("--set", "RenameDuplicates"),
                          ("--dry-run",), ("-n", "--undo"), ("-n", "--redo", "drop"),
                          ("-n", "--history", "drop"), ("-n", "--preferences"),
                          ("-n", "--set", "Operation=1", "drop"), ("--set", "=true"), ("--set",), ("--set", ""), ("--set", "operation=1"),
                          ("--set", "Operation="), ("--set", "Operation=3x"),
                          ("--set", "Operation=32768"), ("--set", "RenameDuplicates="),
                          ("--set", "DeleteEmptiedFolders=True")):
            with self.subTest(arguments=arguments):
                _, err = self.run_cli(*arguments, status=2)
                self.assertNotEqual(err, "")
                self.assertEqual(self.tree(drop), before)
        self.assertFalse(os.path.exists(self.path("config")))

    def test_help_and_version(self):
        drop = self.make_sample()
        before = self.tree(drop)
        out, err = self.run_cli("--help", "drop", output=None)
        for option in ("--operation", "--rename-duplicates", "--ignore-applications",
                       "--delete-emptied-folders", "--delete-to-trash", "--aggregate-files-when-done",
                       "--preferences", "--set", "--quiet", "--force", "--version", "FOLDER"):
            self.assertIn(option, out.replace("[no-]", ""))
        self.assertEqual(err, "")
        out, err = self.run_cli("--version", "drop", output=None)
        self.assertRegex(out, r"\d+\.\d+\.\d+")
        self.assertEqual((out.count("\n"), err), (1, ""))
        self.assertEqual(self.tree(drop), before)

    def test_output_that_cannot_be_written(self):
        self.make_sample()
        for arguments in (("--help",), ("--version",), ("--preferences",),
                          ("--dry-run", "--quiet", "drop"), ("--json", "--quiet", "drop")):
            for output, reason in ((">&-", "Bad file descriptor"),
                                   (">/dev/full", "No space left on device")):
                _, err = self.run_cli(*arguments, status=1,
                                      before=("sh", "-c", f'exec "$@" {output}', "sh"))
                self.assertEqual(err, f"vannerly-cli: standard output: {reason}\n")

    def test_closed_error_output(self):
        """No file that is opened later takes its place, to get what is told."""
        drop = self.make_sample()
        process = self.start("drop", environment=slow_disk(100_000), preexec_fn=lambda: os.close(2))
        while not os.path.exists(self.path("state/vannerly/journal")):
            self.assertIsNone(process.poll())
        self.assertEqual(os.readlink(f"/proc/{process.pid}/fd/2"), "/dev/null")
        self.finish(process)
        self.assertEqual(self.tree(drop), FLATTENED)


class Stored(CliCase):
    def assertPreferences(self, expected, *arguments, **options):
        """`expected` maps the keys that are not at their default to "value (source)"."""
        out, _ = self.run_cli(*arguments, "--preferences", output=None, **options)
        listed = dict(line.split(" = ", 1) for line in out.splitlines())
        self.assertEqual(listed, {
            "Operation": "1 (default)", "QuitWhenDone": "false (default)",
            "IgnoreApplications": "true (default)", "RenameDuplicates": "true (default)",
            "DeleteEmptiedFolders": "false (default)", "DeleteToTrash": "false (default)",
            "AggregateFilesWhenDone": "false (default)", "PreviewFirst": "false (default)",
            **expected})

    def test_precedence(self):
        self.assertPreferences({})
        self.write_preferences("RenameDuplicates = false\nOperation = 2\nQuitWhenDone = true\n",
                               "system")
        # The folders before come first, and one that is not absolute counts for nothing.
        for folder in ("fallback", "relative"):
            self.write_preferences("Operation = 3\nQuitWhenDone = false\n"
                                   f"AggregateFilesWhenDone = {str(folder == 'fallback').lower()}\n",
                                   folder)
        self.write_preferences("Operation = 3\nDeleteEmptiedFolders = true\n"
                               "IgnoreApplications = 0\n", "home/.config")
        environment = {"XDG_CONFIG_HOME": "", "XDG_CONFIG_DIRS":
                       f"{self.path('system')}:relative:{self.path('fallback')}"}
        system = {"RenameDuplicates": "false (system)", "QuitWhenDone": "true (system)",
                  "AggregateFilesWhenDone": "true (system)"}
        user = {"Operation": "3 (user)", "DeleteEmptiedFolders": "true (user)"}
        run = {"RenameDuplicates": "true (command line)", "Operation": "1 (command line)",
               "IgnoreApplications": "false (command line)"}
        self.assertPreferences({**system, **user}, environment=environment)
        self.assertPreferences({**system, **user, **run}, "--operation=move", "--rename-duplicates",
                               "--no-ignore-applications", environment=environment)

    def test_set(self):
        self.write_preferences("RenameDuplicates = true\n")
        for setting in ("RenameDuplicates=false", "Operation=-7", "QuitWhenDone=true"):
            self.assertEqual(self.run_cli("--set", setting)[1], "")
        stored = {"RenameDuplicates": "false (user)", "Operation": "-7 (user)",
                  "QuitWhenDone": "true (user)"}
        self.assertPreferences(stored)
        # An option is for one run only and is not stored.
        self.run_cli("--rename-duplicates", self.make_sample())
        self.assertPreferences(stored)

    def test_file_that_cannot_be_read_or_written(self):
        drop = self.make_sample()
        broken = "RenameDuplicates = false\n\nOperation = = 2\n"
        file = self.write_preferences(broken)
        _, err = self.run_cli("drop")
        self.assertRegex(err, rf"(?m)^vannerly-cli: {re.escape(file)}:3: \S")
        self.assertEqual(err.count(file), 1, "said once")
        self.assertEqual(self.tree(drop), FLATTENED)
        self.write_preferences("Operation = 1 # one\n")
        self.run_cli("--set", "Operation=2", status=1, preexec_fn=limits(FSIZE=4))
        self.assertEqual(self.tree(self.path("config")),
                         {"vannerly": "folder",
                          "vannerly/preferences.toml": "Operation = 1 # one\n"})

    def test_quit_when_done(self):
        """The program ends by its quit timer, after all folders, and with the same status."""
        self.write_preferences("QuitWhenDone = true\n")
        x, y = self.make_sample("x"), self.make_sample("y")
        _, err = self.run_cli("x", "missing", "y", status=1)
        self.assertEqual((self.tree(x), self.tree(y)), (FLATTENED, FLATTENED))
        self.assertRegex(err, rf"\n{re.escape(IDLE)}\nBye\.\n\Z")


if __name__ == "__main__":
    unittest.main()
