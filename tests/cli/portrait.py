"""All that can be seen of a tree, to tell whether one is what it was."""

import os
import stat
from dataclasses import dataclass, replace


@dataclass(frozen=True)
class Item:
    """Folders have no inode here: one that is made again has another, which nobody minds. In a
    strict portrait they have, and so has the time of the last change of any kind."""

    kind: int
    mode: int
    owner: tuple
    modified: int  # nanoseconds since 1970
    attributes: tuple
    content: bytes  # of a file; where a link leads to
    inode: int | None
    changed: int | None  # nanoseconds since 1970

    @property
    def isFolder(self):
        return stat.S_ISDIR(self.kind)

    @property
    def identity(self):
        """Tells a file or link from a later one that has been given its inode number."""
        return None if self.isFolder else (self.inode, self.kind, self.modified, self.content)


def look_at(path, isStrict=False):
    status = os.lstat(path)
    kind, content, attributes = stat.S_IFMT(status.st_mode), b"", ()
    if kind == stat.S_IFLNK:
        content = os.fsencode(os.readlink(path))
    else:
        attributes = tuple((name, os.getxattr(path, name)) for name in sorted(os.listxattr(path)))
    if kind == stat.S_IFREG:
        with open(path, "rb") as file:
            content = file.read()
    return Item(kind, stat.S_IMODE(status.st_mode), (status.st_uid, status.st_gid),
                status.st_mtime_ns, attributes, content,
                status.st_ino if isStrict or kind != stat.S_IFDIR else None,
                status.st_ctime_ns if isStrict else None)


def portrait(folder, isStrict=False):
    """Path below `folder` -> Item; the folder itself is there too, as "."."""
    found = {".": look_at(folder, isStrict)}
    for parent, folders, files in os.walk(folder, onerror=_fail):
        for path in (os.path.join(parent, name) for name in folders + files):
            found[os.path.relpath(path, folder)] = look_at(path, isStrict)
    return found


def _fail(error):
    raise error


def without_times_of_folders(items):
    return {path: replace(item, modified=0) if item.isFolder else item
            for path, item in items.items()}


def differences(expected, actual):
    """Lines that say what is not as expected; none when all is."""
    lines = []
    for path in sorted(expected.keys() | actual.keys()):
        old, new = expected.get(path), actual.get(path)
        if old is None or new is None:
            lines.append(f"{path!r} is {'missing' if new is None else 'there'}: {old or new}")
        else:
            lines += [f"{path!r}: {key} is {getattr(new, key)!r} for {value!r}"
                      for key, value in vars(old).items() if value != getattr(new, key)]
    return lines
