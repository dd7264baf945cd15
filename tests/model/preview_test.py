#!/usr/bin/env python3
"""Previews runs over small random trees, with whatever may stand in their way: permissions, owners,
locks, a trash that is in use or of no use. Nothing may have changed by that. Then the program runs,
and the preview has to have told all of it: the same document, and changes that, done one after the
other on a copy, give the same tree. With --ordinary-user the program is run by somebody whom
permissions bind; the test is root in any case.
"""

import contextlib
import fcntl
import os
import random
import stat
import struct
import subprocess
import sys
import tempfile
import time

from documents import what_differs, with_names_of
from model_test import places_in_trash, usual_place
from other_users import become_root
from portrait import differences, portrait
from program_batch import ORDINARY_USER, ProgramBatch, run_batches

STRANGER = 1002
NO_ID = 0xFFFFFFFF
FOLDER_MODES = (0o555, 0o000, 0o300, 0o311, 0o444, 0o644, 0o700, 0o1755, 0o777)
FILE_MODES = (0o000, 0o444, 0o666)
GET_FLAGS, SET_FLAGS = 0x80086601, 0x40086602  # of an inode: see linux/fs.h
IMMUTABLE, APPEND_ONLY = 0x10, 0x20
# What has to occur in enough trees.
EXPECTED = [
    "exit status 0", "exit status 3", "links made anew",
    *(f"changes: {kind}" for kind in ("moved", "aliased", "deleted", "trashed", "made")),
    "renamed", "deletedFiles", "deletedFolders", "trashed", "foldersMade", "collated",
    "leftInPlace dupFNErr", "leftInPlace bdNamErr", "notDeleted errFSOperationNotSupported",
    "notCollated dupFNErr", "notCollated dirNFErr"]
EXPECTED_OF_ORDINARY_USER = [f"{key} afpAccessDenied" for key in (
    "leftInPlace", "unreadFolders", "notDeleted", "notCollated")]
EXPECTED_WITH_LOCKS = [f"{key} permErr" for key in ("leftInPlace", "notDeleted", "notCollated")]


# Obstacles -------------------------------------------------------------------------------------

def set_flags(path, flags):
    """Of a regular file or a folder; nothing else may be opened."""
    descriptor = os.open(path, os.O_RDONLY | os.O_NOFOLLOW)
    try:
        others = struct.unpack("l", fcntl.ioctl(descriptor, GET_FLAGS, bytes(8)))[0]
        others &= ~(IMMUTABLE | APPEND_ONLY)
        fcntl.ioctl(descriptor, SET_FLAGS, struct.pack("l", others | flags))
    finally:
        os.close(descriptor)


def can_lock():
    """Not every volume can, nor every root."""
    with tempfile.NamedTemporaryFile(dir=usual_place()) as file:
        try:
            set_flags(file.name, IMMUTABLE)
            set_flags(file.name, 0)
            return True
        except OSError as error:
            print(f"Nothing is immutable or append-only here: {error}")
            return False


def rights_beside_the_mode(rnd):
    """An access list that names the ordinary user."""
    named, others = rnd.choice(((0, 7), (5, 7), (7, 0), (6, 5), (3, 5)))
    return struct.pack("<I", 2) + b"".join(
        struct.pack("<HHI", tag, rights, who) for tag, rights, who in (
            (1, named, NO_ID), (2, named, ORDINARY_USER), (4, 5, NO_ID), (0x10, 7, NO_ID),
            (0x20, others, NO_ID)))


