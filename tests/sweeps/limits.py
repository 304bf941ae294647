#!/usr/bin/env python3
"""Full, read-only and busy file systems, in a mount namespace of their own: limits.py QUILLFS DRIVER [case]..."""

import os
import resource
import subprocess
import sys

from stage import IS_FULL, Stage, describe, main, write

SKIPPED = 77


def mount(*words):
    subprocess.run(("mount",) + words, check=True)


class Limits(Stage):
    def setUp(self):
        super().setUp()
        self.tree = self.make_directory("tree", "inner")[: -len("/inner")]
        for number in range(40):
            write(f"{self.tree}/inner/{number}", os.urandom(3000))
        write(self.tree + "/large", os.urandom(600_000))
        os.symlink("large", self.tree + "/link")
        self.before = describe(self.tree)

    def clear(self):
        with open("/proc/self/mounts", encoding="utf-8") as mounts:
            below = [line.split()[1] for line in mounts if line.split()[1].startswith(self.root + "/")]
        for place in reversed(below):
            subprocess.run(["umount", place.replace("\\040", " ")], check=True)
        super().clear()

    def mount_disk(self, options):
        mount("-t", "tmpfs", "-o", options, "quill-test", self.make_directory("disk"))
        return self.at("disk")

    def test_full_disk(self):
        room = ["size=%dk" % size for size in range(16, 760, 16 if IS_FULL else 64)]
        inodes = ["nr_inodes=%d" % count for count in range(2, 46, 1 if IS_FULL else 7)]
        for options in room + inodes:
            disk = self.mount_disk(options)
            for verb in ("cp", "mv"):
                with self.subTest(verb=verb, disk=options):
                    used = os.statvfs(disk)
                    self.assertIn("3004", self.fails(verb, self.tree, disk + "/copy").errors)
                    self.expect_only([], disk)
                    now = os.statvfs(disk)
                    self.assertEqual((used.f_bfree, used.f_ffree), (now.f_bfree, now.f_ffree), "space was not given back")
                    self.assertEqual(self.before, describe(self.tree))
            subprocess.run(["umount", disk], check=True)

    def test_file_size_limit(self):
        for size in (0, 1, 100_000, 599_999):
            self.fails("cp", self.tree, self.at("copy"), limits=((resource.RLIMIT_FSIZE, size),))
            self.expect_only(["tree"], self.root)

    def test_read_only(self):
        disk = self.mount_disk("size=4m")
        self.succeeds("cp", self.tree, disk + "/there")
        mount("-o", "remount,ro", disk)
        before = describe(disk)
        for words in (("cp", self.tree, disk + "/new"), ("cp", "--clobber", self.tree, disk + "/there"), ("rm", "-r", disk + "/there"),
                      ("mv", self.tree, disk + "/new"), ("mkdir", disk + "/a/b"), ("mv", disk + "/there", disk + "/here"),
                      ("mv", disk + "/there", self.at("moved"))):
            with self.subTest(words=words):
                self.fails(*words)
                self.assertEqual(before, describe(disk))
                self.assertEqual(self.before, describe(self.tree))
        if os.path.lexists(self.at("moved")):  # the copy may stay when its source could not be removed, but whole
            self.assertEqual(describe(disk + "/there"), describe(self.at("moved")))

    def test_busy_mount_point(self):
        mount("-t", "tmpfs", "quill-test", self.make_directory("tree/inner/mounted"))
        write(self.tree + "/inner/mounted/precious")
        self.fails("mv", self.tree + "/inner/mounted", self.at("elsewhere"))
        self.assertTrue(os.path.exists(self.tree + "/inner/mounted/precious"))
        self.fails("rm", "-r", self.tree)
        self.assertEqual([b".", b"inner", b"inner/mounted", b"inner/mounted/precious"], sorted(describe(self.tree)))

    def test_into_itself_by_bind_mount(self):
        bound, part = self.make_directory("disk"), self.make_directory("part of it")
        mount("--bind", self.tree, bound)
        mount("--bind", self.tree + "/inner", part)
        for words in (("cp", self.tree, bound + "/copy"), ("cp", "--clobber", part + "/0", self.tree),
                      ("mv", self.tree, bound + "/copy"), ("cp", "--clobber", self.tree, bound),
                      ("mv", "--clobber", self.tree + "/inner", bound + "/inner"),
                      ("cp", "--clobber", self.tree + "/large", bound + "/large")):
            with self.subTest(words=words):
                self.fails(*words, seconds=20)
                self.assertEqual(self.before, describe(self.tree))


if __name__ == "__main__":
    if "--inside" not in sys.argv:
        trial = subprocess.run(["unshare", "--mount", "mount", "-t", "tmpfs", "quill-test", "/mnt"], capture_output=True)
        if trial.returncode != 0:
            print("SKIPPED full, read-only and busy file systems, bind mounts:", trial.stderr.decode().strip())
            sys.exit(SKIPPED)
        os.execvp("unshare", ["unshare", "--mount", sys.executable] + sys.argv + ["--inside"])
    sys.argv.remove("--inside")
    main()
