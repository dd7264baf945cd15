#!/usr/bin/env python3
"""The trash of other volumes than the home's: where it is, when it cannot be used, and that nothing
is deleted then."""

import os
import stat
import subprocess
import urllib.parse

from cli_case import exact
from volume_case import DELETE, KEEP_NAMES, VolumeCase, run_tests

TRASH = "--delete-to-trash"
OWN, SHARED = ".Trash-0", ".Trash/0"


class Trash(VolumeCase):
    def make(self, path, mode=0o700, owner=0):
        os.mkdir(path, mode)
        os.chmod(path, mode)
        os.chown(path, owner, owner)

    def assertTrashed(self, volume, drop, trash, name="one"):
        """One sub-folder has gone there, and its .trashinfo tells its place within the volume."""
        with open(f"{volume}/{trash}/info/{name}.trashinfo", encoding="ascii") as file:
            path = os.fsdecode(urllib.parse.unquote_to_bytes(file.read().split("\n")[1]))
        self.assertEqual(path, "Path=" + os.path.relpath(f"{drop}/one", volume))
        self.assertEqual(os.listdir(f"{volume}/{trash}/files"), [name])
        self.assertEqual(self.tree(f"{volume}/{trash}/files/{name}"),
                         {"two": "folder", "two/a.txt": "content of one/two/a.txt"})
        self.assertEqual(stat.S_IMODE(os.stat(f"{volume}/{trash}/files").st_mode), 0o700)
        self.assertCountEqual(os.listdir(drop), ["a.txt", "b.jpg", "c", "d.txt", "e.jpg"])

    def test_where_it_is_and_when_it_cannot_be_used(self):
        def sticky(volume):
            self.make(f"{volume}/.Trash", 0o1777)

        def not_sticky(volume):
            self.make(f"{volume}/.Trash", 0o777)

        def shared_link(volume):
            self.make(f"{volume}/elsewhere", 0o1777)
            os.symlink("elsewhere", f"{volume}/.Trash")

        def shared_of_another(volume):
            sticky(volume)
            self.make(f"{volume}/{SHARED}", 0o777, 1001)

        def link_in_shared(volume):
            sticky(volume)
            self.make(f"{volume}/elsewhere")
            os.symlink("../elsewhere", f"{volume}/{SHARED}")

        def own_link(volume):
            self.make(f"{volume}/elsewhere")
            os.symlink("elsewhere", f"{volume}/{OWN}")

        def own_of_another(volume):
            self.make(f"{volume}/{OWN}", 0o777, 1001)

        def own_file(volume):
            self.fill(volume, [OWN])

        def no_files(volume):
            self.make(f"{volume}/{OWN}")
            self.make(f"{volume}/elsewhere")
            os.symlink("../elsewhere", f"{volume}/{OWN}/files")

        def other_volume(volume):
            self.make(f"{volume}/{OWN}")
            name = os.path.relpath(volume, self.place)
            self.mount("tmpfs", f"{name}/{OWN}/files")

        for number, (prepare, place) in enumerate((
                (None, OWN), (sticky, SHARED), (not_sticky, OWN), (shared_link, OWN),
                (shared_of_another, OWN), (link_in_shared, OWN), (own_link, None),
                (own_of_another, None), (own_file, None), (no_files, None), (other_volume, None))):
            with self.subTest(prepare=prepare and prepare.__name__):
                volume = self.mount("tmpfs", f"volume{number}")
                if prepare:
                    prepare(volume)
                drop = self.make_sample(f"volume{number}/deep/drop ü")
                run = self.flatten(KEEP_NAMES, DELETE, TRASH, drop, status=3)
                told, = run.folders
                if place:
                    self.assertTrashed(volume, drop, place)
                    self.assertEqual([exact(entry) for entry in told["trashed"]], [f"{drop}/one"])
                    if os.path.exists(f"{volume}/elsewhere"):
                        self.assertEqual(os.listdir(f"{volume}/elsewhere"), [])
                    continue
                self.assertEqual([(exact(entry), entry["error"]) for entry in told["notDeleted"]],
                                 [(f"{drop}/one", "errFSOperationNotSupported")])
                self.assertEqual((told["trashed"], told["deletedFiles"]), ([], []))
                self.assertEqual(self.tree(drop)["one/two/a.txt"], "content of one/two/a.txt")
                self.assertFalse([name for _, _, names in os.walk(volume) for name in names
                                  if name.endswith(".trashinfo")])
        self.assertFalse(os.path.exists(self.path("data")), "nothing of another volume goes home")

    def test_no_room(self):
        """The sub-folder stays where it is, whatever of the trash could be made."""
        for inodes in range(14, 21):
            volume = self.path(f"volume{inodes}")
            os.mkdir(volume)
            self.tool("mount", "-t", "tmpfs", "-o", f"nr_inodes={inodes}", "none", volume)
            self.addCleanup(subprocess.run, ["umount", volume], check=False)
            drop = self.make_sample(f"volume{inodes}/drop")
            self.flatten(KEEP_NAMES, DELETE, TRASH, drop, status=3, isForetold=False)
            if os.path.exists(f"{volume}/{OWN}/files/one"):
                self.assertTrashed(volume, drop, OWN)
                break
            self.assertEqual(self.tree(drop)["one/two/a.txt"], "content of one/two/a.txt")
            self.assertEqual([name for name in os.listdir(f"{volume}/{OWN}/info")
                              if os.path.exists(f"{volume}/{OWN}/info")], [])
        self.assertGreater(inodes, 14)

    def test_a_dropped_volume_keeps_its_trash(self):
        volume = self.mount("tmpfs")
        self.make(f"{volume}/{OWN}")
        self.fill(volume, ["a.txt", f"{OWN}/files/old/a.txt", "one/a.txt"])
        run = self.flatten(KEEP_NAMES, DELETE, TRASH, volume, status=3)
        self.assertEqual([(exact(entry), entry["error"]) for entry in run.folders[0]["notDeleted"]],
                         [(f"{volume}/{OWN}", "errFSOperationNotSupported")])
        self.assertEqual(set(self.files(volume).values()),
                         {"a.txt", f"{OWN}/files/old/a.txt", f"{OWN}/files/one/a.txt",
                          f"{OWN}/info/one.trashinfo"})

    def test_a_part_of_the_home_volume_mounted_elsewhere(self):
        """It has the device number of the home trash, but nothing can be renamed to there."""
        volume = self.mount("tmpfs")
        self.environment["XDG_DATA_HOME"] = f"{volume}/data"
        self.make_sample("volume/part/drop")
        os.makedirs(f"{volume}/data")
        bound = self.path("bound")
        os.mkdir(bound)
        self.tool("mount", "--bind", f"{volume}/part", bound)
        self.addCleanup(subprocess.run, ["umount", bound], check=False)
        self.flatten(KEEP_NAMES, DELETE, TRASH, f"{bound}/drop", status=3)
        self.assertTrashed(bound, f"{bound}/drop", OWN)
        self.assertEqual(os.listdir(f"{volume}/data/Trash/info"), [])

    def test_volumes_that_cannot_rename_without_replacing(self):
        for kind in ("no RENAME_NOREPLACE", "no RENAME_NOREPLACE, no links"):
            volume = self.mount(kind, kind)
            drop = self.make_sample(f"{kind}/drop")
            self.flatten(KEEP_NAMES, DELETE, TRASH, drop, status=3)
            self.assertTrashed(volume, drop, OWN)


if __name__ == "__main__":
    run_tests()
