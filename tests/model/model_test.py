#!/usr/bin/env python3
"""Runs the terminal program over thousands of small random trees and compares every name, kind,
content and link with what the model says. Also that nothing outside a dropped folder changes.

A case is wholly given by its seed. Cases that share preferences (16 in a row) go through one run of
the program as 16 operands, so a difference is replayed with the --seed and --trees that it prints.
"""

import argparse
import collections
import os
import random
import stat
import subprocess
import sys
import tempfile
import urllib.parse
from dataclasses import dataclass
from pprint import pformat

from flatten_model import (FILE, FOLDER, LINK, PIPE, SOCKET, UUID, Flattening, Node, Preferences,
                           canonical)
from random_trees import TreeMaker

BATCH = 16
REFUSALS = "renames refused by the disk"
FINDER_INFO = "user.com.apple.FinderInfo"
KEYS = {"renameDuplicates": "rename-duplicates", "ignoreApplications": "ignore-applications",
        "deleteEmptiedFolders": "delete-emptied-folders", "deleteToTrash": "delete-to-trash",
        "aggregateFilesWhenDone": "aggregate-files-when-done"}


# Trees on disk ---------------------------------------------------------------------------------

class Disk:
    """Writes nodes to disk and reads them back as nodes; files are told apart by inode."""

    def __init__(self):
        self.inodes = {}  # inode -> node as written
        self.paths = {}  # identity -> a path that has it

    def write(self, node, path):
        if node.isFolder:
            os.mkdir(path)
            for name, item in node.items.items():
                self.write(item, path + b"/" + name)
        elif node.kind == LINK:
            os.symlink(node.target, path)
            return
        elif node.identity in self.paths:
            os.link(self.paths[node.identity], path, follow_symlinks=False)
            return
        elif node.kind == FILE:
            with open(path, "wb") as file:
                file.write(b"content of %d\n" % node.identity)
        elif node.kind == PIPE:
            os.mkfifo(path)
        elif node.kind == SOCKET:
            os.mknod(path, 0o644 | stat.S_IFSOCK)
        flags = 0x2000 * node.bundleBit | 0x4000 * node.invisibleBit
        if flags:
            attribute = bytes(8) + flags.to_bytes(2, "big") + bytes(22)
            os.setxattr(path, FINDER_INFO, attribute, follow_symlinks=False)
        os.chmod(path, node.mode)
        if not node.isFolder:
            os.utime(path, (1_000_000_000, 1_000_000_000 + node.identity))
            self.paths[node.identity] = path
            self.inodes[os.lstat(path).st_ino] = node.identity

    def read(self, path):
        """The tree at `path`; a file whose content, time or inode is not its own has none of the
        identities that were written."""
        status = os.lstat(path)
        mode = stat.S_IMODE(status.st_mode)
        if stat.S_ISLNK(status.st_mode):
            return Node(LINK, target=os.readlink(path))
        if stat.S_ISDIR(status.st_mode):
            return Node(FOLDER, mode=mode,
                        items={name: self.read(path + b"/" + name) for name in os.listdir(path)})
        kind = {stat.S_IFREG: FILE, stat.S_IFIFO: PIPE, stat.S_IFSOCK: SOCKET}.get(
            stat.S_IFMT(status.st_mode), "other")
        identity = self.inodes.get(status.st_ino, "unknown inode")
        if kind == FILE:
            with open(path, "rb") as file:
                content = file.read()
            if content != b"content of %d\n" % identity:
                identity = ("changed content", content)
        if identity in self.paths and status.st_mtime != 1_000_000_000 + identity:
            identity = ("changed time", identity)
        return Node(kind, identity=identity, mode=mode)


# Cases -----------------------------------------------------------------------------------------

@dataclass
class Case:
    seed: int
    path: bytes  # of the dropped folder, absolute and free of links
    operand: bytes  # what stands on the command line
    before: Node
    outside: bytes  # a folder beside the dropped one
    outsideBefore: object


