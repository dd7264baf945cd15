#!/usr/bin/env python3
"""Kills the program at random moments; the next start has to leave everything in order.

VANNERLY_KILLS says how often (40), VANNERLY_SEED which moments.
"""

import os
import random
import re
import signal
import subprocess
import time
import unittest

from cli_case import UUID, CliCase, fast_place, slow_disk

KILLS = int(os.environ.get("VANNERLY_KILLS", "40"))
SEED = int(os.environ.get("VANNERLY_SEED", random.randrange(1 << 32)))
FILES = 80
DELAY = 500  # microseconds that a rename takes longer, so that moments in between are hit


class Kills(CliCase):
    where = fast_place()

    def make_tree(self):
        """Files of which three quarters find their name taken; each holds its path."""
        subprocess.run(["rm", "-rf", self.path("drop")], check=True)
        for i in range(FILES):
            path = f"{('', 'one/', 'one/in/', 'two/')[i % 4]}{i // 4}.x{i // 4 % 3}"
            self.write(f"drop/{path}", path)

    def journals(self):
        folder = self.path("state/vannerly/journal")
        return set(os.listdir(folder)) if os.path.isdir(folder) else set()

    def kill_within(self, seconds, options, environment):
        """Starts a run and kills it so long after it has begun; whether it was still at work."""
        before = self.journals()
        process = self.start("--quiet", *options, "drop", environment=environment)
        while process.poll() is None and self.journals() <= before:
            time.sleep(0.0005)
        time.sleep(seconds)
        process.send_signal(signal.SIGKILL)
        process.communicate()
        return process.returncode == -signal.SIGKILL

    def assertInOrder(self, what):
        found = {}
        for parent, _, names in os.walk(self.path("drop")):
            for name in names:
                with open(os.path.join(parent, name), encoding="utf-8") as file:
                    origin = file.read()
                found.setdefault(origin, []).append(name)
                self.assertEqual(re.sub(" - " + UUID.pattern, "", name), os.path.basename(origin),
                                 f"{what}: its name is not its own")
        twice = {origin: names for origin, names in found.items() if len(names) > 1}
        self.assertEqual((len(found), twice), (FILES, {}), what)

    def test_whatever_the_moment(self):
        rnd = random.Random(SEED)
        print(f"seed {SEED}, {KILLS} kills")
        os.mkdir(self.path("other"))
        hits, put_right = 0, 0
        for number in range(KILLS):
            options = [option for option in ("--delete-emptied-folders", "--aggregate-files-when-done")
                       if rnd.random() < 0.5]
            # Now and then at full speed, and on a disk that links and unlinks.
            environment = slow_disk(rnd.choice((0, DELAY, DELAY, DELAY)))
            if rnd.random() < 0.3:
                environment["OTHER_DISK_NO_FLAGS"] = "1"
            self.make_tree()
            seconds = rnd.random() * FILES * 2.5 * DELAY / 1e6
            what = f"seed {SEED}, kill {number}, {options}, {environment}, after {seconds:.4f} s"
            hits += self.kill_within(seconds, options, environment)
            _, err = self.run_cli("--quiet", "other")
            put_right += "a run was interrupted while" in err
            self.assertInOrder(what)
            if number % 4 == 0:
                self.run_cli("--quiet", "drop")
                self.assertInOrder(what + ", and run again")
        print(f"{hits} were killed at work; {put_right} times the next start had to put a file right")
        self.assertGreater(hits, KILLS / 4)


if __name__ == "__main__":
    unittest.main()