def obstruct(folder, rnd, user, hasLocks):
    """Gives all of it to the user, and in most trees some to somebody else, and modes, access lists
    and locks of all kinds; also takes names where items are to be sorted to."""
    share, locked = rnd.choice((0, 0.5, 1, 1, 2)), []

    def is_chosen(path, often):
        return rnd.random() < often * share * (0.3 if path == folder else 1)

    for name in sorted(os.listdir(folder)):
        place = os.path.join(folder, name.rpartition(".")[2])
        if "." in name and is_chosen(name, 0.1):
            with contextlib.suppress(FileExistsError, NotADirectoryError):
                os.makedirs(place, exist_ok=True)
                with open(os.path.join(place, name), "xb") as file:
                    file.write(os.fsencode(place))
    for parent, folders, files in os.walk(folder, topdown=False):
        # In one that all share each user may take away but his own.
        isShared = is_chosen(parent, 0.1)
        links = [name for name in folders if os.path.islink(os.path.join(parent, name))]
        for path in [os.path.join(parent, name) for name in sorted(files + links)] + [parent]:
            kind = stat.S_IFMT(os.lstat(path).st_mode)
            owner = STRANGER if is_chosen(path, 0.5 if isShared else 0.1) else user
            os.chown(path, owner, owner, follow_symlinks=False)
            if kind == stat.S_IFLNK:
                continue
            if is_chosen(path, 0.15):
                os.chmod(path, rnd.choice(FOLDER_MODES if kind == stat.S_IFDIR else FILE_MODES))
            if path == parent and isShared:
                os.chown(path, STRANGER, STRANGER)
                os.chmod(path, 0o1777)
            if kind == stat.S_IFDIR and is_chosen(path, 0.06):
                os.setxattr(path, "system.posix_acl_access", rights_beside_the_mode(rnd))
            if hasLocks and kind in (stat.S_IFDIR, stat.S_IFREG) and is_chosen(path, 0.05):
                locked.append((path, rnd.choice((IMMUTABLE, APPEND_ONLY))))
    for path, flags in locked:  # last, as files have other names
        set_flags(path, flags)


def make_trash(trash, rnd, user):
    """None, or one in which names are taken, or that cannot be used."""
    form = rnd.choice(("none", "none", "used", "used", "a file", "another's", "in part"))
    if form == "none":
        return
    os.makedirs(os.path.dirname(trash), exist_ok=True)
    if form == "a file":
        with open(trash, "xb"):
            pass
    else:
        for name in ("", "info", "files")[:2 if form == "in part" else 3]:
            os.mkdir(os.path.join(trash, name), 0o700)
        for name in ("a", "docs", "jpg", "jpg 2") if form == "used" else ():
            os.mkdir(os.path.join(trash, "files", name))
            with open(os.path.join(trash, "info", name + ".trashinfo"), "xb") as file:
                file.write(b"[Trash Info]\nPath=/old/%s\n" % os.fsencode(name))
    subprocess.run(["chown", "-R", str(user), trash], check=True)
    if form == "another's":
        os.chown(trash, STRANGER, STRANGER)


# The comparison --------------------------------------------------------------------------------

def bare(items, folder):
    """What is where below a folder: names, kinds and contents."""
    return {path[len(folder) + 1:]: (item.kind, item.content) for path, item in items.items()
            if path.startswith(folder + "/")}


class Copy:
    """Of a folder, with a trash of its own, in which the changes that a preview tells are made."""

    def __init__(self, folder, items, where):
        self.folder, self.where, self.trashed = folder, where, {}
        os.makedirs(os.path.join(where, "tree"))
        os.mkdir(os.path.join(where, "trash"))
        for path, (kind, content) in sorted(items.items()):
            path = os.path.join(where, "tree", path)
            if kind == stat.S_IFDIR:
                os.mkdir(path)
            elif kind == stat.S_IFLNK:
                os.symlink(content, path)
            elif kind == stat.S_IFREG:
                with open(path, "xb") as file:
                    file.write(content)
            else:
                os.mknod(path, kind | 0o644)

    def place(self, path):
        if not path.startswith(self.folder + "/"):
            raise ValueError("outside the folder")
        return os.path.join(self.where, "tree", path[len(self.folder) + 1:])

    def make(self, change):
        kind, path = change["change"], self.place(change["path"])
        if kind == "moved":
            if os.path.lexists(self.place(change["newPath"])):
                raise ValueError("replaces an item")
            os.rename(path, self.place(change["newPath"]))
        elif kind == "trashed":
            self.trashed[change["path"]] = f"trash/{len(self.trashed)}"
            os.rename(path, os.path.join(self.where, self.trashed[change["path"]]))
        elif kind == "aliased":
            os.symlink(change["target"], path)
        elif kind == "made":
            os.mkdir(path)
        elif kind == "deleted":
            isFolder = os.path.isdir(path) and not os.path.islink(path)
            (os.rmdir if isFolder else os.unlink)(path)
        else:
            raise ValueError("no such change")


