#!/usr/bin/env python3
"""Sub-folders that go to the trash instead of being deleted: what is there afterwards, and that the
desktop's own tools find and restore it."""

import datetime
import json
import os
import shutil
import signal
import stat
import subprocess
import time
import unittest
import urllib.parse

from cli_case import CliCase, exact, slow_disk

DELETE, TRASH = "--delete-emptied-folders", "--delete-to-trash"


class TrashCase(CliCase):
    """`trash` is a folder that holds `files` and `info`."""

    def setUp(self):
        super().setUp()
        self.trash = self.path("data/Trash")

    def trashed(self):
        """What is in the trash: its name there -> the path from where it came. Everything has its
        .trashinfo, and there is none without."""
        trash = self.trash
        self.assertEqual({stat.S_IMODE(os.stat(f"{trash}/{name}").st_mode) for name in
                          ("", "files", "info")}, {0o700})
        found = {}
        for name in os.listdir(f"{trash}/info"):
            self.assertTrue(name.endswith(".trashinfo"), name)
            with open(f"{trash}/info/{name}", encoding="ascii") as file:
                self.assertEqual(stat.S_IMODE(os.fstat(file.fileno()).st_mode), 0o600)
                title, path, date, end = file.read().split("\n")
            self.assertEqual((title, end), ("[Trash Info]", ""))
            age = datetime.datetime.now() - datetime.datetime.strptime(
                date, "DeletionDate=%Y-%m-%dT%H:%M:%S")
            self.assertLess(abs(age.total_seconds()), 120, "in local time")
            self.assertTrue(path.startswith("Path=/"), path)
            found[name.removesuffix(".trashinfo")] = os.fsdecode(
                urllib.parse.unquote_to_bytes(path.removeprefix("Path=")))
        self.assertCountEqual(found, os.listdir(f"{trash}/files"))
        return found


