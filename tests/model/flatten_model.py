"""What flattening one folder must leave behind, worked out on a tree in memory.

The model shares nothing with the program: it knows the rules, not the code. Names are bytes, as on
disk. New names that the program makes unique carry a UUID; the model makes up UUIDs of its own, and
`canonical` turns every UUID into one token so that the two trees can be compared.
"""

import re
from dataclasses import dataclass, field, replace

NAME_MAX = 255
PATH_BUFFER = 4096  # of the path to which an alias leads, terminator included
COLLATE_PATH_BUFFER = 2048  # of a path in the collate phase, terminator included

PACKAGE_EXTENSIONS = {b"app", b"bundle", b"framework", b"plugin", b"kext"}
DOCUMENT_PACKAGES = {b"rtfd", b"photoslibrary"}  # two of those registered with the program

UUID = re.compile(rb"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}")
UUID_TOKEN = b"<UUID>"

FOLDER, FILE, LINK, PIPE, SOCKET = "folder", "file", "link", "pipe", "socket"


@dataclass(eq=False)
class Node:
    """An item. Two names of one hard-linked file share `identity` but are two nodes."""

    kind: str
    identity: object = None  # tells files apart; None for links and folders
    mode: int = 0o644
    target: bytes = b""  # of a link
    items: dict = field(default_factory=dict)  # of a folder: name -> Node
    bundleBit: bool = False
    invisibleBit: bool = False

    @property
    def isFolder(self):
        return self.kind == FOLDER

    def copy(self):
        return replace(self, items={name: item.copy() for name, item in self.items.items()})


@dataclass
class Preferences:
    operation: int = 1
    renameDuplicates: bool = True
    ignoreApplications: bool = True
    deleteEmptiedFolders: bool = False
    deleteToTrash: bool = False
    aggregateFilesWhenDone: bool = False


def extension_of(name):
    """The text after the last dot, or None when there is no dot or nothing after it."""
    return name.rpartition(b".")[2] or None if b"." in name else None


def is_package(name, node):
    extension = extension_of(name)
    if extension is not None and extension.lower() in PACKAGE_EXTENSIONS:
        return True
    if not node.isFolder:
        return False
    contents = node.items.get(b"Contents")
    if contents and contents.isFolder:
        info = contents.items.get(b"Info.plist")
        if info and info.kind == FILE:
            return True
    runner = node.items.get(b"AppRun")
    if runner and runner.kind == FILE and runner.mode & 0o111:
        return True
    return node.bundleBit or (extension is not None and extension.lower() in DOCUMENT_PACKAGES)


