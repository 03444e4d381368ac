#!/usr/bin/env python3
"""Loads every settings file of a sample site cut at every byte and with every byte changed; arguments as in
sample_site.py.

Every byte is changed in one of eight ways, or in KYM_TEST_CHANGES of them (1, 2, 4 or 8). Windows takes long to make so
many files: there, unless KYM_TEST_CHANGES is set, only every eighth byte has its turn; KYM_TEST_STRIDE says otherwise.
Fails when a load crashes or takes five seconds, and when a process needs 64 MiB more than before the first load.
"""
import os
import plistlib
import sys
import unittest

sys.dont_write_bytecode = True
from sample_site import ON_WINDOWS, SiteTest, native

CHANGES = os.environ.get("KYM_TEST_CHANGES")
STEP = 8 // int(CHANGES or 1)
STRIDE = int(os.environ.get("KYM_TEST_STRIDE") or (8 if ON_WINDOWS and not CHANGES else 1))
KINDS = {"baseSettings.dat": "base", "sysinfo.dat": "system", "settings.dat": "plugin", "configSettings.dat": "department",
         "site_settingsNx4.dat": "site", ".dirinfo.plist": "properties", "global.plist": "preferences"}


class DamageTest(SiteTest):
    def test_damaged_files_are_loaded_or_refused_in_time(self):
        (self.pristine / "kym" / "preferences").mkdir()
        with open(self.pristine / "kym" / "preferences" / "global.plist", "wb") as preferences:
            plistlib.dump({"units": "mm", "sheet": {"sizes": ["A3", "A4"], "scale": 2, "frame": True}}, preferences)
        files = sorted(file for file in self.pristine.rglob("*") if file.name in KINDS)
        self.assertEqual({file.name for file in files}, set(KINDS))
        (self.site / "departments").mkdir()
        for file in files:
            with self.subTest(file=file), self.variables(KYM_UGSITE_DIR=native(self.site / "departments")):
                done = self.start("kym-test-saver", "damage", KINDS[file.name], native(self.site), native(file),
                                  str(STRIDE), str(STEP), timeout=1000)
                print(f"{file.relative_to(self.pristine)}: {done.stdout.strip()}{done.stderr}", flush=True)
                self.assertEqual(done.returncode, 0)


unittest.main(argv=sys.argv[:1])
