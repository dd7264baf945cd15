"""The trees that are measured on, made fast: one system call a file.

Each is made by a routine that gets the folder to make and a scale, 1 for the size that its
description tells, and answers how many items the job is about.
"""

import os
import stat


def make_file(name, folder):
    os.mknod(name, stat.S_IFREG | 0o644, dir_fd=folder)


def make_folders(top, count):
    """Opens `count` new folders in turn, 50 in each of their parents."""
    for i in range(count):
        path = f"{top}/part {i // 50}/folder {i}"
        os.makedirs(path)
        folder = os.open(path, os.O_RDONLY)
        yield i, folder
        os.close(folder)


def fill(top, folders, files, name):
    for i, folder in make_folders(top, folders):
        for j in range(files):
            make_file(name(i, j), folder)
    return folders * files


def wide(top, scale):
    """100,000 files in 2,000 folders, every name its own."""
    return fill(top, round(2000 * scale), 50, lambda i, j: f"document {i} {j}.txt")


def twenty(top, scale):
    """100,000 files in 2,000 folders, every name its own and of 20 bytes."""
    return fill(top, round(2000 * scale), 50, lambda i, j: f"document {i:04} {j:02}.txt")


def clash(top, scale):
    """100,000 files in 2,000 folders, half the names taken by the time it is their turn."""
    return fill(top, round(2000 * scale), 50, lambda i, j: f"document {i // 2} {j}.txt")


def million(top, scale):
    """1,000,000 files in 20,000 folders, every name its own."""
    return wide(top, 10 * scale)


def million_clash(top, scale):
    """1,000,000 files in 20,000 folders, half the names taken by the time it is their turn."""
    return clash(top, 10 * scale)


def one(top, _scale):
    """One file in a sub-folder: what starting costs."""
    return fill(top, 1, 1, lambda i, j: "document.txt")


def flat(top, scale):
    """100,000 files in one sub-folder."""
    count = round(100_000 * scale)
    os.makedirs(top + "/one")
    folder = os.open(top + "/one", os.O_RDONLY)
    for i in range(count):
        make_file(f"document {i}.txt", folder)
    os.close(folder)
    return count


def deep(top, scale):
    """3,000 folders, one in the other, a file in each."""
    count = round(3000 * scale)
    os.mkdir(top)
    above = os.open(top, os.O_RDONLY)
    for i in range(count):
        os.mkdir("folder", dir_fd=above)
        folder = os.open("folder", os.O_RDONLY, dir_fd=above)
        os.close(above)
        make_file(f"document {i}.txt", folder)
        above = folder
    os.close(above)
    return count


def packages(top, scale):
    """20,000 packages of two files each among 20,000 files, in 2,000 folders."""
    count = round(2000 * scale)
    for i, folder in make_folders(top, count):
        for j in range(10):
            make_file(f"document {i} {j}.txt", folder)
            name = f"Tool {i} {j}.app"
            os.mkdir(name, dir_fd=folder)
            os.mkdir(name + "/Contents", dir_fd=folder)
            make_file(name + "/Contents/Info.plist", folder)
            make_file(name + "/Contents/tool", folder)
    return 20 * count


def emptied(top, scale):
    """2,000 empty folders, 50 in each of their parents."""
    fill(top, round(2000 * scale), 0, None)
    return round(2000 * scale)


def leftovers(top, scale):
    """2,000 folders that still hold ten files each, 50 in each of their parents."""
    return fill(top, round(2000 * scale), 10, lambda i, j: f"document {i} {j}.txt")


def extensions(top, scale):
    """100,000 files of 20 extensions directly in the folder."""
    count = round(100_000 * scale)
    os.mkdir(top)
    folder = os.open(top, os.O_RDONLY)
    for i in range(count):
        make_file(f"document {i}.kind{i % 20}", folder)
    os.close(folder)
    return count


FLATTENED = {tree.__name__: tree
             for tree in (wide, clash, flat, deep, packages, one, million, million_clash)}
