#!/usr/bin/env python3
"""What a person sees of a run on a terminal, while it lasts and when it has ended."""

import contextlib
import os
import pty
import re
import struct
import termios
import time
import unittest
from fcntl import ioctl

from cli_case import IDLE, CliCase, fast_place, slow_disk

FILES = 100_000
SLOW = 50_000  # microseconds that a rename takes longer: each file is drawn then


def screen(output, columns=80):
    """The lines that stand on a terminal after `output`. Anything that a well-behaved drawing has no
    need of is an error: another control, a line too wide, one drawn over that has scrolled away."""
    lines, row, column = [""], 0, 0
    for token in re.findall(r"\x1b\[\d*[A-Z]|[\s\S]", output):
        if token == "\r":
            column = 0
        elif token == "\n":
            row += 1
            lines += [""] * (row == len(lines))
        elif token in ("\x1b[K", "\x1b[J"):
            lines[row:] = [lines[row][:column]] + lines[row + 1:] * (token == "\x1b[K")
        elif re.fullmatch(r"\x1b\[\d+A", token) and int(token[2:-1]) <= row:
            row -= int(token[2:-1])
        elif token.isprintable():
            lines[row] = lines[row][:column] + token + lines[row][column + 1:]
            column += 1
            if column > columns:
                raise AssertionError(f"too wide: {lines[row]}")
        else:
            raise AssertionError(f"no drawing needs {token!r}")
    return "\n".join(re.sub("(Elapsed time): .*", r"\1", line) for line in lines).strip().split("\n")


class OnTerminal(CliCase):
    where = fast_place()

    def run_on_terminal(self, *arguments, columns=80, status=0, **options):
        """Runs the program to its end and answers all that it has written to its terminal."""
        main, side = pty.openpty()
        ioctl(side, termios.TIOCSWINSZ, struct.pack("4H", 24, columns, 0, 0))
        process = self.start(*arguments, stderr=side, **options)
        os.close(side)
        shown = b""
        with contextlib.suppress(OSError):  # when the other side has been closed
            while part := os.read(main, 65536):
                shown += part
        os.close(main)
        self.assertEqual((process.communicate()[0], process.returncode), (b"", status))
        return shown.decode()

    def screen_during(self, drop, columns):
        """What was drawn last before the end of a run in which every file was drawn."""
        output = self.run_on_terminal(drop, columns=columns, environment=slow_disk(SLOW))
        return screen(output.rpartition("\x1b[J")[0], columns)

    def test_run_leaves_its_title_counter_and_time(self):
        self.make_sample()
        os.mkdir(self.path("empty"))
        file = self.write_preferences("\n\nOperation = = 2\n")
        output = self.run_on_terminal("drop", "empty", "drop", columns=400)
        lines = screen(output, 400)
        self.assertRegex(lines.pop(1), f"^vannerly-cli: {re.escape(file)}:3: ")
        self.assertEqual(lines, ["drop", "(6 of 6)", "Elapsed time", IDLE, "empty", "Elapsed time",
                                 IDLE, "drop", "(6 of 6)", "Elapsed time", IDLE])

    def test_file_in_hand_and_the_bar(self):
        # Of 34 columns 21 are left for the name, which is ten characters of Japanese.
        for name, shown in (("caf\u00e9\u2026.txt", "caf\u00e9\u2026.txt"), ("x" * 200, "x" * 21),
                            ("\u5199\u771f" * 20, "\u5199\u771f" * 5)):
            for file in ("a", "b", "c", name):
                self.write(f"photos{name[:1]}/sub/{file}")
            self.assertEqual(self.screen_during(f"photos{name[:1]}", 34),
                             [f"photos{name[:1]}", f"Moving File: {shown}", "(4 of 4)",
                              "[" + "#" * 15 + "." * 17 + "]"])
        for columns in range(1, 12):
            self.write(f"{columns}/p/sub/name")
            self.assertEqual(self.screen_during(f"{columns}/p", columns)[:2],
                             ["p", "Moving File"[:columns]])

    def test_no_name_can_drive_the_terminal(self):
        drop = "a\x1b]0;b\x07\n\udc9b\x9bc\x7f\U0001F600\u202e"
        self.write(f"{drop}/sub/\x1b[2J\r\n\t\x7f.txt")
        self.assertEqual(self.screen_during(drop, 80)[:3],
                         ["a?]0;b????c?\U0001F600?", "Moving File: ?[2J????.txt", "(1 of 1)"])

    def test_quiet_run_shows_nothing_but_problems(self):
        # There is no room for the " alias" behind its name.
        self.write("drop/" + "x" * 255)
        self.write("drop/plain")
        arguments = ("--operation=alias", "drop", "a\nb\x1b")
        self.assertEqual(self.run_on_terminal(*arguments, status=1).count("\a"), 1,
                         "a beep for the alias that could not be made")
        self.assertEqual(self.run_on_terminal("--quiet", *arguments, status=1),
                         "vannerly-cli: a?b?: No such file or directory\r\n"
                         "1 file was left in place; --verbose tells more.\r\n")

    def test_many_files_are_drawn_at_most_sixty_times_a_second(self):
        drop = self.path("drop")
        os.makedirs(drop + "/sub/folder")
        sub = os.open(drop + "/sub/folder", os.O_RDONLY)
        for i in range(FILES):
            os.close(os.open(f"{i}.dat", os.O_WRONLY | os.O_CREAT, 0o644, dir_fd=sub))
        os.close(sub)
        for i in range(1, 200, 10):
            self.write(f"drop/{i}.dat", "top")
        start = time.monotonic()
        output = self.run_on_terminal("--delete-emptied-folders", "drop")
        drawings = output.count("Moving File")
        self.assertGreaterEqual(drawings, 2)
        self.assertLessEqual(drawings, (time.monotonic() - start) * 60 + 2)
        self.assertEqual(screen(output), ["drop", f"({FILES + 20} of {FILES + 20})", "Elapsed time",
                                          IDLE])
        names = os.listdir(drop)
        self.assertEqual(len(names), FILES + 20)
        self.assertEqual(sum(" - " in name for name in names), 20)
        self.assertEqual(os.path.getsize(drop + "/1.dat"), 3)


if __name__ == "__main__":
    unittest.main()
