#!/usr/bin/env python3
"""The command line when the system refuses it something: nothing is lost, and what did not happen is not reported as done.

Usage: faults_test.py QUILLFS [unittest arguments]. Faults are injected with strace; where tracing is forbidden, the
cases that need it say that they were skipped.
"""
import contextlib
import fcntl
import os
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

# Leaks are found by tracing the program, which strace does already.
os.environ["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"

QUILLFS = os.path.abspath(sys.argv.pop(1))
ELSEWHERE = next((place for place in ("/dev/shm", "/var/tmp", "/run")
                  if os.access(place, os.W_OK) and os.stat(place).st_dev != os.stat(tempfile.gettempdir()).st_dev), None)


def can_trace():
    try:
        return subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True, timeout=60).returncode == 0
    except FileNotFoundError:
        return False


CAN_TRACE = can_trace()


def run(*arguments, inject=(), only=None, limits=(), **options):
    """Runs the command line with these faults, in calls on one path only when that is named; its completed process."""
    command = [QUILLFS, *arguments]
    if inject:
        faults = [word for fault in inject for word in ("-e", "inject=" + fault)]
        command = ["strace", "-f", "-o", "/dev/null", "-e", "signal=none", *(["-P", only] if only else []),
                   *faults, *command]

    def prepare():
        for which, value in limits:
            resource.setrlimit(which, (value, value))

    return subprocess.run(command, preexec_fn=prepare if limits else None, timeout=120,
                          **{"stdin": subprocess.DEVNULL, "capture_output": True, **options})


def count_calls(name, words):
    """How often the command line makes this call, the loader's included."""
    traced = subprocess.run(["strace", "-f", "-e", "signal=none", "-e", f"trace=?{name}", QUILLFS, *words],
                            capture_output=True, timeout=60)
    return traced.stderr.decode().count(name + "(")


def write(path, contents=b"contents"):
    with open(path, "wb") as file:
        file.write(contents)


def read(path):
    with open(path, "rb") as file:
        return file.read()


