"""What the tests of the terminal program share: a temporary folder, trees, and runs of the program.

VANNERLY_CLI is the path of the program, VANNERLY_OTHER_DISK that of the library built from
other_disk.cpp. All names are text; os.fsencode's escapes stand for bytes that are no text.
"""

import base64
import os
import re
import resource
import stat
import subprocess
import tempfile
import time
import unittest

PROGRAM = os.path.abspath(os.environ["VANNERLY_CLI"])
UUID = re.compile(r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}")
IDLE = "Drop a folder on the application or this window to flatten it."


def slow_disk(delay, deletion=0):
    """Environment variables that make every rename take that many microseconds longer, and every
    deletion."""
    # The sanitizer wants to be the first library; the other one here does not get in its way.
    options = [os.environ.get("ASAN_OPTIONS", ""), "verify_asan_link_order=0"]
    return {"LD_PRELOAD": os.path.abspath(os.environ["VANNERLY_OTHER_DISK"]),
            "ASAN_OPTIONS": ":".join(o for o in options if o), "OTHER_DISK_DELAY_US": str(delay),
            "OTHER_DISK_DELETE_DELAY_US": str(deletion)}


class CliCase(unittest.TestCase):
    maxDiff = None
    where = None  # the folder in which the temporary one is made; none for the usual

    def setUp(self):
        os.umask(0o022)
        self.place = os.path.realpath(tempfile.mkdtemp(prefix="vannerly-cli-", dir=self.where))
        # rm goes as deep as it takes; shutil.rmtree does not.
        self.addCleanup(subprocess.run, ["rm", "-rf", "--", self.place], check=False)
        self.home = self.path("home")
        os.mkdir(self.home)
        self.environment = {**os.environ, "HOME": self.home,
                            "XDG_CONFIG_HOME": self.path("config"),
                            "XDG_STATE_HOME": self.path("state"),
                            "XDG_DATA_HOME": self.path("data"),
                            "XDG_CONFIG_DIRS": self.path("system")}

    # Files -------------------------------------------------------------------------------------

    def path(self, *names):
        return os.path.join(self.place, *names)

    def write(self, path, content="", mode=None):
        """Writes a file below the temporary folder, and the folders above it."""
        path = self.path(path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        if mode is not None:
            os.chmod(path, mode)
        return path

    def read(self, path):
        with open(self.path(path), encoding="utf-8") as file:
            return file.read()

    def write_preferences(self, text, where="config"):
        return self.write(f"{where}/vannerly/preferences.toml", text)

    def make_sample(self, folder="drop"):
        """Three files in the folder itself and three below, one of them a clash."""
        for name in ("a.txt", "b.jpg", "c", "one/d.txt", "one/two/a.txt", "three/e.jpg"):
            self.write(f"{folder}/{name}", f"content of {name}")
        return self.path(folder)

    def tree(self, folder):
        """Everything below `folder`: path -> content, or what else the item is. A UUID in a name
        is written as UUID; no two names may differ by that alone."""
        found = {}
        for parent, folders, files in os.walk(folder):
            for name in folders + files:
                path = os.path.join(parent, name)
                key = UUID.sub("UUID", os.path.relpath(path, folder))
                self.assertNotIn(key, found, "two names differ by their UUIDs alone")
                mode = os.lstat(path).st_mode
                if stat.S_ISLNK(mode):
                    found[key] = "-> " + os.readlink(path)
                elif stat.S_ISDIR(mode):
                    found[key] = "folder"
                elif stat.S_ISREG(mode):
                    with open(path, "rb") as file:
                        found[key] = file.read().decode(errors="surrogateescape")
                else:
                    found[key] = {stat.S_IFIFO: "pipe", stat.S_IFSOCK: "socket"}[stat.S_IFMT(mode)]
        return found

    def contents(self, folder):
        """The contents of all files below, whatever their names, in no order."""
        found = []
        for parent, _, files in os.walk(folder):
            for path in (os.path.join(parent, name) for name in files):
                if stat.S_ISREG(os.lstat(path).st_mode):
                    with open(path, "rb") as file:
                        found.append(file.read().decode(errors="surrogateescape"))
        return found

    # Runs --------------------------------------------------------------------------------------

    def start(self, *arguments, environment=None, before=(), **options):
        options = {"cwd": self.place, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE,
                   **options}
        return subprocess.Popen([*before, PROGRAM, *arguments], stdin=subprocess.DEVNULL,
                                env={**self.environment, **(environment or {})}, **options)

    def run_cli(self, *arguments, status=0, output="", **options):
        """Runs the program to its end, checks its exit status and standard output (none, or
        anything when `output` is None) and answers (standard output, standard error)."""
        process = self.start(*arguments, **options)
        return self.finish(process, status, output)

    def wait_until(self, condition, process):
        """Until it is so, while the process is at work."""
        deadline = time.monotonic() + 60
        while not condition():
            self.assertIsNone(process.poll(), "ended too early")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.002)

    def finish(self, process, status=0, output=""):
        try:
            out, err = process.communicate(timeout=240)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        out, err = ((text or b"").decode(errors="surrogateescape") for text in (out, err))
        self.assertEqual(process.returncode, status, f"standard error was:\n{err[-4000:]}")
        if output is not None:
            self.assertEqual(out, output)
        return out, err


def exact(entry, key="path"):
    """The name on disk that an entry of the document tells."""
    if key + "Base64" in entry:
        return os.fsdecode(base64.b64decode(entry[key + "Base64"]))
    return entry[key]


def powerless():
    """What to put before a command so that permissions bind it. Root keeps its files but loses the
    powers by which it may ignore their permissions; anybody else has none to lose."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--inh-caps=-all", "--bounding-set=-all", "--no-new-privs"]


def fast_place():
    """Where a hundred thousand files are made soonest: in memory when there is room."""
    try:
        room = os.statvfs("/dev/shm")
    except OSError:
        return None
    return "/dev/shm" if room.f_bavail * room.f_frsize > 1 << 30 else None


def limits(**sizes):
    """What to do in a new process so that it has little: limits(NOFILE=16)."""
    def limit():
        for name, size in sizes.items():
            resource.setrlimit(getattr(resource, "RLIMIT_" + name), (size, size))
    return limit