def make_case(seed, place, disk):
    """Makes the folder to drop, with a folder beside it that shares files and links with it."""
    rnd = random.Random(seed)
    case = place + b"/case%d" % seed
    os.mkdir(case)
    outside = Node(FOLDER, mode=0o755)
    maker = TreeMaker(rnd, outside.items, seed * 1000)
    outside.items = {b"kept": maker.file(), b"a.txt": maker.file(), b"locked": maker.file()}
    outside.items[b"locked"].mode = 0o444
    maker.files.clear()
    maker.outside = dict(outside.items)
    root = maker.make()
    name = maker.folder_name()
    # Links from outside into the tree, of both sorts.
    outside.items[b"into"] = Node(LINK, target=b"../" + name)
    if maker.files:
        outside.items[b"shared"] = rnd.choice(maker.files).copy()
    outside.items[b"jpg"] = Node(FOLDER, mode=0o755, items={b"below": maker.file()})
    disk.write(outside, case + b"/outside")
    disk.write(root, case + b"/" + name)
    path = case + b"/" + name
    operand = path
    form = rnd.random()
    relative = os.path.relpath(path, place)
    if form < 0.2:
        operand = relative
    elif form < 0.3:
        operand = b"./" + relative + b"/"
    elif form < 0.4:
        os.symlink(name, case + b"/door")
        operand = case + b"/door"
    elif form < 0.5:
        operand = case + b"/outside/into"
    elif form < 0.6:
        operand = case + b"/outside/../" + name + b"//"
    return Case(seed, path, operand, root.copy(), case + b"/outside",
                canonical(disk.read(case + b"/outside")))


