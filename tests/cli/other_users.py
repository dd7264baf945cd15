"""For tests in which several users have files, or that mount something. Root becomes each of them;
anybody else is root in a user namespace, among the ids lent to them."""

import os
import subprocess
import sys

AS_ROOT = ["--map-root-user", "--map-auto"]


def become_root(mounts=False):
    """To be called first. With `mounts`, what the test mounts ends with it. Where root cannot be had,
    the test is skipped as a whole, with exit status 77."""
    options = (AS_ROOT if os.geteuid() != 0 else []) + ["--mount"] * mounts
    if not options or os.environ.pop("VANNERLY_NAMESPACE", None):
        return
    if subprocess.run(["unshare", *options, "true"], check=False, capture_output=True).returncode:
        print("no other user can be had here")
        sys.exit(77)
    os.environ["VANNERLY_NAMESPACE"] = "1"
    os.execvp("unshare", ["unshare", *options, sys.executable, "-B", *sys.argv])
