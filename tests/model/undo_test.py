#!/usr/bin/env python3
"""Flattens small random trees under random preferences, takes that back, does it again and takes it
back again, and compares each time all that can be seen with what was there before.

A case is wholly given by its seed. Cases that share preferences (4 in a row, whose journals are all
kept) go through one run as 4 operands; a difference is replayed with the --seed that it prints.
"""

import argparse
import base64
import collections
import json
import os
import random
import struct
import subprocess
import sys
import tempfile
from dataclasses import replace

from model_test import Disk, conclude, make_case, preferences_of, usual_place
from portrait import differences, portrait

BATCH = 4  # with 4 journals each that is within the 20 that are kept
ORDINARY_USER = 1001
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


def exact(entry):
    encoded = entry.get("pathBase64")
    return os.fsdecode(base64.b64decode(encoded)) if encoded else entry["path"]


class Batch:
    def __init__(self, program, place, seeds, number):
        self.program, self.place, self.found = program, place, []
        self.number = number
        self.options = preferences_of(number)[1]
        disk = Disk()
        self.cases = [make_case(seed, os.fsencode(place), disk) for seed in seeds]
        for case in self.cases:
            dress(os.fsdecode(case.path), random.Random(f"dress {case.seed}"))

    def trash(self):
        """The identities of what lies in the trash."""
        files = os.path.join(self.place, "state/.local/share/Trash/files")
        return identities(portrait(files)) if os.path.isdir(files) else collections.Counter()

    def look(self):
        """Of each case, what was dropped and what lies beside it."""
        return [portrait(os.path.dirname(os.fsdecode(case.path))) for case in self.cases]

    def run(self, *options, statuses, cases=None):
        state = os.path.join(self.place, "state")
        environment = {**os.environ, "HOME": state, "XDG_CONFIG_HOME": state,
                       "XDG_STATE_HOME": state, "XDG_CONFIG_DIRS": state}
        operands = [case.operand for case in self.cases if cases is None or case in cases]
        done = subprocess.run([self.program, *options, "--quiet", "--json", "--", *operands],
                              cwd=self.place, env=environment, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=300, check=False)
        if done.returncode not in statuses:
            self.tell(" ".join(options), [
                f"exit status {done.returncode}, not one of {statuses}; standard error ends with",
                done.stderr[-3000:].decode(errors="replace")])
        try:
            folders = json.loads(done.stdout)["folders"]
        except ValueError:
            self.tell(" ".join(options), ["standard output is no document"])
            folders = []
        return {exact(folder): folder for folder in folders}, done.returncode

    def tell(self, what, lines):
        if lines:
            print(f"\nDIFFERENCE after {what} {' '.join(self.options)}; replay with --seed "
                  f"{self.number * BATCH} --trees {BATCH}", *lines[:40], sep="\n  ")
            self.found.append(what)

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
            names = {exact(entry) for entry in told.get(path, {}).get("deletedFiles", ())}
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
        told = {path: {exact(entry) for entry in folder["lost"]}
                for path, folder in document.items() if folder.get("lost")}
        if told != (lost if status else {}):
            self.tell(what, [f"exit status {status}; told as lost: {told}", f"lost: {lost}"])


def become_ordinary_user():
    """Whom permissions bind; anybody but root is one already."""
    if os.geteuid() == 0:
        os.setgroups([])
        os.setgid(ORDINARY_USER)
        os.setuid(ORDINARY_USER)


def remove(folder):
    subprocess.run(["chmod", "-R", "u+rwX", folder], check=True)
    subprocess.run(["rm", "-rf", folder], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True, help="path of vannerly-cli")
    parser.add_argument("--trees", type=int, default=192, help="how many trees")
    parser.add_argument("--seed", type=int, default=0, help="seed of the first tree")
    parser.add_argument("--ordinary-user", action="store_true", help="not as root")
    arguments = parser.parse_args()
    os.umask(0o022)
    with open(arguments.program, "rb") as file:
        content = file.read()
    if arguments.ordinary_user:
        become_ordinary_user()
    place = tempfile.mkdtemp(prefix="vannerly-undo-", dir=usual_place())
    totals, good = collections.Counter(), True
    try:
        program = os.path.join(place, "vannerly-cli")  # where that user is let in
        with open(os.open(program, os.O_WRONLY | os.O_CREAT, 0o700), "wb") as file:
            file.write(content)
        end = arguments.seed + arguments.trees
        for first in range(arguments.seed, end, BATCH):
            ofBatch = os.path.join(os.path.realpath(place), str(first))
            os.mkdir(ofBatch)
            good = Batch(program, ofBatch, range(first, min(first + BATCH, end)),
                         first // BATCH).test(totals)
            if not good:
                break
            remove(ofBatch)
    finally:
        remove(place)
    return conclude(good, totals, arguments.trees >= 192)


if __name__ == "__main__":
    sys.exit(main())
