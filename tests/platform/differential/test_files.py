#!/usr/bin/env python3
"""What a client leaves on one system for its next start is read on the other one.

    test_files.py NATIVE_PROGRAM EMULATOR WINDOWS_PROGRAM [unittest arguments]

The programs are stored_files of a Linux and of a Windows build; EMULATOR runs the second one. Ends with 77, which means
skipped, where there is no NATIVE_PROGRAM.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

SKIPPED = 77
NATIVE_PROGRAM, EMULATOR, WINDOWS_PROGRAM = sys.argv[1:4]
SYSTEMS = {"linux": (NATIVE_PROGRAM,), "windows": (EMULATOR, WINDOWS_PROGRAM)}
DIRECTIONS = [("linux", "windows"), ("windows", "linux"), ("linux", "linux"), ("windows", "windows")]

SECRET = 'identity secret grüß/"\\ 0123456789'
HOST_DOCUMENT = '{"identityToken":"identity secret grüß\\/\\"\\\\ 0123456789"}'
# What the host keeps beside the identity.
OWN_DOCUMENT = '{ "window" : [ 1, 2.50 ], "identityToken" : "old" }\r\n'
KEPT_DOCUMENT = '{"window":[1,2.50],"identityToken":"identity secret grüß\\/\\"\\\\ 0123456789"}'
KEPT_ANOTHER = '{"window":[1,2.50],"identityToken":"another secret"}'


def run(system, mode, folder):
    done = subprocess.run([*SYSTEMS[system], mode, "store"], cwd=folder, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{system} {mode}: {done.returncode}\n{done.stdout}{done.stderr}")
    return json.loads(done.stdout)


def content(folder, name):
    with open(os.path.join(folder, "store", name), "rb") as file:
        return file.read()


def without_key(text):
    """The key store without what is of a machine and a moment."""
    text, keys = re.subn(rb'"key":"[0-9a-f-]{36}"', b'"key":"K"', text)
    text, times = re.subn(rb'"createdAt":"[0-9]{10}"', b'"createdAt":"T"', text)
    return text, keys, times


class Files(unittest.TestCase):
    maxDiff = None

    def fresh(self, document=None):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.mkdir(os.path.join(folder.name, "store"))
        if document is not None:
            with open(os.path.join(folder.name, "store", "host.json"), "w", encoding="utf-8", newline="") as file:
                file.write(document)
        return folder.name

    def test_both_write_the_same_bytes(self):
        written = {}
        for system in SYSTEMS:
            folder = self.fresh()
            run(system, "write", folder)
            self.assertEqual(sorted(os.listdir(os.path.join(folder, "store"))), ["LIC", "LIC0", "LIC2", "host.json"])
            written[system] = {name: content(folder, name) for name in ("LIC", "LIC0", "host.json")}
            written[system]["LIC2"] = without_key(content(folder, "LIC2"))
            self.assertEqual(written[system]["LIC2"][1:], (1, 1), "one entry")
            self.assertEqual(written[system]["host.json"].decode(), HOST_DOCUMENT)
            self.assertNotIn(b"secret", written[system]["LIC0"])
        self.assertEqual(written["windows"], written["linux"])

    def test_one_reads_what_the_other_wrote(self):
        for writer, reader in DIRECTIONS:
            with self.subTest(f"written on {writer}, read on {reader}"):
                folder = self.fresh(OWN_DOCUMENT)
                key = run(writer, "write", folder)["key"]
                self.assertRegex(key, r"^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$")
                self.assertEqual(content(folder, "host.json").decode(), KEPT_DOCUMENT)
                before = {name: content(folder, name) for name in ("LIC", "LIC0", "LIC2")}

                report = run(reader, "read", folder)
                self.assertEqual(report["accessToken"], "e30.eyJzdWIiOiJ1LTEifQ.c2ln")
                self.assertEqual(len(report["asked"]), 1)
                line, body = report["asked"][0]
                self.assertEqual(line, "POST /api/customer/registry/v2/tokens/identity")
                self.assertEqual(json.loads(body), {"secretKey": SECRET})
                self.assertEqual(report["keys"], 1)
                self.assertEqual(report["key"], key, "the same operation has the same key")
                self.assertEqual(content(folder, "host.json").decode(), KEPT_ANOTHER)
                self.assertEqual({name: content(folder, name) for name in before}, before, "reading changes nothing")
                self.assertEqual(content(folder, "LIC2.again"), before["LIC2"], "written anew, it is the same")


if __name__ == "__main__":
    if not os.path.isfile(NATIVE_PROGRAM):
        print(f"skipped: there is no {NATIVE_PROGRAM}; set QUILLMARK_NATIVE_BUILD to a Linux build of stored_files")
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0]] + sys.argv[4:])
