#!/usr/bin/env python3
"""What a run tells of itself, --json, --verbose and the last line, held against what it has done."""

import json
import os
import shutil
import stat
import unittest

from cli_case import IDLE, CliCase, exact, powerless

LISTS = ("leftInPlace", "renamed", "unreadFolders", "deletedFiles", "deletedFolders", "trashed",
         "notDeleted", "foldersMade", "collated", "notCollated")
LONG = "n" * 240 + ".txt"
STRANGE = "x\n\x1b[2J\udcff.txt"


def shown(path):
    """As it is shown on a terminal."""
    return path.replace("\n", "?").replace("\x1b", "?").replace("\udcff", "?")


class Reports(CliCase):
    def items(self, folder):
        """Path by identity of everything below, files and folders. Names are a part of what folders
        are known by, because new ones are given the inodes of deleted ones."""
        found = ({}, {})
        for parent, folders, files in os.walk(folder):
            for name in folders + files:
                path = os.path.join(parent, name)
                status = os.lstat(path)
                if stat.S_ISDIR(status.st_mode):
                    found[1][status.st_ino, name] = path
                else:
                    found[0][status.st_ino] = path
        return found

    def document(self, output):
        document = json.loads(output)
        self.assertEqual((document["format"], document["complete"]), (1, True))
        for folder in document["folders"]:
            counts = folder["counts"]
            self.assertEqual(counts["handled"], sum(counts[key] for key in (
                "moved", "alreadyInPlace", "aliased", "untouched", "leftInPlace")))
            for key in LISTS:
                self.assertEqual(counts[key], sum(entry.get("items", 1) for entry in folder[key]), key)
        return document

    def assertTold(self, before, after, told):
        """Every list names exactly the items to which it has happened."""
        drop, counts, files = exact(told), told["counts"], before[0]

        def gone(kind, first, second):
            return [path for identity, path in first[kind].items() if identity not in second[kind]]
        for key, paths in (("foldersMade", gone(1, after, before)),
                           ("deletedFolders", gone(1, before, after)),
                           ("deletedFiles", gone(0, before, after))):
            self.assertCountEqual([exact(entry) for entry in told[key]], paths, key)
        self.assertEqual({exact(e): exact(e, "newName") for e in told["renamed"]},
                         {path: os.path.basename(after[0][inode]) for inode, path in files.items()
                          if inode in after[0]
                          and os.path.basename(after[0][inode]) != os.path.basename(path)})
        self.assertEqual(counts["handled"], len(files))
        if not counts["aliased"] and not counts["untouched"]:
            direct = [path for path in files.values() if os.path.dirname(path) == drop]
            self.assertEqual(counts["alreadyInPlace"], len(direct))
            left = {exact(entry) for entry in told["leftInPlace"]}
            moved = [path for path in files.values() if path not in left and path not in direct]
            self.assertEqual(counts["moved"], len(moved))
        for entry in told["collated"]:
            self.assertEqual(entry["items"], len(os.listdir(exact(entry))), "was empty before")

    def test_lists_and_counts(self):
        """Each case: what lies in the folder besides the sample, the options, and for each list the
        paths and codes that are told. The rest is held against the tree before and after."""
        clash = {"leftInPlace": {"one/two/a.txt": -48}}
        cases = (
            ((), (), {}),
            ((), ("--no-rename-duplicates",), clash),
            ((), ("--no-rename-duplicates", "--delete-emptied-folders",
                  "--aggregate-files-when-done"), clash),
            ((".hidden", "jpg"), ("--aggregate-files-when-done",), {"notCollated": {"b.jpg": -120,
                                                                               "e.jpg": -120}}),
            (("txt/b.jpg", "txt/b.txt", "b.txt"), ("--aggregate-files-when-done",), {}),
            (("txt/a.txt", "txt/in/x"), ("--operation=3", "--aggregate-files-when-done"),
             {"notCollated": {"a.txt": -48}}),
            (('one/"', "one/two/b\\c", "n" * 255), ("--operation=2",), {"leftInPlace": {"n" * 255: -37}}),
            ((LONG, "one/" + LONG, "one/two/" + LONG), (),
             {"leftInPlace": {"one/" + LONG: -37, "one/two/" + LONG: -37}}),
            ((STRANGE, "one/" + STRANGE), ("--no-rename-duplicates", "--delete-emptied-folders"),
             {"leftInPlace": {"one/" + STRANGE: -48, **clash["leftInPlace"]}}),
            ((STRANGE, "one/" + STRANGE), ("--aggregate-files-when-done",), {}),
            (("one/Tool.app/Contents/x",), ("--delete-emptied-folders",), {}),
            (("shut/x", "bound/x", "bound/y"), (),
             {"unreadFolders": {"shut": -5000}, "leftInPlace": {"bound/x": -5000, "bound/y": -5000}}),
            (("shut/x", "bound/x"), ("--delete-emptied-folders",),
             {"unreadFolders": {"shut": -5000}, "leftInPlace": {"bound/x": -5000},
              "notDeleted": {"bound/x": -5000, "shut": -5000}}),
        )
        for number, (more, options, expected) in enumerate(cases):
            with self.subTest(more=more, options=options):
                drop = self.make_sample(f"drop{number}")
                for path in more:
                    self.write(f"drop{number}/{path}", path.encode(errors="surrogateescape").hex())
                if "shut/x" in more:
                    # It cannot be listed; with 0300 it can be entered.
                    os.chmod(self.path(drop, "shut"), 0o300 if options else 0)
                    os.chmod(self.path(drop, "bound"), 0o555)
                before = self.items(drop)
                out, err = self.run_cli("--json", "--verbose", "--quiet", *options, drop, output=None,
                                        status=3 if expected else 0, before=powerless())
                told, = self.document(out)["folders"]
                if "shut/x" in more:
                    os.chmod(self.path(drop, "shut"), 0o755)
                    before = ({inode: path for inode, path in before[0].items()
                               if not path.endswith("shut/x")}, before[1])
                self.assertEqual((exact(told), told["ended"]), (drop, "finished"))
                self.assertTold(before, self.items(drop), told)
                self.assertEqual(
                    {key: {os.path.relpath(exact(e), drop): e["code"] for e in told[key]}
                     for key in ("leftInPlace", "unreadFolders", "notDeleted", "notCollated")
                     if told[key]}, expected)
                self.assertLines(err, told)

    def assertLines(self, err, told):
        """One line for every entry of the document, with the same reason, and one for the folder."""
        lines = err.splitlines()
        entries = [entry for key in LISTS for entry in told[key]]
        self.assertEqual(len(lines), len(entries) + 1)
        for entry in entries:
            reason = f"{entry['reason']} ({entry['error']}, {entry['code']})" if "code" in entry else ""
            self.assertTrue(any(line.startswith(shown(exact(entry)) + ": ") and line.endswith(reason)
                                for line in lines), (entry, err))
        self.assertTrue(lines[-1].startswith(f"{exact(told)}: {told['ended']} after "), lines[-1])

    def test_ends_and_errors(self):
        """What was not done at all, how each folder ended, and the same for a run that quits."""
        drop = self.make_sample()
        os.mkdir(self.path("void"))
        self.write("file")
        for quits in ("false", "true"):
            self.write_preferences(f"QuitWhenDone = {quits}\n")
            out, err = self.run_cli("--json", "--quiet", "void", "no\udcff", drop, drop + "/one",
                                    "file", "--delete-emptied-folders", status=1, output=None)
            document = self.document(out)
            self.assertEqual([(os.path.basename(f["path"]), f["ended"])
                              for f in document["folders"]],
                             [("void", "nothing found"), ("drop", "finished"),
                              ("one", "not a folder")])
            self.assertEqual([(exact(e, "folder"), e["reason"]) for e in document["errors"]],
                             [("no\udcff", "No such file or directory"), ("file", "Not a directory")])
            self.assertEqual(err.count("\n"), 3, "three complaints and nothing else")
            self.assertIn(f"\nvannerly-cli: {drop}/one: it is no folder any more\n", err)
            self.make_sample()
        out, _ = self.run_cli("--json", "file", status=1, output=None)
        self.assertEqual(self.document(out)["folders"], [])

    def test_last_line_and_exit_status(self):
        """Both tell what a user has to know, together, and nothing when there is nothing."""
        ending = "; --verbose tells more.\n"
        delete, collate = "--delete-emptied-folders", "--aggregate-files-when-done"
        trash = "--delete-to-trash"
        for options, line in (
                ((), ""), ((delete, collate), ""), (("--operation=3",), ""),
                (("--operation=alias", collate), ""),
                (("--no-rename-duplicates",), "2 files were left in place"),
                (("--no-rename-duplicates", delete),
                 "2 files were left in place, 2 files were deleted with their folders"),
                (("--no-rename-duplicates", delete, trash), "2 files were left in place"),
                (("--operation=alias", delete, trash), ""),
                (("--operation=alias", delete), "6 files were deleted with their folders"),
                (("--operation=3", delete), "6 files were deleted with their folders"),
                ((collate,), "6 items could not be collated")):
            for name in ("one", "two"):
                self.make_sample(name)
                if line.endswith("collated"):
                    self.write(f"{name}/three/txt")
            _, err = self.run_cli("--quiet", *options, "one", "two", status=3 if line else 0)
            self.assertEqual(err, line and line + ending)
            for name in ("one", "two"):
                shutil.rmtree(self.path(name))
        self.make_sample("one")
        _, err = self.run_cli("--no-rename-duplicates", "one", "missing", status=1)
        self.assertRegex(err, rf"Elapsed time: [^\n]+\n{IDLE}\n1 file was left in place{ending}\Z")


if __name__ == "__main__":
    unittest.main()
