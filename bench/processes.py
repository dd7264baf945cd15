"""What the programs cost while there is nothing to do: starting, and waiting for the user."""

import contextlib
import os
import statistics
import subprocess
import tempfile
import time

from cases import WINDOWS
from measuring import Competitor, measure, own_folders
from own_desktop import own_desktop


def measure_start(build, program, pairs):
    """Milliseconds from start to end of `true` and of a start that does nothing, in turn."""
    competitors = [Competitor("true", lambda _: ["true"]),
                   Competitor("vannerly-cli --version", lambda _: [program, "--version"])]
    seconds = {competitor.name: [] for competitor in competitors}
    with tempfile.TemporaryDirectory(prefix="vannerly-bench-") as work:
        for _ in range(pairs):
            for competitor in competitors:
                seconds[competitor.name].append(
                    measure(build, competitor, work, work).seconds)
    return [{"name": name, "pairs": pairs, "median ms": statistics.median(values) * 1e3,
             "fastest ms": min(values) * 1e3} for name, values in seconds.items()]


def process_seconds(process):
    """Processor time, user and system, of all threads."""
    with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def thread_sleeps(process):
    """Thread -> how often it went to sleep. What wakes up has to go to sleep again."""
    sleeps = {}
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/status", encoding="utf-8",
                  errors="replace") as file:
            sleeps[thread] = next(int(line.split()[1]) for line in file
                                  if line.startswith("voluntary_ctxt_switches"))
    return sleeps


def wake_ups(early, late):
    """Between two answers of `thread_sleeps`. A thread that has ended woke up for it."""
    return (sum(count - early.get(thread, 0) for thread, count in late.items())
            + len(early.keys() - late.keys()))


def measure_idle(build, settling, seconds):
    """The windows, each on a desktop of its own, watched for `seconds` after having settled."""
    with contextlib.ExitStack() as stack:
        work = stack.enter_context(tempfile.TemporaryDirectory(prefix="vannerly-bench-"))
        windows = []
        for platform in WINDOWS.values():
            environment = {**stack.enter_context(own_desktop()), "QT_QPA_PLATFORM": platform,
                           **own_folders(work)}
            windows.append(subprocess.Popen(
                [os.path.join(build, "bin", "vannerly")], env=environment,
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            stack.callback(windows[-1].wait)
            stack.callback(windows[-1].terminate)

        def look():
            return [(process_seconds(window.pid), thread_sleeps(window.pid)) for window in windows]

        time.sleep(settling)
        before = look()
        time.sleep(seconds)
        after = look()
        if any(window.poll() is not None for window in windows):
            raise RuntimeError("a window has ended by itself")
    return [{"name": name, "seconds": seconds, "cpu": cpu_after - cpu,
             "wake-ups": wake_ups(sleeps, sleeps_after)}
            for name, (cpu, sleeps), (cpu_after, sleeps_after) in zip(WINDOWS, before, after)]
