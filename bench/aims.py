"""What the figures should be at most, and whether they are."""

import dataclasses

import report
from cases import WINDOWS

CLI = "vannerly-cli"
BARE = "bare loop"


@dataclasses.dataclass
class Aim:
    what: str
    where: str
    at_most: float
    measured: float
    by_cpu: float | None = None  # the same by processor time, on which a busy machine tells less

    @property
    def is_met(self):
        return self.measured <= self.at_most


def list_aims(cases, start, idle):
    """`cases` maps (place, case) to results by name. What was not measured has no aim."""
    aims = []
    for (place, name), results in cases.items():
        where = f"{place} {name}"

        def add(what, at_most, mine, other, figure="seconds", where=where):
            if mine and other:
                aims.append(Aim(f"{what}, against {other.name}", where, at_most,
                                an_item(mine, figure) / an_item(other, figure),
                                report.ratio(an_item(mine, "cpu"), an_item(other, "cpu"))))

        def other(case, competitor, place=place):
            return cases.get((place, case), {}).get(competitor)

        cli = results.get(CLI)
        if name == "wide":
            add("no clashes", 1.25 if report.file_system(place) == "tmpfs" else 1.15, cli,
                results.get(BARE))
        add("flattening", 0.9, cli, results.get("find + mv"))
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
        add("collating", 1.3, cli, results.get("rename loop"))
    if start:
        true, version = (row["median ms"] for row in start)
        aims.append(Aim("start, ms more than true", "", 3, version - true))
    for row in idle:
        aims.append(Aim("idle window, seconds of processor time", row["name"], 0, row["cpu"]))
        aims.append(Aim("idle window, wake-ups", row["name"], 0, row["wake-ups"]))
    return aims


def an_item(result, figure):
    value = result.median("last_move") if figure == "last_move" else getattr(result, figure)
    return value / result.items


def aims_table(aims):
    return "aims\n\n" + report.table(
        ["", "where", "at most", "measured", "by CPU", ""],
        [[aim.what, aim.where, f"{aim.at_most:g}", f"{aim.measured:.2f}",
          report.number(aim.by_cpu, ".2f"), "met" if aim.is_met else "MISSED"] for aim in aims])
