#!/usr/bin/env python3
"""The tarball of the sources builds, and the packages made of it install, work and go away again.

VANNERLY_BUILD is the build folder, VANNERLY_CMAKE the cmake that made it. What is built here stays
below that folder, so that the next time only what has changed is built.
"""

import glob
import os
import re
import shutil
import subprocess
import tempfile
import unittest

BUILD, CMAKE = os.environ["VANNERLY_BUILD"], os.environ["VANNERLY_CMAKE"]
PLACE = os.path.join(BUILD, "packaging")


def run(*command, **options):
    ended = subprocess.run(command, check=False, text=True, stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, **options)
    if ended.returncode != 0:
        raise AssertionError(f"{' '.join(command)}: {ended.returncode}\n{ended.stdout}")
    return ended.stdout


def build_packages():
    """Makes the packages as somebody does who has nothing but the tarball."""
    for old in glob.glob(f"{BUILD}/vannerly-*.tar.gz") + glob.glob(f"{PLACE}/release/*.deb"):
        os.remove(old)
    run(CMAKE, "--build", BUILD, "--target", "package_source")
    [tarball] = glob.glob(f"{BUILD}/vannerly-*.tar.gz")
    source = os.path.join(PLACE, "source")
    shutil.rmtree(source, ignore_errors=True)
    os.makedirs(source)
    run("tar", "--extract", "--gzip", "--file", tarball, "--strip-components=1", "-C", source)
    release = os.path.join(PLACE, "release")
    # What a package holds must not depend on the rights that its builder gives to new files.
    run(CMAKE, "--preset", "release", "-B", release, cwd=source, umask=0o077)
    run(CMAKE, "--build", release, "--parallel", "2", "--target", "package", umask=0o077)
    return {os.path.basename(path).split("_")[0]: path for path in glob.glob(f"{release}/*.deb")}


def tree(folder):
    return sorted(os.path.relpath(os.path.join(parent, name), folder)
                  for parent, folders, files in os.walk(folder) for name in folders + files)


class Packages(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.packages = build_packages()

    def test_checked_by_debian(self):
        self.assertCountEqual(self.packages, ["vannerly", "vannerly-cli"])
        run("lintian", "--allow-root", "--fail-on", "error,warning", *self.packages.values())
        needs = {name: re.split(r" *[,(][^,]*,? *|, *",
                                run("dpkg-deb", "--field", path, "Depends").strip())
                 for name, path in self.packages.items()}
        version = run("dpkg-deb", "--field", self.packages["vannerly-cli"], "Version").strip()
        self.assertIn(f"vannerly-cli (= {version})",
                      run("dpkg-deb", "--field", self.packages["vannerly"], "Depends"))
        self.assertFalse([name for name in needs["vannerly-cli"] if "qt" in name])
        self.assertTrue({"libc6", "libstdc++6"} <= set(needs["vannerly-cli"]))
        self.assertTrue({"libqt6widgets6", "libqt6svg6"} <= set(needs["vannerly"]))

    def test_programs_are_hardened_and_tell_nothing_of_their_builder(self):
        with tempfile.TemporaryDirectory() as folder:
            for path in self.packages.values():
                run("dpkg-deb", "--extract", path, folder)
            for program in glob.glob(f"{folder}/usr/bin/*"):
                headers = run("readelf", "--wide", "--headers", "--dynamic", program)
                for sign in (r"\bDYN\b", "GNU_RELRO", "BIND_NOW", r"GNU_STACK.* RW "):
                    self.assertRegex(headers, sign)
                symbols = run("readelf", "--wide", "--dyn-syms", program)
                for symbol in ("__stack_chk_fail", "_chk@"):
                    self.assertIn(symbol, symbols)
                with open(program, "rb") as file:
                    self.assertNotIn(os.fsencode(PLACE), file.read())

    def test_installed_used_and_purged(self):
        with tempfile.TemporaryDirectory() as root:
            for folder in ("info", "updates"):
                os.makedirs(f"{root}/var/lib/dpkg/{folder}")
            for file in ("status", "available"):
                open(f"{root}/var/lib/dpkg/{file}", "w", encoding="utf-8").close()

            def dpkg(*arguments):
                # Nothing that the packages need is in this root; of each other they know.
                run("fakeroot", "dpkg", f"--root={root}", "--force-not-root", "--force-depends",
                    "--force-script-chrootless", "--no-triggers", "--log=/dev/null", *arguments,
                    env={**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin:/sbin"})

            def outside_dpkg():
                return [path for path in tree(root) if not path.startswith("var/lib/dpkg/")]

            before = outside_dpkg()
            dpkg("--install", *self.packages.values())
            folder = f"{root}/home/user/folder"
            os.makedirs(f"{folder}/sub/My.rtfd")
            for name in ("sub/file", "sub/My.rtfd/TXT.rtf"):
                with open(f"{folder}/{name}", "w", encoding="utf-8") as file:
                    file.write(name)
            environment = {"HOME": f"{root}/home/user"}
            run(f"{root}/usr/bin/vannerly-cli", "--set", "RenameDuplicates=false", folder,
                env=environment)
            # The window as it is installed is built in another way than the one that other tests
            # open; it shows itself to nobody, and ends after its work.
            run(f"{root}/usr/bin/vannerly-cli", "--set", "QuitWhenDone=true", env=environment)
            os.makedirs(f"{folder}/sub/second")
            os.rename(f"{folder}/file", f"{folder}/sub/second/file")
            run(f"{root}/usr/bin/vannerly", folder, timeout=60,
                env={**environment, "QT_QPA_PLATFORM": "offscreen"})
            os.rmdir(f"{folder}/sub/second")

            dpkg("--purge", "vannerly", "vannerly-cli")
            self.assertEqual([path for path in outside_dpkg() if not path.startswith("home")],
                             before)
            self.assertEqual(tree(folder), ["My.rtfd", "My.rtfd/TXT.rtf", "file", "sub"])
            self.assertTrue(os.path.exists(f"{root}/home/user/.config/vannerly/preferences.toml"))
            self.assertNotIn("vannerly", " ".join(tree(f"{root}/var/lib/dpkg/info")))


if __name__ == "__main__":
    unittest.main()
