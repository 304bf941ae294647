#!/usr/bin/env python3
"""Several processes at once: races.py QUILLFS DRIVER [case]..."""

import os
import stat
import subprocess

from stage import DRIVER, IS_FULL, Stage, main

PROCESSES = 16
ITEMS = 1000 if IS_FULL else 100


class Races(Stage):
    def at_once(self, *words, umask=-1):
        children = [subprocess.Popen((DRIVER,) + words, stdout=subprocess.PIPE, umask=umask) for _ in range(PROCESSES)]
        outputs = [child.communicate()[0].decode() for child in children]
        self.assertEqual([0] * PROCESSES, [child.returncode for child in children])
        return outputs

    def test_ensure(self):
        parent = self.make_directory("parent")
        for number in range(300 if IS_FULL else 12):
            mode = (0o755, 0o2775, 0o1777)[number % 3]
            os.chmod(parent, mode)
            top = os.path.join(parent, str(number))
            self.at_once("ensure", os.path.join(top, *("chain",) * 29))
            levels = [path for path, _, _ in os.walk(top)]
            self.assertEqual(30, len(levels), "strays beside the chain")
            self.assertEqual({mode}, {stat.S_IMODE(os.stat(level).st_mode) for level in levels})

    def test_temporaries(self):
        for umask in (0o022, 0o777):
            place = self.make_directory(f"place{umask:o}")
            outputs = self.at_once("temporaries", place, str(ITEMS // 2), umask=umask)
            made = "".join(outputs).split()
            self.assertEqual(PROCESSES * ITEMS, len(made))
            self.assertEqual(sorted(made), sorted(os.path.join(place, name) for name in os.listdir(place)), "not unique")
            self.assertEqual({0o100644, 0o040755}, {os.stat(path).st_mode for path in made})


if __name__ == "__main__":
    main()
