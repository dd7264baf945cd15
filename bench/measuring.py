"""Runs competitors in turn, each on a fresh tree of its own, and keeps what was measured."""

import dataclasses
import os
import statistics
import subprocess
import tempfile
import typing


@dataclasses.dataclass
class Competitor:
    name: str
    command: typing.Callable[[str], list[str]]  # for a folder; called when the tree is there
    environment: dict[str, str] | None = None   # None for this process's own
    is_window: bool = False                     # ends a second after its work
    has_journal: bool = True                    # else none can be written
    before: typing.Callable[[str], list[str]] | None = None  # makes its job of the tree


@dataclasses.dataclass
class Case:
    """A job on one tree; the first competitor is the one that the others are compared to."""
    name: str
    tree: typing.Callable[[str, float], int]
    competitors: list[Competitor]
    folder: str = "folder"
    is_start_left_out: bool = False  # the figures are less those of the same run on an empty folder


@dataclasses.dataclass
class Sample:
    """One run of a competitor."""
    seconds: float           # from its start to its end
    last_move: float | None  # from its start to the last change of the folder; None without any
    cpu: float               # user and system, in seconds
    peak: int                # bytes
    status: int              # exit status
    at_top: int              # items lying in the folder afterwards
    journal: int             # bytes of the journals that it has left


class Result:
    """What was measured of one competitor in one case; figures are medians."""

    def __init__(self, case, competitor):
        self.name = competitor.name
        self.ends_at_last_move = competitor.is_window
        self.is_start_left_out = case.is_start_left_out
        self.items = 0
        self.samples: list[Sample] = []
        self.empty_samples: list[Sample] = []  # of runs on an empty folder

    def pick(self, figure, pick=statistics.median):
        """None when a run lacks the figure."""
        of_samples = [getattr(sample, figure) for sample in self.samples]
        return None if None in of_samples else pick(of_samples)

    def time(self, figure, pick=statistics.median):
        """In seconds; "seconds" are those to the last move for a window."""
        if figure == "seconds" and self.ends_at_last_move:
            figure = "last_move"
        value = self.pick(figure, pick)
        if self.is_start_left_out:
            value -= pick(getattr(sample, figure) for sample in self.empty_samples)
        return value

    @property
    def bytes_an_item(self):
        """Peak memory above that of a run on an empty folder."""
        empty = statistics.median(sample.peak for sample in self.empty_samples)
        return (self.pick("peak") - empty) / self.items

    @property
    def journal_an_item(self):
        return self.pick("journal") / self.items

    @property
    def status(self):
        return max(sample.status for sample in self.samples)

    @property
    def at_top(self):
        return self.samples[-1].at_top


def own_folders(work):
    """The environment that keeps preferences and journals in `work`, so that those of the user
    neither count nor change."""
    return {"XDG_CONFIG_HOME": work + "/config", "XDG_CONFIG_DIRS": work + "/config",
            "XDG_STATE_HOME": work + "/state"}


def bytes_of_journals(work):
    return sum(os.path.getsize(os.path.join(folder, name))
               for folder, _, names in os.walk(work + "/state") for name in names)


def measure(build, competitor, work, folder):
    config, written = work + "/config", work + "/measured"
    environment = {**(competitor.environment or os.environ), **own_folders(work)}
    if not competitor.has_journal:
        environment["XDG_STATE_HOME"] = os.devnull
    if competitor.is_window:
        os.makedirs(config + "/vannerly")
        with open(config + "/vannerly/preferences.toml", "w", encoding="ascii") as file:
            file.write("QuitWhenDone = true\n")
    journals = bytes_of_journals(work)
    subprocess.run([os.path.join(build, "bin", "measure"), written, *competitor.command(folder)],
                   env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)
    with open(written, encoding="ascii") as file:
        start, seconds, cpu, kilobytes, status = file.read().split()
    # Every rename into the folder sets its time of change; nobody has to watch while it works.
    last_move = (os.stat(folder).st_mtime_ns - int(start)) / 1e9
    return Sample(float(seconds), last_move if last_move >= 0 else None, float(cpu),
                  int(kilobytes) * 1024, int(status), len(os.listdir(folder)),
                  bytes_of_journals(work) - journals)


def run_once(build, case, competitor, place, make):
    """Measures a run on the folder that `make` makes; answers what `make` has answered too."""
    with tempfile.TemporaryDirectory(prefix="vannerly-bench-", dir=place) as work:
        folder = os.path.join(work, case.folder)
        items = make(folder)
        if competitor.before:
            subprocess.run(competitor.before(folder), env={**os.environ, **own_folders(work)},
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, check=True)
        os.sync()
        sample = measure(build, competitor, work, folder)
        subprocess.run(["rm", "-rf", folder], check=True)
        return sample, items


def compare(build, case, place, rounds, scale):
    """Answers a list of results in the order of the case's competitors."""
    results = [Result(case, competitor) for competitor in case.competitors]
    for _ in range(rounds):
        for competitor, result in zip(case.competitors, results):
            sample, _ = run_once(build, case, competitor, place, os.mkdir)
            result.empty_samples.append(sample)
            sample, result.items = run_once(build, case, competitor, place,
                                            lambda folder: case.tree(folder, scale))
            result.samples.append(sample)
    return results
