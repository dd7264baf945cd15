#!/usr/bin/env python3
"""Every volume with every set of preferences worth telling apart, and the table of what came of it
in docs/reliability.md, which is made here: with --write it is written, without it is compared."""

import collections
import os
import sys

from volume_case import (ALIAS, COLLATE, DELETE, DISKS, DOUBTFUL, KEEP_NAMES, MEMORY, ODD,
                         OPEN_PACKAGES, SAMPLE, VolumeCase, run_tests)

DOCUMENT = os.path.join(os.path.dirname(__file__), "../../docs/reliability.md")
BEGIN, END = "<!-- matrix begins -->\n", "<!-- matrix ends -->\n"
PREFERENCES = {
    "none": (),
    "names kept": (KEEP_NAMES,),
    "deletion": (DELETE,),
    "sorting": (COLLATE,),
    "deletion, sorting": (DELETE, COLLATE),
    "packages opened, deletion": (OPEN_PACKAGES, DELETE),
    "aliases": (ALIAS,),
    "aliases, sorting": (ALIAS, COLLATE),
}
WORDS = {"leftInPlace": "left", "unreadFolders": "not read", "deletedFiles": "deleted",
         "notDeleted": "folders stay", "notCollated": "not sorted"}


class Matrix(VolumeCase):
    def sample_for(self, volume):
        names = list(SAMPLE)
        if volume not in ("ntfs-3g", "exfat-fuse"):
            names += ["one/new\nline.txt", "one/latin\udce9.txt", "x.\udcff/g"]
        if volume == "exfat-fuse" or "case" in ODD.get(volume, ()):
            # More than the program looks up one by one.
            names += [name for i in range(40) for name in (f"in/{i}.x{i}", f"in/{i}/a.txt")]
            names += ["x7/old.x7"]
        if volume in ("ntfs-3g", "exfat-fuse") or "units" in str(ODD.get(volume)):
            # The length of the last one in a single byte is 0.
            names += ["one/" + "\u3042" * 86 + ".txt", "\u3042" * 90 + "/h.txt",
                      "one/" + "\u3042" * 85 + "b"]
        return names

    def outcome(self, run):
        """One cell of the table."""
        if run.errors:
            return "refused"
        told, = run.folders
        parts = []
        for key, word in WORDS.items():
            errors = collections.Counter(entry.get("error", "") for entry in told[key])
            parts += [f"{count} {word}" + (f" ({error})" if error else "")
                      for error, count in sorted(errors.items())]
        return ", ".join(parts) or "all"

    def cell(self, volume, drop, options):
        self.fill(drop, self.sample_for(volume))
        hasLinks = volume != "exfat-fuse"
        if hasLinks:
            os.symlink("a.txt", os.path.join(drop, "one/link"))
        mayLeave = volume in DOUBTFUL or (ALIAS in options and not hasLinks)
        # That the volume makes no links only a try shows; and for a second the kernel believes what
        # a preview has found there by names in another case.
        isForetold = volume not in DOUBTFUL and (hasLinks or options in ((), (DELETE,)))
        _, run = self.check_run(drop, *options, mayLeave=mayLeave, isForetold=isForetold)
        # How often the kernel looks at an item, and so gets another number, is up to it.
        return "none lost" if volume == "inode numbers that change" else self.outcome(run)

    def test_outcomes(self):
        lines = ["| volume | " + " | ".join(PREFERENCES) + " |", "|---" * (len(PREFERENCES) + 1) + "|"]
        for volume in [*DISKS, *MEMORY, *ODD]:
            place = self.mount(volume, volume)
            cells = dict.fromkeys(PREFERENCES, "**fails**")
            for number, (title, options) in enumerate(PREFERENCES.items()):
                with self.subTest(volume=volume, preferences=title):
                    cells[title] = self.cell(volume, os.path.join(place, str(number)), options)
            lines.append(f"| {volume} | " + " | ".join(cells.values()) + " |")
        table = "\n".join(lines) + "\n"
        with open(DOCUMENT, encoding="utf-8") as file:
            before, _, rest = file.read().partition(BEGIN)
        told, _, after = rest.partition(END)
        if "--write" in sys.argv:
            with open(DOCUMENT, "w", encoding="utf-8") as file:
                file.write(before + BEGIN + table + END + after)
        else:
            self.assertEqual(told, table, "tests/volumes/test_matrix.py --write makes it anew")


if __name__ == "__main__":
    run_tests()
