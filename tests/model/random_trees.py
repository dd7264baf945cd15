"""Small random trees, made to meet as many rules at once as possible."""

import os

from flatten_model import FILE, FOLDER, LINK, PIPE, SOCKET, Node

LONG = 255
# Only root can take items out of a folder without write permission.
FOLDER_MODES = (0o755,) * 6 + (0o700, 0o555 if os.geteuid() == 0 else 0o711)
ORDINARY = [
    b"a.txt", b"b.txt", b"a.jpg", b"b.JPG", b"a.JPG", b"IMG.JPG", b"README", b"Makefile",
    b"a.tar.gz", b"a.jpgs.jpg", b".hidden", b".jpg", b".DS_Store", b".a.txt", b"a", b"b", b"c", b"docs",
    b"pictures",
]
# Names that are also extensions, packages by name, near misses of those, parts of packages.
TELLING = [
    b"jpg", b"JPG", b"txt", b"gz", b"app", b"Tool.APP", b"X.app", b"Helper.Bundle", b"f.framework",
    b"p.plugin", b"x.KEXT", b"plugins", b"x.plugins", b"app.", b"x.ap", b"app.d", b"letter.rtfd",
    b"P.photoslibrary", b"Contents", b"Info.plist", b"AppRun", b"a.app.txt", b".app",
]
HOSTILE = [
    b"foo.", b"foo..", b"...", b"..a", b"a..b", b"foo.txt.", b" ", b" .txt", b"a. b", b"a .txt",
    b"-rf", b"--", b"-n.txt", b"--help.txt", b"*.txt", b"$(id).txt", b"%s%n.txt", b"~", b"a;b.txt",
    "caf\u00e9.txt".encode(), "cafe\u0301.txt".encode(), "\U0001f4f7.jpg".encode(),
    "\u65e5\u672c\u8a9e.\u30c6\u30ad\u30b9\u30c8".encode(), "x.\U0001f4f7".encode(),
    b"bad\xe9.txt", b"\xff", b"x.\xff\xfe", b"\xed\xb2\x80.txt", b"\xc3.txt", b"\xf0\x9f.jpg",
    "\ufeffbom.txt".encode(), "\u202etxt.exe".encode(), b"new\nline.txt", b"x.new\nline", b"\r.txt",
    b"a\tb.txt", b"\x01\x1b[31m.txt", b'quo"te.txt', b"quo\\\"te.txt", b"it's.txt", b"a\\nb", b"a\nb",
    b"a\\tb.txt", b"back\\slash.txt", b"two\\\\slashes", b"two\\slashes", b"end\\", b'"', b"\\\"",
    b"517A7274", b"517A7275", b"517A7276",
    b"a - 01234567-89AB-CDEF-0123-456789ABCDEF.txt", b"a.txt alias", b"a.txt alias 2", b"README alias",
]
LONGEST = [
    b"L" * LONG, b"M" * (LONG - 4) + b".txt", b"N" * 212 + b".txt", b"O" * 213 + b".txt",
    b"P" * 216, b"Q" * 217, b"R" * 249, b"S" * 250, b"." + b"t" * 218, b"." + b"u" * 219,
    ("\u00e9" * 127).encode(), ("\u00e9" * 106).encode() + b".txt", ("\u00e9" * 107).encode() + b".txt",
    b"v." + b"w" * 253, b"x" * 254 + b".", b"\xff" * 200 + b".b",
]


class TreeMaker:
    """Makes one tree from a random generator. `outside` maps names of items that lie outside the
    dropped folder, to which the tree may hold hard links, to their nodes."""

    def __init__(self, random, outside, firstIdentity):
        self.random, self.outside, self.identity = random, outside, firstIdentity
        # Few names a tree, so that they clash.
        pools = random.choice(([ORDINARY], [ORDINARY, TELLING], [ORDINARY, TELLING, HOSTILE],
                               [HOSTILE], [TELLING], [ORDINARY, LONGEST], [ORDINARY, HOSTILE]))
        pool = [name for names in pools for name in names]
        self.names = random.sample(pool, min(len(pool), random.randint(2, 9)))
        if random.random() < 0.3:  # alias names and extensions that meet each other
            name = random.choice(self.names)
            self.names += [n for n in (name + b" alias", name + b".jpg") if len(n) <= LONG]
        self.budget = random.choice((0, 1, 3, 6, 10, 15, 25, 60))
        self.files = []

    def folder_name(self):
        pool = self.random.choice(([b"photos", b"drop"], [b"photos"], TELLING, HOSTILE, ORDINARY))
        return self.random.choice(pool)

    def make(self):
        return self.fill(Node(FOLDER, mode=0o755), 0)

    def fill(self, folder, depth):
        for _ in range(self.random.randint(0, 6) if depth else self.random.randint(1, 8)):
            if self.budget <= 0:
                break
            name = self.random.choice(self.names)
            if name not in folder.items:
                self.budget -= 1
                folder.items[name] = self.item(depth)
        return folder

    def item(self, depth):
        random = self.random
        kind = random.choices(
            ("file", "folder", "package", "link", "hard link", "hard link out", "pipe", "socket"),
            (50, 34 if depth < 6 else 0, 6, 6, 3, 2, 1, 1))[0]
        if kind == "folder":
            folder = Node(FOLDER, mode=random.choice(FOLDER_MODES))
            return self.fill(folder, depth + 1)
        if kind == "package":
            return self.package(depth)
        if kind == "link":
            return Node(LINK, target=random.choice((
                b".", b"..", b"../..", b"/", b"nowhere", b"/nowhere/at all", b"a.txt", b"README",
                b"../../outside", b"../../outside/kept", random.choice(self.names))))
        if kind == "hard link" and self.files:
            return random.choice(self.files).copy()
        if kind == "hard link out" and self.outside:
            return random.choice(list(self.outside.values())).copy()
        if kind in (PIPE, SOCKET):
            return self.named(Node(kind))
        return self.file()

    def file(self):
        random = self.random
        node = Node(FILE, mode=random.choice((0o644,) * 6 + (0o444, 0o755, 0o400)))
        node.invisibleBit = random.random() < 0.06
        node.bundleBit = random.random() < 0.02  # means nothing on a file
        self.files.append(self.named(node))
        return node

    def named(self, node):
        self.identity += 1
        node.identity = self.identity
        return node

    def package(self, depth):
        """A folder that is a package by what is in it or on it, or only just is not one."""
        folder = Node(FOLDER, mode=0o755)
        kind = self.random.choice(("contents", "no plist", "runner", "no runner", "bit", "invisible"))
        if kind in ("contents", "no plist"):
            contents = folder.items[b"Contents"] = Node(FOLDER, mode=0o755)
            name = b"Info.plist" if kind == "contents" else b"Infos.plist"
            contents.items[name] = self.file()
        elif kind in ("runner", "no runner"):
            folder.items[b"AppRun"] = self.file()
            folder.items[b"AppRun"].mode = 0o755 if kind == "runner" else 0o644
        elif kind == "bit":
            folder.bundleBit = True
        else:
            folder.invisibleBit = True  # means nothing on a folder
        return self.fill(folder, depth + 1) if depth < 6 else folder
