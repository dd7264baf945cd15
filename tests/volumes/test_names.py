#!/usr/bin/env python3
"""Names longer than most volumes have them, and names in either case."""

import os

from volume_case import COLLATE, DELETE, VolumeCase, exact, run_tests

LONG = "\u3042" * 86  # 258 bytes, 86 units of UTF-16
LONGEST = "\u3042" * 255  # 765 bytes


class LongNames(VolumeCase):
    VOLUMES = ("names of 255 UTF-16 units", "ntfs-3g", "exfat-fuse")

    def test_that_become_too_long_are_left(self):
        """As long as the volume takes them a name gets its UUID; longer ones stay, and are told."""
        fits, longer = "\u3042" * 212 + ".txt", "\u3042" * 213 + ".txt"
        names = [f"{folder}/{name}" for folder in ("one", "two") for name in (fits, longer, LONGEST)]
        for volume in self.VOLUMES:
            with self.subTest(volume=volume):
                drop = self.fill(os.path.join(self.mount(volume, volume), LONG), names)
                before = self.files(drop)
                run = self.flatten(drop, status=3)
                self.assertNothingLost(drop, before, run)
                self.assertEqual({os.path.relpath(exact(told), drop): told["error"]
                                  for told in run.folders[0]["leftInPlace"]},
                                 {f"two/{name}": "bdNamErr" for name in (longer, LONGEST)})


class EitherCase(VolumeCase):
    VOLUMES = ("names in either case", "exfat-fuse")

    def test_an_extension_goes_into_the_folder_of_another_case(self):
        """However many others there are."""
        names = [f"in/{number}.x{number}" for number in range(40)]
        names += ["JPG/old.jpg", "a.jpg", "in/b.Jpg", "in/c.jpG", "x7/old.x7"]
        for volume in self.VOLUMES:
            for options in ((COLLATE,), ("--operation=3", COLLATE)):
                with self.subTest(volume=volume, options=options):
                    place = self.mount(volume, f"{volume}{len(options)}")
                    drop = self.fill(os.path.join(place, "drop"), names)
                    before = self.files(drop)
                    run = self.flatten(*options, drop, status=0)
                    self.assertEqual(run.folders[0]["notCollated"], [])
                    after = self.assertNothingLost(drop, before, run)
                    self.assertEqual(after["a.jpg"], "JPG/a.jpg")
                    if len(options) == 1:
                        self.assertEqual(after["in/b.Jpg"], "JPG/b.Jpg")
                        self.assertEqual(after["in/30.x30"], "x30/30.x30")

    def test_names_that_clash_in_another_case(self):
        names = ["a.txt", "in/A.TXT", "in/b.txt", "other/B.txt", "other/b", "z/B"]
        for volume in self.VOLUMES:
            with self.subTest(volume=volume):
                drop = self.fill(os.path.join(self.mount(volume, volume), "drop"), names)
                before = self.files(drop)
                run = self.flatten(DELETE, drop, status=0)
                after = self.assertNothingLost(drop, before, run)
                self.assertFalse(any("/" in path for path in after.values()))
                self.assertEqual(len(run.folders[0]["renamed"]), 3)

    def test_temporary_names_taken_in_another_case(self):
        """A clash is resolved under the next that is free, however many there are."""
        names = ["a.txt", *(f"{number}/a.txt" for number in range(40))]
        for volume in self.VOLUMES:
            place = self.mount(volume, volume)
            for number, taken in enumerate((["517a7274"], ["517a7274", "517A7275", "517a7276"],
                                            ["39/517a7274", "517a7275", "39/517a7276"])):
                with self.subTest(volume=volume, taken=taken):
                    drop = self.fill(os.path.join(place, str(number)), names + taken)
                    before = set(self.files(drop))
                    run = self.flatten(DELETE, drop, status=0)
                    after = self.files(drop)
                    self.assertEqual(set(after), before)
                    self.assertFalse(any("/" in path for path in after.values()))
                    self.assertEqual(len(run.folders[0]["renamed"]), 40)


if __name__ == "__main__":
    run_tests()
