#!/usr/bin/env python3
"""The two products as a host meets them: what they export, and a host that takes one in by add_subdirectory.

    test_products.py SOURCE CLIENT_LIBRARY CORE_LIBRARY [unittest arguments]
"""

import os
import subprocess
import sys
import tempfile
import unittest

SOURCE, CLIENT_LIBRARY, CORE_LIBRARY = sys.argv[1:4]


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False)


def exported(library):
    """The demangled names that a shared library defines for others, the standard library's weak ones left out."""
    done = run("nm", "-DC", "--defined-only", library)
    names = [line.split(" ", 2)[2] for line in done.stdout.splitlines()]
    return [name for name in names if not name.replace("typeinfo name for ", "").replace("typeinfo for ", "")
            .startswith("std::")]


class Exports(unittest.TestCase):
    def test_the_facade_exports_what_qt_hosts_use_and_nothing_of_the_core(self):
        names = exported(CLIENT_LIBRARY)
        self.assertTrue(any(name.startswith("Quillmark::Client::create(") for name in names), names)
        strangers = [name for name in names if not name.replace("typeinfo name for ", "").replace("typeinfo for ", "")
                     .replace("vtable for ", "").startswith("Quillmark::")]
        self.assertEqual(strangers, [])

    def test_the_core_exports_its_faces_and_nothing_below(self):
        names = exported(CORE_LIBRARY)
        for wanted in ("quillmarkclient::Initialize(", "quillmarkclient::QuillmarkClient::Init(", "GetErrorText("):
            self.assertTrue(any(name.startswith(wanted) for name in names), wanted)
        strangers = [name for name in names if not name.startswith(("quillmarkclient::", "GetErrorText("))]
        self.assertEqual(strangers, [])


class Hosts(unittest.TestCase):
    def test_a_host_without_qt_builds_and_runs(self):
        host = os.path.join(SOURCE, "tests", "products", "host_without_qt")
        with tempfile.TemporaryDirectory() as build:
            for command in (("cmake", "-S", host, "-B", build, "-G", "Ninja", f"-DQUILLMARK_SOURCE={SOURCE}",
                             "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"),
                            ("cmake", "--build", build, "-j2"),
                            (os.path.join(build, "host"),)):
                done = run(*command)
                self.assertEqual(done.returncode, 0, done.stdout[-3000:] + done.stderr[-3000:])
            self.assertEqual(done.stdout, "the native core answers\n")
            linked = run("ldd", os.path.join(build, "host")).stdout
            self.assertIn("quillmarkcore", linked)
            self.assertNotIn("Qt6", linked)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + sys.argv[4:])
