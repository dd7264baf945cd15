#!/usr/bin/env python3
"""Options, operands, exit statuses, messages and preferences of the terminal program."""

import os
import pty
import re
import subprocess
import unittest

from cli_case import IDLE, PROGRAM, CliCase

FLATTENED = {"a.txt": "content of a.txt", "b.jpg": "content of b.jpg", "c": "content of c",
             "d.txt": "content of one/d.txt", "a - UUID.txt": "content of one/two/a.txt",
             "e.jpg": "content of three/e.jpg", "one": "folder", "one/two": "folder",
             "three": "folder"}


class Runs(CliCase):
    def test_default_run(self):
        drop = self.make_sample()
        _, err = self.run_cli("drop")
        self.assertEqual(self.tree(drop), FLATTENED)
        lines = err.splitlines()
        self.assertIn("Counting files in drop...", lines)
        self.assertIn("Collecting files in drop...", lines)
        self.assertLess(lines.index("Counting files in drop..."),
                        lines.index("Collecting files in drop..."))
        self.assertIn("(6 of 6)", lines)
        self.assertRegex(err, r"\(6 of 6\)\nElapsed time: \d+ secs? ?\n\Z")
        self.assertNotIn("\x1b", err, "no drawing where nobody looks")
        self.assertLess(len(lines), 12, "one plain line a phase, not one a file")
        # Flattening what is flat already changes nothing.
        self.run_cli("drop", "drop")
        self.assertEqual(self.tree(drop), FLATTENED)

    def test_quiet_run_says_nothing(self):
        drop = self.make_sample()
        _, err = self.run_cli("--quiet", "drop", "--delete-emptied-folders",
                              "--aggregate-files-when-done")
        self.assertEqual(err, "")
        self.assertEqual(set(self.tree(drop)), {"c", "txt", "txt/a.txt", "txt/d.txt",
                                                "txt/a - UUID.txt", "jpg", "jpg/b.jpg", "jpg/e.jpg"})

    def test_phases_are_named(self):
        self.make_sample()
        _, err = self.run_cli("--delete-emptied-folders", "--aggregate-files-when-done", "drop")
        self.assertRegex(err, r"\ACounting files in drop\.\.\.\nCollecting files in drop\.\.\.\n"
                              r"(Moving .*\n)?Deleting emptied folders\.\.\.\nCollating files\.\.\.\n"
                              r"\(6 of 6\)\nElapsed time: \d+ secs? ?\n\Z")

    def test_several_folders_each_end_with_their_time(self):
        self.make_sample("x")
        self.make_sample("y")
        os.mkdir(self.path("empty"))
        _, err = self.run_cli("x", "empty", "y")
        self.assertEqual(err.count("Elapsed time: "), 3)
        self.assertEqual(self.tree(self.path("x")), FLATTENED)
        self.assertEqual(self.tree(self.path("y")), FLATTENED)

    def test_nested_operands(self):
        """The inner folder is flattened in its turn, or is gone by then: never an error."""
        drop = self.make_sample()
        self.run_cli("--delete-emptied-folders", "drop", "drop/one")
        self.assertEqual(self.hashes(drop), self.hashes(self.make_sample("same")))
        drop = self.make_sample("again")
        self.run_cli("again/one", "again")
        self.assertEqual(self.hashes(drop), self.hashes(self.path("same")))

    def test_dropped_links_are_resolved_once(self):
        drop = self.make_sample()
        os.symlink("drop", self.path("link"))
        os.symlink("link", self.path("link to link"))
        self.run_cli("link to link")
        self.assertEqual(self.tree(drop), FLATTENED)
        self.assertEqual(os.readlink(self.path("link")), "drop")

    def test_terminal_shows_the_end_and_no_name_can_drive_it(self):
        self.make_sample()
        self.write("drop/one/\x1b]0;owned\x07.txt")
        self.write("drop/one/\x9b31m\nforged line.txt")
        main, side = pty.openpty()
        process = subprocess.Popen([PROGRAM, "drop"], cwd=self.place, env=self.environment,
                                   stdin=side, stdout=subprocess.PIPE, stderr=side)
        os.close(side)
        shown = b""
        while True:
            try:
                part = os.read(main, 65536)
            except OSError:
                break
            if not part:
                break
            shown += part
        os.close(main)
        self.assertEqual(process.communicate()[0], b"")
        self.assertEqual(process.returncode, 0)
        self.assertIn(b"(8 of 8)", shown)
        self.assertIn(b"Elapsed time: ", shown)
        self.assertNotIn(b"\x1b]0;", shown)
        self.assertNotIn(b"\nforged", shown)


