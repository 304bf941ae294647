#!/usr/bin/env python3
"""Trees that break simple tools, through the command line: hostile_trees.py QUILLFS DRIVER [case]..."""

import os
import resource
import socket
import unicodedata
import unittest

from stage import IS_FULL, NOBODY, Stage, describe, main, run, write

DEPTH = 20_000
ENTRIES = 200_000 if IS_FULL else 20_000
TIGHT = ((resource.RLIMIT_NOFILE, 64), (resource.RLIMIT_STACK, 256 * 1024))


def descend(root, step):
    """Calls step(directory, name) at each level of a chain, by descriptor; answers how often, and the last descriptor."""
    directory, levels = os.open(root, os.O_RDONLY), 0
    while step(directory):
        below = os.open("level", os.O_RDONLY, dir_fd=directory)
        os.close(directory)
        directory, levels = below, levels + 1
    return levels, directory


def make_chain(root, depth):
    remaining = [depth]

    def make(directory):
        remaining[0] -= 1
        if remaining[0] >= 0:
            os.mkdir("level", dir_fd=directory)
        return remaining[0] >= 0

    os.mkdir(root)
    _, last = descend(root, make)
    os.close(os.open("leaf", os.O_CREAT | os.O_WRONLY, dir_fd=last))
    os.close(last)


def depth_of(root):
    levels, last = descend(root, lambda directory: "level" in os.listdir(directory))
    names = os.listdir(last)
    os.close(last)
    return levels, names


class HostileTrees(Stage):
    def test_depth(self):
        make_chain(self.at("deep"), DEPTH)
        copied = run(self.quillfs, "cp", self.at("deep"), self.at("copy"), limits=TIGHT)
        self.expect(0, copied)
        self.assertEqual((DEPTH, ["leaf"]), depth_of(self.at("copy")))
        self.expect(0, run(self.quillfs, "mv", self.at("copy"), self.at("moved"), limits=TIGHT))
        removed = run(self.quillfs, "rm", "-r", self.at("moved"), limits=TIGHT)
        self.expect(0, removed)
        self.assertFalse(os.path.exists(self.at("moved")))
        print(f"{DEPTH} levels: copy {copied.peak_kib} KiB at the peak, remove {removed.peak_kib} KiB")

    def test_breadth(self):
        peaks = {}
        for count in (100, ENTRIES):
            wide = self.make_directory(f"wide{count}")
            for number in range(count):
                os.close(os.open(f"{wide}/{number}", os.O_CREAT | os.O_WRONLY))
            copied = run(self.quillfs, "cp", wide, self.at("copy"))
            self.expect(0, copied)
            self.assertEqual(count, len(os.listdir(self.at("copy"))))
            removed = run(self.quillfs, "rm", "-r", self.at("copy"))
            self.expect(0, removed)
            peaks[count] = (copied.peak_kib, removed.peak_kib)
            print(f"{count} entries: copy {copied.peak_kib} KiB at the peak, remove {removed.peak_kib} KiB")
        for few, many in zip(peaks[100], peaks[ENTRIES]):
            self.assertLess(many, few + 8192, "memory grows with the entries")

    def test_names(self):
        tree = os.fsencode(self.make_directory("names"))
        composed = "é".encode()
        names = [b"line\nbreak", bytes(range(1, 32)), b"\x7f\x80\xfe\xff", b"n" * 255, b"-rf", b" ", b"*", b"\\", "😀".encode(),
                 composed, unicodedata.normalize("NFD", "é").encode(), b"\xed\xa0\x80", "ﬃ".encode() * 85]
        for name in names:
            os.mkdir(os.path.join(tree, name))
            write(os.path.join(tree, name, name), name)
        self.expect(0, run(self.quillfs, "cp", tree, self.at("copy")))
        self.assertEqual(describe(tree), describe(self.at("copy")))
        self.expect(0, run(self.quillfs, "rm", "-r", os.path.join(tree, composed)))
        self.assertEqual(sorted(set(names) - {composed}), sorted(os.listdir(tree)), "the twin went as well")
        self.expect(0, run(self.quillfs, "rm", "-r", self.at("copy")))

    def test_kinds(self):
        tree = self.make_directory("kinds")
        os.symlink("loop2", tree + "/loop1")
        os.symlink("loop1", tree + "/loop2")
        os.symlink(".", tree + "/self")
        os.symlink("/nowhere/at/all", tree + "/dangling")
        self.expect(0, run(self.quillfs, "cp", tree, self.at("links")))
        self.assertEqual(describe(tree), describe(self.at("links")))
        plain = describe(tree)
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        makers = {"fifo": os.mkfifo, "socket": listener.bind}
        if os.geteuid() == 0:
            makers["device"] = lambda path: os.mknod(path, 0o600 | 0o020000, os.makedev(1, 5))  # endless if it is read
        else:
            print("SKIPPED a device: only root makes one")
        for name, make in makers.items():
            make(f"{tree}/{name}")
            copied = run(self.quillfs, "cp", tree, self.at(name), seconds=20)
            if copied.status == 0:
                self.assertEqual(describe(tree), describe(self.at(name)))
            else:
                self.expect(1, copied)
                self.assertIn(name, copied.errors)
                self.assertFalse(os.path.lexists(self.at(name)))
            os.unlink(f"{tree}/{name}")
        self.assertEqual(set(plain), set(describe(tree)))

    def test_permissions(self):
        home = self.make_directory("home")
        for name in ("shut/inside", "empty", "readonly/inside", "open"):
            os.makedirs(f"{home}/tree/{name}")
        for name in ("shut/inside/file", "readonly/file", "open/file"):
            write(f"{home}/tree/{name}")
        for path in describe(home):
            os.chown(os.path.join(os.fsencode(home), path), NOBODY, NOBODY) if os.geteuid() == 0 else None
        for name, mode in (("shut", 0), ("empty", 0), ("readonly", 0o555)):
            os.chmod(f"{home}/tree/{name}", mode)
        readonly = run(self.quillfs, "cp", home + "/tree/readonly", home + "/copy", ordinary=True)
        self.expect(0, readonly)
        self.assertEqual(describe(home + "/tree/readonly"), describe(home + "/copy"))
        self.expect(1, run(self.quillfs, "cp", home + "/tree", home + "/whole", ordinary=True))
        self.expect_only(["tree", "copy"], home)
        removed = run(self.quillfs, "rm", "-r", home + "/tree", ordinary=True)
        if removed.status == 0:  # an owner may open what is shut
            return self.assertFalse(os.path.exists(home + "/tree"))
        self.expect(1, removed)
        for gone in ("open", "empty"):
            self.assertFalse(os.path.exists(f"{home}/tree/{gone}"), gone + " could have been removed")


if __name__ == "__main__":
    main()
