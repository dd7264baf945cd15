"""What the programs cost while there is nothing to do: starting, and waiting for the user."""

import contextlib
import os
import statistics
import subprocess
import tempfile
import time

from cases import WINDOWS
from measuring import Competitor, measure
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


def process_counters(process):
    """Processor time in seconds and the times that a thread went to sleep, of all threads: what
    wakes up has to go to sleep again."""
    with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
        fields = file.read().rpartition(")")[2].split()
    ticks = int(fields[11]) + int(fields[12])
    sleeps, nanoseconds = 0, 0
    for thread in os.listdir(f"/proc/{process}/task"):
        folder = f"/proc/{process}/task/{thread}"
        with open(folder + "/status", encoding="utf-8", errors="replace") as file:
            sleeps += next(int(line.split()[1]) for line in file
                           if line.startswith("voluntary_ctxt_switches"))
        with open(folder + "/schedstat", encoding="ascii") as file:
            nanoseconds += int(file.read().split()[0])
    return {"cpu": ticks / os.sysconf("SC_CLK_TCK"), "exact cpu": nanoseconds / 1e9,
            "wake-ups": sleeps}


def measure_idle(build, seconds, settling=5):
    """The windows, each on a desktop of its own, watched for `seconds` after having settled."""
    with contextlib.ExitStack() as stack:
        config = stack.enter_context(tempfile.TemporaryDirectory(prefix="vannerly-bench-"))
        windows = {}
        for name, platform in WINDOWS.items():
            environment = {**stack.enter_context(own_desktop()), "QT_QPA_PLATFORM": platform,
                           "XDG_CONFIG_HOME": config, "XDG_CONFIG_DIRS": config}
            windows[name] = subprocess.Popen(
                [os.path.join(build, "app", "vannerly")], env=environment,
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            stack.callback(windows[name].wait)
            stack.callback(windows[name].terminate)
        time.sleep(settling)
        before = [process_counters(window.pid) for window in windows.values()]
        time.sleep(seconds)
        after = [process_counters(window.pid) for window in windows.values()]
        if any(window.poll() is not None for window in windows.values()):
            raise RuntimeError("a window has ended by itself")
    return [{"name": name, "seconds": seconds, **{key: late[key] - early[key] for key in late}}
            for name, early, late in zip(windows, before, after)]
