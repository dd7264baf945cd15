#!/usr/bin/env python3
"""--undo, --redo and --history, when others have been at the tree or at the journal meanwhile."""

import glob
import json
import os
import re
import shutil
import signal
import time
import unittest

from cli_case import CliCase, exact, slow_disk
from portrait import differences, portrait, without_times_of_folders

DELETE, COLLATE, ALIAS = ("--delete-emptied-folders", "--aggregate-files-when-done",
                          "--operation=alias")
OLD = 1_234_567_890_123_456_789  # when everything was last modified before a run
SLOW = 10_000  # microseconds that a rename takes longer
FILES = 120


class Undo(CliCase):
    def setUp(self):
        super().setUp()
        self.drop = self.path("drop")
        self.write("beside/kept", "kept")
        self.write("beside/d.txt", "another d")

    # Trees and runs ----------------------------------------------------------------------------

    def make_old(self, folder="drop"):
        """The sample, all of it old. Answers what it is like."""
        return self.age(self.make_sample(folder))

    def make_large(self):
        for i in range(FILES):
            self.write(f"drop/sub{i % 7}/{i // 2}.txt", f"drop {i}")  # every second name clashes
        return self.age(self.drop)

    def age(self, folder):
        for parent, _, files in os.walk(folder, topdown=False):
            for path in [os.path.join(parent, name) for name in files] + [parent]:
                os.utime(path, ns=(OLD, OLD))
        return portrait(folder)

    def flatten(self, *options, folder="drop", status=0):
        self.run_cli("--quiet", *options, folder, status=status)

    def start_afresh(self):
        for name in ("drop", "moved", "state"):
            if os.path.lexists(self.path(name)):
                shutil.rmtree(self.path(name))

    def take_back(self, *operands, status=0, option="--undo"):
        """Answers the document's entry for the folder, or none."""
        out, _ = self.run_cli(option, "--json", "--quiet", *operands, status=status, output=None)
        folders = json.loads(out)["folders"]
        return folders[0] if folders else None

    def assertTree(self, expected, folder="drop", timesOfFolders=True):
        actual = portrait(self.path(folder))
        if not timesOfFolders:
            expected, actual = without_times_of_folders(expected), without_times_of_folders(actual)
        self.assertEqual(differences(expected, actual), [])

    def journals(self):
        return sorted(glob.glob(self.path("state/vannerly/journal/*.journal")))

    def hand_write(self, path, content="by hand"):
        """Replaces what is there, as an editor does, by an item with another inode."""
        self.write("new", content)
        os.rename(self.path("new"), self.path(path))

    def hand_remove(self, *paths):
        for path in paths:
            (os.rmdir if os.path.isdir(self.path(path)) else os.unlink)(self.path(path))

    # What others have done meanwhile -----------------------------------------------------------

    def test_what_others_have_changed_since(self):
        """Each: how the run was, what was done by hand, where items are now that are not put back,
        and what else is there, or there no more, than before the run."""
        def rename(old, new):
            os.rename(self.path(old), self.path(new))

        def replace_by_new_file_with_its_inode():
            os.unlink(self.path("drop/d.txt"))
            self.write("drop/d.txt", "by hand")  # most file systems give it the same number

        def replace_folder_by_link():
            self.hand_remove("drop/one/two", "drop/one")
            os.symlink("../beside", self.path("drop/one"))

        def replace_folder_by_file():
            self.write("drop/one", "by hand")

        def make_other_folder():
            self.write("drop/one/by hand", "by hand")

        ofOne, all_of_it = {"one/d.txt": "d.txt", "one/two/a.txt": "a - UUID.txt"}, {}
        for what, options, change, left, by_hand in (
                ("old place taken", (), lambda: self.hand_write("drop/one/d.txt"),
                 {"one/d.txt": "d.txt"}, {"one/d.txt": "by hand"}),
                ("deleted", (), lambda: self.hand_remove("drop/d.txt"), {"one/d.txt": None}, {}),
                ("replaced", (), lambda: self.hand_write("drop/d.txt"),
                 {"one/d.txt": None}, {"d.txt": "by hand"}),
                ("deleted and made anew", (), replace_by_new_file_with_its_inode,
                 {"one/d.txt": None}, {"d.txt": "by hand"}),
                ("renamed", (DELETE,), lambda: rename("drop/d.txt", "drop/mine.txt"),
                 {"one/d.txt": "mine.txt"}, {}),
                ("sorted, and renamed", (COLLATE,), lambda: rename("drop/txt/d.txt", "drop/e.txt"),
                 {"one/d.txt": "e.txt"}, {}),
                ("folder gone", (), lambda: self.hand_remove("drop/one/two", "drop/one"),
                 all_of_it, {}),
                ("folder a link", (), replace_folder_by_link, ofOne, {"one": "-> ../beside"}),
                ("folder a file", (DELETE,), replace_folder_by_file, ofOne, {"one": "by hand"}),
                ("folder another", (DELETE,), make_other_folder, all_of_it,
                 {"one/by hand": "by hand"}),
        ):
            with self.subTest(what):
                self.start_afresh()
                self.make_old()
                expected, inodes = self.tree(self.drop), self.inodes("drop")
                self.flatten(*options)
                change()
                beside = portrait(self.path("beside"))
                told = self.take_back("drop", status=1 if left else 0)
                for old, new in left.items():
                    content = expected.pop(old)
                    if new:
                        expected[new] = content
                if left == ofOne:
                    del expected["one/two"], expected["one"]
                expected.update(by_hand)
                self.assertEqual(self.tree(self.drop), expected)
                # Its place is told, or where the run had put what is no longer there.
                names = {exact(entry, "oldPath" if "oldPath" in entry else "path")
                         for entry in told["notPutBack"] if entry["reason"]}
                names -= {self.path("drop/one"), self.path("drop/one/two")}
                self.assertCountEqual(map(os.path.basename, names), map(os.path.basename, left))
                for path, inode in self.inodes("drop").items():
                    if path in inodes and path not in by_hand:
                        self.assertEqual(inode, inodes[path], path)
                self.assertEqual(portrait(self.path("beside")), beside)

    def inodes(self, folder):
        return {path: item.inode for path, item in portrait(self.path(folder)).items()}

    def test_what_is_no_hindrance(self):
        """A file edited in place goes back with the edit. Only a folder that somebody else has
        changed keeps the time of that."""
        before = self.make_old()
        self.flatten(DELETE, COLLATE)
        with open(self.path("drop/txt/d.txt"), "a", encoding="ascii") as file:
            file.write(" and more")
        self.take_back("drop")
        edited = portrait(self.drop)
        self.assertEqual(edited["one/d.txt"].content, b"content of one/d.txt and more")
        self.assertEqual(edited["one/d.txt"].inode, before["one/d.txt"].inode)
        self.assertTree({**before, "one/d.txt": edited["one/d.txt"]})
        self.flatten()
        self.write("drop/three/later", "later")
        # A journal tells the end of its run to the second only.
        later = time.time_ns() + 5_000_000_000
        os.utime(self.path("drop/three"), ns=(later, later))
        self.take_back("drop")
        after = portrait(self.drop)
        self.assertEqual(after["three"].modified, later)
        self.assertEqual({after[path].modified for path in (".", "one", "one/two")}, {OLD})

    def test_what_the_run_has_made_and_others_use(self):
        """Links that lead elsewhere now, and folders that hold something of others, stay."""
        before = self.make_old()
        self.flatten(ALIAS)
        self.hand_remove("drop/e.jpg", "drop/d.txt")
        os.symlink("elsewhere", self.path("drop/d.txt"))
        self.hand_write("drop/a.txt alias")
        told = self.take_back("drop")  # what is left is not the run's
        after = portrait(self.drop)
        self.assertEqual((after.pop("d.txt").content, after.pop("a.txt alias").content),
                         (b"elsewhere", b"by hand"))
        expected = without_times_of_folders(before)
        self.assertEqual(differences(expected, without_times_of_folders(after)), [])
        self.assertEqual(told["counts"]["aliasesTakenAway"], 3)  # half of them

        self.start_afresh()
        before = self.make_old()
        self.flatten(COLLATE)
        self.write("drop/txt/by hand", "by hand")
        told = self.take_back("drop", status=1)
        after = portrait(self.drop)
        self.assertTrue(after.pop("txt").isFolder)
        self.assertEqual(after.pop("txt/by hand").content, b"by hand")
        self.assertEqual(differences(without_times_of_folders(before),
                                     without_times_of_folders(after)), [])
        self.assertEqual(told["counts"]["foldersTakenAway"], 1)  # that of "jpg"

    def test_the_dropped_folder_is_known_wherever_it_lies(self):
        before = self.make_old()
        self.flatten()
        os.rename(self.drop, self.path("moved"))
        flat = portrait(self.path("moved"))
        _, err = self.run_cli("--undo", status=1, output=None)
        self.assertIn(self.drop, err)
        os.mkdir(self.drop)  # another one under its name has no run to take back
        _, err = self.run_cli("--undo", "drop", status=1, output=None)
        self.assertIn("drop", err)
        self.assertEqual(os.listdir(self.drop), [])
        self.assertTree(flat, "moved")
        self.take_back("moved")
        self.assertTree(before, "moved")

    # Runs one after another --------------------------------------------------------------------

    def test_runs_are_taken_back_newest_first_and_done_again(self):
        states = [self.make_old()]
        self.flatten()
        states.append(portrait(self.drop))
        self.flatten(DELETE, COLLATE)
        states.append(portrait(self.drop))
        for option, state, status in (("--redo", 2, 1), ("--undo", 1, 0), ("--redo", 2, 0),
                                      ("--undo", 1, 0), ("--undo", 0, 0), ("--undo", 0, 1),
                                      ("--redo", 1, 0), ("--redo", 2, 0), ("--redo", 2, 1),
                                      ("--undo", 1, 0)):
            with self.subTest(option=option, state=state):
                _, err = self.run_cli(option, "--quiet", "drop", status=status)
                self.assertTree(states[state])
                self.assertEqual(bool(err), bool(status), err)
        self.flatten(ALIAS)  # after which there is nothing to do again
        changed = portrait(self.drop)
        self.run_cli("--redo", "drop", status=1, output=None)
        self.assertTree(changed)

    def test_without_an_operand_the_newest_of_all_is_meant(self):
        before = {folder: self.make_old(folder) for folder in ("drop", "other")}
        for folder in before:
            self.flatten(folder=folder)
        flat = portrait(self.drop)
        self.take_back()
        self.assertTree(before["other"], "other")
        self.assertTree(flat)
        self.take_back()
        self.assertTree(before["drop"])
        self.run_cli("--undo", status=1)
        self.assertEqual(self.take_back(option="--redo")["path"], self.drop)
        self.assertTree(flat)

    def test_wrong_usage_and_nothing_to_take_back(self):
        before = self.make_old()
        for option in ("--undo", "--redo"):
            for operands in ((), ("drop",), ("missing",), ("drop/a.txt",)):
                _, err = self.run_cli(option, *operands, status=1)
                self.assertIn(operands[-1] if operands else "nothing", err.lower())
        self.flatten()
        flat = portrait(self.drop)
        for arguments in (("--undo", "--redo"), ("--undo", "--history"), ("--undo", ALIAS),
                          ("--redo", DELETE), ("--undo", "--no-rename-duplicates"),
                          ("--history", COLLATE), ("--undo", "--preferences"),
                          ("--undo", "--set", "Operation=1"), ("--undo=1",)):
            with self.subTest(arguments):
                _, err = self.run_cli(*arguments, "drop", status=2)
                self.assertIn(arguments[0].strip("-").partition("=")[0], err)
        self.assertTree(flat)
        self.take_back("drop")
        self.assertTree(before)

    def test_history(self):
        none, _ = self.run_cli("--history", "--json", output=None)
        self.assertEqual(json.loads(none)["history"], [])
        self.make_old()
        self.make_old("other")
        self.flatten("--no-rename-duplicates", DELETE, status=3)  # deletes one file
        self.flatten(COLLATE, folder="other")

        def tell(*operands):
            text, document = (self.run_cli("--history", *json_too, *operands, output=None)[0]
                              for json_too in ((), ("--json",)))
            runs = json.loads(document)["history"]
            self.assertEqual([run["folder"] in line for run, line in
                              zip(runs, text.splitlines(), strict=True)], [True] * len(runs))
            return text, runs
        text, runs = tell()
        self.assertEqual([run["folder"] for run in runs], [self.path("other"), self.drop])
        counts = [run["counts"] for run in runs]
        self.assertEqual([(c["moved"], c["renamed"], c["deletedFiles"], c["collated"], c["aliased"])
                          for c in counts], [(3, 1, 0, 5, 0), (2, 0, 1, 0, 0)])
        self.run_cli("--undo", "--quiet", "drop", status=1)
        later, ofDrop = tell("drop")
        self.assertNotIn(self.path("other"), later)
        self.assertNotIn(runs[1], ofDrop, "taken back, and told as before")
        self.assertNotEqual(tell()[0], text)

    # Ended in the middle -----------------------------------------------------------------------

    def count_at_top(self):
        """The files in the folder itself, or where they are sorted into."""
        top = self.path("drop/txt") if os.path.isdir(self.path("drop/txt")) else self.drop
        return sum(item.is_file() for item in os.scandir(top))

    def end_in_the_middle(self, number, *arguments, when):
        """Sends the signal when `when` says so of the files at the top; answers the status."""
        process = self.start(*arguments, "drop", environment=slow_disk(SLOW))
        self.wait_until(lambda: when(self.count_at_top()), process)
        process.send_signal(number)
        process.communicate(timeout=240)
        self.assertCountEqual(self.contents(self.drop), [f"drop {i}" for i in range(FILES)])
        return process.returncode

    def test_a_run_ended_in_the_middle_is_taken_back(self):
        for number, status in ((signal.SIGINT, 130), (signal.SIGKILL, -signal.SIGKILL)):
            with self.subTest(number):
                self.start_afresh()
                before = self.make_large()
                self.assertEqual(status, self.end_in_the_middle(
                    number, when=lambda files: files > 20))
                self.assertNotEqual(portrait(self.drop), before)
                self.take_back("drop")
                self.assertTree(before)

    def test_one_that_is_stopped_is_gone_on_with(self):
        for number, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129)):
            with self.subTest(number):
                self.start_afresh()
                before = self.make_large()
                self.flatten(DELETE)
                flat = portrait(self.drop)
                self.assertEqual(status, self.end_in_the_middle(
                    number, "--undo", when=lambda files: files < FILES - 12))
                self.assertNotIn(portrait(self.drop), (before, flat))
                self.take_back("drop")
                self.assertTree(before)
                self.take_back("drop", option="--redo")
                self.assertTree(flat)

    def test_one_that_is_killed_is_ended_by_the_next_start(self):
        self.make_sample("other")
        for left in (FILES - 1, FILES // 2, 10):
            with self.subTest(left):
                self.start_afresh()
                before = self.make_large()
                self.flatten(DELETE, COLLATE)
                flat = portrait(self.drop)
                self.assertEqual(-signal.SIGKILL, self.end_in_the_middle(
                    signal.SIGKILL, "--undo", when=lambda files, left=left: files <= left))
                _, err = self.run_cli("--quiet", "other")
                self.assertTree(before)
                self.assertIn(self.drop, err)
                self.take_back("drop", option="--redo")
                self.assertTree(flat)

    def test_two_at_once(self):
        before = self.make_large()
        self.flatten()
        process = self.start("--undo", "drop", environment=slow_disk(3 * SLOW))
        self.addCleanup(process.kill)
        self.wait_until(lambda: self.count_at_top() < FILES - 5, process)
        for arguments in (("--undo", "drop"), ("--undo",), ("drop",), ("--redo", "drop")):
            _, err = self.run_cli("--quiet", *arguments, status=1)
            self.assertIn(f"(process {process.pid})", err)
        self.finish(process, 0)
        self.assertTree(before)

    # Journals by somebody else -----------------------------------------------------------------

    def test_journals_edited_by_hand_do_no_harm(self):
        """Whatever one says, nothing outside is touched, nothing is replaced, and what does not fit
        is told."""
        move = r"(?m)^(move\t)(\d+)\t(d\.txt)\t(\d+)"
        for old, new in (
                (move, r"\1\2\t../../beside/kept\t\4"), (move, r"\1\2\t..\t\4"),
                (move, r"\1\2\t\t\4"), (move, r"\1\2\tb.jpg/..\t\4"), (move, r"\1\2\t.\t\4"),
                (move, r"\g<1>99\t\3\t\4"), (move, r"\1-1\t\3\t\4"), (move, r"\1\2\t\3\t1"),
                (move, r"\g<1>18446744073709551617\t\3\t\4"), (move, r"\1\2\ta\\x00b\t\4"),
                (move, r"\g<1>0\tb.jpg\t\4"),  # its old place would be that of another
                (r"(?m)^(folder\t1\t0\t)[^\t]*\t[^\t]*", r"\1BESIDE\t../beside"),
                (r"(?m)^(folder\t2\t)1", r"\g<1>2"), (r"(?m)^(folder\t2\t)1", r"\g<1>7"),
                (r"(?m)^(rmdir\t)(\d+)\tone", r"\1\2\t../beside/made"),
                (r"(?m)^(mkdir\t0\t)txt", r"\1../beside"), (r"(?m)^(mkdir\t0\t)txt", r"\1c"),
                (r"(?m)^(rmdir\t.*)\t\d+$", r"\1\t0"), (r"(?m)^move", "movve")):
            # A folder that it calls by another's name or number can be put right all the same.
            status_of_undo = 0 if new in (r"\1c", r"\1\t0") else 1
            with self.subTest(old=old, new=new):
                self.start_afresh()
                self.make_old()
                self.flatten(DELETE, COLLATE)
                beside, held = portrait(self.path("beside")), self.contents(self.drop)
                status = os.stat(self.path("beside"))
                [journal] = self.journals()
                text = self.read(journal)
                new = new.replace("BESIDE", f"{status.st_dev}:{status.st_ino}")
                edited = re.sub(old, new, text)
                self.assertNotEqual(edited, text)
                with open(journal, "w", encoding="ascii") as file:
                    file.write(edited)
                around = os.listdir(self.place)
                self.run_cli("--undo", "--quiet", "drop", status=status_of_undo)
                self.assertEqual(portrait(self.path("beside")), beside)
                self.assertCountEqual(os.listdir(self.place), around)
                self.assertCountEqual(self.contents(self.drop), held)

    def test_a_journal_of_the_first_format_cannot_be_taken_back(self):
        self.make_old()
        self.flatten("--no-rename-duplicates", status=3)
        flat = portrait(self.drop)
        [journal] = self.journals()
        lines = self.read(journal).splitlines()
        head = lines[0].split("\t")[:-3]  # that format tells no state of folders
        head[0] = "Vannerly journal 1"
        lines = ["\t".join(head), lines[1]] + [
            "\t".join(fields[:5] if fields[0] == "folder" else
                      ["rename", *fields[1:3], fields[4]] if fields[0] == "move" else fields)
            for fields in (line.split("\t") for line in lines[2:])]
        self.write(journal, "\n".join(lines) + "\n")
        _, err = self.run_cli("--undo", "drop", status=1)
        self.assertRegex(err, "(?i)older|earlier|first|format")
        self.assertTree(flat)


if __name__ == "__main__":
    unittest.main()
