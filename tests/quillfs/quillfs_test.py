#!/usr/bin/env python3
"""The command line, spawned as a user would: exit codes, messages, JSON, names of every kind, terminals, signals.

Usage: quillfs_test.py QUILLFS [unittest arguments]
"""
import contextlib
import json
import os
import pty
import re
import shutil
import signal
import sys
import tempfile
import unittest
from subprocess import PIPE, STDOUT, Popen
from subprocess import run as spawn

QUILLFS = os.path.abspath(sys.argv.pop(1))
ODD_NAMES = [b"[a,b]", b"[]", b"{}", b"%%", b"stat", b"-x", b"--", b"--help", b"\x01[", b"a b", b"new\nline", b"'\"",
             b"back\\slash", b"\x1b[31mred", b"\xc2\x9bcontrol", "caf\u00e9 \u65e5\u672c \U0001f600".encode(),
             b"\xff no text", b"x" * 255]


def run(*arguments, **options):
    """Status, standard output and standard error."""
    done = spawn([QUILLFS, *arguments], **{"input": b"", "stdout": PIPE, "stderr": PIPE, "timeout": 120, **options})
    return done.returncode, done.stdout, done.stderr.decode()


def on_terminal(*arguments, **variables):
    """What a terminal would receive."""
    leader, follower = pty.openpty()
    environment = {**os.environ, "TERM": "xterm", **variables}
    received = b""
    with Popen([QUILLFS, *arguments], stdin=follower, stdout=follower, stderr=follower, env=environment):
        os.close(follower)
        with contextlib.suppress(OSError):  # the other side has closed
            while block := os.read(leader, 65536):
                received += block
    os.close(leader)
    return received