class Faults(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory(prefix="quillfs-test."))
        self.enterContext(contextlib.chdir(self.root))

    def needs_tracing(self):
        if not CAN_TRACE:
            self.skipTest("strace cannot trace here")

    def refuses(self, done, *words):
        self.assertEqual(1, done.returncode, done)
        for word in words:
            self.assertIn(word, done.stderr.decode())

    def test_keeps_a_source_that_it_cannot_compare_with_the_destination(self):
        self.needs_tracing()
        write("s")
        for verb in ("cp", "mv"):
            self.refuses(run(verb, "--clobber", "s", "./s", limits=[(resource.RLIMIT_NOFILE, 4)]))
            self.assertEqual(b"contents", read("s"))
        os.mkdir("dst")
        for call in ("openat", "statx"):
            for number in range(1, 25):
                write("dst/in")
                run("cp", "--clobber", "dst/in", "dst", inject=[f"{call}:error=EIO:when={number}"])
                survivors = [path for path in ("dst/in", "dst") if os.path.isfile(path)]
                self.assertTrue(survivors, (call, number))
                if os.path.isfile("dst"):
                    os.unlink("dst")
                    os.mkdir("dst")

    def test_removes_no_directory_that_it_could_not_read(self):
        self.needs_tracing()
        os.mkdir("\u00e9")
        write("\u00e9/f")
        self.refuses(run("rmdir", "\u00e9", inject=["getdents64:error=EIO:when=1"]))
        self.assertEqual(b"contents", read("\u00e9/f"))

    def test_reports_a_listing_that_breaks_off(self):
        self.needs_tracing()
        os.mkdir("d")
        for number in range(3000):
            write(f"d/{number}", b"")
        self.refuses(run("ls", "d", inject=["getdents64:error=EIO:when=2+"]), "d: ")
        self.refuses(run("ls", "d", inject=["getdents64:error=EIO:when=1+"]), "d: ")

    def test_reports_contents_that_it_could_not_replace(self):
        self.needs_tracing()
        write("w", b"OLD CONTENT THAT IS LONG")
        self.refuses(run("write", "w", "new", inject=["ftruncate:error=EIO:when=1"]))

    def test_fails_a_copy_whose_link_the_kernel_calls_stale(self):
        self.needs_tracing()
        os.symlink("target", "link")
        os.utime("link", (1e9, 1e9), follow_symlinks=False)
        for call, first in (("utimensat", 1), ("llistxattr", 1), ("listxattr", 1)):
            done = run("cp", "link", "copy", inject=[f"{call}:error=ESTALE:when={first}+"])
            kept = os.path.islink("copy") and os.lstat("copy").st_mtime == 1e9
            self.assertTrue(kept if done.returncode == 0 else not os.path.lexists("copy"), (call, done))
            self.assertEqual([], [name for name in os.listdir() if name.startswith(".quill-")], call)
            with contextlib.suppress(FileNotFoundError):
                os.unlink("copy")

    def test_takes_its_own_copy_away_when_the_kernel_sees_loops(self):
        self.needs_tracing()
        os.makedirs("tree/sub")
        write("tree/sub/file")
        for first in range(1, 30):
            run("cp", "tree", "copy", inject=[f"statx:error=ELOOP:when={first}+"])
            self.assertEqual([], [name for name in os.listdir() if name.startswith(".quill-")], first)
            subprocess.run(["rm", "-rf", "copy"], check=True)

    def test_repeats_what_a_signal_interrupts(self):
        self.needs_tracing()
        for call, words in (("unlink,unlinkat", ["rm", "f"]), ("rmdir,unlinkat", ["rmdir", "d"]),
                            ("mkdir,mkdirat", ["mkdir", "new"]), ("statx,newfstatat", ["stat", "f"]),
                            ("faccessat2,faccessat", ["exists", "f"]), ("openat", ["mktemp", "--in", "d"]),
                            ("symlink,symlinkat", ["ln", "f", "l"]), ("readlink,readlinkat", ["readlink", "l0"]),
                            ("renameat2", ["mv", "f", "g"]), ("utimensat", ["touch", "f"]),
                            ("getdents64", ["ls", "d"]), ("fchmodat2,fchmod,chmod", ["readonly", "f"])):
            with self.subTest(call):
                seen = 0
                for name in call.split(","):
                    prepare = "rm -rf f d g l l0 new; echo x > f; mkdir d; ln -s f l0"
                    subprocess.run(prepare, shell=True, check=True)
                    last = count_calls(name, words)  # the first ones may be the loader's
                    seen += last
                    subprocess.run(prepare, shell=True, check=True)
                    done = run(*words, inject=[f"?{name}:error=EINTR:when={max(last, 1)}"])
                    self.assertEqual(0, done.returncode, (name, done))
                    self.assertNotIn(b"quillfs:", done.stderr, name)
                self.assertGreater(seen, 0)

    def test_survives_the_file_size_limit_and_leaves_nothing(self):
        write("f")
        home = {**os.environ, "HOME": self.root, "XDG_DATA_HOME": self.root + "/data"}
        done = run("trash", "f", limits=[(resource.RLIMIT_FSIZE, 0)], env=home)
        self.refuses(done, "f: ")
        self.assertEqual(b"contents", read("f"))
        self.assertEqual([], [name for _, _, names in os.walk("data") for name in names])

    def test_tells_why_an_open_failed(self):
        self.needs_tracing()
        write("f")
        for error, text in (("EMFILE", "Too many open files"), ("EIO", "Input/output error")):
            done = run("cat", "f", inject=[f"openat:error={error}"], only="f", env={**os.environ, "LC_ALL": "C"})
            self.assertNotIn("kind of item", done.stderr.decode())
            self.refuses(done, text)

    def test_reads_a_file_once_its_lease_is_given_back(self):
        write("leased")
        with open("leased", "rb") as file:
            signal.signal(signal.SIGIO, lambda *_: fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_UNLCK))
            self.addCleanup(signal.signal, signal.SIGIO, signal.SIG_DFL)
            for words in (["cat", "leased"], ["cp", "leased", "copy"], ["append", "leased", "more"]):
                try:
                    fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_RDLCK if words[0] == "append" else fcntl.F_WRLCK)
                except OSError as error:
                    self.skipTest(f"no lease here: {error}")
                with subprocess.Popen([QUILLFS, *words], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as child:
                    self.assertEqual((0, b""), (child.wait(timeout=60), child.stderr.read()), words)

    def test_copies_a_directory_whose_attributes_cannot_be_listed(self):
        self.needs_tracing()
        os.mkdir("d")
        write("d/f")
        done = run("cp", "--verbose", "d", "copy", inject=["flistxattr:error=E2BIG"])
        self.assertEqual(0, done.returncode, done)
        self.assertEqual(b"contents", read("copy/f"))
        self.assertIn("attributes", done.stderr.decode())

    @unittest.skipUnless(ELSEWHERE, "there is but one file system")
    def test_keeps_what_is_appended_while_a_move_goes_on(self):
        self.needs_tracing()
        target = self.enterContext(tempfile.TemporaryDirectory(dir=ELSEWHERE)) + "/moved"
        write("s", b"before")
        date = os.stat("s").st_mtime_ns
        command = ["strace", "-f", "-o", "/dev/null", "-e", "inject=fsync:delay_exit=1500000:when=1", QUILLFS, "mv", "s", target]
        with subprocess.Popen(command, stderr=subprocess.PIPE) as child:
            time.sleep(0.9)
            with open("s", "ab") as file:
                file.write(b" and after")
            os.utime("s", ns=(date, date))
            child.communicate(timeout=60)
        words = b"".join(read(path) for path in ("s", target) if os.path.exists(path))
        self.assertIn(b"after", words)

    @unittest.skipUnless(ELSEWHERE, "there is but one file system")
    def test_lets_one_of_two_movers_win(self):
        self.needs_tracing()
        place = self.enterContext(tempfile.TemporaryDirectory(dir=ELSEWHERE))
        for other in (["mv", "s", place + "/two"], ["rm", "-r", "s"]):
            os.makedirs("s/d")
            for number in range(20):
                write(f"s/d/{number}")
            slow = ["strace", "-f", "-o", "/dev/null", "-e", "inject=getdents64:delay_enter=1200000:when=1", QUILLFS]
            with subprocess.Popen([*slow, "mv", "s", place + "/one"], stderr=subprocess.PIPE) as first:
                time.sleep(0.5)
                command = [QUILLFS, *other] if other[0] == "mv" else other
                second = subprocess.run(command, capture_output=True, timeout=60)
                first.communicate(timeout=60)
            self.assertEqual(1, [first.returncode, second.returncode].count(0), other)
            left = [name for name in ("one", "two") if os.path.exists(f"{place}/{name}")]
            for name in left:
                self.assertEqual(20, len(os.listdir(f"{place}/{name}/d")), name)
            subprocess.run(["rm", "-rf", "s", place + "/one", place + "/two"], check=True)


if __name__ == "__main__":
    unittest.main()
