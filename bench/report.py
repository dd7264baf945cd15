"""Tables of what was measured, as Markdown that reads well on a terminal too."""

import dataclasses
import os
import subprocess


def table(headings, rows):
    """The first column is set to the left, all others to the right."""
    cells = [headings, *rows]
    widths = [max(len(row[column]) for row in cells) for column in range(len(headings))]
    lines = ["| " + " | ".join(cell.rjust(width) if column else cell.ljust(width)
                               for column, (cell, width) in enumerate(zip(row, widths))) + " |"
             for row in cells]
    rule = "|" + "|".join("-" * (width + 1) + (":" if column else "-")
                          for column, width in enumerate(widths)) + "|"
    return "\n".join([lines[0], rule, *lines[1:]]) + "\n"


def number(value, form):
    return "" if value is None else format(value, form)


def case_table(place, case, results):
    base = results[0]

    def against_base(result, figure):
        value = result.time(figure)
        return [number(value, ".4f"), number(ratio(value, base.time(figure)), ".2f")]

    rows = [[r.name, *against_base(r, "seconds"), *against_base(r, "cpu"),
             number(r.pick("last_move"), ".4f"), number(r.time("seconds") / r.items * 1e6, ".2f"),
             number(r.pick("peak") / 1e6, ".1f"),
             number(r.bytes_an_item if r.items >= 1000 else None, ".0f"),  # of few it says nothing
             number(r.journal_an_item if r.items >= 1000 else None, ".0f"),
             str(r.at_top), str(r.status)] for r in results]
    return (f"**{place} ({file_system(place)}), {case.name}: {case.tree.__doc__}**\n"
            f"{base.items:,} items, {len(base.samples)} rounds"
            f"{', less the same on an empty folder' if case.is_start_left_out else ''}\n\n"
            + table(["", "seconds", "ratio", "CPU s", "ratio", "last move", "µs/item", "peak MB",
                     "bytes/item", "journal", "at top", "exit"], rows))


def requests_table(requests):
    """A line for each kind of request, then all of them and the time."""
    base, other = requests
    rows = [[kind, *(str(r["kinds"].get(kind, 0)) for r in requests), ""]
            for kind in sorted(base["kinds"].keys() | other["kinds"].keys())]
    for figure, form in (("all", "d"), ("seconds", ".2f")):
        rows.append([figure, *(number(r[figure], form) for r in requests),
                     number(other[figure] / base[figure], ".3f")])
    return "**requests to a volume that answers late**\n\n" + table(
        ["", base["name"], other["name"], "ratio"], rows)


def start_table(start):
    return "**start**\n\n" + table(["", "median ms", "fastest ms", "pairs"], [
        [r["name"], f"{r['median ms']:.2f}", f"{r['fastest ms']:.2f}", str(r["pairs"])]
        for r in start])


def idle_table(idle):
    return "**idle window**\n\n" + table(
        ["", "seconds", "CPU s", "wake-ups"],
        [[r["name"], str(r["seconds"]), f"{r['cpu']:.2f}", str(r["wake-ups"])] for r in idle])


def ratio(value, base):
    """None where there is nothing to compare: what is less than what it was to exceed is noise."""
    return value / base if value is not None and base and min(value, base) > 0 else None


def case_data(place, case, results):
    """What was measured, every run of it, for machines."""
    return {"place": place, "file system": file_system(place), "case": case.name,
            "description": case.tree.__doc__, "items": results[0].items,
            "results": {r.name: {
                "seconds": r.time("seconds"), "cpu": r.time("cpu"),
                "last move": r.pick("last_move"),
                "peak": r.pick("peak"), "bytes an item": r.bytes_an_item,
                "journal": r.pick("journal"),
                "samples": [dataclasses.asdict(sample) for sample in r.samples],
                "empty samples": [dataclasses.asdict(sample) for sample in r.empty_samples],
            } for r in results}}


def file_system(place):
    return subprocess.run(["df", "--output=fstype", place], check=True, text=True,
                          stdout=subprocess.PIPE).stdout.split()[-1]


def machine():
    """One line: what it was measured on."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = next((line.partition(":")[2].strip() for line in file
                      if line.startswith("model name")), "unknown processor")
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return (f"{model}, {os.cpu_count()} cores, {memory:.0f} GB, Linux {os.uname().release}, "
            f"load {os.getloadavg()[0]:.1f}")
