#!/usr/bin/env python3
"""What a scan sees: listings that are out of date, folders that cannot be read."""

import os

from volume_case import COLLATE, DELETE, VolumeCase, exact, run_tests

FILES = ["a.txt", "before/b.txt", "before/in/c.txt", "later/d.txt", "later/in/e.txt", "later/a.txt"]


class Listings(VolumeCase):
    def test_a_folder_flattened_before_the_one_around_it(self):
        """What was deleted a moment ago is not there any more, however coarse the times are."""
        names = ["x.txt", "2019/a.txt", "2019/in/b.txt", "2020/c.txt", "2020/in/c.txt", "z/d.txt"]
        for volume, times in (("ext4, 128-byte inodes", 20), ("times of 1 s", 3),
                              ("times of 2 s", 3), ("times that stand still", 3), ("ext4", 2)):
            place = self.mount(volume, volume)
            for number in range(times):
                with self.subTest(volume=volume, number=number):
                    drop = self.fill(os.path.join(place, str(number)), names)
                    self.flatten(DELETE, drop + "/2019", drop, status=0)
                    self.assertEqual(sorted(self.files(drop)), sorted(names))

    def test_a_deleted_folder_is_not_sorted(self):
        """It would be moved into the folder of its extension if its name were still known."""
        for volume in ("ext4, 128-byte inodes", "times that stand still", "ext4"):
            with self.subTest(volume=volume):
                place = self.mount(volume, volume)
                for number in range(5):
                    drop = self.fill(os.path.join(place, str(number)), ["2019.old/a.txt", "b.txt"])
                    run = self.flatten(DELETE, COLLATE, drop, status=0)
                    self.assertEqual(run.troubles(), [])
                    self.assertEqual(os.listdir(drop), ["txt"])

    def test_a_deleted_folder_that_is_made_anew(self):
        """Sorting makes a folder of the same name, which may be given the same inode number."""
        names = ["txt/a.txt", "one/b.jpg", "one/c.txt", "jpg/in/d.jpg"]
        for volume in ("ntfs-3g", "inode numbers that go with paths", "ext4, 128-byte inodes"):
            with self.subTest(volume=volume):
                drop = self.fill(os.path.join(self.mount(volume, volume), "drop"), names)
                run = self.flatten(DELETE, COLLATE, drop, status=0)
                self.assertEqual(run.troubles(), [])
                self.assertEqual(sorted(self.files(drop).values()),
                                 ["jpg/b.jpg", "jpg/d.jpg", "txt/a.txt", "txt/c.txt"])

    def test_a_folder_that_cannot_be_read(self):
        """Its siblings are looked at and moved; it is told, and nothing in it is deleted, also when
        it could be read again by then."""
        errors = ("ENOENT", "ENOTDIR", "EIO", "ENOTCONN", "ESTALE", "EACCES")
        cases = [(f"{call} {error}", heals, (DELETE,)) for error in errors
                 for call, heals in (("open", "no"), ("list", "yes"))]
        cases += [("list EIO", "no", ()), ("open EIO", "yes", (DELETE, COLLATE)),
                  ("look EIO", "no", (DELETE,)), ("look ENOTCONN", "yes", (DELETE,))]
        place = self.mount("FUSE")
        for number, (failure, heals, options) in enumerate(cases):
            with self.subTest(failure=failure, heals=heals, options=options):
                drop = self.fill(os.path.join(place, str(number)), FILES)
                self.fill(drop, ["bad/secret.txt", "bad/in/secret.txt"])
                before = self.files(drop)
                self.tell(place, heal=heals, fail=f"bad {failure}")
                try:
                    run = self.flatten(*options, drop, status=3)
                finally:
                    self.tell(place, fail="")
                after = self.assertNothingLost(drop, before, run)
                self.assertEqual([exact(told) for told in run.folders[0]["unreadFolders"]],
                                 [drop + "/bad"])
                for content in ("bad/secret.txt", "bad/in/secret.txt"):
                    self.assertEqual(after.pop(content), content)
                for content, path in after.items():
                    self.assertEqual(path.count("/"), int(COLLATE in options), (content, path))

    def test_a_folder_that_can_be_read_only_at_first(self):
        """It counts when the folder is counted, and cannot be collected: then nothing is moved, and
        deletion takes the rest by rule, but not what lies in there."""
        place = self.mount("FUSE")
        for number, call in enumerate(("open", "list")):
            for after in (1, 2):
                with self.subTest(call=call, after=after):
                    drop = self.fill(os.path.join(place, f"{number}-{after}"), FILES)
                    self.fill(drop, ["bad/secret.txt"])
                    before = self.files(drop)
                    self.tell(place, fail=f"bad {call} EIO {after}")
                    try:
                        run = self.flatten(DELETE, drop)
                    finally:
                        self.tell(place, fail="")
                    left = self.assertNothingLost(drop, before, run,
                                                  mayDelete=before.keys() - {"bad/secret.txt"})
                    self.assertIn("bad/secret.txt", left)


if __name__ == "__main__":
    run_tests()
