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
import shutil
import stat
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass

from flatten_model import (FILE, FOLDER, LINK, PIPE, SOCKET, UUID, Flattening, Node, Preferences,
                           canonical, drawing)
from random_trees import TreeMaker

BATCH = 16
REFUSALS = "renames refused by the disk"
FINDER_INFO = "user.com.apple.FinderInfo"
KEYS = {"renameDuplicates": "rename-duplicates", "ignoreApplications": "ignore-applications",
        "deleteEmptiedFolders": "delete-emptied-folders",
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
    isAllInPlace: bool = False  # afterwards, says the model


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
    """Every combination in turn: 3 operations by 16; every fourth batch of 48 has an odd number."""
    rnd = random.Random(f"preferences {batch}")
    preferences = Preferences(operation=batch % 3 + 1)
    for bit, key in enumerate(KEYS):
        setattr(preferences, key, bool(batch // 3 >> bit & 1))
    if preferences.operation == 3:
        preferences.operation = rnd.choice((3, 3, 0, -1, 7, 32767))
    return preferences, rnd


def as_toml(key, value):
    return f"{key[0].upper()}{key[1:]} = {str(value).lower()}\n"


def spread_preferences(preferences, rnd, config):
    """Gives each preference by a command-line option, the user's file, a system file or its
    default, with another value behind it that must not show. Answers the options."""
    user, system, options = "", "", []
    defaults = Preferences()
    for key in ("operation", *KEYS):
        value = getattr(preferences, key)
        other = (not value) if key in KEYS else rnd.choice((1, 2, 3))
        isDefault = value == getattr(defaults, key)
        source = rnd.choice(("option", "user", "system", "default" if isDefault else "user"))
        wrongType = as_toml(key, rnd.choice(('"x"', "0.5", '["a"]', "0" if key in KEYS else "true")))
        if source == "option":
            if key == "operation":
                word = {1: "move", 2: "alias"}.get(value, str(value))
                options.append(f"--operation={rnd.choice((word, str(value)))}")
            else:
                options.append(f"--{'' if value else 'no-'}{KEYS[key]}")
            user += rnd.choice(("", as_toml(key, other), wrongType))
        elif source == "user":
            user += wrongType if isDefault and rnd.random() < 0.3 else as_toml(key, value)
        if source in ("option", "user"):
            system += rnd.choice(("", as_toml(key, other)))
        elif source == "system":
            system += as_toml(key, value)
    rnd.shuffle(options)
    for folder, text in (("user", user), ("system", system)):
        if text or rnd.random() < 0.5:
            os.makedirs(f"{config}/{folder}/vannerly")
            with open(f"{config}/{folder}/vannerly/preferences.toml", "w", encoding="utf-8") as file:
                file.write(text)
    return options


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


def report_difference(case, preferences, batch, what, expected, actual):
    print(f"\nDIFFERENCE in case {case.seed} ({what}); replay with"
          f" --seed {batch * BATCH} --trees {BATCH}, or alone with --seed {case.seed} --trees 1")
    print(f"  dropped folder {case.path!r}, as {case.operand!r}\n  {preferences}")
    for title, value in (("tree before", canonical(case.before)), ("expected", expected),
                         ("actual", actual)):
        print(f"  {title}:")
        print("\n".join("    " + line for line in drawing(value)))


def check_case(case, preferences, batch, disk, totals):
    after = case.before.copy()
    flattening = Flattening(after, case.path, preferences)
    for rule, times in flattening.run().items():
        totals[rule] += times
    case.isAllInPlace = flattening.isAllInPlace
    expected, onDisk = canonical(after), disk.read(case.path)
    actual = canonical(onDisk)
    good = True
    if expected != actual:
        report_difference(case, preferences, batch, "the dropped folder", expected, actual)
        good = False
    outsideAfter = canonical(disk.read(case.outside))
    if outsideAfter != case.outsideBefore:
        report_difference(case, preferences, batch, "OUTSIDE the dropped folder",
                          case.outsideBefore, outsideAfter)
        good = False
    beside = set(os.listdir(os.path.dirname(case.path))) - {os.path.basename(case.path), b"door"}
    if beside != {b"outside"}:
        print(f"\nDIFFERENCE in case {case.seed}: beside the dropped folder lies {beside}")
        good = False
    fresh = uuids_in(onDisk)
    if len(set(fresh)) < len(set(uuids_in(after))):
        print(f"\nDIFFERENCE in case {case.seed}: one UUID was used twice: {fresh}")
        good = False
    return good


def run_batch(program, preload, seeds, batch, place, totals):
    place = os.path.realpath(place)
    preferences, rnd = preferences_of(batch)
    config = os.path.join(place, "config")
    os.mkdir(config)
    options = spread_preferences(preferences, rnd, config)
    place = os.fsencode(place)
    disk = Disk()
    cases = [make_case(seed, place, disk) for seed in seeds]
    environment = {**os.environ, "HOME": os.path.join(config, "home"),
                   "XDG_CONFIG_HOME": os.path.join(config, "user"),
                   "XDG_STATE_HOME": os.path.join(config, "state"),
                   "XDG_CONFIG_DIRS": os.path.join(config, "system")}
    if preload:
        environment["LD_PRELOAD"] = os.path.abspath(preload)
        environment["OTHER_DISK_REFUSALS"] = refusals = os.path.join(config, "refusals")
    arguments = [os.fsencode(o) for o in options] + [b"--"] + [case.operand for case in cases]
    done = subprocess.run([os.fsencode(program)] + arguments, cwd=place, env=environment,
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=300, check=False)
    if preload and os.path.exists(refusals):
        totals[REFUSALS] += os.path.getsize(refusals)
    totals["trees"] += len(cases)
    totals["runs of the program"] += 1
    good = True
    for case in cases:
        good = check_case(case, preferences, batch, disk, totals) and good
    isAllInPlace = all(case.isAllInPlace for case in cases)
    totals["runs that left all in place"] += isAllInPlace
    if done.returncode != (0 if isAllInPlace else 3) or done.stdout:
        print(f"\nDIFFERENCE: exit status {done.returncode}, standard output {done.stdout[-2000:]!r},"
              f"\nstandard error ends with\n{done.stderr[-4000:].decode(errors='replace')}"
              f"\nreplay with --seed {batch * BATCH} --trees {BATCH}; arguments {arguments}")
        good = False
    return good


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True, help="path of vannerly-cli")
    parser.add_argument("--trees", type=int, default=3072, help="how many trees")
    parser.add_argument("--seed", type=int, default=0, help="seed of the first tree")
    parser.add_argument("--stop-after", type=int, default=3, help="batches with differences")
    parser.add_argument("--place", default=usual_place(), help="the folder in which to work")
    parser.add_argument("--preload", help="a library to load before the program")
    parser.add_argument("--keep", action="store_true", help="leave the folders of differences")
    arguments = parser.parse_args()
    os.umask(0o022)
    start, totals, differing = time.monotonic(), collections.Counter(), 0
    if arguments.preload:
        totals[REFUSALS] = 0
    seeds = range(arguments.seed, arguments.seed + arguments.trees)
    for batch in range(seeds[0] // BATCH, seeds[-1] // BATCH + 1):
        ofBatch = [s for s in seeds if s // BATCH == batch]
        place = tempfile.mkdtemp(prefix="vannerly-model-", dir=arguments.place)
        good = run_batch(os.path.abspath(arguments.program), arguments.preload, ofBatch, batch, place, totals)
        if not good:
            differing += 1
        if good or not arguments.keep:
            shutil.rmtree(place)
        else:
            print(f"  kept in {place}")
        if differing >= arguments.stop_after:
            break
    for what, times in totals.items():
        print(f"{times:8d} {what}")
    print(f"{time.monotonic() - start:8.1f} s")
    untouched = [rule for rule, times in totals.items() if times == 0]
    if untouched and arguments.trees >= 1000 and not differing:
        print(f"These rules never had anything to do: {untouched}")
        return 1
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