class Flattening:
    """One run over one dropped folder. `root` is changed in place; `path` is its absolute path."""

    def __init__(self, root, path, preferences):
        self.root, self.path, self.preferences = root, path, preferences
        self.uuids = 0
        self.aliases = {}
        self.trash = {}  # path -> what has gone to the trash from there
        # How often each rule had something to do: a test that never meets a rule proves nothing.
        self.seen = dict.fromkeys(
            ("moved", "renamed", "left for a taken name", "left for a long name", "aliases",
             "no alias", "packages kept whole", "deleted folders", "deleted files", "trashed folders",
             "kept packages", "collated", "not collated"), 0)

    def run(self):
        for folder, name in self.collected_items():
            if self.preferences.operation == 1:
                self.move_up(folder, name)
            elif self.preferences.operation == 2:
                self.make_alias(folder, name)
        if self.preferences.deleteEmptiedFolders:
            self.remove_folders()
        if self.preferences.aggregateFilesWhenDone:
            self.collate()
        return self.seen

    @property
    def isAllInPlace(self):
        return not any(self.seen[rule] for rule in (
            "left for a taken name", "left for a long name", "no alias", "deleted files",
            "not collated"))

    # Counting and collecting -------------------------------------------------------------------

    def collected_items(self):
        """The (path of folders, name) of every item to handle, in the order of handling."""
        rootName = self.path.rpartition(b"/")[2]
        if self.preferences.ignoreApplications and is_package(rootName, self.root):
            return []
        found = []
        self.walk(self.root, (), found)
        return found

    def walk(self, folder, place, found):
        for name in sorted(folder.items):
            item = folder.items[name]
            if not item.isFolder:
                found.append((place, name))
            elif self.preferences.ignoreApplications and is_package(name, item):
                self.seen["packages kept whole"] += 1
                found.append((place, name))
            else:
                self.walk(item, place + (name,), found)

    def folder_at(self, place):
        folder = self.root
        for name in place:
            folder = folder.items[name]
        return folder

    # Handling one item -------------------------------------------------------------------------

    def move_up(self, place, name):
        if not place:
            return
        folder, newName = self.folder_at(place), name
        if name in self.root.items:
            if not self.preferences.renameDuplicates:
                self.seen["left for a taken name"] += 1
                return
            newName = self.unique_name(name)
            if len(newName) > NAME_MAX:
                self.seen["left for a long name"] += 1
                return
            self.seen["renamed"] += 1
        self.seen["moved"] += 1
        self.root.items[newName] = folder.items.pop(name)

    def unique_name(self, name):
        self.uuids += 1
        uuid = b"%08X-0000-4000-8000-%012X" % (self.uuids, self.uuids)
        extension = extension_of(name)
        base = name if extension is None else name[: -len(extension) - 1]
        return ((base + b" - " if base else b"") + uuid
                + (b"" if extension is None else b"." + extension))

    def make_alias(self, place, name):
        filePath = b"/".join((self.path, *place, name))
        if len(filePath) >= PATH_BUFFER:
            self.seen["no alias"] += 1
            return
        tries = 0
        aliasName = name
        while aliasName in self.root.items:
            tries += 1
            aliasName = name + b" alias" + (b" %d" % tries if tries > 1 else b"")
        if len(aliasName) > NAME_MAX:
            self.seen["no alias"] += 1
            return
        self.seen["aliases"] += 1
        alias = self.root.items[aliasName] = Node(LINK, target=filePath)
        # By the item directly in the folder that the file is, or lies in.
        self.aliases.setdefault((*place, name)[0], []).append(alias)

    # After the handling ------------------------------------------------------------------------

    def remove_folders(self):
        for name, item in list(self.root.items.items()):
            if not item.isFolder:
                continue
            if is_package(name, item):
                self.seen["kept packages"] += 1
                continue
            if self.preferences.deleteToTrash and self.holds_files(item):
                self.seen["trashed folders"] += 1
                self.trash[self.path + b"/" + name] = item
            else:
                self.seen["deleted folders"] += 1
                self.seen["deleted files"] += self.holds_files(item)
            del self.root.items[name]

    def holds_files(self, folder):
        return any(not i.isFolder or self.holds_files(i) for i in folder.items.values())

    def collate(self):
        for name in sorted(self.root.items):
            item = self.root.items[name]
            extension = extension_of(name)
            if name.startswith(b".") or (item.invisibleBit and not item.isFolder):
                continue
            if extension is None:
                continue
            if len(self.path) + 1 + len(extension) >= COLLATE_PATH_BUFFER:
                self.seen["not collated"] += 1
                continue
            # The folder is made before it is known whether the item can go into it.
            folder = self.root.items.setdefault(extension, Node(FOLDER, mode=0o755))
            isPathTooLong = len(self.path) + 1 + len(name) >= COLLATE_PATH_BUFFER
            if isPathTooLong or not folder.isFolder or name in folder.items:
                self.seen["not collated"] += 1
                continue
            self.seen["collated"] += 1
            folder.items[name] = self.root.items.pop(name)
            for alias in self.aliases.get(name, ()):  # An alias follows its file.
                oldStart, newStart = (b"/".join((self.path, *rest))
                                      for rest in ((name,), (extension, name)))
                alias.target = newStart + alias.target[len(oldStart):]


def canonical(node):
    """A value that is equal for two trees exactly when they hold the same, UUIDs aside."""
    if node.isFolder:
        items = [(UUID.sub(UUID_TOKEN, name), canonical(item)) for name, item in node.items.items()]
        return (FOLDER, node.mode, tuple(sorted(items, key=repr)))
    if node.kind == LINK:
        return (LINK, node.target)
    return (node.kind, node.mode, node.identity)
