"""The trees that the comparison flattens, made fast: one system call a file."""

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


def wide(top, folders=2000, files=50):
    """100,000 files in 2,000 folders, every name its own."""
    for i, folder in make_folders(top, folders):
        for j in range(files):
            make_file(f"document {i} {j}.txt", folder)
    return folders * files


def clash(top):
    """The same with half the names taken by the time it is their turn."""
    for i, folder in make_folders(top, 2000):
        for j in range(50):
            make_file(f"document {i // 2} {j}.txt", folder)
    return 100_000


def flat(top):
    """100,000 files in one sub-folder."""
    os.makedirs(top + "/one")
    folder = os.open(top + "/one", os.O_RDONLY)
    for i in range(100_000):
        make_file(f"document {i}.txt", folder)
    os.close(folder)
    return 100_000


def deep(top):
    """3,000 folders, one in the other, a file in each."""
    os.mkdir(top)
    above = os.open(top, os.O_RDONLY)
    for i in range(3000):
        os.mkdir("folder", dir_fd=above)
        folder = os.open("folder", os.O_RDONLY, dir_fd=above)
        os.close(above)
        make_file(f"document {i}.txt", folder)
        above = folder
    os.close(above)
    return 3000


def packages(top):
    """20,000 packages of two files each among 20,000 files, in 2,000 folders."""
    for i, folder in make_folders(top, 2000):
        for j in range(10):
            make_file(f"document {i} {j}.txt", folder)
            name = f"Tool {i} {j}.app"
            os.mkdir(name, dir_fd=folder)
            os.mkdir(name + "/Contents", dir_fd=folder)
            make_file(name + "/Contents/Info.plist", folder)
            make_file(name + "/Contents/tool", folder)
    return 40_000


def million(top):
    """1,000,000 files in 20,000 folders."""
    return wide(top, 20_000, 50)


TREES = {tree.__name__: tree for tree in (wide, clash, flat, deep, packages, million)}
