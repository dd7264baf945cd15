"""What the figures should be at most, and whether they are."""

import dataclasses
import statistics

import report
from cases import PREVIEW, UNDO, WINDOWS, WITHOUT_JOURNAL

CLI = "vannerly-cli"
BARE = "bare loop"


@dataclasses.dataclass
class Aim:
    what: str
    where: str
    at_most: float
    measured: float | None           # None when it was lost in noise
    of_fastest: float | None = None  # the same of the fastest runs, and by processor time: on a
    by_cpu: float | None = None      # busy machine they tell more

    @property
    def verdict(self):
        if self.measured is None:
            return "lost in noise"
        return "met" if self.measured <= self.at_most else "MISSED"


def list_aims(cases, requests, start, idle):
    """`cases` maps (place, case) to results by name. What was not measured has no aim."""
    aims = []
    for (place, name), results in cases.items():
        if name == "one":  # shows what starting costs, for which there is an aim of its own
            continue
        where = f"{place} {name}"

        def add(what, at_most, mine, other, figure="seconds", where=where):
            if mine and other:
                aims.append(Aim(f"{what}, against {other.name}", where, at_most,
                                *compare_times(mine, other, figure)))

        def other(case, competitor, place=place):
            return cases.get((place, case), {}).get(competitor)

        cli = results.get(CLI)
        if name == "wide":
            add("no clashes", 1.25 if report.file_system(place) == "tmpfs" else 1.15, cli,
                results.get(BARE))
        add("flattening", 0.9, cli, results.get("find + mv"))
        add("the journal", 1.1, cli, results.get(WITHOUT_JOURNAL))
        if name.endswith("clash"):
            add("half the names clashing, against none clashing", 2.2, cli,
                other({"clash": "wide"}.get(name, "million"), BARE))
        for window in WINDOWS:
            add(f"{window} to the last move", 1.1, results.get(window), cli, "last_move")
        if name.startswith("million"):
            add("a file at 1,000,000 against 100,000", 1.15, cli,
                other({"million": "wide"}.get(name, "clash"), CLI))
            if cli:
                aims.append(Aim("peak bytes a file above the empty program", where, 120,
                                cli.bytes_an_item))
        add("removal of emptied folders", 1.1, cli, results.get("rm -r"))
        if UNDO in results:
            add("undoing", 1.3, results[UNDO], cli)
            aims.append(Aim("bytes of the journal a file, names of 20 bytes", where, 110,
                            cli.journal_an_item))
        if PREVIEW in results:
            add("the preview", 0.6, results[PREVIEW], cli)
            aims.append(Aim("peak bytes a file above the empty preview", where, 250,
                            results[PREVIEW].bytes_an_item))
        add("collating", 1.3, cli, results.get("rename loop"))
    if requests:
        bare, cli = requests
        aims.append(Aim(f"requests where no names clash, against {bare['name']}", "late volume",
                        1.05, cli["all"] / bare["all"]))
    if start:
        true, version = (row["median ms"] for row in start)
        aims.append(Aim("start, ms more than true", "", 3, version - true))
    for row in idle:
        aims.append(Aim("idle window, seconds of processor time", row["name"], 0, row["cpu"]))
        aims.append(Aim("idle window, wake-ups", row["name"], 0, row["wake-ups"]))
    return aims


def compare_times(mine, other, figure):
    """Ratios of the time an item: of medians, of the fastest, and of processor time."""
    for name, pick in ((figure, statistics.median), (figure, min), ("cpu", statistics.median)):
        times = report.ratio(mine.time(name, pick), other.time(name, pick))
        yield times and times * other.items / mine.items


def aims_table(aims):
    return "**aims**\n\n" + report.table(
        ["", "where", "at most", "measured", "fastest", "CPU", ""],
        [[aim.what, aim.where, f"{aim.at_most:g}", report.number(aim.measured, ".2f"),
          report.number(aim.of_fastest, ".2f"), report.number(aim.by_cpu, ".2f"), aim.verdict]
         for aim in aims])
