#!/usr/bin/env python3
"""The two products as a host meets them: what they export, and a host that takes one in by add_subdirectory.

    test_products.py SOURCE CLIENT_LIBRARY CORE_LIBRARY [unittest arguments]
    test_products.py SOURCE CLIENT_LIBRARY CORE_LIBRARY --update

What they export stands in tests/products/exports, a demangled name a line, sorted. --update writes these lists anew
from the libraries; what changes in them is what hosts have to be told.
"""

import os
import re
import sys
import tempfile
import unittest

from exported_names import list_path, output_of, read_list, run, write_list

SOURCE, CLIENT_LIBRARY, CORE_LIBRARY = sys.argv[1:4]
LISTS = {
    CLIENT_LIBRARY: list_path(SOURCE, "quillmarkclient"),
    CORE_LIBRARY: list_path(SOURCE, "quillmarkcore"),
}

# A mangled name whose entity is the standard library's: behind the marks of tables, type descriptions, local and
# qualified names and function types stands "St" or one of its abbreviations, or the name of its own extensions.
STANDARD = re.compile(r"_Z(T[VIST]|GV)?(Do|[FKNOPRVZ])*(St|S[abdios]|9__gnu_cxx)")
# What several libraries of a process may define: which of the standard library's these are depends on the build type.
WEAK = "VWu"


def symbols(library, *options):
    lines = output_of("nm", "-D", "-p", "--defined-only", *options, library).splitlines()
    return [line.split(" ", 2)[1:] for line in lines]


def is_standard(kind, mangled):
    return kind in WEAK and STANDARD.match(mangled) is not None


def exported(library):
    """The demangled names that a shared library defines for others, the standard library's weak ones left out."""
    pairs = zip(symbols(library), symbols(library, "-C"), strict=True)
    return sorted({name for (kind, mangled), (_, name) in pairs if not is_standard(kind, mangled)})


def update():
    for library, path in LISTS.items():
        write_list(path, exported(library))


def without_marks(name):
    return re.sub(r"^(typeinfo name for |typeinfo for |vtable for )", "", name)


class Exports(unittest.TestCase):
    maxDiff = None

    def check(self, library, *prefixes):
        names = exported(library)
        strangers = [name for name in names if not without_marks(name).startswith(prefixes)]
        self.assertEqual(strangers, [], "hide these: only what hosts use is marked for export")
        self.assertEqual(names, read_list(LISTS[library]), "if this is meant, write the lists anew with --update")

    def test_the_facade_exports_what_qt_hosts_use_and_nothing_of_the_core(self):
        self.check(CLIENT_LIBRARY, "Quillmark::")

    def test_the_core_exports_its_faces_and_nothing_below(self):
        self.check(CORE_LIBRARY, "quillmarkclient::", "GetErrorText(")

    def test_only_weak_symbols_of_the_standard_library_are_left_out(self):
        rows = [
            ("a function of the standard library", "W", "_ZSt4moveRi", True),
            ("a member of it", "W", "_ZNKSt9type_infoeqERKS_", True),
            ("a text of it", "W", "_ZNSsC1EPKc", True),
            ("a table of it", "V", "_ZTVSt16_Sp_counted_baseILN9__gnu_cxx12_Lock_policyE2EE", True),
            ("a type description of a function of it", "V", "_ZTIPDoFNSt6chrono10time_pointEvE", True),
            ("a variable inside a function of it", "u", "_ZZNSt19_Sp_make_shared_tag5_S_tiEvE5__tag", True),
            ("an extension", "W", "_ZN9__gnu_cxx13new_allocatorIcED2Ev", True),
            ("a strong one is ours to answer for", "T", "_ZNKSt9type_infoeqERKS_", False),
            ("our own, weak", "W", "_ZN9Quillmark6Client4stopEv", False),
            ("our own, with a text of the standard library", "W", "_ZN15quillmarkclient3useESs", False),
            ("our own type description", "V", "_ZTIN15quillmarkclient16IQuillmarkClientE", False),
            ("a function of C", "W", "memcpy", False),
        ]
        for name, kind, mangled, expected in rows:
            with self.subTest(name):
                self.assertEqual(is_standard(kind, mangled), expected)


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
    if sys.argv[4:] == ["--update"]:
        update()
    else:
        unittest.main(argv=[sys.argv[0]] + sys.argv[4:])
