#!/usr/bin/env python3
"""Moves on volumes that lack something: flags, links, inode numbers to tell items apart, room."""

import os
import random
import signal
import time

from volume_case import COLLATE, DELETE, DOUBTFUL, SAMPLE, TEMPORARY, VolumeCase, exact, run_tests


class Moves(VolumeCase):
    def test_refusals_to_link(self):
        """Each means that the volume has no links; the free name is then taken by an empty item,
        which is replaced. A volume with links keeps two names of one file two names of it."""
        for error in ("yes", "EOPNOTSUPP", "ENOSYS", "EMLINK"):
            with self.subTest(error=error):
                place = self.mount("no RENAME_NOREPLACE, no links", error, links=error)
                drop = self.fill(os.path.join(place, "drop"), SAMPLE)
                self.check_run(drop, DELETE, status=0)
        for volume in ("no RENAME_NOREPLACE", "ntfs-3g"):
            with self.subTest(volume=volume):
                drop = self.fill(os.path.join(self.mount(volume, volume), "drop"), ["in/a", "b/a"])
                os.link(f"{drop}/in/a", f"{drop}/in/c")
                self.flatten(DELETE, drop, status=0)
                self.assertTrue(os.path.samefile(f"{drop}/c", f"{drop}/a") or
                                os.stat(f"{drop}/c").st_nlink == 2)
                self.assertEqual(sorted(self.contents(drop)), ["b/a", "in/a", "in/a"])

    def test_inode_numbers_that_tell_nothing(self):
        """What cannot be told apart may be left in place; it is told and not deleted."""
        cases = [(volume, {"flags": "no", "links": links})
                 for volume in DOUBTFUL for links in ("yes", "EPERM", "own")]
        cases += [("inode numbers that change", {"lasts": lasts, "flags": flags})
                  for lasts in (1, 3, 100) for flags in ("yes", "no")]
        for volume, settings in cases:
            place = self.mount(volume, f"{volume} {settings}", **settings)
            for number, options in enumerate(((DELETE,), (DELETE, COLLATE))):
                with self.subTest(volume=volume, settings=settings, options=options):
                    drop = self.fill(os.path.join(place, str(number)), SAMPLE)
                    self.check_run(drop, *options, mayLeave=True)

    def test_kills_without_flags_or_links(self):
        """Whenever it is killed, the next start leaves no file lost and no place-holder."""
        randomness = random.Random(7)
        for volume, delay, times in (("no RENAME_NOREPLACE, no links", 300, 10), ("exfat-fuse", 0, 5)):
            place = self.mount(volume, volume)
            other = self.fill(os.path.join(place, "other"), ["in/x.txt"])
            if delay:
                self.tell(place, delay=delay)
            for number in range(times):
                options = ((), (COLLATE,), (DELETE,))[number % 3]
                with self.subTest(volume=volume, number=number, options=options):
                    drop = self.fill(os.path.join(place, str(number)), SAMPLE)
                    before = self.files(drop)
                    process = self.start("--quiet", *options, drop)
                    self.wait_for_journal(process)
                    time.sleep(randomness.uniform(0, 0.3 if delay else 0.05))
                    process.send_signal(signal.SIGKILL)
                    process.communicate()
                    self.run_cli("--quiet", other)
                    after = self.files(drop)
                    self.assertEqual(set(after), set(before))
                    for path in after.values():
                        self.assertNotRegex(path, TEMPORARY)
                    self.check_run(drop, DELETE, status=0)

    def wait_for_journal(self, process):
        """Until the run has begun."""
        folder = self.path("state/vannerly/journal")
        while process.poll() is None:
            if any(name.endswith(f"-{process.pid}.journal") for name in
                   (os.listdir(folder) if os.path.isdir(folder) else ())):
                return
            time.sleep(0.001)

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
                run = self.flatten(*options, drop, status=3)
                told, = run.folders
                left = {os.path.relpath(exact(entry), drop) for entry in told["leftInPlace"]}
                self.assertGreater(len(left), 50)
                self.assertEqual({entry["error"] for entry in told["leftInPlace"]}, {"dskFulErr"})
                self.assertNothingLost(drop, before, run, mayDelete=left if options else ())

    def fill_up(self, place):
        for size in (1 << 20, 4096, 512):
            try:
                with open(os.path.join(place, f"full{size}"), "wb", buffering=0) as file:
                    while file.write(b"f" * size):
                        pass
            except OSError:
                pass

    def test_no_room_for_place_holders(self):
        place = self.mount("no RENAME_NOREPLACE, no links")
        for number, options in enumerate(((), (COLLATE,))):
            with self.subTest(options=options):
                drop = self.fill(os.path.join(place, str(number)), SAMPLE)
                self.tell(place, room=3)
                try:
                    self.check_run(drop, *options, mayLeave=True)
                finally:
                    self.tell(place, room=-1)


if __name__ == "__main__":
    run_tests()