class PreviewBatch(ProgramBatch):
    hasLocks = False

    @classmethod
    def begin(cls, isOrdinaryUser):
        cls.user = ORDINARY_USER if isOrdinaryUser else None
        cls.hasLocks = can_lock()
        return (EXPECTED + isOrdinaryUser * EXPECTED_OF_ORDINARY_USER
                + cls.hasLocks * EXPECTED_WITH_LOCKS)

    def __init__(self, *arguments):
        super().__init__(*arguments)
        # As if it were a volume of its own, so that its trash is in it.
        subprocess.run(["mount", "--bind", self.place, self.place], check=True)
        rnd, owner = random.Random(f"obstacles {self.number}"), self.user or 0
        self.trashes = [os.path.join(self.place, name)
                        for name in ("state/.local/share/Trash", f".Trash-{owner}")]
        os.makedirs(os.path.dirname(self.trashes[0]))
        subprocess.run(["chown", "-R", str(owner), f"{self.place}/state"], check=True)
        os.chown(self.place, *[rnd.choice((owner, 0))] * 2)
        for trash in self.trashes:
            make_trash(trash, rnd, owner)
        for case in self.cases:
            rnd = random.Random(f"obstacles of {case.seed}")
            obstruct(os.fsdecode(case.path), rnd, owner, self.hasLocks)

    def test(self, totals):
        try:
            self.preview_and_run(totals)
        finally:
            subprocess.run(["umount", self.place], check=True)
        return not self.found

    def preview_and_run(self, totals):
        if self.user is not None:
            # In a folder that was changed just now the program looks at each item, which it might
            # not be allowed to, and later it does not.
            time.sleep(0.06)
        before = portrait(self.place, isStrict=True)
        preview, status = self.run("--dry-run", *self.options, statuses=(0, 1, 3))
        self.tell("a preview, which is to change nothing,",
                  differences(before, portrait(self.place, isStrict=True)))
        run, _ = self.run(*self.options, statuses=[status])
        self.tell("both", list(what_differs(preview, run)))
        if not self.found:
            self.compare(before, with_names_of(run, preview)["folders"])
            self.count(totals, preview, status)

    def compare(self, before, folders):
        after = portrait(self.place)
        trash = {os.path.join(self.place, os.fsdecode(path)):
                 os.path.relpath(os.fsdecode(now), self.place) for trash in self.trashes
                 for path, now in places_in_trash(os.fsencode(trash)).items()}
        for folder in folders:
            self.replay(folder, before, after, trash)

    def replay(self, folder, before, after, trash):
        path = folder["path"]
        name = os.path.relpath(path, self.place)
        copy = Copy(path, bare(before, name), os.path.join(self.place, "copies", name))
        for change in folder["changes"]:
            try:
                copy.make(change)
            except (OSError, ValueError) as error:
                self.tell(f"changes of {path!r}", [f"{change} can't be made: {error}"])
                return
        made = portrait(copy.where)
        trash = {old: now for old, now in trash.items() if old.startswith(path + "/")}
        for what, expected, actual in [
                ("changes", bare(made, "tree").items(), bare(after, name).items()),
                ("the trashed folders", copy.trashed.keys(), trash.keys()),
                *((f"the trashed {old!r}", bare(made, copy.trashed.get(old, "")).items(),
                   bare(after, now).items()) for old, now in trash.items())]:
            if expected != actual:
                self.tell(f"{what} of {path!r}", [f"planned: {sorted(expected - actual)}",
                                                  f"done: {sorted(actual - expected)}"])

    def count(self, totals, preview, status):
        totals.update({"trees": len(self.cases), f"exit status {status}": 1})
        for folder in preview["folders"]:
            changes = folder["changes"]
            totals.update(f"changes: {change['change']}" for change in changes)
            totals["links made anew"] += sum(
                (old["change"], old["path"], new["change"]) == ("deleted", new["path"], "aliased")
                for old, new in zip(changes, changes[1:]))
            for key, entries in folder.items():
                if isinstance(entries, list) and key != "changes":
                    totals.update(f"{key} {entry.get('error', '')}".rstrip() for entry in entries)


if __name__ == "__main__":
    become_root(mounts=True)
    sys.exit(run_batches(__doc__, PreviewBatch))