class Operands(CliCase):
    def refusal(self, err, operand, reason):
        """The one line that names an operand and the reason."""
        lines = [line for line in err.splitlines() if line.startswith("vannerly-cli: ")]
        self.assertEqual(lines, [f"vannerly-cli: {operand}: {reason}"])

    def test_one_of_two_is_missing(self):
        drop = self.make_sample()
        for arguments in (("photos", "drop"), ("drop", "photos")):
            _, err = self.run_cli(*arguments, status=1)
            self.refusal(err, "photos", "No such file or directory")
            self.assertEqual(self.tree(drop), FLATTENED)
        # Complaints are not status: --quiet does not silence them.
        _, err = self.run_cli("--quiet", "photos", status=1)
        self.assertEqual(err, "vannerly-cli: photos: No such file or directory\n")

    def test_not_a_folder(self):
        drop = self.make_sample()
        self.write("file", "kept")
        os.symlink("file", self.path("link"))
        os.symlink("nowhere", self.path("dangling"))
        os.mkfifo(self.path("pipe"))
        for operand in ("file", "link", "pipe"):
            _, err = self.run_cli(operand, "drop", status=1)
            self.refusal(err, operand, "Not a directory")
        _, err = self.run_cli("dangling", "drop", status=1)
        self.refusal(err, "dangling", "No such file or directory")
        self.assertEqual(self.tree(drop), FLATTENED)
        with open(self.path("file"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "kept")

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
        self.run_cli("--force", "--no-rename-duplicates", "home")
        self.assertIn("d.txt", self.tree(self.home))

    def test_package_as_operand(self):
        """A package is never taken apart by default, not even when it is what was dropped."""
        for name in ("Tool.app", "drop"):
            self.write(f"{name}/Contents/Info.plist", "<plist><dict/></plist>")
            self.write(f"{name}/Contents/x/y")
            before = self.tree(self.path(name))
            self.run_cli(name)
            self.assertEqual(self.tree(self.path(name)), before)
            self.run_cli("--no-ignore-applications", name)
            self.assertEqual(set(self.tree(self.path(name))),
                             {"Contents", "Contents/x", "Info.plist", "y"})


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
                          ("--set", "=true"), ("--set",)):
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
                       "--delete-emptied-folders", "--aggregate-files-when-done", "--preferences",
                       "--set", "--quiet", "--force", "--version", "FOLDER"):
            self.assertIn(option, out.replace("[no-]", ""))
        self.assertEqual(err, "")
        out, err = self.run_cli("--version", "drop", output=None)
        self.assertRegex(out, r"\d+\.\d+\.\d+")
        self.assertEqual((out.count("\n"), err), (1, ""))
        self.assertEqual(self.tree(drop), before)

    def test_operation(self):
        for word, moved in (("move", True), ("1", True), ("3", False), ("0", False), ("-1", False)):
            with self.subTest(word=word):
                drop = self.make_sample(word)
                before = self.tree(drop)
                self.run_cli(f"--operation={word}", "--", word)
                self.assertEqual(self.tree(drop), FLATTENED if moved else before)
        for word in ("alias", "2"):
            drop = self.make_sample(word)
            before = self.tree(drop)
            self.run_cli(f"--operation={word}", word)
            self.assertEqual(self.tree(drop), {
                **before, "d.txt": f"-> {drop}/one/d.txt", "e.jpg": f"-> {drop}/three/e.jpg",
                "a.txt alias": f"-> {drop}/a.txt", "b.jpg alias": f"-> {drop}/b.jpg",
                "c alias": f"-> {drop}/c", "a.txt alias 2": f"-> {drop}/one/two/a.txt"})


