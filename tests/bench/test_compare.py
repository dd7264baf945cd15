#!/usr/bin/env python3
"""The comparison measures work that was really done; how long that took is nobody's business here.

VANNERLY_COMPARE is the comparison, VANNERLY_BUILD the build folder that it measures.
"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

TICK = 0.01  # the longest of usual kernels, in seconds
MOVERS = ("bare loop", "vannerly-cli", "vannerly (offscreen)", "vannerly (Xvfb)")


class Compare(unittest.TestCase):
    def compare(self, *options):
        with tempfile.TemporaryDirectory() as place:
            subprocess.run([sys.executable, "-B", os.environ["VANNERLY_COMPARE"], "--build",
                            os.environ["VANNERLY_BUILD"], "--places", place, "--rounds", "1",
                            "--scale", "0.01", "--json", place + "/measured", *options],
                           check=True, stdout=subprocess.DEVNULL)
            with open(place + "/measured", encoding="utf-8") as file:
                measured = json.load(file)
            self.assertEqual(os.listdir(place), ["measured"])
        return measured

    def test_everybody_does_the_whole_job(self):
        measured = self.compare("--what", "flatten", "removal", "collate",
                                "--trees", "wide", "packages")
        # Beside what was moved lie the emptied folders: 50 in each of those at the top.
        at_top = {"wide": 1000 + 1, "packages": 400 + 1, "emptied": 0, "leftovers": 0,
                  "extensions": 20}
        self.assertEqual([case["case"] for case in measured["cases"]], list(at_top))
        for case in measured["cases"]:
            for name, result in case["results"].items():
                with self.subTest(case=case["case"], competitor=name):
                    sample, empty = result["samples"][0], result["empty samples"][0]
                    # The files in the folders that were deleted are files that were not moved.
                    short = case["case"] == "leftovers" and name.startswith(MOVERS[1:])
                    self.assertEqual((sample["status"], empty["status"]), (3 if short else 0, 0))
                    # find and the script take packages apart.
                    if name.startswith(MOVERS) or case["case"] != "packages":
                        self.assertEqual(sample["at_top"], at_top[case["case"]])
                    self.assertEqual(empty["at_top"], 0)
                    # Times of files tick; a short run may begin and end in the same tick.
                    self.assertGreaterEqual(sample["last_move"], 0)
                    self.assertLess(sample["last_move"], sample["seconds"] + TICK)
                    self.assertGreater(sample["peak"], 100_000)
                    if "(" in name:
                        # Left out of the time is the second for which the window stays.
                        self.assertLess(sample["last_move"], sample["seconds"] - 1)
                        self.assertEqual(result["seconds"], sample["last_move"])
        self.assertEqual({aim["what"].partition(",")[0] for aim in measured["aims"]},
                         {"no clashes", "flattening", "the journal",
                          "removal of emptied folders", "collating",
                          "vannerly (offscreen) to the last move",
                          "vannerly (Xvfb) to the last move"})

    def test_undo_and_preview_of_the_whole_job(self):
        measured = self.compare("--what", "undo", "preview")
        self.assertEqual([case["case"] for case in measured["cases"]],
                         ["undo", "undo_deleted", "preview"])
        flattened, previewed = (result["samples"][0]
                                for result in measured["cases"].pop()["results"].values())
        self.assertEqual((flattened["status"], flattened["at_top"]), (0, 1000 + 1))
        # Nothing is moved, and there is no journal.
        self.assertEqual((previewed["status"], previewed["at_top"], previewed["journal"]), (0, 1, 0))
        for case in measured["cases"]:
            flattened, undone = (result["samples"][0] for result in case["results"].values())
            at_top = 1000 + (case["case"] == "undo")
            self.assertEqual((flattened["status"], flattened["at_top"]), (0, at_top))
            self.assertEqual((undone["status"], undone["at_top"]), (0, 1))
            # A line for every item holds its name, of 20 bytes, and its inode.
            self.assertGreater(min(flattened["journal"], undone["journal"]), 1000 * 30)
        self.assertEqual(len(measured["aims"]), 6)

    def test_requests(self):
        measured = self.compare("--what", "requests", "--scale", "0.02")
        self.assertEqual([row["name"] for row in measured["requests"]], list(MOVERS[:2]))
        for row in measured["requests"]:
            self.assertEqual(row["kinds"]["rename2"], 200)
            self.assertGreater(row["seconds"], 0.0002 * row["all"])
        # There are four folders, the one that holds them and the one above: each is listed and asked
        # for Finder information once a walk, and the last is listed for its names too.
        kinds = measured["requests"][1]["kinds"]
        self.assertEqual((kinds["opendir"], kinds["listxattr"]), (2 * 6 + 1, 2 * 6))
        self.assertEqual(len(measured["aims"]), 1)

    def test_starting_and_waiting(self):
        measured = self.compare("--what", "start", "idle", "--pairs", "3",
                                "--settling", "1", "--seconds", "1")
        self.assertEqual([row["name"] for row in measured["start"]],
                         ["true", "vannerly-cli --version"])
        self.assertEqual([row["name"] for row in measured["idle"]], list(MOVERS[2:]))
        for row in measured["start"]:
            self.assertGreater(row["fastest ms"], 0)
        self.assertEqual(len(measured["aims"]), 5)


if __name__ == "__main__":
    unittest.main()
