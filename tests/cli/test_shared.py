#!/usr/bin/env python3
"""Folders that several users share: the program runs as one of them, among what another one has."""

import os
import shutil
import stat
import subprocess
import unittest

import cli_case
from cli_case import PROGRAM, CliCase
from other_users import become_root

MINE, THEIRS = 1001, 1002
AS_ME = ["setpriv", f"--reuid={MINE}", f"--regid={MINE}", "--clear-groups", "--"]


class Shared(CliCase):
    def setUp(self):
        super().setUp()
        # Neither user need be let in to where the program was built.
        cli_case.PROGRAM = shutil.copy(PROGRAM, self.path("vannerly-cli"))
        os.chmod(self.place, 0o755)
        os.chown(self.home, MINE, MINE)
        for folder in ("config", "state"):
            self.make(self.path(folder), MINE, 0o700)
        self.drop = self.path("drop")

    def make(self, path, owner, mode, content=None):
        """Makes a folder, a file with this content, or (mode None) a link to it."""
        if content is None:
            os.mkdir(path)
        elif mode is None:
            os.symlink(content, path)
        else:
            self.write(path, content)
        os.chown(path, owner, owner, follow_symlinks=False)
        if mode is not None:
            os.chmod(path, mode)
        return path

    def items_of(self, owner):
        """What an owner has below: path -> what it is, and what is in it."""
        found = {}
        for parent, folders, files in os.walk(self.place):
            for path in (os.path.join(parent, name) for name in folders + files):
                status = os.lstat(path)
                if status.st_uid == owner:
                    found[path] = (status.st_mode, status.st_ino,
                                   os.readlink(path) if stat.S_ISLNK(status.st_mode) else
                                   self.read(path) if stat.S_ISREG(status.st_mode) else None)
        return found

    def test_nothing_of_another_user_changes(self):
        diary = self.make(self.path("home/diary"), MINE, 0o600, "dear diary")
        delete, collate = "--delete-emptied-folders", "--aggregate-files-when-done"
        for mode, *options in ((0o1777,), (0o1777, "--operation=alias"), (0o1777, collate),
                               (0o1777, delete, collate), (0o777,), (0o777, delete)):
            with self.subTest(mode=oct(mode), options=options):
                subprocess.run(["rm", "-rf", "--", self.drop], check=True)
                self.make(self.drop, THEIRS, mode)
                for folder, owner, its_mode in (("mine", MINE, 0o777), ("theirs", THEIRS, 0o755),
                                                ("both", THEIRS, 0o1777), ("jpg", THEIRS, 0o755)):
                    self.make(f"{self.drop}/{folder}", owner, its_mode)
                    self.make(f"{self.drop}/{folder}/a.txt", owner, 0o666, f"a in {folder}")
                    self.make(f"{self.drop}/{folder}/b.jpg", owner, 0o666, f"b in {folder}")
                self.make(f"{self.drop}/both/mine.txt", MINE, 0o600, "mine in both")
                # Names that the program is about to use: its temporary ones, those of its aliases.
                self.make(f"{self.drop}/a.txt", THEIRS, 0o666, "a at the top")
                self.make(f"{self.drop}/517A7274", THEIRS, 0o666, "a temporary name")
                for name in ("517A7275", "mine/517A7276", "b.jpg alias", "a.txt alias", "txt"):
                    self.make(f"{self.drop}/{name}", THEIRS, None, diary)
                before, mine = self.items_of(THEIRS), sorted(self.contents(self.drop))
                status = 0 if "--operation=alias" in options else 3
                self.run_cli(*options, self.drop, status=status, before=AS_ME)
                # In a folder of mine that lets others in I may move and delete what they have put
                # there: the folder is mine. Everywhere else theirs stay as and where they are.
                in_mine = f"{self.drop}/mine/517A7276"
                before.pop(in_mine)
                after = self.items_of(THEIRS)
                for place in (in_mine, f"{self.drop}/517A7276"):
                    after.pop(place, None)
                self.assertEqual(after, before)
                self.assertEqual(self.read(diary), "dear diary")
                self.assertEqual(sorted(self.contents(self.drop)), mine)

    def test_links_of_another_user_lead_no_preferences_astray(self):
        diary = self.make(self.path("home/diary"), MINE, 0o600, "dear = 'diary'\n")
        os.chmod(self.path("config"), 0o1777)
        folder = self.make(self.path("config/vannerly"), THEIRS, 0o1777)
        link = f"{folder}/preferences.toml"
        for owner, status, content in ((THEIRS, 1, "dear = 'diary'\n"),
                                       (MINE, 0, "dear = 'diary'\nQuitWhenDone = true\n")):
            self.make(link, owner, None, diary)
            _, err = self.run_cli("--set", "QuitWhenDone=true", status=status, before=AS_ME)
            self.assertEqual(self.read(diary), content, err)
            self.assertEqual(os.readlink(link), diary)
            self.assertEqual(stat.S_IMODE(os.lstat(diary).st_mode), 0o600)
            os.unlink(link)


if __name__ == "__main__":
    become_root()
    unittest.main()
