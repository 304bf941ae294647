"""What the scripts in this folder share: a private directory, running the command line under limits, comparing trees."""

import collections
import os
import resource
import stat
import subprocess
import sys
import tempfile
import unittest

QUILLFS, DRIVER = (os.path.abspath(path) for path in sys.argv[1:3])
IS_FULL = os.environ.get("QUILL_SWEEP") == "full"


Result = collections.namedtuple("Result", "status errors peak_kib")


def run(*words, limits=(), seconds=900):
    """Runs a program; the status is negative for a signal."""

    def prepare():
        for which, value in limits:
            resource.setrlimit(which, (value, value))

    with tempfile.TemporaryFile() as errors:
        child = subprocess.Popen(("timeout", "-k", "1", str(seconds)) + words, stderr=errors, stdin=subprocess.DEVNULL,
                                 stdout=subprocess.DEVNULL, preexec_fn=prepare)
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        errors.seek(0)
        return Result(child.returncode, errors.read().decode(errors="replace"), usage.ru_maxrss)


def describe(root):
    """Every item below root, by its path in bytes: kind, mode, owner, modification time, and bytes or link text."""
    found = {}
    pending = [os.fsencode(root)]
    while pending:
        path = pending.pop()
        status = os.lstat(path)
        kind = stat.S_IFMT(status.st_mode)
        inside = b""
        if stat.S_ISREG(kind):
            with open(path, "rb") as file:
                inside = file.read()
        elif stat.S_ISLNK(kind):
            inside = os.readlink(path)
        elif stat.S_ISDIR(kind):
            pending += [os.path.join(path, name) for name in os.listdir(path)]
        mode = 0 if stat.S_ISLNK(kind) else stat.S_IMODE(status.st_mode)
        device = status.st_rdev if stat.S_ISCHR(kind) or stat.S_ISBLK(kind) else 0
        found[os.path.relpath(path, os.fsencode(root))] = (kind, mode, status.st_uid, status.st_mtime_ns, device, inside)
    return found


def write(path, content=b"content"):
    with open(path, "wb") as file:
        file.write(content)


class Stage(unittest.TestCase):
    """Each case gets a fresh directory."""

    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="quill-stage.")
        self.addCleanup(self.clear)

    def clear(self):
        subprocess.run(["rm", "-rf", self.root], check=True)

    def at(self, *names):
        return os.path.join(self.root, *names)

    def make_directory(self, *names):
        os.makedirs(self.at(*names), exist_ok=True)
        return self.at(*names)

    def ends(self, status, *words, **options):
        result = run(QUILLFS, *words, **options)
        self.assertEqual(status, result.status, result.errors)
        return result

    def succeeds(self, *words, **options):
        return self.ends(0, *words, **options)

    def fails(self, *words, **options):
        return self.ends(1, *words, **options)

    def expect_only(self, names, directory):
        self.assertEqual(sorted(names), sorted(os.listdir(directory)), "strays in " + directory)


def main():
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
