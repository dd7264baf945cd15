#!/usr/bin/env python3
"""Moves and aliases on volumes that lack something: room, numbers to tell items apart, long names."""

import os

from cli_case import exact
from volume_case import ALIAS, COLLATE, DELETE, DOUBTFUL, SAMPLE, VolumeCase, run_tests


class Moves(VolumeCase):
    def left(self, run, drop):
        return {os.path.relpath(exact(told), drop): told["error"]
                for told in run.folders[0]["leftInPlace"]}

    def test_inode_numbers_that_tell_nothing(self):
        """What cannot be told apart may be left in place; it is told and not deleted."""
        cases = [(volume, {"flags": "no", "links": links})
                 for volume in DOUBTFUL for links in ("yes", "no", "own")]
        cases += [("inode numbers that change", {"lasts": lasts, "flags": flags})
                  for lasts in (1, 3, 100) for flags in ("yes", "no")]
        for volume, settings in cases:
            place = self.mount(volume, f"{volume} {settings}", **settings)
            for number, options in enumerate(((DELETE,), (DELETE, COLLATE))):
                with self.subTest(volume=volume, settings=settings, options=options):
                    drop = self.fill(os.path.join(place, str(number)), SAMPLE)
                    self.check_run(drop, *options, mayLeave=True, isForetold=False)

    def test_full_disk(self):
        """Renaming needs room for names. What finds none is left, and told by exit status 3; with
        deletion on, the rules have it deleted, which is told too."""
        names = [f"{folder}/{'n' * 200}{number:03}.txt" for folder in "abc" for number in range(60)]
        for options in ((), (DELETE,)):
            with self.subTest(options=options):
                place = self.mount("ext4", f"ext4{len(options)}")
                drop = self.fill(os.path.join(place, "drop"), names)
                before = self.files(drop)
                self.fill_up(place)
                run = self.flatten(*options, drop, status=3, isForetold=False)
                left = self.left(run, drop)
                self.assertGreater(len(left), 50)
                self.assertEqual(set(left.values()), {"dskFulErr"})
                self.assertNothingLost(drop, before, run, mayDelete=left if options else ())

    def fill_up(self, place):
        for size in (1 << 20, 4096, 512):
            try:
                with open(os.path.join(place, f"full{size}"), "wb", buffering=0) as file:
                    while file.write(b"f" * size):
                        pass
            except OSError:
                pass

    def test_names_that_become_too_long_are_left(self):
        """As long as the volume takes them a name gets its UUID; longer ones stay, and are told."""
        fits, longer, longest = "\u3042" * 212 + ".txt", "\u3042" * 213 + ".txt", "\u3042" * 255
        names = [f"{folder}/{name}" for folder in ("one", "two") for name in (fits, longer, longest)]
        for volume in ("names of 255 UTF-16 units", "ntfs-3g", "exfat-fuse"):
            with self.subTest(volume=volume):
                # The dropped folder's own name has more bytes than most volumes would take.
                drop = self.fill(os.path.join(self.mount(volume, volume), "\u3042" * 86), names)
                before = self.files(drop)
                run = self.flatten(drop, status=3)
                self.assertNothingLost(drop, before, run)
                self.assertEqual(self.left(run, drop),
                                 {f"two/{name}": "bdNamErr" for name in (longer, longest)})

    def test_many_aliases_of_one_name(self):
        """What they cost grows with their number, not with its square."""
        count = 600
        volume = self.mount("FUSE")
        drop = self.fill(os.path.join(volume, "drop"), [f"{i}/a.txt" for i in range(count)])
        os.setxattr(volume, "user.odd.requests", b"")
        self.flatten(ALIAS, drop, status=0)
        requests = self.requests(volume)
        self.assertEqual(requests["symlink"], count)
        for kind, times in requests.items():
            self.assertLess(times, 40 * count, kind)
        links = [name for name in os.listdir(drop) if os.path.islink(os.path.join(drop, name))]
        self.assertCountEqual(links, ["a.txt", "a.txt alias",
                                      *(f"a.txt alias {number}" for number in range(2, count))])


if __name__ == "__main__":
    run_tests()
