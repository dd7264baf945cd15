#!/usr/bin/env python3
"""Other volumes inside a dropped folder.

The mounts are made in a mount namespace of the program's own. Where the kernel grants none the
file is skipped as a whole, with exit status 77.
"""

import os
import shlex
import subprocess
import sys
import unittest

from cli_case import PROGRAM, CliCase


def namespace():
    """A command that starts another one in a mount namespace in which it may mount."""
    for command in (["unshare", "--mount"], ["unshare", "--map-root-user", "--mount"]):
        if subprocess.run(command + ["true"], check=False, capture_output=True).returncode == 0:
            return command
    return None


class Mounts(CliCase):
    def run_mounted(self, mounts, *arguments, after="true", status=0):
        """Runs shell lines that mount, then the program, then shell lines that look around."""
        program = shlex.join([PROGRAM, *arguments])
        script = f"set -e\n{mounts}\nstatus=0\n{program} || status=$?\n{after}\nexit $status"
        done = subprocess.run(namespace() + ["sh", "-c", script], cwd=self.place, check=False,
                              env=self.environment, capture_output=True, timeout=120)
        self.assertEqual(done.returncode, status, done.stderr.decode())
        return done

    def test_another_volume_inside_survives(self):
        """Its files are counted but cannot be moved, and the deletion stops before it."""
        for options in ((), ("--delete-emptied-folders",), ("--no-rename-duplicates",),
                        ("--delete-emptied-folders", "--no-ignore-applications",
                         "--aggregate-files-when-done")):
            for depth in ("", "/deep/er"):
                with self.subTest(options=options, depth=depth):
                    name = f"drop{len(options)}{len(depth)}{len(''.join(options))}"
                    self.make_sample(name)
                    mount = f"{name}/other{depth}"
                    os.makedirs(self.path(mount))
                    look = self.path(f"look-{name}")
                    self.run_mounted(
                        f"mount -t tmpfs none {mount}\nmkdir -p {mount}/in/side {mount}/void\n"
                        f"echo 1 > {mount}/in/side/x.txt; echo 2 > {mount}/a.txt",
                        *options, name, after=f"cp -a {mount} {look}")
                    self.assertEqual(self.tree(look), {"in": "folder", "in/side": "folder",
                                                       "void": "folder", "in/side/x.txt": "1\n",
                                                       "a.txt": "2\n"})
                    self.assertTrue(os.path.isdir(self.path(mount)))
                    self.assertEqual("one" in os.listdir(self.path(name)),
                                     "--delete-emptied-folders" not in options)

    def test_a_part_of_the_same_volume_mounted_inside_survives(self):
        """A bind mount has the device number of the volume around it and is a mount all the same."""
        for options in ((), ("--delete-emptied-folders",)):
            with self.subTest(options=options):
                name = f"drop{len(options)}"
                self.make_sample(name)
                elsewhere = self.make_sample("elsewhere")
                before = self.tree(elsewhere)
                os.makedirs(self.path(name, "other/mount"))
                self.run_mounted(f"mount --bind elsewhere {name}/other/mount", *options, name)
                self.assertEqual(self.tree(elsewhere), before)
                self.assertTrue(os.path.isdir(self.path(name, "other/mount")))
                self.assertIn("e.jpg", os.listdir(self.path(name)))

    def test_a_file_mounted_over_a_file_survives(self):
        drop = self.make_sample()
        self.write("elsewhere", "kept")
        self.run_mounted("mount --bind elsewhere drop/one/two/a.txt",
                         "--delete-emptied-folders", "drop")
        with open(self.path("elsewhere"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "kept")
        self.assertEqual(self.tree(drop)["one/two/a.txt"], "content of one/two/a.txt")

    def test_dropping_a_volume(self):
        """A dropped folder on which a volume is mounted is that volume's top folder."""
        os.mkdir(self.path("drop"))
        look = self.path("look")
        self.run_mounted(
            "mount -t tmpfs none drop\nmkdir -p drop/one/two\necho 1 > drop/one/two/x.txt\n"
            "echo 2 > drop/y.txt", "--delete-emptied-folders", "drop", after=f"cp -a drop {look}")
        self.assertEqual(self.tree(look), {"x.txt": "1\n", "y.txt": "2\n"})

    def test_read_only_volume(self):
        drop = self.make_sample()
        before = self.tree(drop)
        for options in ((), ("--operation=2",),
                        ("--delete-emptied-folders", "--aggregate-files-when-done")):
            self.run_mounted("mount --bind drop drop && mount -o remount,bind,ro drop",
                             *options, "drop")
            self.assertEqual(self.tree(drop), before)

    def test_full_volume(self):
        """Moving needs no room for contents; no file is harmed when names, sub-folders of
        extensions and aliases find none either."""
        files = ["a/%d.x%d" % (i, i) for i in range(1, 10)]
        files += [name.replace("/", "/b/") for name in files]
        for number, options in enumerate((("--aggregate-files-when-done",), ("--operation=alias",),
                                          ("--delete-emptied-folders",))):
            with self.subTest(options=options):
                drop, look = f"drop{number}", self.path(f"look{number}")
                os.mkdir(self.path(drop))
                self.run_mounted(
                    f"mount -t tmpfs -o size=256k,nr_inodes=40 none {drop}\nmkdir -p {drop}/a/b\n"
                    f"for i in {' '.join(files)}; do echo $i > {drop}/$i; done\n"
                    f"cat /dev/zero > {drop}/a/full 2>/dev/null || true\n"
                    f"while true > {drop}/a/b/fill$n.y; do n=x$n; done 2>/dev/null",
                    *options, drop, after=f"cp -a {drop} {look}")
                contents = [content for content in self.tree(look).values()
                            if ".x" in content and not content.startswith("->")]
                self.assertCountEqual(contents, [name + "\n" for name in files])

    def test_no_room_for_the_journal(self):
        """Is told once, leaves nothing behind and stops nothing."""
        os.mkdir(self.path("state"))
        for room in ("size=16k", "nr_inodes=2"):
            drops = [self.make_sample(f"{room}{i}") for i in range(2)]
            done = self.run_mounted(f"mount -t tmpfs -o {room} none state", "--quiet", *drops,
                                    after="! find state -name '*.journal' | grep .")
            self.assertRegex(done.stderr.decode(),
                             r"\Avannerly-cli: [^\n]+: no journal can be written "
                             r"\(No space left on device\); runs go on without one\n\Z")
            for drop in drops:
                self.assertIn("e.jpg", os.listdir(drop))


if __name__ == "__main__":
    if namespace() is None:
        print("No mount namespace can be had here: skipped.")
        sys.exit(77)
    unittest.main()
