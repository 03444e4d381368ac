"""What the tests of the programs share: they take FOLDER-OF-PROGRAMS SUFFIX [EMULATOR...]; SUFFIX is that of an
executable, EMULATOR runs a Windows program where the system cannot."""
import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

FOLDER = pathlib.Path(sys.argv[1]).resolve()
SUFFIX = sys.argv[2]
EMULATOR = sys.argv[3:]
ON_WINDOWS = SUFFIX == ".exe"
TIME_LIMIT = 60 * int(os.environ.get("KYM_TEST_PATIENCE") or 1)  # seconds
BASE, SITE, SYSTEM = "kym/config/baseSettings.dat", "ugsite/site_settingsNx4.dat", "kym/config/sysinfo.dat"
DESIGN, PROPERTIES = "ugsite/design/nx4/config/configSettings.dat", "ugsite/design/.dirinfo.plist"

# What a process needs of its surroundings; the rest of the caller's environment must not change a result.
KEPT = {"PATH", "HOME", "TMPDIR", "TEMP", "SYSTEMROOT", "PATHEXT", "PROGRAMFILES", "USERPROFILE", "KYM_WINE",
        "KYM_WINE_PREFIX", "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}


def native(path):
    """A path as the programs see it."""
    return "Z:" + str(path).replace("/", "\\") if EMULATOR else str(path)


class SiteTest(unittest.TestCase):
    """Has a sample site, a new one for each test, and runs the programs on it."""
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="kym sit\u00e9 ")
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = pathlib.Path(temporary.name).resolve()
        cls.pristine, cls.site = cls.folder / "pristine", cls.folder / "site"
        cls.site.mkdir()
        cls.environment = {name: value for name, value in os.environ.items() if name.upper() in KEPT}
        cls.environment.setdefault("USERPROFILE", str(cls.site))
        cls.environment["KYM_BASE_DIR"] = native(cls.site / "kym")
        cls.environment["KYM_UGSITE_DIR"] = native(cls.site / "ugsite")
        cls.application = native(FOLDER / f"kym-sample-report{SUFFIX}")
        made = cls.start("kym-sample-site", native(cls.site), cls.application)
        if made.returncode != 0:
            raise RuntimeError(made.stderr)
        cls.site.rename(cls.pristine)

    def setUp(self):
        shutil.copytree(self.pristine, self.site)
        self.addCleanup(lambda: shutil.rmtree(self.site))

    def replace(self, file, *pairs):
        """Makes in a settings file of the site what the programs themselves would refuse to make."""
        text = (self.site / file).read_text(encoding="utf-8")
        for old, new in pairs:
            self.assertEqual(text.count(old), 1, old)
            text = text.replace(old, new)
        (self.site / file).write_text(text, encoding="utf-8")

    @classmethod
    def start(cls, program, *arguments, setting=(), **options):
        """`setting`: what runs the program with other variables where Wine sets its own."""
        options = {"env": cls.environment, "stdin": subprocess.DEVNULL, "capture_output": True, "encoding": "utf-8",
                   "timeout": TIME_LIMIT, **options}
        return subprocess.run([*EMULATOR, *setting, str(FOLDER / f"{program}{SUFFIX}"), *arguments],
                              check=False, **options)

    def output(self, program, *arguments, status=0):
        done = self.start(program, *arguments)
        self.assertEqual((done.returncode, done.stderr), (status, ""), arguments)
        return done.stdout

    def refused(self, message, program, *arguments, status=1):
        """The program ends with that status and says so, and writes nothing else."""
        done = self.start(program, *arguments)
        self.assertEqual((done.returncode, done.stdout), (status, ""), arguments)
        self.assertTrue(done.stderr.startswith(program + ": "), done.stderr)
        self.assertIn(message, done.stderr)

    @contextlib.contextmanager
    def variables(self, **more):
        """Runs what is inside with more variables."""
        before = self.environment.copy()
        self.environment.update(more)
        try:
            yield
        finally:
            self.environment.clear()
            self.environment.update(before)
