#!/usr/bin/env python3
"""Flattens small random trees under random preferences, takes that back, does it again and takes it
back again, and compares each time all that can be seen with what was there before.
"""

import collections
import os
import random
import struct
import sys
from dataclasses import replace

from portrait import differences, portrait
from program_batch import ORDINARY_USER, ProgramBatch, run_batches

FOLDER_MODES = (0o755,) * 4 + (0o700, 0o555, 0o500, 0o750, 0o1777, 0o2755)
SECOND = 1_000_000_000
# Owner, group and others in the format that the kernel keeps: what is made below gets this.
DEFAULT_ACL = struct.pack("<I", 2) + b"".join(
    struct.pack("<HHI", tag, rights, 0xFFFFFFFF) for tag, rights in ((1, 7), (4, 5), (0x20, 0)))


def dress(folder, rnd):
    """Gives folders what they should have again when they are made anew, and the owners of all."""
    for parent, folders, files in os.walk(folder, topdown=False):
        mode = os.stat(parent).st_mode & 0o7777
        os.chmod(parent, 0o700)
        if os.geteuid() == 0:
            for path in [parent] + [os.path.join(parent, name) for name in files]:
                if rnd.random() < 0.2:
                    os.chown(path, rnd.choice((0, ORDINARY_USER)), 1002, follow_symlinks=False)
        if rnd.random() < 0.3:
            os.setxattr(parent, "user.note", b"of \xff " + os.fsencode(str(len(folders))))
        if rnd.random() < 0.1:
            os.setxattr(parent, "user.empty", b"")
        if rnd.random() < 0.1:
            os.setxattr(parent, "system.posix_acl_default", DEFAULT_ACL)
        isDropped = parent == folder
        os.chmod(parent, rnd.choice((mode, 0o755 if isDropped else rnd.choice(FOLDER_MODES))))
        modified = rnd.choice((rnd.randrange(2_000_000_000 * SECOND), 0, -3 * SECOND // 2,
                               4_102_444_800 * SECOND + 1))
        os.utime(parent, ns=(modified, modified))


def identities(items):
    return collections.Counter(item.identity for item in items.values() if not item.isFolder)


def with_new_alike(items, known):
    """Links made anew are alike when they bear the same name and lead to the same place."""
    return {path: item if item.isFolder or item.identity in known else
            replace(item, inode=None, modified=0) for path, item in items.items()}


class UndoBatch(ProgramBatch):
    def __init__(self, *arguments):
        super().__init__(*arguments)
        for case in self.cases:
            dress(os.fsdecode(case.path), random.Random(f"dress {case.seed}"))

    def trash(self):
        """The identities of what lies in the trash."""
        files = os.path.join(self.place, "state/.local/share/Trash/files")
        return identities(portrait(files)) if os.path.isdir(files) else collections.Counter()

    def look(self):
        """Of each case, what was dropped and what lies beside it."""
        return [portrait(os.path.dirname(os.fsdecode(case.path))) for case in self.cases]

    @classmethod
    def begin(cls, isOrdinaryUser):
        if isOrdinaryUser and os.geteuid() == 0:  # anybody else is one already
            os.setgroups([])
            os.setgid(ORDINARY_USER)
            os.setuid(ORDINARY_USER)
        return ()

    def run(self, *options, **how):
        document, status = super().run(*options, **how)
        return {folder["path"]: folder for folder in document["folders"]}, status

    def check(self, what, expected, actual):
        for case, *items in zip(self.cases, expected, actual):
            self.tell(f"{what} in case {case.seed}", differences(*items))

    def test(self, totals):
        """Answers whether all is as it should be."""
        before = self.look()
        told, _ = self.run(*self.options, statuses=(0, 3))
        after = self.look()
        changed = [case for case, old, new in zip(self.cases, before, after) if old != new]
        trashed = self.trash()
        known, left, lost = [identities(items) for items in before], [], {}
        for case, old, new, ids in zip(self.cases, before, after, known):
            # The run tells the names of what it has deleted; what they were tells whether it is so.
            path = os.fsdecode(case.path)
            names = {entry["path"] for entry in told.get(path, {}).get("deletedFiles", ())}
            within = {os.path.relpath(name, os.path.dirname(path)) for name in names}
            gone = ids - identities(new) - trashed
            if gone != identities({name: old[name] for name in within if name in old}):
                self.tell(f"the run in case {case.seed}", [f"told as deleted: {sorted(within)}"])
            left.append({name: item for name, item in old.items() if name not in within})
            if names:
                lost[path] = names
            totals.update({"trees": 1, "trees changed": int(old != new), "files": ids.total(),
                           "files deleted": gone.total(),
                           "links made": (identities(new) - ids).total(),
                           "folders removed": sum(item.isFolder and name not in new
                                                  for name, item in old.items())})
        if not changed or self.found:
            return not self.found
        self.take_back("undo", changed, lost, [int(bool(lost))])
        self.check("undo", left, self.look())
        if self.trash():
            self.tell("undo", ["something is in the trash still"])
        self.run("--redo", cases=changed, statuses=[0])
        self.check("redo", *([with_new_alike(items, ids) for items, ids in zip(trees, known)]
                             for trees in (after, self.look())))
        # What the first run has deleted may be told again.
        self.take_back("undo of redo", changed, lost, [0, 1])
        self.check("undo of redo", left, self.look())
        return not self.found

    def take_back(self, what, cases, lost, statuses):
        document, status = self.run("--undo", cases=cases, statuses=statuses)
        told = {path: {entry["path"] for entry in folder["lost"]}
                for path, folder in document.items() if folder.get("lost")}
        if told != (lost if status else {}):
            self.tell(what, [f"exit status {status}; told as lost: {told}", f"lost: {lost}"])


if __name__ == "__main__":
    sys.exit(run_batches(__doc__, UndoBatch))