class CommandLine(unittest.TestCase):
    def setUp(self):
        self.root = self.enterContext(tempfile.TemporaryDirectory(prefix="quillfs-test."))
        self.enterContext(contextlib.chdir(self.root))

    def succeeds(self, *arguments, **options):
        status, output, messages = run(*arguments, **options)
        self.assertEqual((0, ""), (status, messages), arguments)
        return output

    def write(self, name, contents=b""):
        with open(name, "wb") as file:
            file.write(contents)

    def test_reports_failures_and_goes_on(self):
        self.write("f", b"contents")
        os.mkdir("d")
        self.write("d/inside")
        for arguments, output, message in [
            (["cat", "none", "f"], b"contents", "none: not found (3003)"),
            (["cat", "d"], b"", "d: not permitted on this kind of item (3006)"),
            (["rmdir", "d"], b"", "d: directory not empty (3010)"),
            (["readlink", "f"], b"", "f: path not acceptable (3000), Invalid argument"),
            (["write", "none/f", "x"], b"", "none/f: input/output error (2038), No such file or directory"),
            (["truncate", "none"], b"", "none: not found (3003)"),
            (["cp", "f", "d"], b"", "copy f to d: destination is occupied (3012)"),
            (["mv", "d", "d/sub"], b"", "move d to d/sub: path not acceptable (3000), Invalid argument"),
            (["mkdir", "f/g"], b"", "f/g: not a directory (3007)"),
            (["path", "file:%zz"], b"", "file:%zz: path not acceptable (3000)"),
            (["stat", "a\nb\x1b[1m"], b"", "a\\nb\\x1b[1m: not found (3003)"),
            (["size", ""], b"", '"": not found (3003)'),
            (["completion", "tcsh"], b"", "completion for tcsh: not found (3003)"),
        ]:
            self.assertEqual((1, output, f"quillfs: {message}\n"), run(*arguments), arguments)
        self.assertEqual(b"contents", self.succeeds("cat", "f"))

    def test_refuses_wrong_usage(self):
        for arguments, expected in [
            ([], "command"), (["sta"], 'did you mean "stat"?'), (["stat"], "PATH"), (["cp", "a"], "DESTINATION"),
            (["cp", "a", "b", "c"], "c"), (["stat", "--jsn", "x"], "--jsn"), (["truncate", "-s", "-1", "f"], "-1"),
            (["truncate", "-s", "1k", "f"], "1k"), (["touch", "--date", "soon", "f"], "soon"), (["pwd", "x"], "x"),
            (["touch", "--date", "2026-02-30", "f"], "2026-02-30"), (["touch", "--date", "@nan", "f"], "@nan"),
            (["qqq"], "not a command\n"),
        ]:
            status, output, message = run(*arguments)
            self.assertEqual((2, b"", "quillfs: "), (status, output, message[:9]), arguments)
            self.assertIn(expected, message)
        self.assertEqual([], os.listdir())

    def test_explains_every_command(self):
        overview = self.succeeds("--help").decode()
        commands = re.findall(r"^  ([a-z][a-z-]*)  ", overview, re.MULTILINE)
        self.assertGreater(len(commands), 35)
        for command in commands:
            self.assertIn("Example:\n  ", self.succeeds(command, "--help").decode(), command)
        self.assertRegex(self.succeeds("--version").decode(), r"^quillfs \d+\.\d+\.\d+\n\Z")

    def test_writes_documents_that_their_readers_understand(self):
        readers = {("completion", shell): [shell, "-n"] for shell in ("bash", "zsh", "fish")}
        for arguments, reader in {**readers, ("manual",): ["groff", "-man", "-ww", "-z"]}.items():
            self.write("document", self.succeeds(*arguments))
            if shutil.which(reader[0]):
                read = spawn([*reader, "document"], stdout=PIPE, stderr=STDOUT, check=False)
                self.assertEqual((0, b""), (read.returncode, read.stdout), arguments)
        script = (f'source <("{QUILLFS}" completion bash); COMP_WORDS=(quillfs cp --c) COMP_CWORD=2; _quillfs; '
                  'echo "${COMPREPLY[@]}"')
        self.assertEqual(b"--clobber\n", spawn(["bash", "-c", script], stdout=PIPE, check=True).stdout)

    def test_takes_every_name_as_it_is(self):
        for name in ODD_NAMES:
            self.succeeds("write", "--", name, b"in " + name)
            self.assertEqual(b"in " + name, self.succeeds("cat", "--", name))
        stats = self.succeeds("stat", "--json", "--", *ODD_NAMES).splitlines()
        self.assertEqual([os.fsdecode(name) for name in ODD_NAMES], [json.loads(line)["path"] for line in stats])

        names = sorted(ODD_NAMES)
        self.assertEqual(names, sorted(os.listdir(os.fsencode(self.root))))
        self.assertEqual(names, self.succeeds("ls", "-0").split(b"\0")[:-1])
        listed = [json.loads(line)["name"] for line in self.succeeds("ls", "--json").splitlines()]
        self.assertEqual(names, [os.fsencode(name) for name in listed])
        self.succeeds("rm", "--", *names)
        self.assertEqual([], os.listdir())

    def test_keeps_terminals_clean(self):
        for name in [*ODD_NAMES[:-1], b"\xff\xfe"]:
            self.write(name)
        os.mkdir("directory")
        for arguments in ["ls"], ["ls", "-l"], ["ls", "-1"], ["stat", "--", *ODD_NAMES[:-1]]:
            received = on_terminal(*arguments, NO_COLOR="1").replace(b"\r\n", b"").decode()
            self.assertFalse(any(ord(byte) < 32 or 127 <= ord(byte) < 160 for byte in received), received)
        for received in on_terminal("ls"), on_terminal("ls", "-l"):
            self.assertIn(b"\x1b[1;34mdirectory\x1b[0m", received)
            self.assertIn(b"\\xff\\xfe", received)
        self.assertNotIn(b"\x1b", self.succeeds("ls", "directory"))

    def test_tells_when_output_is_lost(self):
        self.write("f", b"x" * 300000)
        for arguments in ["cat", "f"], ["--help"], ["stat", "f"], ["ls", "/usr/bin"], ["--version"]:
            with open("/dev/full", "wb") as full:
                status, _, message = run(*arguments, stdout=full)
            self.assertEqual((1, "quillfs: standard output: no space left (3004)\n"), (status, message), arguments)
        closed = spawn(["sh", "-c", f'exec "{QUILLFS}" cat f >&-'], stderr=PIPE, check=False)
        self.assertEqual(1, closed.returncode)
        self.assertIn(b"standard output", closed.stderr)
        with Popen([QUILLFS, "cat", "f"], stdout=PIPE, stderr=PIPE) as cut_short:
            cut_short.stdout.read(1)
            cut_short.stdout.close()
            self.assertEqual(b"", cut_short.stderr.read())
        self.assertNotEqual(0, cut_short.returncode)

    def test_reads_and_writes_contents(self):
        large = bytes(range(256)) * 4000
        for arguments, given, expected in [
            (["write", "f", "-"], large, large),
            (["write", "--at", "3", "f", "XYZ"], b"", large[:3] + b"XYZ" + large[6:]),
            (["append", "f"], b"tail", large[:3] + b"XYZ" + large[6:] + b"tail"),
            (["write", "--sync", "f", "short"], b"", b"short"), (["truncate", "-s", "7", "f"], b"", b"short\0\0"),
            (["append", "--empty", "f", "new"], b"", b"new"), (["truncate", "--create", "f"], b"", b""),
        ]:
            self.succeeds(*arguments, input=given)
            self.assertEqual(expected, self.succeeds("cat", "f"), arguments)
        self.assertEqual(large, self.succeeds("spool", input=large, env={**os.environ, "TMPDIR": self.root}))
        self.succeeds("truncate", "--create", "new")
        self.assertEqual({"f", "new"}, set(os.listdir()))

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "AddressSanitizer reserves terabytes of addresses")
    def test_prints_large_files_with_little_memory(self):
        with open("large", "wb") as file:
            file.truncate(10 << 30)
        with Popen(["sh", "-c", f'ulimit -v 65536; exec "{QUILLFS}" cat large'], stdout=PIPE) as process:
            left = 1 << 28  # a part is enough: what grows has grown by then
            while left > 0 and (block := process.stdout.read(1 << 20)):
                left -= len(block)
            self.assertLessEqual(left, 0)
            process.stdout.close()

    def test_changes_trees(self):
        for command in ("mkdir a/b/c", "write a/b/f x", "ln b/f a/link", "cp a copy/of/a", "mv copy/of/a moved",
                        "rename moved/b/f g"):
            self.succeeds(*command.split())
        self.assertEqual(("b/f", b"x"), (os.readlink("moved/link"), self.succeeds("cat", "moved/b/g")))
        self.succeeds("cp", "--clobber", "a", "moved")
        self.assertEqual({"c", "f"}, set(os.listdir("moved/b")))
        self.succeeds("rm", "-r", "a", "moved", "copy")
        self.assertEqual([], os.listdir())

    def test_makes_temporary_items(self):
        for arguments, is_directory, mode in [
            ([], False, 0o644), (["-d"], True, 0o755), (["--private"], False, 0o600),
            (["--in", "made"], False, 0o644), (["-d", "--in", "made"], True, 0o755),
        ]:
            path = self.succeeds("mktemp", *arguments, env={**os.environ, "TMPDIR": self.root}).decode().strip()
            self.assertEqual((is_directory, mode), (os.path.isdir(path), os.stat(path).st_mode & 0o7777), arguments)

    def test_names_its_directories_after_a_program_whose_file_has_gone(self):
        environment = {**os.environ, "HOME": self.root, "XDG_DATA_HOME": self.root + "/data"}
        for name in "upgraded", "called (deleted)":
            shutil.copy(QUILLFS, name)
            self.assertEqual(f"{self.root}/data/{name}\n", run("dirs", "data", executable="./" + name, env=environment)[1].decode())
        with open("upgraded", "rb") as program:
            os.unlink("upgraded")
            _, output, _ = run("dirs", "data", executable=f"/proc/self/fd/{program.fileno()}", pass_fds=[program.fileno()],
                               env=environment)
        self.assertEqual(self.root + "/data/upgraded\n", output.decode())

    def test_leaves_no_temporary_item_whose_name_nobody_got(self):
        os.mkdir("d")
        for arguments in (["--in", "d"], ["-d", "--in", "d"], ["--private"]):
            with open("/dev/full", "wb") as full:
                status, _, messages = run("mktemp", *arguments, stdout=full, env={**os.environ, "TMPDIR": self.root + "/d"})
            self.assertEqual((1, []), (status, os.listdir("d")), messages)

    def test_sets_properties(self):
        self.write("f")
        for date, seconds in ("@1234567890.5", 1234567890.5), ("2026-01-31 12:30", 1769855400):
            self.succeeds("touch", "--date", date, "f", env={**os.environ, "TZ": "XXX-2"})
            self.assertEqual(seconds, os.stat("f").st_mtime)
        self.succeeds("readonly", "f")
        self.assertEqual(0, os.stat("f").st_mode & 0o222)

    def test_converts_names(self):
        os.mkdir("d")
        os.symlink("d", "link")
        for arguments, output in [
            (["url", "/a b/\u00e9"], "file:///a%20b/%C3%A9"), (["path", "file:///a%20b/%C3%A9"], "/a b/\u00e9"),
            (["readlink", "link"], "d"), (["canonical", "link/."], os.path.realpath("d")), (["posix", "a:b"], "/a/b"),
            (["pwd"], os.getcwd()), (["roots"], "/"), (["is-link", "link"], "yes"), (["resolve", "link"], "d"),
        ]:
            self.assertEqual(output + "\n", self.succeeds(*arguments).decode(), arguments)
        self.assertEqual((1, b""), run("url", "line\nbreak")[:2])

    def test_leaves_nothing_half_made_when_interrupted(self):
        os.mkdir("tree")
        for number in range(2500):
            self.write(f"tree/{number}", b"x" * 500)
        with Popen([QUILLFS, "cp", "tree", "copy"], stderr=PIPE) as process:
            while len(os.listdir()) == 1 and process.poll() is None:
                pass  # until the temporary item stands there
            process.send_signal(signal.SIGINT)
            message = process.stderr.read()
        self.assertEqual((130, b""), (process.returncode, message))
        self.assertEqual(["tree"], os.listdir())

    def test_agrees_with_the_systems_tools(self):
        readable = []
        for directory, _, files in (step for top in ("/etc", "/usr/share") for step in os.walk(top)):
            paths = [os.path.join(directory, name) for name in sorted(files)[:2]]
            readable += [path for path in paths if os.path.isfile(path) and os.access(path, os.R_OK)]
        sample = readable[:: max(1, len(readable) // 300)]
        self.assertGreater(len(sample), 50)
        told = [json.loads(line) for line in self.succeeds("stat", "--json", *sample).splitlines()]
        expected = spawn(["stat", "-L", "-c", "%s %.3Y", *sample], stdout=PIPE, check=True).stdout.decode()
        for path, answer, line in zip(sample, told, expected.splitlines(), strict=True):
            size, modified = line.split()
            self.assertEqual((path, int(size), "file"), (answer["path"], answer["size"], answer["kind"]))
            self.assertAlmostEqual(float(modified), answer["modified"] / 1000, delta=0.002)
        self.assertEqual(spawn(["cat", *sample], stdout=PIPE, check=True).stdout, self.succeeds("cat", *sample))
        for option in [], ["--lsize"]:
            sizes = self.succeeds("size", *option, *sample).splitlines()
            self.assertEqual([os.path.getsize(path) for path in sample], [int(line.split()[0]) for line in sizes])
        for directory in sorted({os.path.dirname(path) for path in sample}):
            listed = self.succeeds("ls", "-0", directory).split(b"\0")[:-1]
            self.assertEqual(sorted(os.listdir(os.fsencode(directory))), listed)
        volume = json.loads(self.succeeds("df", "--json", "/usr"))
        columns = spawn(["df", "-B1", "--output=size,avail", "/usr"], stdout=PIPE, check=True).stdout
        size, available = map(int, columns.split()[-2:])
        self.assertEqual(size, volume["total"])
        self.assertLess(abs(available - volume["free"]), size / 50)  # others write meanwhile


if __name__ == "__main__":
    unittest.main()
