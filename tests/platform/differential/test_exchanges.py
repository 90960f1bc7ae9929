#!/usr/bin/env python3
"""Both transports, given the same list of exchanges: whatever comes of a row is the same, or is a listed difference.

    test_exchanges.py NATIVE_LIST EMULATOR WINDOWS_LIST DIFFERENCES [unittest arguments]

The lists are the program exchange_list of a Linux and of a Windows build; EMULATOR runs the second one. Ends with 77,
which means skipped, where there is no NATIVE_LIST.

DIFFERENCES is a JSON object:
  frames    for each system, what its transport puts round the caller's header lines, in all the forms that occur: names
            in front and lines behind. A line of a name alone has a value that both systems must agree on.
  rows      the differences: of the row, each field that differs, as Linux has it and as Windows has it, with the reason
            and with whose it is:
              library     our own code, on purpose
              windows     Windows as its maker documents it
              wine        wine alone; Windows does as Linux does
              unverified  seen under wine, and not known of Windows

A listed difference that is none, or is another one, fails as an unlisted one does.
"""

import json
import os
import subprocess
import sys
import unittest

SKIPPED = 77
FIELDS = ("code", "status", "body", "head", "requests", "headers", "bodies")
ROWS = 333
WHOSE = ("library", "windows", "wine", "unverified")

NATIVE_LIST, EMULATOR, WINDOWS_LIST, DIFFERENCES = sys.argv[1:5]


def records(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.returncode}\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return [json.loads(line) for line in done.stdout.splitlines()]


def name_of(line):
    return line.partition(":")[0]


def fits(lines, frame):
    first, last = frame["first"], frame["last"]
    if len(lines) < len(first) + len(last):
        return False
    end = len(lines) - len(last)
    return [name_of(line) for line in lines[: len(first)]] == first and all(
        line == own or (":" not in own and name_of(line) == own) for line, own in zip(lines[end:], last, strict=True))


def unframed(lines, frames, used):
    """A request's header lines without what the transport adds by itself; lines of a value that both systems must agree
    on are put in front, sorted. Lines that fit no frame stay as they are. `used` takes the frame's number."""
    for number, frame in enumerate(frames):
        if fits(lines, frame):
            used.add(number)
            first, last = frame["first"], frame["last"]
            end = len(lines) - len(last)
            shared = lines[: len(first)] + [line for line, own in zip(lines[end:], last, strict=True) if ":" not in own]
            return sorted(shared) + lines[len(first) : end]
    return lines


class Exchanges(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        with open(DIFFERENCES, encoding="utf-8") as file:
            table = json.load(file)
        cls.entries = table["rows"]
        cls.listed = {entry["row"]: entry for entry in cls.entries}
        cls.frames = table["frames"]
        cls.used = {"linux": set(), "windows": set()}
        cls.linux = records(NATIVE_LIST)
        cls.windows = records(EMULATOR, WINDOWS_LIST)
        for system, rows in (("linux", cls.linux), ("windows", cls.windows)):
            for row in rows:
                row["headers"] = [unframed(lines, cls.frames[system], cls.used[system]) for lines in row["headers"]]

    def test_both_ran_the_whole_list(self):
        names = [row["row"] for row in self.linux]
        self.assertEqual(names, [row["row"] for row in self.windows])
        self.assertEqual(len(names), len(set(names)), "each row has a name of its own")
        self.assertEqual(len(names), ROWS, "docs/platforms.md tells this number")

    def test_what_both_must_make_of_some_rows(self):
        """Two systems that fail alike are alike."""
        expected = [
            ("a GET", "0x00000000", "200", "there"),
            ("a PUT", "0x00000000", "200", "there"),
            ("TLS: a GET", "0x00000000", "200", "there"),
            ("TLS: a certificate that has expired", "0x81000006", "untouched", "null"),
            ("URL: ftp", "0x80000002", "untouched", "null"),
        ]
        rows = {row["row"]: row for row in self.linux}
        for name, *answer in expected:
            with self.subTest(name):
                self.assertEqual([rows[name][field] for field in ("code", "status", "body")], answer)

    def test_each_row_is_alike_or_differs_as_listed(self):
        nothing = {"linux": {}, "windows": {}}
        for linux, windows in zip(self.linux, self.windows, strict=True):
            listed = self.listed.get(linux["row"], nothing)
            for field in FIELDS:
                with self.subTest(linux["row"], field=field):
                    if field in listed["linux"]:
                        self.assertEqual(linux[field], listed["linux"][field], "on Linux, as listed")
                        self.assertEqual(windows[field], listed["windows"][field], "on Windows, as listed")
                    else:
                        self.assertEqual(windows[field], linux[field], "Windows, then Linux")

    def test_the_list_of_differences_is_sound(self):
        names = {row["row"] for row in self.linux}
        self.assertEqual(len(self.listed), len(self.entries), "no row is listed twice")
        for entry in self.entries:
            with self.subTest(entry["row"]):
                self.assertIn(entry["row"], names)
                self.assertIn(entry["whose"], WHOSE)
                self.assertGreater(len(entry["reason"]), 10)
                self.assertGreater(len(entry["linux"]), 0)
                self.assertEqual(entry["linux"].keys(), entry["windows"].keys())
                for field, value in entry["linux"].items():
                    self.assertIn(field, FIELDS)
                    self.assertNotEqual(value, entry["windows"][field], field)

    def test_every_frame_occurs(self):
        for system, frames in self.frames.items():
            self.assertEqual(self.used[system], set(range(len(frames))), system)


class Frames(unittest.TestCase):
    def test_takes_the_transports_lines_from_where_they_should_be(self):
        linux = [{"first": ["Host", "Agent"], "last": []}]
        windows = [{"first": [], "last": ["Agent", "Host", "Pragma: no-cache"]},
                   {"first": [], "last": ["Agent", "Pragma: no-cache", "Host"]}]
        rows = [
            ("both in front", linux, ["Host: a", "Agent: b", "X: 1"], ["Agent: b", "Host: a", "X: 1"], {0}),
            ("both behind", windows, ["X: 1", "Agent: b", "Host: a", "Pragma: no-cache"],
             ["Agent: b", "Host: a", "X: 1"], {0}),
            ("the second form", windows, ["X: 1", "Agent: b", "Pragma: no-cache", "Host: a"],
             ["Agent: b", "Host: a", "X: 1"], {1}),
            ("nothing of the caller's", linux, ["Host: a", "Agent: b"], ["Agent: b", "Host: a"], {0}),
            ("another order", linux, ["Agent: b", "Host: a"], ["Agent: b", "Host: a"], set()),
            ("one is missing", windows, ["X: 1", "Agent: b", "Host: a"], ["X: 1", "Agent: b", "Host: a"], set()),
            ("a line of another value", windows, ["Agent: b", "Host: a", "Pragma: x"],
             ["Agent: b", "Host: a", "Pragma: x"], set()),
            ("too few", linux, ["Host: a"], ["Host: a"], set()),
        ]
        for name, frames, lines, expected, numbers in rows:
            with self.subTest(name):
                used = set()
                self.assertEqual(unframed(lines, frames, used), expected)
                self.assertEqual(used, numbers)


if __name__ == "__main__":
    if not os.path.isfile(NATIVE_LIST):
        print(f"skipped: there is no {NATIVE_LIST}; set QUILLMARK_NATIVE_BUILD to a Linux build of exchange_list")
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0]] + sys.argv[5:])
