#!/usr/bin/env python3
"""The checks of tools/ must fail on what they are there for: each row plants one fault in a small tree."""

import os
import subprocess
import sys
import tempfile
import unittest

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "tools")


def run(check, files):
    """Runs a check over a tree of {path: text}; returns its exit status and what it printed."""
    with tempfile.TemporaryDirectory() as root:
        for path, text in files.items():
            full = os.path.join(root, path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w", encoding="utf-8") as file:
                file.write(text)
        done = subprocess.run([sys.executable, os.path.join(TOOLS, check), root], capture_output=True, text=True,
                              check=False)
        return done.returncode, done.stdout + done.stderr


class Layering(unittest.TestCase):
    GOOD = {
        "portable_stl/string.h": "#include <cstddef>\n",
        "core/src/ResultCode.h": "#include <cstdint>\n",
        "core/src/system/PlatformTable.h": '#include "core/src/ResultCode.h"\n',
        "core/src/json/Json.h": '#include "portable_stl/string.h"\n',
        "core/src/core/Token.h": '#include "core/src/json/Json.h"\n',
        "core/src/registry/Request.h": '#include "core/src/core/Token.h"\n',
        "core/src/client/Client.h": '#include "core/src/registry/Request.h"\n',
        "core/src/FlatOperations.h": '#include "core/src/client/Client.h"\n',
        "core/src/QuillmarkClient.h": '#include <string>\n#include "core/src/FlatOperations.h"\n',
        "facade/ClientPrivate.h": '#include <QObject>\n#include "core/src/QuillmarkClient.h"\n',
        "platform/linux/Files.cpp": '#include <fcntl.h>\n#include "core/src/system/PlatformTable.h"\n',
    }

    FAULTS = [
        ("registry from tokens", "core/src/core/X.h", '#include "core/src/registry/Request.h"', "calls go down only"),
        ("client features from registry", "core/src/registry/X.h", '#include "core/src/client/Client.h"',
         "calls go down only"),
        ("flat operations from client features", "core/src/client/X.h", '#include "core/src/FlatOperations.h"',
         "calls go down only"),
        ("native faces from flat operations", "core/src/FlatX.cpp", '#include "core/src/QuillmarkClient.h"',
         "calls go down only"),
        ("facade from native faces", "core/src/QuillmarkClient.cpp", '#include "facade/ClientPrivate.h"',
         "calls go down only"),
        ("json from the platform table", "core/src/system/X.h", '#include "core/src/json/Json.h"',
         "calls go down only"),
        ("platform from the core", "core/src/json/X.h", '#include "platform/linux/Files.cpp"', "its own floors"),
        ("core internals from the platform", "platform/linux/X.cpp", '#include "core/src/json/Json.h"',
         "may include"),
        ("a Qt header in the core", "core/src/json/X.h", "#include <QString>", "through the platform table only"),
        ("a system header in the core", "core/src/client/X.cpp", "#include <unistd.h>",
         "through the platform table only"),
        ("a system header in portable_stl", "portable_stl/x.h", "#include <sys/types.h>",
         "through the platform table only"),
        ("a standard container below the faces", "core/src/FlatX.cpp", "#include <string>", "use portable_stl"),
        ("a standard container in the registry", "core/src/registry/X.h", "#include <vector>", "use portable_stl"),
        ("a stream in a native face", "core/src/QuillmarkClient.cpp", "#include <iostream>", "use portable_stl"),
        ("a file that does not exist", "core/src/json/X.h", '#include "core/src/json/Gone.h"', "no file"),
    ]

    def test_a_tree_in_order_passes(self):
        status, text = run("check-layering", self.GOOD)
        self.assertEqual((status, "0 faults" in text), (0, True), text)

    def test_each_fault_is_told(self):
        for name, path, line, sentence in self.FAULTS:
            with self.subTest(name):
                status, text = run("check-layering", {**self.GOOD, path: line + "\n"})
                self.assertEqual(status, 1, text)
                self.assertIn(path, text)
                self.assertIn(sentence, text)

    def test_a_circle_is_told(self):
        status, text = run("check-layering", {
            "core/src/json/A.h": '#include "core/src/json/B.h"\n',
            "core/src/json/B.h": '#include "core/src/json/C.h"\n',
            "core/src/json/C.h": '#include "core/src/json/A.h"\n',
        })
        self.assertEqual(status, 1)
        self.assertIn("core/src/json/A.h -> core/src/json/B.h -> core/src/json/C.h -> core/src/json/A.h", text)


class BuildLists(unittest.TestCase):
    def test_a_named_file_passes(self):
        status, text = run("check-build-lists", {"tests/a/CMakeLists.txt": "x(SOURCES ATest.cpp)",
                                                 "tests/a/ATest.cpp": ""})
        self.assertEqual(status, 0, text)

    def test_a_file_named_from_above_passes(self):
        status, text = run("check-build-lists", {"core/CMakeLists.txt": "x(src/A.cpp)", "core/src/A.cpp": ""})
        self.assertEqual(status, 0, text)

    def test_a_file_in_no_list_is_told(self):
        rows = [
            ("no list at all", {"tests/a/ATest.cpp": ""}),
            ("another name", {"tests/a/CMakeLists.txt": "x(SOURCES BATest.cpp ATest.cpp.in)", "tests/a/ATest.cpp": ""}),
            ("in a comment", {"tests/a/CMakeLists.txt": "# ATest.cpp", "tests/a/ATest.cpp": ""}),
        ]
        for name, files in rows:
            with self.subTest(name):
                status, text = run("check-build-lists", files)
                self.assertEqual(status, 1)
                self.assertIn("tests/a/ATest.cpp is in no build list", text)


class SourceLists(unittest.TestCase):
    """tools/windows/source-lists, with a package configuration of the test's own."""

    def written(self, files):
        """{name: text} of the lists that are written for a machine that has these."""
        with tempfile.TemporaryDirectory() as root:
            os.makedirs(os.path.join(root, "parts"))
            os.makedirs(os.path.join(root, "written"))
            for path, text in files.items():
                with open(os.path.join(root, path), "w", encoding="utf-8") as file:
                    file.write(text)
            configuration = os.path.join(root, "apt.conf")
            with open(configuration, "w", encoding="utf-8") as file:
                file.write(f'Dir::Etc::sourcelist "{root}/main.list";\nDir::Etc::sourceparts "{root}/parts";\n')
            subprocess.run([os.path.join(TOOLS, "windows", "source-lists"), "write", os.path.join(root, "written")],
                           env=dict(os.environ, APT_CONFIG=configuration), check=True)
            lists = {}
            for name in sorted(os.listdir(os.path.join(root, "written"))):
                with open(os.path.join(root, "written", name), encoding="utf-8") as file:
                    lists[name] = file.read()
            return lists

    def test_each_form_of_a_list(self):
        modern = "Types: deb\n# why\nURIs: http://a.test/d\nSuites: s s-updates\nComponents: main\n"
        rows = [
            ("no list", {}, {}),
            ("one line", {"main.list": "deb http://a.test/d s main\n"},
             {"1-main.list": "deb-src http://a.test/d s main\n"}),
            ("options and blanks", {"main.list": "  deb  [signed-by=/k arch=amd64]\thttp://a.test/d s main\n"},
             {"1-main.list": "deb-src [signed-by=/k arch=amd64]\thttp://a.test/d s main\n"}),
            ("comments and what is switched off", {"main.list": "# deb http://a.test/d s main\n\n"},
             {"1-main.list": ""}),
            ("both kinds", {"main.list": "deb http://a.test/d s main\ndeb-src http://a.test/d s main\n"},
             {"1-main.list": "deb-src http://a.test/d s main\n"}),
            ("the other form", {"parts/a.sources": modern},
             {"1-a.sources": modern.replace("Types: deb", "Types: deb-src")}),
            ("the other form, both kinds", {"parts/a.sources": "types: deb deb-src\nURIs: http://a.test/d\n"},
             {"1-a.sources": "Types: deb-src\nURIs: http://a.test/d\n"}),
            ("several of one name",
             {"main.list": "deb http://a.test/d s main\n", "parts/main.list": "deb http://b.test/d s main\n"},
             {"1-main.list": "deb-src http://a.test/d s main\n", "2-main.list": "deb-src http://b.test/d s main\n"}),
            ("a file that is no list", {"parts/a.save": "deb http://a.test/d s main\n"}, {}),
        ]
        for name, files, expected in rows:
            with self.subTest(name):
                self.assertEqual(self.written(files), expected)


if __name__ == "__main__":
    unittest.main()
