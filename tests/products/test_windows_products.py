#!/usr/bin/env python3
"""The two DLLs as a Windows host meets them: their exports, their needs, their versions, and a host of each.

    test_windows_products.py SOURCE BUILD_FACTS [unittest arguments]
    test_windows_products.py SOURCE BUILD_FACTS --update

BUILD_FACTS is a file of lines "name=value" that the build writes. --update writes the lists of what they export anew
from the DLLs; what changes in them is what hosts have to be told.
"""

import contextlib
import os
import re
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from exported_names import list_path, output_of, read_list, run, write_list

SOURCE = sys.argv[1]
FACTS = dict(line.split("=", 1) for line in read_list(sys.argv[2]))
CLIENT, CORE = FACTS["client"], FACTS["core"]
LISTS = {CLIENT: list_path(SOURCE, "quillmarkclient-windows"), CORE: list_path(SOURCE, "quillmarkcore")}
# A class for Windows exports one more function of Qt's meta-object, and the name of its type is not a symbol. The core
# exports the same on every system.
OF_WINDOWS_ALONE = {"Quillmark::Client::qt_static_metacall(QObject*, QMetaObject::Call, int, void**)"}
OF_LINUX_ALONE = {"typeinfo name for Quillmark::Client"}

SYSTEM_DLLS = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "user32.dll", "winhttp.dll",
               "ws2_32.dll"}


def headers(file):
    return output_of(FACTS["objdump"], "-p", file)


def mangled_exports(library):
    """The names in the export table, which ends with the next empty line."""
    table = headers(library).split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
    return re.findall(r"^\s*\[ *\d+\] (\S+)$", table, re.MULTILINE)


def exported(library):
    """Demangled; the two constructors or destructors of one signature come out as one name."""
    return sorted({output_of("c++filt", name).strip() for name in mangled_exports(library)})


def needed(file):
    """The DLLs that a program or DLL is loaded with, the system's left out."""
    return {name for name in re.findall(r"DLL Name: (\S+)", headers(file)) if name.lower() not in SYSTEM_DLLS}


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def run_on_windows(program, *arguments):
    """Runs a program that finds DLLs as an installed one does, here by a search path instead of a common folder."""
    folders = [os.path.dirname(CLIENT), os.path.dirname(CORE), FACTS["qt"]]
    environment = dict(os.environ, WINEPATH=";".join(windows_path(folder) for folder in folders))
    return run(FACTS["emulator"], program, *arguments, env=environment)


def without_marks(name):
    return re.sub(r"^(typeinfo for |vtable for )", "", name)


class Exports(unittest.TestCase):
    maxDiff = None

    def check(self, library, *prefixes):
        names = exported(library)
        strangers = [name for name in names if not without_marks(name).startswith(prefixes)]
        self.assertEqual(strangers, [], "hide these: only what hosts use is marked for export")
        self.assertEqual(names, read_list(LISTS[library]), "if this is meant, write the lists anew with --update")

    def test_the_facade_exports_what_qt_hosts_use_and_nothing_of_the_core(self):
        self.check(CLIENT, "Quillmark::")

    def test_the_facade_exports_the_same_on_every_system_but_for_qts_own(self):
        windows, linux = set(read_list(LISTS[CLIENT])), set(read_list(list_path(SOURCE, "quillmarkclient")))
        self.assertEqual(windows - linux, OF_WINDOWS_ALONE)
        self.assertEqual(linux - windows, OF_LINUX_ALONE)

    def test_the_core_exports_its_faces_and_nothing_below(self):
        self.check(CORE, "quillmarkclient::", "GetErrorText(")


class Needs(unittest.TestCase):
    def test_what_must_be_installed_beside_each(self):
        rows = [
            ("the facade", CLIENT, {"Qt6Core.dll"}),
            ("the core", CORE, set()),
            ("a host of the facade", FACTS["client_host"], {"quillmarkclient.dll", "Qt6Core.dll"}),
            ("a host of the core", FACTS["core_host"], {"quillmarkcore.dll"}),
        ]
        for name, file, expected in rows:
            with self.subTest(name):
                self.assertEqual(needed(file), expected)


