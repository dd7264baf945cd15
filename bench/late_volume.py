"""What a job asks of a volume that answers each request late, as those do that a network is behind.

Only requests that somebody waits for are counted, so that closing a folder is none.
"""

import contextlib
import os
import subprocess
import tempfile
import time

import trees
from measuring import own_folders

# Microseconds that each request takes longer, and milliseconds for which the kernel may believe
# what it was told, which is the usual second of FUSE.
DELAY, REMEMBERED = 200, 1000
ATTRIBUTE = "user.odd."


@contextlib.contextmanager
def mounted_volume(build):
    """Answers the folder that an empty volume is mounted on."""
    with tempfile.TemporaryDirectory(prefix="vannerly-bench-") as folder:
        with subprocess.Popen([os.path.join(build, "bin", "odd_volume"), folder],
                              stdout=subprocess.PIPE) as server:
            try:
                if server.stdout.readline() != b"ready\n":
                    raise RuntimeError("no FUSE volume can be mounted")
                yield folder
            finally:
                server.terminate()


def count_requests(build, competitor, scale):
    """Answers how often each kind of request was made, and how long all took in seconds."""
    with mounted_volume(build) as volume, tempfile.TemporaryDirectory() as work:
        folder = volume + "/folder"
        trees.wide(folder, scale / 10)
        for key, value in {"delay": DELAY, "cache": REMEMBERED, "requests": ""}.items():
            os.setxattr(volume, ATTRIBUTE + key, str(value).encode())
        start = time.perf_counter()
        subprocess.run(competitor.command(folder), env={**os.environ, **own_folders(work)},
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True)
        seconds = time.perf_counter() - start
        lines = os.getxattr(volume, ATTRIBUTE + "requests").decode().splitlines()
        kinds = {kind: int(count) for kind, count in map(str.split, lines)}
    return {"name": competitor.name, "kinds": kinds, "all": sum(kinds.values()),
            "seconds": seconds}
