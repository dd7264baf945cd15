"""Runs the terminal program over batches of small random trees, for tests that hold two looks at the
same trees against each other.

A case is wholly given by its seed. Cases that share preferences (4 in a row) are the operands of one
run; a difference is replayed with the --seed that it prints.
"""

import argparse
import collections
import json
import os
import subprocess
import tempfile

from documents import exact_names
from model_test import Disk, conclude, make_case, preferences_of, usual_place

BATCH = 4  # with 4 journals each that is within the 20 that are kept
ORDINARY_USER = 1001


class ProgramBatch:
    """What is tested of one batch is up to `test(totals)`, which answers whether all is well."""

    user = None  # who runs the program, if it is not who runs the test

    def __init__(self, program, place, seeds, number):
        self.program, self.place, self.found = program, place, []
        self.number = number
        self.options = preferences_of(number)[1]
        disk = Disk()
        self.cases = [make_case(seed, os.fsencode(place), disk) for seed in seeds]

    @classmethod
    def begin(cls, isOrdinaryUser):
        """Before any batch is made: whether the program is to run as somebody whom permissions
        bind. Answers what has to occur if there are trees enough."""
        return ()

    def run(self, *options, statuses, cases=None):
        """Answers the document and the exit status."""
        state = os.path.join(self.place, "state")
        environment = {**os.environ, "HOME": state, "XDG_CONFIG_HOME": state,
                       "XDG_STATE_HOME": state, "XDG_CONFIG_DIRS": state}
        operands = [case.operand for case in self.cases if cases is None or case in cases]
        isOther = {"user": self.user, "group": self.user, "extra_groups": ()} if self.user else {}
        done = subprocess.run([self.program, *options, "--quiet", "--json", "--", *operands],
                              cwd=self.place, env=environment, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=300, check=False, **isOther)
        if done.returncode not in statuses:
            self.tell(" ".join(options), [
                f"exit status {done.returncode}, not one of {statuses}; standard error ends with",
                done.stderr[-3000:].decode(errors="replace")])
        try:
            return exact_names(json.loads(done.stdout)), done.returncode
        except ValueError:
            self.tell(" ".join(options), ["standard output is no document"])
            return {"folders": [], "errors": []}, done.returncode

    def tell(self, what, lines):
        if lines:
            print(f"\nDIFFERENCE after {what} {' '.join(self.options)}; replay with --seed "
                  f"{self.number * BATCH} --trees {BATCH}", *lines[:40], sep="\n  ")
            self.found.append(what)


def remove(folder):
    if os.geteuid() == 0:
        subprocess.run(["chattr", "-fR", "-i", "-a", folder], stderr=subprocess.DEVNULL, check=False)
    subprocess.run(["chmod", "-R", "u+rwX", folder], check=True)
    subprocess.run(["rm", "-rf", folder], check=True)


def run_batches(description, kind):
    """The main routine of a test of batches of that kind; answers its exit status."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--program", required=True, help="path of vannerly-cli")
    parser.add_argument("--trees", type=int, default=384,
                        help="how many trees; 384 have every combination of preferences")
    parser.add_argument("--seed", type=int, default=0, help="seed of the first tree")
    parser.add_argument("--ordinary-user", action="store_true", help="not as root")
    arguments = parser.parse_args()
    os.umask(0o022)
    with open(arguments.program, "rb") as file:
        content = file.read()
    totals = collections.Counter(dict.fromkeys(kind.begin(arguments.ordinary_user), 0))
    place, good = tempfile.mkdtemp(prefix="vannerly-batch-", dir=usual_place()), True
    try:
        os.chmod(place, 0o755)
        program = os.path.join(place, "vannerly-cli")  # where that user is let in
        with open(os.open(program, os.O_WRONLY | os.O_CREAT, 0o755), "wb") as file:
            file.write(content)
        end = arguments.seed + arguments.trees
        for first in range(arguments.seed, end, BATCH):
            ofBatch = os.path.join(os.path.realpath(place), str(first))
            os.mkdir(ofBatch)
            batch = kind(program, ofBatch, range(first, min(first + BATCH, end)), first // BATCH)
            good = batch.test(totals)
            if not good:
                break
            remove(ofBatch)
    finally:
        remove(place)
    return conclude(good, totals, arguments.trees >= 192)