def preferences_of(batch):
    """Every combination in turn: 3 operations by 32; every third batch has an odd number. Also the
    options that say so; what is at its default need not be said."""
    rnd = random.Random(f"preferences {batch}")
    preferences, defaults = Preferences(operation=batch % 3 + 1), Preferences()
    options = []
    for bit, (key, option) in enumerate(KEYS.items()):
        value = bool(batch // 3 >> bit & 1)
        setattr(preferences, key, value)
        if value != getattr(defaults, key) or rnd.random() < 0.3:
            options.append(f"--{'' if value else 'no-'}{option}")
    if preferences.operation == 3:
        preferences.operation = rnd.choice((3, 3, 0, -1, 7, 32767))
    if preferences.operation != defaults.operation:
        options.append(f"--operation={preferences.operation}")
    return preferences, options


def usual_place():
    """Memory when its files can carry Finder information too, as it is much faster."""
    try:
        with tempfile.NamedTemporaryFile(dir="/dev/shm") as file:
            os.setxattr(file.name, FINDER_INFO, bytes(32))
        return "/dev/shm"
    except OSError:
        return tempfile.gettempdir()


# The comparison --------------------------------------------------------------------------------

def uuids_in(node):
    found = []
    for name, item in node.items.items():
        found += UUID.findall(name) + uuids_in(item)
    return found


def places_in_trash(trash):
    """Where in the trash that is which has come from a path; all are bytes."""
    found = {}
    files = trash + b"/files/"
    for name in os.listdir(files) if os.path.isdir(files) else ():
        with open(trash + b"/info/" + name + b".trashinfo", "rb") as file:
            path = urllib.parse.unquote_to_bytes(file.read().split(b"\n")[1].removeprefix(b"Path="))
        found[path] = files + name
    return found


def differences(case, flattening, disk, trash):
    """What is not as the model says: what it is, what was expected and what is there."""
    onDisk, after = disk.read(case.path), flattening.root
    beside = set(os.listdir(os.path.dirname(case.path)))
    fresh = uuids_in(onDisk)
    for what, expected, actual in (
            ("the dropped folder", canonical(after), canonical(onDisk)),
            ("the trash", {path: canonical(node) for path, node in flattening.trash.items()},
             {path: node for path, node in trash.items() if path.startswith(case.path + b"/")}),
            ("OUTSIDE the dropped folder", case.outsideBefore, canonical(disk.read(case.outside))),
            ("beside the dropped folder", {b"outside", os.path.basename(case.path)},
             beside - {b"door"}),
            ("a UUID used twice", len(set(uuids_in(after))), len(set(fresh)))):
        if expected != actual:
            yield what, expected, actual


def run_batch(program, preload, seeds, batch, place, totals):
    """Answers whether all is as it should be."""
    preferences, options = preferences_of(batch)
    disk = Disk()
    cases = [make_case(seed, os.fsencode(place), disk) for seed in seeds]
    state = os.path.join(place, "state")
    environment = {**os.environ, "HOME": state, "XDG_CONFIG_HOME": state, "XDG_STATE_HOME": state,
                   "XDG_CONFIG_DIRS": state, "XDG_DATA_HOME": os.path.join(place, "data")}
    refusals = os.path.join(place, "refusals")
    if preload:
        environment |= {"LD_PRELOAD": os.path.abspath(preload), "OTHER_DISK_REFUSALS": refusals}
    arguments = [*map(os.fsencode, options), b"--"] + [case.operand for case in cases]
    done = subprocess.run([os.fsencode(program)] + arguments, cwd=place, env=environment,
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=300, check=False)
    if preload and os.path.exists(refusals):
        totals[REFUSALS] += os.path.getsize(refusals)
    found, isAllInPlace = [], True
    trash = {path: canonical(disk.read(now))
             for path, now in places_in_trash(os.fsencode(place) + b"/data/Trash").items()}
    for case in cases:
        flattening = Flattening(case.before.copy(), case.path, preferences)
        totals.update(flattening.run())
        isAllInPlace = isAllInPlace and flattening.isAllInPlace
        found += [(case, *difference) for difference in differences(case, flattening, disk, trash)]
    totals.update({"trees": len(cases), "runs that left all in place": int(isAllInPlace)})
    for case, what, expected, actual in found:
        print(f"\nDIFFERENCE in case {case.seed} ({what}), {case.path!r} as {case.operand!r}; "
              f"alone with --seed {case.seed} --trees 1\nbefore", pformat(canonical(case.before)),
              "\nexpected", pformat(expected), "\nactual", pformat(actual))
    status = 0 if isAllInPlace else 3
    if found or done.returncode != status or done.stdout:
        print(f"\nDIFFERENCE: exit status {done.returncode} for {status}, standard output "
              f"{done.stdout[-2000:]!r}, standard error ends with\n"
              f"{done.stderr[-4000:].decode(errors='replace')}\n{preferences}; replay with"
              f" --seed {batch * BATCH} --trees {BATCH}")
        return False
    return True


def conclude(good, totals, isEnough):
    """Prints what there was; answers the exit status. Of enough trees none may lack a thing."""
    for what, times in totals.items():
        print(f"{times:8d} {what}")
    lacking = [what for what, times in totals.items() if times == 0]
    if lacking and isEnough and good:
        print(f"Of these there were none: {lacking}")
        return 1
    return 0 if good else 1


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True, help="path of vannerly-cli")
    parser.add_argument("--trees", type=int, default=3072, help="how many trees")
    parser.add_argument("--seed", type=int, default=0, help="seed of the first tree")
    parser.add_argument("--preload", help="a library to load before the program")
    arguments = parser.parse_args()
    os.umask(0o022)
    totals = collections.Counter({REFUSALS: 0} if arguments.preload else {})
    seeds = range(arguments.seed, arguments.seed + arguments.trees)
    good = True
    for batch in range(seeds[0] // BATCH, seeds[-1] // BATCH + 1):
        ofBatch = [s for s in seeds if s // BATCH == batch]
        with tempfile.TemporaryDirectory(prefix="vannerly-model-", dir=usual_place()) as place:
            good = run_batch(os.path.abspath(arguments.program), arguments.preload, ofBatch, batch,
                             os.path.realpath(place), totals)
        if not good:
            break
    return conclude(good, totals, arguments.trees >= 1000)


if __name__ == "__main__":
    sys.exit(main())