class Folders(unittest.TestCase):
    """A DLL that looks for its settings in a folder of the builder's would take anybody's who can make that folder."""

    def test_the_builders_folders_are_in_neither(self):
        for name, file in (("the facade", CLIENT), ("the core", CORE)):
            with self.subTest(name), open(file, "rb") as opened:
                content = opened.read()
                self.assertTrue(b"1.2.1" in content)
                for folder in (os.path.expanduser("~") + "/", SOURCE + "/", ".unfinished"):
                    self.assertFalse(folder.encode() in content, folder)


class Versions(unittest.TestCase):
    def test_what_the_system_shows_of_each(self):
        rows = [
            ("the facade", CLIENT, "quillmarkclient", "Quillmark client for Qt"),
            ("the core", CORE, "quillmarkcore", "Quillmark native core"),
        ]
        for name, library, base, description in rows:
            with self.subTest(name):
                done = run_on_windows(FACTS["version_resource"], windows_path(library))
                self.assertEqual(done.stdout.splitlines(), [
                    "FileVersion number: 1.2.1.0",
                    "ProductVersion number: 1.2.1.0",
                    "FileDescription: " + description,
                    "FileVersion: 1.2.1",
                    "InternalName: " + base,
                    "OriginalFilename: " + base + ".dll",
                    "ProductName: Quillmark",
                    "ProductVersion: 1.2.1",
                ])
                self.assertEqual(done.returncode, 0)

    def test_a_file_without_a_version_has_none(self):
        done = run_on_windows(FACTS["version_resource"], windows_path(FACTS["core_host"]))
        self.assertEqual((done.stdout, done.returncode), ("no version\n", 1))


@contextlib.contextmanager
def account_service():
    """The sandbox, on loopback; its port."""
    with tempfile.TemporaryDirectory() as folder:
        port_file = os.path.join(folder, "port")
        with subprocess.Popen([FACTS["sandbox"], "--port-file", port_file], stdout=subprocess.DEVNULL) as service:
            try:
                while not os.path.exists(port_file) or not os.path.getsize(port_file):
                    if service.poll() is not None:
                        raise RuntimeError(f"the account service ended: {service.returncode}")
                    time.sleep(0.01)
                with open(port_file, encoding="utf-8") as file:
                    yield int(file.read())
            finally:
                service.terminate()


class Hosts(unittest.TestCase):
    def sign_in(self, port, login, password):
        with tempfile.TemporaryDirectory() as storage:
            done = run_on_windows(FACTS["client_host"], f"http://127.0.0.1:{port}", windows_path(storage), login,
                                  password)
            return done.returncode, done.stdout.splitlines(), sorted(os.listdir(storage))

    def test_a_host_of_the_facade_hears_that_nobody_answers(self):
        with socket.socket() as taken:  # bound but not listening, so that connections are refused
            taken.bind(("127.0.0.1", 0))
            status, lines, files = self.sign_in(taken.getsockname()[1], "someone@example.test", "a password")
        self.assertEqual(lines, [
            "version: 1.2.1",
            "not signed in: someone@example.test",
            "code: 80000006",
            "message: Problems sending network requests",
        ])
        self.assertEqual((status, files), (1, []))

    def test_a_host_of_the_facade_signs_in(self):
        if not os.path.isfile(FACTS["sandbox"]):
            self.skipTest(f"there is no {FACTS['sandbox']}; set QUILLMARK_NATIVE_BUILD to a Linux build")
        with account_service() as port:
            right = self.sign_in(port, "anna.plain@example.test", "Sunny-Harbour-1")
            wrong = self.sign_in(port, "anna.plain@example.test", "Sunny-Harbour-2")
        self.assertEqual(right, (0, ["version: 1.2.1", "signed in: anna.plain@example.test", "is signed in: yes"],
                                 ["LIC", "LIC0"]))
        self.assertEqual(wrong[1][1:3], ["not signed in: anna.plain@example.test", "code: 82000006"])
        self.assertEqual(wrong[0], 1)

    def test_a_host_without_qt_runs(self):
        done = run_on_windows(FACTS["core_host"])
        self.assertEqual(done.stdout.splitlines(), ["the native core answers"])
        self.assertEqual(done.returncode, 0)


if __name__ == "__main__":
    if sys.argv[3:] == ["--update"]:
        for path_of_library, path_of_list in LISTS.items():
            write_list(path_of_list, exported(path_of_library))
    else:
        ran = unittest.main(argv=[sys.argv[0]] + sys.argv[3:], exit=False).result
        sys.exit(1 if not ran.wasSuccessful() else 77 if ran.skipped else 0)