class Stored(CliCase):
    DEFAULTS = {"Operation": "1", "QuitWhenDone": "false", "IgnoreApplications": "true",
                "RenameDuplicates": "true", "DeleteEmptiedFolders": "false",
                "AggregateFilesWhenDone": "false"}

    def assertPreferences(self, expected, *arguments, **options):
        """`expected` maps the keys that are not at their default to (value, source)."""
        out, _ = self.run_cli(*arguments, "--preferences", output=None, **options)
        lines = out.splitlines()
        for key, default in self.DEFAULTS.items():
            value, source = expected.get(key, (default, "default"))
            line = [line for line in lines if line.split() and line.split()[0].strip(":=") == key]
            self.assertEqual(len(line), 1, out)
            rest = line[0].split(key, 1)[1]
            self.assertRegex(rest, rf"\W{re.escape(value)}\W.*\b{source}\b")
            for other in {"command line", "user", "system", "default"} - {source}:
                self.assertNotRegex(rest.replace(self.place, ""), rf"\b{other}\b")

    def test_precedence(self):
        self.assertPreferences({})
        self.write_preferences("RenameDuplicates = false\nOperation = 2\nQuitWhenDone = true\n",
                               "system")
        self.write_preferences("Operation = 3\nDeleteEmptiedFolders = true\n")
        self.assertPreferences({"RenameDuplicates": ("false", "system"), "Operation": ("3", "user"),
                                "QuitWhenDone": ("true", "system"),
                                "DeleteEmptiedFolders": ("true", "user")})
        self.assertPreferences({"RenameDuplicates": ("true", "command line"),
                                "Operation": ("1", "command line"),
                                "QuitWhenDone": ("true", "system"),
                                "IgnoreApplications": ("false", "command line"),
                                "DeleteEmptiedFolders": ("true", "user")},
                               "--operation=move", "--rename-duplicates", "--no-ignore-applications")

    def test_several_system_folders_and_the_default_places(self):
        self.write_preferences("Operation = 2\n", "second")
        self.write_preferences("Operation = 3\nRenameDuplicates = false\n", "third")
        directories = ":".join(self.path(p) for p in ("first", "second", "third"))
        self.assertPreferences({"Operation": ("2", "system"), "RenameDuplicates": ("false", "system")},
                               environment={"XDG_CONFIG_DIRS": directories})
        self.write_preferences("DeleteEmptiedFolders = true\n", "home/.config")
        self.assertPreferences({"DeleteEmptiedFolders": ("true", "user")},
                               environment={"XDG_CONFIG_HOME": ""})

    def test_set(self):
        drop = self.make_sample()
        before = self.tree(drop)
        file = self.write_preferences("# mine\nOther = 'kept'\nRenameDuplicates = true\n")
        _, err = self.run_cli("--set", "RenameDuplicates=false")
        self.assertEqual(err, "")
        self.run_cli("--set", "Operation=-7")
        self.run_cli("--set", "QuitWhenDone=true")
        self.assertPreferences({"RenameDuplicates": ("false", "user"), "Operation": ("-7", "user"),
                                "QuitWhenDone": ("true", "user")})
        with open(file, encoding="utf-8") as written:
            text = written.read()
        self.assertRegex(text, r"(?m)^Other = ['\"]kept['\"]$")
        self.assertEqual(os.listdir(os.path.dirname(file)).count("preferences.toml"), 1)
        self.assertEqual(self.tree(drop), before)
        # An option is for one run only and is not stored.
        self.run_cli("--rename-duplicates", "drop")
        self.assertPreferences({"RenameDuplicates": ("false", "user"), "Operation": ("-7", "user"),
                                "QuitWhenDone": ("true", "user")})

    def test_set_makes_the_file_and_its_folders(self):
        self.run_cli("--set", "AggregateFilesWhenDone=true",
                     environment={"XDG_CONFIG_HOME": self.path("new/er")})
        self.assertPreferences({"AggregateFilesWhenDone": ("true", "user")},
                               environment={"XDG_CONFIG_HOME": self.path("new/er")})

    def test_wrong_types_count_as_defaults(self):
        self.write_preferences("RenameDuplicates = 0\nOperation = 'alias'\nIgnoreApplications = 'no'\n"
                               "DeleteEmptiedFolders = 1\nAggregateFilesWhenDone = [true]\n")
        drop = self.make_sample()
        self.run_cli("drop")
        self.assertEqual(self.tree(drop), FLATTENED)

    def test_broken_file_is_named_with_its_line(self):
        drop = self.make_sample()
        broken = "RenameDuplicates = false\n\nOperation = = 2\n"
        file = self.write_preferences(broken)
        _, err = self.run_cli("drop")
        self.assertRegex(err, rf"(?m)^vannerly-cli: {re.escape(file)}:3: \S")
        self.assertEqual(err.count(file), 1, "said once")
        self.assertEqual(self.tree(drop), FLATTENED)
        with open(file, encoding="utf-8") as kept:
            self.assertEqual(kept.read(), broken)
        self.run_cli("--set", "Operation=3")
        self.assertPreferences({"Operation": ("3", "user")})
        beside = [name for name in os.listdir(os.path.dirname(file)) if name != "preferences.toml"]
        contents = []
        for name in beside:
            with open(os.path.join(os.path.dirname(file), name), encoding="utf-8") as copy:
                contents.append(copy.read())
        self.assertIn(broken, contents, "a copy of the broken file is left beside it")

    def test_unreadable_preferences_yield_the_defaults(self):
        drop = self.make_sample()
        os.makedirs(self.path("config/vannerly/preferences.toml"))
        self.run_cli("drop")
        self.assertEqual(self.tree(drop), FLATTENED)

    def test_quit_when_done(self):
        """The program ends by its quit timer, after all folders, and with the same status."""
        self.write_preferences("QuitWhenDone = true\n")
        x, y = self.make_sample("x"), self.make_sample("y")
        _, err = self.run_cli("x", "missing", "y", status=1)
        self.assertEqual((self.tree(x), self.tree(y)), (FLATTENED, FLATTENED))
        self.assertNotIn(IDLE, err.split("Elapsed time")[0])


if __name__ == "__main__":
    unittest.main()
