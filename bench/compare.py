"""Measures Vannerly against other ways to do the same.

Every competitor gets a fresh tree of its own in every round, and the competitors take turns, so
that a machine that grows slower meanwhile is unfair to none. Figures are medians; "ratio" is to the
first line. "last move" is the time from the start to the last change of the folder, and what
"seconds" is for a window, which stays. "bytes/item" is peak memory above that of a run on an empty
folder, and "journal" the bytes an item of the journals that the run leaves. "at top" counts the
items lying in the folder afterwards: who leaves files behind has done less work. "undo" flattens
before the clock starts, and takes that back; "preview" tells what flattening would do. "requests"
flattens a tenth of the tree "wide" on a volume that answers each request late, and counts them by
kind.
"""

import argparse
import contextlib
import dataclasses
import datetime
import json
import os
import signal
import sys

import report
from aims import aims_table, list_aims
from cases import collate_cases, flatten_cases, flattening, preview_cases, removal_cases, undo_cases
from late_volume import count_requests
from measuring import compare
from own_desktop import own_desktop
from processes import measure_idle, measure_start
from trees import FLATTENED

WHAT = ("flatten", "removal", "collate", "undo", "preview", "requests", "start", "idle")
MILLION = ("million", "million_clash")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--what", nargs="+", choices=WHAT, default=WHAT, help="all by default")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--trees", nargs="+", choices=FLATTENED,
                        default=[name for name in FLATTENED if name not in MILLION],
                        help="to flatten; all but those of a million files by default")
    parser.add_argument("--million", action="store_true", help="the trees of a million files too")
    parser.add_argument("--places", nargs="+", default=["/dev/shm", "/var/tmp"],
                        help="folders to work in; by default one in memory and one on disk")
    parser.add_argument("--only", nargs="+", metavar="COMPETITOR",
                        help="for flattening, beside the bare loop, as \"vannerly-cli\"")
    parser.add_argument("--build", required=True, help="the build folder to measure")
    parser.add_argument("--program", help="another vannerly-cli than the build folder's")
    parser.add_argument("--scale", type=float, default=1, help="makes the trees smaller or bigger")
    parser.add_argument("--pairs", type=int, default=300, help="of starts")
    parser.add_argument("--seconds", type=int, default=60, help="to watch the idle windows")
    parser.add_argument("--settling", type=int, default=35,
                        help="seconds before that; Qt's pool ends its threads 30 s after their use")
    parser.add_argument("--json", metavar="FILE", help="write all that was measured there as well")
    arguments = parser.parse_args()
    arguments.build = os.path.realpath(arguments.build)
    arguments.program = os.path.realpath(
        arguments.program or os.path.join(arguments.build, "bin", "vannerly-cli"))
    if arguments.million:
        arguments.trees += [name for name in MILLION if name not in arguments.trees]
    return arguments


def list_cases(arguments, desktop):
    if "flatten" in arguments.what:
        competitors = flattening(arguments.build, arguments.program, desktop)
        if arguments.only:
            competitors = [competitor for i, competitor in enumerate(competitors)
                           if i == 0 or competitor.name in arguments.only]
        yield from flatten_cases(competitors, arguments.trees)
    if "removal" in arguments.what:
        yield from removal_cases(arguments.program)
    if "collate" in arguments.what:
        yield from collate_cases(arguments.build, arguments.program)
    if "undo" in arguments.what:
        yield from undo_cases(arguments.program)
    if "preview" in arguments.what:
        yield from preview_cases(arguments.program)


def main():
    arguments = parse_arguments()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # Trees and displays are cleared away.
    print(f"{datetime.date.today()}, {report.machine()}\n", flush=True)
    data = {"date": str(datetime.date.today()), "machine": report.machine(), "cases": []}
    measured = {}
    with contextlib.ExitStack() as stack:
        desktop = stack.enter_context(own_desktop()) if "flatten" in arguments.what else None
        for case in list_cases(arguments, desktop):
            for place in arguments.places:
                results = compare(arguments.build, case, place, arguments.rounds, arguments.scale)
                measured[place, case.name] = {result.name: result for result in results}
                print(report.case_table(place, case, results), flush=True)
                data["cases"].append(report.case_data(place, case, results))
    data["requests"], data["start"], data["idle"] = [], [], []
    if "requests" in arguments.what:
        competitors = flattening(arguments.build, arguments.program, None)[:2]
        data["requests"] = [count_requests(arguments.build, competitor, arguments.scale)
                            for competitor in competitors]
        print(report.requests_table(data["requests"]), flush=True)
    if "start" in arguments.what:
        data["start"] = measure_start(arguments.build, arguments.program, arguments.pairs)
        print(report.start_table(data["start"]), flush=True)
    if "idle" in arguments.what:
        data["idle"] = measure_idle(arguments.build, arguments.settling, arguments.seconds)
        print(report.idle_table(data["idle"]), flush=True)
    aims = list_aims(measured, data["requests"], data["start"], data["idle"])
    print(aims_table(aims))
    data["aims"] = [{**dataclasses.asdict(aim), "verdict": aim.verdict} for aim in aims]
    if arguments.json:
        with open(arguments.json, "w", encoding="utf-8") as file:
            json.dump(data, file, indent=1)


if __name__ == "__main__":
    sys.exit(main())
