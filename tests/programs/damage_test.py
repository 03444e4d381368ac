#!/usr/bin/env python3
"""Loads every settings file of a sample site cut at every byte and with every byte changed.

damage_test.py FOLDER-OF-PROGRAMS SUFFIX [EMULATOR...]

SUFFIX is that of an executable; EMULATOR runs a Windows program where the system cannot. Every byte is changed in one
of eight ways, or in KYM_TEST_CHANGES of them (1, 2, 4 or 8). Windows takes long to make so many files: there, unless
KYM_TEST_CHANGES is set, only every eighth byte has its turn; KYM_TEST_STRIDE says otherwise. Fails when a load crashes or
takes five seconds, and when a process needs 64 MiB more than before the first load.
"""
import os
import pathlib
import plistlib
import subprocess
import sys
import tempfile

FOLDER = pathlib.Path(sys.argv[1]).resolve()
SUFFIX = sys.argv[2]
EMULATOR = sys.argv[3:]
CHANGES = os.environ.get("KYM_TEST_CHANGES")
STEP = 8 // int(CHANGES or 1)
STRIDE = int(os.environ.get("KYM_TEST_STRIDE") or (8 if SUFFIX == ".exe" and not CHANGES else 1))
KINDS = {"baseSettings.dat": "base", "sysinfo.dat": "system", "settings.dat": "plugin", "configSettings.dat": "department",
         ".dirinfo.plist": "properties", "global.plist": "preferences"}


def as_seen_by_programs(path):
    return "Z:" + str(path).replace("/", "\\") if EMULATOR else str(path)


def run(site, departments, name, *arguments):
    environment = dict(os.environ, KYM_BASE_DIR=as_seen_by_programs(site / "kym"),
                       KYM_UGSITE_DIR=as_seen_by_programs(site / departments))
    return subprocess.run([*EMULATOR, str(FOLDER / f"{name}{SUFFIX}"), *arguments], env=environment, timeout=1000,
                          stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", check=False)


def kind_of(file):
    return "site" if file.name.startswith("site_settings") else KINDS.get(file.name)


def main():
    with tempfile.TemporaryDirectory(prefix="kym sit\u00e9 ") as folder:
        sample, site = pathlib.Path(folder) / "sample", pathlib.Path(folder) / "site"
        for directory in (sample, site / "kym", site / "departments"):
            directory.mkdir(parents=True)
        made = run(sample, "ugsite", "kym-sample-site", as_seen_by_programs(sample),
                   as_seen_by_programs(FOLDER / f"kym-sample-report{SUFFIX}"))
        if made.returncode != 0:
            raise RuntimeError(made.stderr)
        (sample / "kym" / "preferences").mkdir()
        with open(sample / "kym" / "preferences" / "global.plist", "wb") as preferences:
            plistlib.dump({"units": "mm", "sheet": {"sizes": ["A3", "A4"], "scale": 2, "frame": True}}, preferences)
        files = sorted(file for file in sample.rglob("*") if kind_of(file))
        failures = {"site", *KINDS.values()} - set(map(kind_of, files))
        for file in files:
            done = run(site, "departments", "kym-test-saver", "damage", kind_of(file), as_seen_by_programs(site),
                       as_seen_by_programs(file), str(STRIDE), str(STEP))
            print(f"{file.relative_to(sample)}: {done.stdout.strip()}{done.stderr}", flush=True)
            if done.returncode != 0:
                failures.add(str(file))
        if failures:
            print("failed, or not there:", ", ".join(sorted(failures)))
        return 1 if failures else 0


sys.exit(main())
