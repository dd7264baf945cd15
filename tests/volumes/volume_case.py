"""What the tests of volumes share: volumes that are made, mounted and taken away again.

VANNERLY_ODD_VOLUME is the path of the program built from odd_volume.cpp. Everything runs in a mount
and process namespace of its own, which ends with the test whatever becomes of it: the kernel then
unmounts the volumes, ends what serves them and detaches the loop devices. For that root is needed,
/dev/fuse, and loop devices. A test fails where one of these is missing; it is never skipped.
"""

import json
import os
import re
import signal
import stat
import subprocess
import sys
import unittest

from cli_case import CliCase, exact, fast_place
from documents import exact_names, what_differs

ODD_VOLUME = os.path.abspath(os.environ["VANNERLY_ODD_VOLUME"])
NAMESPACE = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]

# Volumes of the kernel, and of programs that serve them through FUSE, on a file of that many MB:
# what makes one, and what mounts it when it is not the kernel.
DISKS = {
    "ext4": (32, ["mkfs.ext4", "-q", "-m", "0", "-I", "256"], None),
    "ext4, 128-byte inodes": (32, ["mkfs.ext4", "-q", "-m", "0", "-I", "128"], None),
    "xfs": (320, ["mkfs.xfs", "-q"], None),
    "btrfs": (128, ["mkfs.btrfs", "-q"], None),
    "ntfs-3g": (16, ["mkntfs", "-F", "-Q", "-q"], "ntfs-3g"),
    "exfat-fuse": (16, ["mkfs.exfat"], "mount.exfat-fuse"),
}
MEMORY = ("tmpfs", "overlay")
# Where an item need not be told from another, or from what it was before: it may be left in place.
DOUBTFUL = ("inode numbers all 0", "inode numbers all the same", "inode numbers that change",
            "inode numbers that go with paths")
TEMPORARY = "(?i)(^|/)517a7[0-9a-f]{3}$"  # the names that a move takes on its way
DELETE, COLLATE = "--delete-emptied-folders", "--aggregate-files-when-done"
ALIAS, KEEP_NAMES = "--operation=alias", "--no-rename-duplicates"
OPEN_PACKAGES = "--no-ignore-applications"
# Clashes, packages, names that are extensions, hidden and deep ones; the content is the name, but
# for one file that has none.
EMPTY = "one/void.txt"
SAMPLE = ["a.txt", "b.jpg", ".hidden", "Tool.app/Contents/Info.plist", "Tool.app/Contents/run",
          "one/a.txt", "one/c", EMPTY, "one/two/a.txt", "one/two/b.jpg", "one/two/d.tar.gz",
          "one/two/3/4/5/6/a.txt", "pack/Other.app/Contents/Info.plist", "pack/Other.app/x.txt",
          "txt/e.txt", "x.y/f.jpg", "zero/.also", "zero/" + "l" * 240 + ".txt",
          # In another case a clash, a folder of the extension, and names that a move may take.
          "one/A.TXT", "JPG/old.jpg", "517a7274", "one/517A7275"]
# What the volume of odd_volume.cpp is told, beside being one like any other.
ODD = {
    "FUSE": {},
    "FUSE, remembered for 1 s": {"cache": 1000},
    "times of 1 s": {"times": 10**9},
    "times of 2 s": {"times": 2 * 10**9},
    "times that stand still": {"times": 0},
    "no RENAME_NOREPLACE": {"flags": "no"},
    "no RENAME_NOREPLACE, no links": {"flags": "no", "links": "no"},
    "no RENAME_NOREPLACE, links that are items": {"flags": "no", "links": "own"},
    "inode numbers all 0": {"numbers": "zero"},
    "inode numbers all the same": {"numbers": "same"},
    "inode numbers that change": {"numbers": "changing", "lasts": 40},
    "inode numbers that go with paths": {"numbers": "path"},
    "kinds not told in listings": {"types": "no"},
    "names in either case": {"case": "no"},
    "names of 255 UTF-16 units": {"names": "units"},
    "most of these at once": {"times": 10**9, "flags": "no", "links": "own", "types": "no",
                              "case": "no", "names": "units"},
}


def run_tests():
    """The main routine of a file of tests."""
    if os.environ.get("VANNERLY_VOLUMES_NAMESPACE") != "1":
        os.environ["VANNERLY_VOLUMES_NAMESPACE"] = "1"
        os.execvp(NAMESPACE[0], [*NAMESPACE, sys.executable, "-B", *sys.argv])
    unittest.main(argv=[word for word in sys.argv if word != "--write"])


