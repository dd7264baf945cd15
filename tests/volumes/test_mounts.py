#!/usr/bin/env python3
"""Other volumes inside a dropped folder, a dropped volume, and volumes that refuse to be written."""

import os
import subprocess

from volume_case import ALIAS, COLLATE, DELETE, KEEP_NAMES, VolumeCase, run_tests

TRASH = "--delete-to-trash"


class Mounts(VolumeCase):
    def bind(self, source, target, *options):
        self.tool("mount", "--bind", source, target)
        self.addCleanup(subprocess.run, ["umount", target], check=False)
        if options:
            self.tool("mount", "-o", ",".join(("remount", "bind", *options)), target)

    def test_another_volume_inside_survives(self):
        """Its files are counted but cannot be moved, and the deletion stops before it."""
        for number, options in enumerate(((), (DELETE,), ("--no-rename-duplicates",),
                                          (DELETE, "--no-ignore-applications", COLLATE))):
            for depth in ("", "/deep/er"):
                with self.subTest(options=options, depth=depth):
                    name = f"drop{number}{len(depth)}"
                    drop = self.make_sample(name)
                    other = self.mount("tmpfs", f"{name}/other{depth}")
                    self.fill(other, ["in/side/x.txt", "a.txt"])
                    os.mkdir(f"{other}/void")
                    before = self.tree(other)
                    run = self.flatten(*options, drop, status=3)
                    self.assertEqual({told["error"] for told in run.folders[0]["leftInPlace"]
                                      if "other" in told["path"]}, {"diffVolErr"})
                    self.assertEqual(self.tree(other), before)
                    self.assertEqual("one" in os.listdir(drop), DELETE not in options)

    def test_a_part_of_the_same_volume_mounted_inside_survives(self):
        """A bind mount has the device number of the volume around it and is a mount all the same."""
        for options in ((), (DELETE,)):
            with self.subTest(options=options):
                drop = self.make_sample(f"drop{len(options)}")
                elsewhere = self.make_sample("elsewhere")
                before = self.tree(elsewhere)
                os.makedirs(f"{drop}/other/mount")
                self.bind(elsewhere, f"{drop}/other/mount")
                self.flatten(*options, drop, status=3)
                self.assertEqual(self.tree(elsewhere), before)
                self.assertTrue(os.path.isdir(f"{drop}/other/mount"))
                self.assertIn("e.jpg", os.listdir(drop))

    def test_a_file_mounted_over_a_file_survives(self):
        drop = self.make_sample()
        kept = self.write("elsewhere", "kept")
        self.bind(kept, f"{drop}/one/two/a.txt")
        self.flatten(DELETE, drop, status=3)
        self.assertEqual(self.read(kept), "kept")
        self.tool("umount", f"{drop}/one/two/a.txt")
        self.assertEqual(self.tree(drop)["one/two/a.txt"], "content of one/two/a.txt")

    def test_dropping_a_volume(self):
        """A dropped folder on which a volume is mounted is that volume's top folder."""
        drop = self.fill(self.mount("tmpfs", "drop"), ["one/two/x.txt", "y.txt"])
        self.flatten(DELETE, drop, status=0)
        self.assertCountEqual(os.listdir(drop), ["x.txt", "y.txt"])

    def test_nothing_can_be_changed(self):
        """On a volume that is read-only, and on a part of one that is."""
        volume = self.mount("tmpfs")
        drop = self.make_sample("volume/drop")
        before = self.tree(drop)
        for mount in (lambda: self.bind(drop, drop, "ro"),
                      lambda: self.tool("mount", "-o", "remount,ro", volume)):
            mount()
            for options, key in (((), "leftInPlace"), ((ALIAS,), "leftInPlace"),
                                 ((COLLATE,), "notCollated"), ((DELETE,), "notDeleted"),
                                 ((KEEP_NAMES, DELETE, TRASH), "leftInPlace")):
                with self.subTest(options=options):
                    told, = self.flatten(*options, drop, status=3).folders
                    self.assertEqual(self.tree(drop), before)
                    self.assertIn("wPrErr", {entry["error"] for entry in told[key]})
            subprocess.run(["umount", drop], check=False, capture_output=True)

    def test_no_room_for_the_journal(self):
        """Is told once, leaves nothing behind and stops nothing."""
        for number, room in enumerate(("size=16k", "nr_inodes=2")):
            state = self.path(f"state{number}")
            os.mkdir(state)
            self.tool("mount", "-t", "tmpfs", "-o", room, "none", state)
            self.addCleanup(subprocess.run, ["umount", state], check=False)
            drops = [self.make_sample(f"{room}{i}") for i in range(2)]
            _, err = self.run_cli("--quiet", *drops, environment={"XDG_STATE_HOME": state})
            self.assertRegex(err, r"\Avannerly-cli: [^\n]+: no journal can be written "
                                  r"\(No space left on device\); runs go on without one\n\Z")
            for drop in drops:
                self.assertIn("e.jpg", os.listdir(drop))
            self.assertFalse([name for _, _, found in os.walk(state) for name in found])


if __name__ == "__main__":
    run_tests()
