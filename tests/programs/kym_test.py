#!/usr/bin/env python3
"""Tests the launcher program on a sample site: kym_test.py FOLDER-OF-PROGRAMS SUFFIX [EMULATOR...].

SUFFIX is that of an executable; EMULATOR runs a Windows program where the system cannot.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

FOLDER = pathlib.Path(sys.argv[1]).resolve()
SUFFIX = sys.argv[2]
EMULATOR = sys.argv[3:]
ON_WINDOWS = SUFFIX == ".exe"

# What a process needs of its surroundings; the rest of the caller's environment must not change a result.
KEPT = {"PATH", "HOME", "TMPDIR", "TEMP", "SYSTEMROOT", "PATHEXT", "PROGRAMFILES", "USERPROFILE", "KYM_WINE",
        "KYM_WINE_PREFIX", "ASAN_OPTIONS", "UBSAN_OPTIONS"}


def as_seen_by_programs(path):
    return "Z:" + str(path).replace("/", "\\") if EMULATOR else str(path)


def sections(text):
    """The indented lines below each heading of a report or of a shown launch."""
    result = {}
    for line in text.splitlines():
        if line.startswith("    "):
            result[heading].append(line[4:])
        elif line:
            heading = line
            result[heading] = []
    return result


def variables(lines):
    """Names do not depend on letter case, and Wine renews its own variables in every process."""
    pairs = (line.split("=", 1) for line in lines)
    return {name.upper(): value for name, value in pairs if not name.startswith("WINE")}


class KymTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="kym sit\u00e9 ")
        cls.addClassCleanup(temporary.cleanup)
        cls.site = pathlib.Path(temporary.name).resolve()
        cls.environment = {name: value for name, value in os.environ.items() if name.upper() in KEPT}
        cls.environment.setdefault("USERPROFILE", str(cls.site))
        cls.environment["KYM_BASE_DIR"] = as_seen_by_programs(cls.site / "kym")
        cls.environment["KYM_UGSITE_DIR"] = as_seen_by_programs(cls.site / "ugsite")
        cls.environment["SAMPLE_LAYERS"] = "caller"
        cls.environment["SAMPLE_TRIAL"] = "caller"
        cls.program = as_seen_by_programs(FOLDER / f"kym-sample-report{SUFFIX}")
        made = cls.run_program("kym-sample-site", as_seen_by_programs(cls.site), cls.program)
        if made.returncode != 0:
            raise RuntimeError(made.stderr)
        unprepared = cls.site / "ugsite" / "archive"
        unprepared.mkdir()
        shutil.copy(cls.site / "ugsite" / "design" / ".dirinfo.plist", unprepared)

    @classmethod
    def run_program(cls, name, *arguments):
        return subprocess.run([*EMULATOR, str(FOLDER / f"{name}{SUFFIX}"), *arguments], env=cls.environment,
                              capture_output=True, encoding="utf-8", timeout=60, check=False)

    def kym(self, *arguments):
        done = self.run_program("kym", *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def test_lists_what_the_site_offers(self):
        self.assertEqual(self.kym("departments").splitlines(), [
            "NAME    TYPE        DESCRIPTION",
            "design  Production  Design of gearboxes",
            "common  Common      What all departments share"])
        self.assertEqual(self.kym("applications", "design").splitlines(), [
            "ID          DESCRIPTION                 CATEGORY  FROM",
            "drafting    Drafting                    CAD       drafting Plugin",
            "materials   Materials                   CAD       materials Plugin",
            "viewer      Viewer                      CAD       common",
            "viewer      Viewer of the installation  CAD       Base KYM",
            "nx          NX for gearboxes            Design    Base KYM",
            "gearbox     \u00c9tude of a gearbox          Design    design",
            "report      Report of the environment   Tools     design",
            "translator  Translator                  Tools     common"])

    def test_shows_a_launch(self):
        shown = sections(self.kym("show", "design", "report", "--work-directory", "Parts"))
        parts = as_seen_by_programs(self.site / "data" / "parts")
        self.assertEqual(shown["Command line:"], [f'{self.program} -all "of gearbox"'])
        self.assertEqual(shown["Arguments:"], ["-all", '"of gearbox"'])
        self.assertEqual(shown["Working directory:"], [parts])
        environment = variables(shown["Environment:"])
        data = as_seen_by_programs(self.site / "data").replace("/", "\\")
        nx = as_seen_by_programs(self.site / "nx").replace("/", "\\")
        for name, value in {
                "SAMPLE_LAYERS": "site;base;drafting;materials;common;design",
                "SAMPLE_DRAWINGS": data + "\\parts\\gearbox",
                "SAMPLE_STANDARD": "ISO 128",
                "SAMPLE_TRIAL": None,
                "UGII_ROOT_DIR": nx + "\\ugii\\",
                "UGII_LOCAL_USER_DEFAULTS": parts + "\\nx90_user.dpv",
                "UG_VER": "nx4"}.items():
            self.assertEqual(environment.get(name), value, name)
        self.assertTrue(environment["PATH"].startswith(nx + "\\ugii;"), environment["PATH"])

    def test_the_nearest_layer_supplies_an_application_unless_one_is_named(self):
        for department, application, arguments in (
                ("design", "viewer", ["-read-only"]), ("design", "Base KYM:viewer", []),
                ("design", "common:viewer", ["-read-only"]), ("common", "viewer", ["-read-only"])):
            shown = sections(self.kym("show", department, application))
            self.assertEqual(shown["Arguments:"], arguments, (department, application))
            self.assertEqual(shown["Working directory:"],
                             [variables(shown["Environment:"])["USERPROFILE"]])

    def test_says_what_is_wrong(self):
        for arguments, status, message in (
                (["applications", "sales"], 1, 'no department "sales". There are: common, design.'),
                (["applications", "archive"], 1, '"archive" is not prepared for the release "nx4".'),
                (["show", "design", "licences"], 1, 'no application "licences". There are: drafting, gearbox,'),
                (["show", "design", "design:nx"], 1, 'no application "design:nx"'),
                (["launch", "design", "report", "--work-directory", "parts"], 1,
                 'no work directory "parts". There are: Parts, New d\u00e9signs.'),
                (["show", "design"], 2, "APPLICATION is required"),
                (["start"], 2, ""),
                ([], 2, "subcommand is required")):
            done = self.run_program("kym", *arguments)
            self.assertEqual((done.returncode, done.stdout), (status, ""), arguments)
            self.assertTrue(done.stderr.startswith("kym: "), done.stderr)
            self.assertIn(message, done.stderr)

    @unittest.skipUnless(ON_WINDOWS, "programs are started on Windows only")
    def test_a_program_receives_what_was_shown(self):
        choice = ["design", "gearbox", "--work-directory", "New d\u00e9signs"]
        shown = sections(self.kym("show", *choice))
        self.kym("launch", *choice)
        report = self.site / "ugsite" / "design" / "report.txt"
        deadline = time.monotonic() + 30
        while not report.exists() and time.monotonic() < deadline:
            time.sleep(0.05)
        received = sections(report.read_text(encoding="utf-8"))
        self.assertEqual(received["Arguments:"], shown["Arguments:"])
        self.assertEqual(len(received["Arguments:"]), 3)
        self.assertEqual(received["Working directory:"], shown["Working directory:"])
        self.assertEqual(variables(received["Environment:"]), variables(shown["Environment:"]))

    @unittest.skipIf(ON_WINDOWS, "programs are started there")
    def test_a_launch_is_refused(self):
        done = self.run_program("kym", "launch", "design", "report", "--work-directory", "Parts")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("starting programs is offered on Windows only", done.stderr)


unittest.main(argv=sys.argv[:1])
