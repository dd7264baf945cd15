"""The jobs that are compared, and who does them."""

import os
import sys

import trees
from measuring import Case, Competitor

WINDOWS = {"vannerly (offscreen)": "offscreen", "vannerly (Xvfb)": "xcb"}  # and Qt's platforms
WITHOUT_JOURNAL = "vannerly-cli, no journal"
UNDO = "vannerly-cli --undo"
PREVIEW = "vannerly-cli --dry-run"
HERE = os.path.dirname(os.path.realpath(__file__))


def flattening(build, program, desktop):
    """The ways to flatten a folder. `desktop` is the environment of the windows; without one there
    are none."""
    mover = os.path.join(HERE, "python_mover.py")
    window = os.path.join(build, "bin", "vannerly")
    competitors = [
        Competitor("bare loop", lambda folder: [os.path.join(build, "bin", "bare_loop"), folder]),
        Competitor("vannerly-cli", lambda folder: [program, folder]),
        Competitor(WITHOUT_JOURNAL, lambda folder: [program, folder], has_journal=False),
        Competitor("find + mv", lambda folder: ["find", folder, "-mindepth", "2", "-type", "f",
                                                "-exec", "mv", "-n", "-t", folder, "{}", "+"]),
        Competitor("python script", lambda folder: [sys.executable, mover, folder])]
    if desktop:
        for name, platform in WINDOWS.items():
            competitors.append(Competitor(name, lambda folder: [window, folder],
                                          {**desktop, "QT_QPA_PLATFORM": platform},
                                          is_window=True))
    return competitors


def flatten_cases(competitors, names):
    return [Case(name, trees.FLATTENED[name], competitors) for name in names]


def phase_case(tree, other, program, option):
    """A later phase of a run alone: a package that is named itself is not entered, so that its
    files are neither counted nor moved."""
    return Case(tree.__name__, tree,
                [other, Competitor("vannerly-cli", lambda folder: [program, option, folder])],
                folder="folder.bundle", is_start_left_out=True)


def removal_cases(program):
    remove = Competitor("rm -r", lambda folder: [
        "rm", "-rf", "--", *(entry.path for entry in os.scandir(folder))])
    return [phase_case(tree, remove, program, "--delete-emptied-folders")
            for tree in (trees.emptied, trees.leftovers)]


def collate_cases(build, program):
    loop = Competitor("rename loop",
                      lambda folder: [os.path.join(build, "bin", "collate_loop"), folder])
    return [phase_case(trees.extensions, loop, program, "--aggregate-files-when-done")]


def undo_cases(program):
    """Flattening, and taking that back; with the emptied folders kept, and deleted."""
    for name, options in (("undo", []), ("undo_deleted", ["--delete-emptied-folders"])):
        def flatten(folder, options=options):
            return [program, *options, folder]
        yield Case(name, trees.twenty, [
            Competitor("vannerly-cli", flatten),
            Competitor(UNDO, lambda folder: [program, "--undo", folder], before=flatten)])


def preview_cases(program):
    """Flattening, and telling beforehand what that would do."""
    yield Case("preview", trees.wide, [
        Competitor("vannerly-cli", lambda folder: [program, folder]),
        Competitor(PREVIEW, lambda folder: [program, "--dry-run", folder])])