class HomeTrash(TrashCase):
    def test_what_holds_a_file_goes_whole_and_the_rest_is_removed(self):
        for options, status, left in ((("--no-rename-duplicates",), 3, ["one/two/a.txt"]),
                                      (("--operation=alias",), 0,
                                       ["one/d.txt", "one/two/a.txt", "three/e.jpg"])):
            with self.subTest(options=options):
                drop = self.make_sample()
                os.makedirs(f"{drop}/one/void")
                os.makedirs(f"{drop}/void/void")
                self.write("drop/Tool.app/x.txt")
                os.symlink("nowhere", f"{drop}/three/link")  # a file too, and it is moved up
                inode = os.stat(f"{drop}/one").st_ino
                out, err = self.run_cli("--json", "--verbose", *options, DELETE, TRASH, drop,
                                        status=status, output=None)
                told, = json.loads(out)["folders"]
                found = self.trashed()
                tops = sorted({path.split("/")[0] for path in left})
                self.assertCountEqual(found.values(), [f"{drop}/{top}" for top in tops])
                self.assertCountEqual(map(exact, told["trashed"]), found.values())
                self.assertEqual((told["counts"]["trashed"], told["deletedFiles"],
                                  told["notDeleted"]), (len(tops), [], []))
                self.assertIn(f"{drop}/one: moved to the trash", err)
                for path in left:
                    self.assertEqual(self.read(f"data/Trash/files/{path}"), f"content of {path}")
                self.assertEqual(os.stat(f"{self.trash}/files/one").st_ino, inode)
                self.assertTrue(os.path.isdir(f"{self.trash}/files/one/void"))
                self.assertEqual([name for name in os.listdir(drop)
                                  if os.path.isdir(f"{drop}/{name}")
                                  and not os.path.islink(f"{drop}/{name}")], ["Tool.app"])
                shutil.rmtree(drop)
                shutil.rmtree(self.trash)

    def test_names(self):
        """Whatever bytes they have, and however long they are, each finds a place of its own and
        tells where it was."""
        names = ["a", "a 2", "100%", "ü b", "x\n\x1b[2J\udcff", "\udcc3", "é" * 127, "é" * 126 + "ab",
                 "n" * 255, "m" * 244 + "é", "%2F", "-rf", "....", "\udcff" * 250]
        for _ in range(3):
            drop = self.path("drop")
            for name in names:
                self.write(f"drop/{name}/same", name.encode(errors="surrogateescape").hex())
            self.run_cli("--quiet", "--operation=3", DELETE, TRASH, drop)
            self.assertEqual(os.listdir(drop), [])
            os.rmdir(drop)
        there = self.trashed()
        self.assertCountEqual(there.values(), 3 * [f"{drop}/{name}" for name in names])
        for name, path in there.items():
            same = bytes.fromhex(self.read(f"data/Trash/files/{name}/same"))
            self.assertEqual(os.fsencode(path), os.fsencode(drop) + b"/" + same)
        self.assertLess({"a", "a 2", "a 2 2", "a 3", "100% 3", "é" * 122, "é" * 121 + " 2",
                         "m" * 244, "\udcff" * 245}, set(there))

    def test_ending_leaves_the_rest(self):
        for i in range(12):
            self.write(f"drop/sub{i:02}/{i}.txt", str(i))
        process = self.start("--operation=3", DELETE, TRASH, "--json", "drop",
                             environment=slow_disk(200_000))
        while not os.path.isdir(f"{self.trash}/files/sub01"):
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        out, _ = self.finish(process, 143, None)
        told, = json.loads(out)["folders"]
        there, left = len(self.trashed()), os.listdir(self.path("drop"))
        self.assertEqual((told["counts"]["trashed"], len(left)), (there, 12 - there))
        self.assertGreater(len(left), 6)
        self.assertEqual([entry["error"] for entry in told["notDeleted"]],
                         ["userCanceledErr"] * len(left))

    def test_what_could_not_be_looked_through_stays(self):
        """No sub-folder goes, of which a part may hold anything."""
        drop = self.make_sample()
        self.write("drop/one/shut/x")
        os.chmod(f"{drop}/one/shut", 0)
        out, _ = self.run_cli("--json", "--operation=3", DELETE, TRASH, drop, status=3, output=None,
                              before=["setpriv", "--inh-caps=-all", "--bounding-set=-all"]
                              if os.geteuid() == 0 else [])
        told, = json.loads(out)["folders"]
        self.assertEqual([exact(entry) for entry in told["notDeleted"]], [f"{drop}/one/shut"])
        self.assertEqual(self.trashed(), {"three": f"{drop}/three"})
        self.assertEqual(self.read("drop/one/two/a.txt"), "content of one/two/a.txt")
        os.chmod(f"{drop}/one/shut", 0o755)

    def test_trash_in_the_dropped_folder(self):
        """The trash goes nowhere, and what lies in it is there already."""
        self.make_sample("data")
        self.write("data/Trash/files/old/a.txt", "old a")
        self.write("data/Trash/files/old/in/a.txt", "older a")
        self.run_cli("--quiet", "--no-rename-duplicates", DELETE, TRASH, f"{self.trash}/files/old",
                     status=3)
        self.assertEqual(self.read("data/Trash/files/old/in/a.txt"), "older a")
        _, err = self.run_cli("--verbose", "--no-rename-duplicates", DELETE, TRASH,
                              self.path("data"), status=3)
        self.assertIn(f"{self.trash}: not deleted, nor the folders it lies in: "
                      "there is no trash for it that can be used (errFSOperationNotSupported, -1426)",
                      err)
        self.assertEqual({name: self.read(f"data/Trash/files/{name}") for name in
                          ("old/a.txt", "old/in/a.txt", "one/two/a.txt")},
                         {"old/a.txt": "old a", "old/in/a.txt": "older a",
                          "one/two/a.txt": "content of one/two/a.txt"})


class DesktopTools(TrashCase):
    def gio(self, *arguments):
        done = subprocess.run(["dbus-run-session", "--", "gio", "trash", *arguments], check=False,
                              env={**self.environment, "XDG_RUNTIME_DIR": self.path("home")},
                              capture_output=True, timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        return os.fsdecode(done.stdout)

    def test_list_and_restore(self):
        # It shows other than ASCII as \\xNN, and gives such names back so, whoever has trashed them:
        # that one is only listed.
        names = ["plain", "100% a;b 'c'", "n" * 255, "ü"]
        for name in names:
            self.write(f"drop/{name}/in/a.txt", name)
        before = self.tree(self.path("drop"))
        self.run_cli("--operation=3", DELETE, TRASH, "drop")
        listed = dict(reversed(line.split("\t")) for line in self.gio("--list").splitlines())
        self.assertCountEqual(listed, [self.path("drop", name) for name in names[:-1]] +
                              [self.path("drop", r"\xc3\xbc")])
        self.gio("--restore", *(listed[self.path("drop", name)] for name in names[:-1]))
        self.assertEqual(self.trashed(), {"ü": self.path("drop", "ü")})
        os.rename(f"{self.trash}/files/ü", self.path("drop/ü"))
        self.assertEqual(self.tree(self.path("drop")), before)


if __name__ == "__main__":
    unittest.main()