class VolumeCase(CliCase):
    where = fast_place()

    def tool(self, *command):
        """Runs a tool to its end. That it is missing or fails, the test's failure tells."""
        try:
            done = subprocess.run(command, check=False, capture_output=True, timeout=60)
        except FileNotFoundError:
            self.fail(f"{command[0]} is missing; cmake/packages.txt lists what the tests need")
        self.assertEqual(done.returncode, 0, f"{' '.join(command)}: {done.stderr.decode()}")
        return done.stdout.decode().strip()

    # Volumes ---------------------------------------------------------------------------------

    def mount(self, volume, name="volume", **settings):
        """Mounts one of the volumes above in a folder of that name and answers its path."""
        where = self.path(name)
        os.makedirs(where)
        if volume in ODD:
            self.mount_odd(where, **{**ODD[volume], **settings})
        elif volume in DISKS:
            self.mount_disk(where, *DISKS[volume])
        elif volume == "tmpfs":
            self.tool("mount", "-t", "tmpfs", "none", where)
        else:
            layers = {layer: f"{where}-{layer}" for layer in ("lowerdir", "upperdir", "workdir")}
            for folder in layers.values():
                os.mkdir(folder)
            self.tool("mount", "-t", "overlay", "none", where, "-o",
                      ",".join(f"{layer}={folder}" for layer, folder in layers.items()))
        self.addCleanup(subprocess.run, ["umount", where], check=False, capture_output=True)
        return where

    def mount_odd(self, where, **settings):
        server = subprocess.Popen(
            [ODD_VOLUME, where, *(f"{key}={value}" for key, value in settings.items())],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self.addCleanup(self.end_server, server)
        self.assertEqual(server.stdout.readline(), b"ready\n", "a FUSE volume needs /dev/fuse")

    def end_server(self, server):
        """Its volume is unmounted, so it has ended by itself, or was ended by the test."""
        server.stdout.close()
        try:
            self.assertIn(server.wait(20), (0, -signal.SIGKILL))
        finally:
            server.kill()

    def mount_disk(self, where, size, make, server):
        image = where + ".image"
        with open(image, "wb") as file:
            file.truncate(size << 20)
        self.tool(*make, image)
        device = self.tool("losetup", "--find", "--show", image)
        try:
            self.tool(*([server] if server else ["mount"]), device, where)
        finally:
            # In use it stays until the volume is unmounted.
            self.tool("losetup", "--detach", device)

    def requests(self, volume):
        """How many requests of each kind an odd volume has served."""
        lines = os.getxattr(volume, "user.odd.requests").decode().splitlines()
        return {kind: int(count) for kind, count in map(str.split, lines)}

    # Trees -----------------------------------------------------------------------------------

    def fill(self, folder, names):
        """Writes files, each with a content of its own: the path within the folder."""
        for parent in dict.fromkeys(os.path.dirname(name) for name in names):
            os.makedirs(os.path.join(folder, parent), exist_ok=True)
        for name in names:
            path = os.path.join(folder, name)
            with open(path, "wb") as file:
                file.write(os.fsencode(name) if name != EMPTY else b"")
        return folder

    def files(self, folder):
        """Content -> path within the folder, of every regular file below, and of links with relative
        targets, which the program makes none of. No content may be there twice."""
        found = {}
        for path, content in self.contents_below(os.open(folder, os.O_RDONLY), ""):
            self.assertNotIn(content, found, f"there twice, also as {path}")
            found[content] = path
        return found

    def contents_below(self, folder, path):
        """Goes from folder to folder: whole paths cost a volume ten times as many requests."""
        for name in os.listdir(folder):
            here, mode = path + name, os.lstat(name, dir_fd=folder).st_mode
            if stat.S_ISDIR(mode):
                yield from self.contents_below(os.open(name, os.O_RDONLY, dir_fd=folder), here + "/")
            elif stat.S_ISREG(mode):
                with open(os.open(name, os.O_RDONLY, dir_fd=folder), "rb") as file:
                    yield here, os.fsdecode(file.read())
            elif stat.S_ISLNK(mode) and not os.readlink(name, dir_fd=folder).startswith("/"):
                yield here, "-> " + os.readlink(name, dir_fd=folder)
        os.close(folder)

    # Runs ------------------------------------------------------------------------------------

    def flatten(self, *arguments, status=None, isForetold=True, **options):
        """Runs the program to its end and answers what came of it. Unless that can't be known before,
        a preview has told it."""
        if isForetold:
            preview, told = self.run_for_document("--dry-run", *arguments, **options)
        run, document = self.run_for_document(*arguments, **options)
        if isForetold:
            self.assertEqual(list(what_differs(told, document)), [])
            self.assertEqual(preview.status, run.status, run.troubles())
        expected = [0, 3] if status is None else status if isinstance(status, tuple) else [status]
        self.assertIn(run.status, expected, f"{run.troubles()}\n{run.complaints}")
        return run

    def run_for_document(self, *arguments, **options):
        process = self.start("--quiet", "--json", *arguments, **options)
        try:
            out, err = process.communicate(timeout=100)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            self.fail("the run does not come to an end")
        document = json.loads(out) if out else {"folders": [], "errors": []}
        return Run(process.returncode, document["folders"], document["errors"],
                   err.decode(errors="replace")), exact_names(document)

    def check_run(self, drop, *options, mayLeave=False, status=None, isForetold=True):
        """Flattens `drop`, and checks that every file is where the options want it and that the
        report and the exit status say so. `mayLeave`: files may be left in place, if that is told.
        Answers what `files` finds now, and the run."""
        before = self.files(drop)
        # One that cannot be known again is no folder any more when its turn comes.
        run = self.flatten(*options, drop, status=(0, 1, 3) if mayLeave else status,
                           isForetold=isForetold)
        if run.errors:
            self.assertEqual((run.status, self.files(drop)), (1, before))
            return before, run
        told, = run.folders
        left = {os.path.relpath(exact(entry), drop) for entry in told["leftInPlace"]}
        if not mayLeave:
            def name(path):
                return os.path.basename(path).lower()
            taken = {path for path in left if name(path) in
                     {name(other) for other in before.values() if other != path}}
            self.assertLessEqual(left, taken if KEEP_NAMES in options else set(), run.troubles())
        by_rule = left if KEEP_NAMES in options else set()
        if ALIAS in options:
            by_rule = set(before.values())
        after = self.assertNothingLost(drop, before, run, by_rule if DELETE in options else ())
        self.assertTrue(mayLeave or all(entry["error"] == "dupFNErr" for entry in
                                        told["notCollated"]), run.troubles())
        isWhole = told["ended"] == "finished" and not told["unreadFolders"]
        self.assertTrue(mayLeave or isWhole, run.troubles())
        if not isWhole:
            return after, run
        if ALIAS in options:
            self.assertAliases(drop, [content for content in after if before[content] not in left])
            return after, run
        for content, path in after.items():
            # Packages are moved and left with all that lies in them.
            whole, place = (re.sub(r"(\.app)/.*", r"\1", name) for name in (path, before[content]))
            if not left & {place, before[content]} and place != "Tool.app":
                self.assertLessEqual(whole.count("/"), int(COLLATE in options), path)
        return after, run

    def assertAliases(self, drop, contents):
        """There is one alias of every file, and all lead to a file with its content. Packages have
        one as a whole."""
        found = []
        for parent, folders, names in os.walk(drop):
            for path in (os.path.join(parent, name) for name in folders + names):
                if os.path.islink(path) and not self.is_of_user(path):
                    self.assertTrue(os.path.exists(path), f"{path} -> {os.readlink(path)}")
                    if os.path.isfile(path) and not self.is_of_user(os.readlink(path)):
                        with open(path, "rb") as file:
                            found.append(os.fsdecode(file.read()))
        self.assertCountEqual(found, [content for content in contents
                                      if ".app/" not in content and not content.startswith("->")])

    def is_of_user(self, path):
        """Whether it is a link that the program has not made: its own have absolute targets."""
        return os.path.islink(path) and not os.path.isabs(os.readlink(path))

    def assertNothingLost(self, drop, before, run, mayDelete=()):
        """Every file is there once, wherever, save those that the run tells to have deleted, which
        are among `mayDelete` only; nothing else is there; and the exit status says whether all
        went well. `before` is what `files` answered."""
        told, = run.folders
        after = self.files(drop)
        gone = {before[content] for content in before.keys() - after.keys()}
        self.assertLessEqual(gone, set(mayDelete), run.troubles())
        # What could not even be given its old name back is deleted under the one that it has.
        names = {exact(entry, "now"): exact(entry) for entry in told["leftInPlace"] if "now" in entry}
        self.assertEqual({os.path.relpath(names.get(exact(entry), exact(entry)), drop)
                          for entry in told["deletedFiles"]}, gone, "what is told to be deleted")
        self.assertEqual(after.keys() - before.keys(), set(), "strangers")
        for content, path in after.items():
            if os.path.basename(path) != os.path.basename(content):
                self.assertNotRegex(path, TEMPORARY)
        if told["ended"] not in ("finished", "nothing found"):
            self.assertIn(run.status, (1, 3), told["ended"])
        elif told["leftInPlace"] or told["unreadFolders"] or told["deletedFiles"]:
            self.assertEqual(run.status, 3, run.troubles())
        elif not run.troubles():
            self.assertEqual(run.status, 0)
        return after


class Run:
    """What came of one: its exit status, its document's folders and errors, and what it has said."""

    def __init__(self, status, folders, errors, complaints):
        self.status, self.folders, self.errors = status, folders, errors
        self.complaints = complaints

    def troubles(self):
        """What was not done, for the message of a failure."""
        return self.errors + [
            (key, told["path"], told.get("error")) for folder in self.folders
            for key in ("leftInPlace", "unreadFolders", "deletedFiles", "notDeleted",
                        "notCollated") for told in folder[key]]
