#!/usr/bin/env python3
"""Aliases: many of one name, and those of files that are sorted afterwards."""

import os

from volume_case import ALIAS, COLLATE, VolumeCase, run_tests


class Aliases(VolumeCase):
    def test_follow_what_is_sorted(self):
        """The file itself, or the folder in which it lies, goes into the folder of its extension."""
        names = ["a.txt", "b.jpg", "c", "in/a.txt", "in/d.txt", "pictures.d/e.jpg",
                 "pictures.d/deep/f.txt", "pictures.d/deep.er/g.jpg", "txt/a.txt", "z.txt/b.jpg",
                 "z.txt/y.txt/a.txt", ".hidden.txt", "in/.also.txt", "d/h.txt"]
        for volume in ("ext4", "ntfs-3g", "most of these at once"):
            with self.subTest(volume=volume):
                drop = self.fill(os.path.join(self.mount(volume, volume), "drop"), names)
                run = self.flatten(ALIAS, COLLATE, drop)
                self.assertEqual(run.folders[0]["counts"]["aliased"], len(names), run.troubles())
                self.assertEqual(set(self.files(drop)), set(names))
                self.assertAliases(drop, names)

    def test_follow_in_a_second_run(self):
        """What an earlier run has made is a link like any other; only this run's own follow."""
        drop = self.fill(os.path.join(self.mount("ext4"), "drop"), ["in/a.txt", "in.d/b.txt"])
        self.flatten(ALIAS, drop, status=0)
        self.assertAliases(drop, ["in/a.txt", "in.d/b.txt"])
        self.flatten("--operation=3", COLLATE, drop)
        self.assertEqual(sorted(os.listdir(drop)), ["d", "in", "txt"])

    def test_many_of_one_name(self):
        """What they cost grows with their number, not with its square."""
        count = 600
        drop = self.fill(os.path.join(self.mount("FUSE"), "drop"),
                         [f"{number}/a.txt" for number in range(count)])
        volume = os.path.dirname(drop)
        self.tell(volume, requests="")
        self.flatten(ALIAS, drop, status=0)
        requests = self.requests(volume)
        self.assertEqual(requests["symlink"], count)
        for kind, times in requests.items():
            self.assertLess(times, 40 * count, kind)
        links = [name for name in os.listdir(drop) if os.path.islink(os.path.join(drop, name))]
        self.assertCountEqual(links, ["a.txt", "a.txt alias",
                                      *(f"a.txt alias {number}" for number in range(2, count))])
        folder = self.path("state/vannerly/journal")
        journal, = os.listdir(folder)
        with open(os.path.join(folder, journal), "rb") as file:
            self.assertLess(sum(1 for line in file), 6 * count)


if __name__ == "__main__":
    run_tests()
