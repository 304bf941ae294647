#!/usr/bin/env python3
"""Trees too deep or too broad for simple tools, through the command line: hostile_trees.py QUILLFS DRIVER [case]..."""

import errno
import os
import resource
import unittest

from stage import IS_FULL, Stage, main

DEPTH = 20_000
ENTRIES = 200_000 if IS_FULL else 20_000
TIGHT = ((resource.RLIMIT_NOFILE, 64), (resource.RLIMIT_STACK, 256 * 1024))


def make_chain(root, depth):
    """Nested directories, deeper than any path can express, with a file at the end."""
    os.mkdir(root)
    directory = os.open(root, os.O_RDONLY)
    for _ in range(depth):
        try:
            os.mkdir("level", dir_fd=directory)
        except OSError as error:
            if error.errno in (errno.ENAMETOOLONG, errno.ESTALE):
                raise unittest.SkipTest("this file system holds no deep trees") from error
            raise
        directory = below(directory)
    os.close(os.open("leaf", os.O_CREAT | os.O_WRONLY, dir_fd=directory))
    os.close(directory)


def below(directory):
    opened = os.open("level", os.O_RDONLY, dir_fd=directory)
    os.close(directory)
    return opened


def depth_of(root):
    directory, levels = os.open(root, os.O_RDONLY), 0
    while (names := os.listdir(directory)) == ["level"]:
        directory, levels = below(directory), levels + 1
    os.close(directory)
    return levels, names


class HostileTrees(Stage):
    def test_depth(self):
        make_chain(self.at("deep"), DEPTH)
        copied = self.succeeds("cp", self.at("deep"), self.at("copy"), limits=TIGHT)
        self.assertEqual((DEPTH, ["leaf"]), depth_of(self.at("copy")))
        self.succeeds("mv", self.at("copy"), self.at("moved"), limits=TIGHT)
        removed = self.succeeds("rm", "-r", self.at("moved"), limits=TIGHT)
        self.assertFalse(os.path.exists(self.at("moved")))
        print(f"{DEPTH} levels: copy {copied.peak_kib} KiB at the peak, remove {removed.peak_kib} KiB")

    def test_breadth(self):
        peaks = {}
        for count in (100, ENTRIES):
            wide = self.make_directory(f"wide{count}")
            for number in range(count):
                os.close(os.open(f"{wide}/{number}", os.O_CREAT | os.O_WRONLY))
            copied = self.succeeds("cp", wide, self.at("copy"))
            self.assertEqual(count, len(os.listdir(self.at("copy"))))
            removed = self.succeeds("rm", "-r", self.at("copy"))
            peaks[count] = (copied.peak_kib, removed.peak_kib)
            print(f"{count} entries: copy {copied.peak_kib} KiB at the peak, remove {removed.peak_kib} KiB")
        for few, many in zip(peaks[100], peaks[ENTRIES]):
            self.assertLess(many, few + 8192, "memory grows with the entries")


if __name__ == "__main__":
    main()
