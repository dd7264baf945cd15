#!/usr/bin/env python3
"""The build folder installed: found wherever it is put, and true to what the programs say.

VANNERLY_BUILD is the build folder, VANNERLY_CMAKE the cmake that made it.
"""

import gzip
import os
import re
import shutil
import subprocess
import tempfile
import unittest

BUILD, CMAKE = os.environ["VANNERLY_BUILD"], os.environ["VANNERLY_CMAKE"]
PROGRAMS = ("vannerly-cli", "vannerly")


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Installation(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.place = tempfile.mkdtemp(prefix="vannerly-install-")
        cls.addClassCleanup(shutil.rmtree, cls.place)
        run(CMAKE, "--install", BUILD, "--prefix", os.path.join(cls.place, "first"))
        # Nothing that a program needs may be found by the place it was installed in.
        cls.prefix = os.path.join(cls.place, "moved")
        os.rename(os.path.join(cls.place, "first"), cls.prefix)
        cls.share = os.path.join(cls.prefix, "share")

    def options_of(self, program):
        """The options that the program tells of itself."""
        text = run(os.path.join(self.prefix, "bin", program), "--help")
        found = set(re.findall(r"(?<![\w-])--(?:\[no-\])?[a-z-]+", text))
        options = {option.replace("[no-]", form) for option in found for form in ("", "no-")}
        self.assertGreater(len(options), 2)
        return options

    def test_moved_program_knows_the_document_packages(self):
        folder = os.path.join(self.place, "folder")
        os.makedirs(os.path.join(folder, "sub/My.photoslibrary"))
        for name in ("sub/My.photoslibrary/inside", "sub/file"):
            with open(os.path.join(folder, name), "w", encoding="utf-8"):
                pass
        subprocess.run([os.path.join(self.prefix, "bin/vannerly-cli"), "--quiet", folder],
                       check=True, env={"HOME": self.place})
        self.assertCountEqual(os.listdir(folder), ["My.photoslibrary", "file", "sub"])
        self.assertEqual(os.listdir(os.path.join(folder, "My.photoslibrary")), ["inside"])

    def test_manual_tells_every_option(self):
        for program in PROGRAMS:
            with gzip.open(os.path.join(self.share, f"man/man1/{program}.1.gz"), "rt") as file:
                page = file.read().replace("\\-", "-")
            for option in self.options_of(program):
                self.assertRegex(page, re.escape(option) + r"(?![\w-])", program)

    def test_shells_complete_every_option(self):
        for program in PROGRAMS:
            options = self.options_of(program)
            folder = os.path.join(self.share, "bash-completion/completions")
            offered = run("bash", "-c", f"""
                . {folder}/{program}
                COMP_WORDS=({program} --) COMP_CWORD=1
                compopt() {{ :; }}
                "$(complete -p {program} | sed 's/.*-F \\([^ ]*\\).*/\\1/')"
                printf '%s\\n' "${{COMPREPLY[@]%=}}" """)
            self.assertEqual(set(offered.split()) - {"--"}, options - {"--"}, "bash")

            folder = os.path.join(self.share, "fish/vendor_completions.d")
            offered = run("fish", "--no-config", "-c",
                          f"source {folder}/{program}.fish; complete -C '{program} --'",
                          env={**os.environ, "HOME": self.place})
            self.assertEqual({line.split("\t")[0].rstrip("=") for line in offered.splitlines()},
                             options - {"--"}, "fish")

            path = os.path.join(self.share, f"zsh/site-functions/_{program}")
            run("zsh", "-n", path)
            offered = re.findall(r"(?<=['*)])--[a-z-]+", read(path))
            self.assertEqual(set(offered), options - {"--"}, "zsh")

    def test_folders_are_never_opened_by_it(self):
        """A double click on a folder, or "show in folder", must not flatten it."""
        manager = os.path.join(self.place, "manager/applications")
        os.makedirs(manager)
        with open(os.path.join(manager, "zz.manager.desktop"), "w", encoding="utf-8") as file:
            file.write("[Desktop Entry]\nType=Application\nName=Z\nExec=true %U\n"
                       "MimeType=inode/directory;\n")
        for folder in (manager, os.path.join(self.share, "applications")):
            run("update-desktop-database", folder)
        for others, expected in (("", ""), (":" + os.path.dirname(manager), "zz.manager.desktop")):
            told = run("gio", "mime", "inode/directory", env={
                "PATH": f"{self.prefix}/bin:{os.environ['PATH']}", "HOME": self.place,
                "LC_ALL": "C.UTF-8",
                "XDG_CONFIG_DIRS": self.place, "XDG_DATA_DIRS": self.share + others})
            self.assertIn(expected, told)
            self.assertNotIn("Vannerly", told)


if __name__ == "__main__":
    unittest.main()
