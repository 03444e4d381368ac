#!/usr/bin/env python3
"""Tests the launcher program on a sample site: kym_test.py FOLDER-OF-PROGRAMS SUFFIX [EMULATOR...].

SUFFIX is that of an executable; EMULATOR runs a Windows program where the system cannot.
"""
import contextlib
import functools
import json
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import uuid

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
        cls.environment["XDG_CONFIG_HOME"] = str(cls.site / "config")  # where the system asks the environment
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
                              stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", timeout=60,
                              check=False)

    @contextlib.contextmanager
    def variable(self, name, value):
        """Runs what is inside with one more variable."""
        before = self.environment.copy()
        self.environment[name] = value
        try:
            yield
        finally:
            self.environment.clear()
            self.environment.update(before)

    def entries(self):
        return sorted(path.name for path in (self.site / "ugsite").iterdir() if path.is_dir())

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
        offered = json.loads(self.kym("applications", "design", "--json"))["applications"]
        known = json.loads(self.kym("applications", "design", "--all", "--json"))["applications"]
        self.assertEqual([each["id"] for each in known if each not in offered], ["licences"])
        self.assertEqual([each["disabled"] for each in known], [each["id"] == "licences" for each in known])
        self.assertIn("licences    Licence manager             Tools     Base KYM          disabled",
                      self.kym("applications", "design", "--all").splitlines())
        listed = json.loads(self.kym("departments", "--json"))["departments"]
        self.assertEqual([(each["name"], each["commonDepartment"]) for each in listed],
                         [("design", "common"), ("common", "")])

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
        plan = json.loads(self.kym("show", "design", "report", "--work-directory", "Parts", "--json"))
        self.assertEqual([[plan["commandLine"]], plan["arguments"], [plan["workingDirectory"]]],
                         [shown[heading] for heading in ("Command line:", "Arguments:", "Working directory:")])
        self.assertEqual(plan["executable"], self.program)
        self.assertEqual(variables(f"{name}={value}" for name, value in plan["environment"].items()), environment)

    def test_explains_where_values_come_from(self):
        with self.variable("SAMPLE_ODD", "x"):
            plan = json.loads(self.kym("show", "design", "report", "--json"))
            told = json.loads(self.kym("explain", "design", "report", "--json"))["variables"]
        self.assertEqual(variables(f"{each['name']}={each['value']}" for each in told if each["value"] is not None),
                         variables(f"{name}={value}" for name, value in plan["environment"].items()))
        department = as_seen_by_programs(self.site / "ugsite" / "design" / "nx4" / "config" / "configSettings.dat")
        self.assertEqual(self.kym("explain", "design", "gearbox", "SAMPLE_STANDARD").splitlines(), [
            "SAMPLE_STANDARD=ISO 128 A",
            "    set by common configuration, " + department.replace("design", "common"),
            "        ISO 128",
            "    extended by application, " + department,
            "        ISO 128 A"])
        self.assertEqual(self.kym("explain", "design", "report", "SAMPLE_TRIAL").splitlines()[-1],
                         "    removed by configuration, " + department)
        with self.variable("SAMPLE_A", "$SAMPLE_B"), self.variable("SAMPLE_B", "$SAMPLE_A"):
            self.assertEqual(self.kym("explain", "design", "gearbox", "SAMPLE_A").splitlines()[-2:], [
                "    cannot be expanded, so that nothing can be launched",
                "        The variable SAMPLE_A refers to itself: SAMPLE_A -> SAMPLE_B -> SAMPLE_A"])
        self.assertEqual([(step["layer"], step["file"]) for variable in told if variable["name"] == "UGII_HTML_BROWSER"
                          for step in variable["steps"] if step["layer"]], [("site", None)])
        done = self.run_program("kym", "explain", "design", "gearbox", "NOTHING")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn('Nothing sets or removes the variable "NOTHING"', done.stderr)

    def test_tells_two_launches_apart(self):
        self.assertEqual(self.kym("diff", "design", "report", "design", "report"), "The two launches are the same.\n")
        told = json.loads(self.kym("diff", "design", "report", "design", "viewer", "--work-directory2", "Parts",
                                   "--json"))
        parts = as_seen_by_programs(self.site / "data" / "parts")
        self.assertEqual([(each["name"], each["second"]) for each in told["command"]],
                         [("argument 1", "-read-only"), ("argument 2", None), ("working directory", parts)])
        self.assertEqual([(each["name"], each["second"]) for each in told["variables"]],
                         [("UGII_LOCAL_USER_DEFAULTS", parts + "\\nx90_user.dpv")])

    def test_tells_how_path_lists_differ(self):
        self.addCleanup(shutil.rmtree, self.site / "ugsite" / "other")
        shutil.copytree(self.site / "ugsite" / "design", self.site / "ugsite" / "other")
        settings = self.site / "ugsite" / "other" / "nx4" / "config" / "configSettings.dat"
        text = settings.read_text(encoding="utf-8")
        value = "bb;new;dd;${KYM_TEST_MORE};aa;cc"
        settings.write_text(text.replace("SAMPLE_PROJECT<", "SAMPLE_PATH<").replace(">gearbox<", f">{value}<"),
                            encoding="utf-8")
        with self.variable("SAMPLE_PATH", "aa;bb;cc;old;dd"), self.variable("KYM_TEST_MORE", "x y"):
            lines = self.kym("diff", "design", "report", "other", "other:report").splitlines()
        start = lines.index("  SAMPLE_PATH")
        self.assertEqual(lines[start + 1:start + 6], ["    - old", "    + new", "    + x y", "    ~ aa", "    ~ cc"])
        self.assertIn("    - gearbox", lines)
        self.assertIn("  KYM_DEPT_DIR", lines)

    def test_exports_scripts_or_says_what_a_shell_cannot_carry(self):
        def exported(form, **more):
            with contextlib.ExitStack() as stack:
                for name, value in more.items():
                    stack.enter_context(self.variable(name, value))
                return self.run_program("kym", "export", "design", "report", "--format", form)

        done = exported("powershell", SAMPLE_ODD="it's\n$x `\u2019\U0001f600")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertTrue(done.stdout.isascii())
        self.assertIn("[Environment]::SetEnvironmentVariable(('SAMPLE_ODD'), ('it''s'+[char]10+'$x `'+[char]8217+''"
                      "+[char]55357+''+[char]56832+''), 'Process')", done.stdout.splitlines())
        plan = json.loads(self.kym("show", "design", "report", "--json"))
        self.assertEqual(json.loads(exported("json").stdout), plan["environment"])
        for form, more, message in (
                ("batch", {"SAMPLE_ODD": "a\nb"}, "SAMPLE_ODD: it holds a line break"),
                ("batch", {"SAMPLE_ODD": "%" * 4090}, "SAMPLE_ODD: its line would be longer than the 8191"),
                ("batch", {"X86\"": "a"}, 'X86": its name is empty or holds "=" or a quote.')):
            done = exported(form, **more)
            self.assertEqual((done.returncode, done.stdout), (1, ""), message)
            self.assertIn(message, done.stderr)
        self.assertEqual(exported("bash").returncode, 2)

    @unittest.skipUnless(ON_WINDOWS, "there is a cmd.exe on Windows only")
    def test_an_exported_script_sets_exactly_the_environment_of_a_launch(self):
        values = ["%PATH%", "100%", "%%1 %~dp0", "!x! ^!", "a&b|c<d>e^f(g)h", 'say "hi & <you>" & go ^', 'odd " & ^ | (',
                  "it's, a;b=c", " ends ", "tab\there", "\"", "\"\"", "^^", "::x", "\u00e9\u00c4\u00df\u00bd"]
        odd = {f"SAMPLE_ODD_{number}": value for number, value in enumerate(values)} | {"SAMPLE X86 &^%!)": "x"}
        script = self.site / "export.bat"
        with contextlib.ExitStack() as stack:
            for name, value in odd.items():
                stack.enter_context(self.variable(name, value))
            self.kym("export", "design", "report", "--format", "batch", "--output", as_seen_by_programs(script))
            expected = json.loads(self.kym("show", "design", "report", "--json"))["environment"]
        self.assertEqual({name: expected[name.upper()] for name in odd}, odd)
        if EMULATOR:  # whose cmd.exe reads scripts in this code page, whatever chcp says
            script.write_bytes(script.read_bytes().decode().encode("cp437"))
        report = self.site / "ugsite" / "design" / "report.txt"
        with self.variable("SAMPLE_ODD_LEFT_OVER", "x"):
            done = subprocess.run([*EMULATOR, "cmd", "/d", "/c", "call", "export.bat", "&&", self.program],
                                  env=self.environment, cwd=self.site, stdin=subprocess.DEVNULL, capture_output=True,
                                  timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
        received = sections(report.read_text(encoding="utf-8"))["Environment:"]
        report.unlink()
        self.assertEqual(variables(received), variables(f"{name}={value}" for name, value in expected.items()))

    def test_completes_in_bash_what_help_tells(self):
        if not ON_WINDOWS:
            def completed(*words):
                script = self.run_program(words[0], "completion", "bash").stdout
                ask = ('source /dev/stdin; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _${1//-/_}; '
                       'printf "%s\\n" "${COMPREPLY[@]}"')
                path = f"{FOLDER}:{self.environment['PATH']}"
                done = subprocess.run(["bash", "-c", ask, "-", *words], input=script, capture_output=True, check=False,
                                      env={**self.environment, "PATH": path}, encoding="utf-8", timeout=60)
                self.assertEqual(done.stderr, "")
                return done.stdout.split()

            self.assertEqual(completed("kym", "de"), ["departments", "delete"])
            self.assertEqual(completed("kym", "show", "d"), ["design"])
            self.assertEqual(completed("kym", "show", "design", "g"), ["gearbox"])
            self.assertEqual(completed("kym", "diff", "design", "nx", "design", "mat"), ["materials"])
            self.assertEqual(completed("kym", "show", "design", "nx", "--"), ["--help", "--work-directory", "--json"])
            self.assertEqual(completed("kym", "show", "--json", "design", "g"), ["gearbox"])
            self.assertEqual(completed("kym", "prepare", "a"), ["archive"])
            self.assertEqual(completed("kym", "create", "x"), [])
            settings = self.site / "kym" / "config" / "baseSettings.dat"
            self.addCleanup(settings.write_bytes, settings.read_bytes())
            hostile = "x$(echo y)"
            self.assertEqual(self.run_program("kym-configure", "add", "base/applications", "AppID=" + hostile).returncode, 0)
            self.assertEqual(completed("kym", "show", "design", "x"), ["x\\$\\(echo\\", "y\\)"])
            self.assertEqual(completed("kym-configure", "show", "department/design/w"),
                             ["department/design/work-directories"])
            self.assertEqual(completed("kym-configure", "put", "site/useW"), ["site/useWindowsRegistry"])
            self.assertEqual(completed("kym-configure", "export", "plugin/m"), ["plugin/machining", "plugin/materials"])
        for command in ("diff", "create"):
            help_text = self.kym(command, "--help")
            self.assertIn("Example:\n  kym " + command, help_text.replace("Example:\n    ", "Example:\n  "))
        self.assertIn("        'delete' = @('DEPARTMENT', '--help --yes')\n", self.kym("completion", "powershell"))

    def test_json_carries_every_text_and_refuses_what_is_none(self):
        odd = "\x01\t\x1f\x7f \"'\\ \u00e9\u20ac\U0001f600 \ud7ff\ue000"
        with self.variable("SAMPLE_ODD", odd):
            plan = json.loads(self.kym("show", "design", "report", "--json"))
            self.assertEqual(plan["environment"]["SAMPLE_ODD"], odd)
        if not ON_WINDOWS:  # whose variables are always text
            for wrong in (b"\xff", b"a\x80", b"\xc1\xbf", b"\xe0\x9f\xbf", b"\xed\xa0\x80", b"\xf4\x90\x80\x80",
                          b"\xe2\x82"):
                with self.variable("SAMPLE_ODD", os.fsdecode(wrong)):
                    done = self.run_program("kym", "show", "design", "report", "--json")
                    self.assertEqual((done.returncode, done.stdout), (1, ""), wrong)
                    self.assertIn("The text at /environment/SAMPLE_ODD is not UTF-8", done.stderr)

    def test_checks_the_cad_system(self):
        nx = as_seen_by_programs(self.site / "nx").replace("/", "\\")
        if ON_WINDOWS:
            found = json.loads(self.kym("check", "design", "--json"))["variables"]
            self.assertEqual([(each["name"], each["before"]) for each in found],
                             [("UGII_BASE_DIR", nx), ("UGII_ROOT_DIR", nx + "\\ugii\\"), ("UGII_LIB1", None)])
            self.assertIn("UGII_LIB1 is not set.\n", self.kym("check", "design", "nx"))
        (self.site / "nx").rename(self.site / "elsewhere")
        self.addCleanup((self.site / "elsewhere").rename, self.site / "nx")
        done = self.run_program("kym", "check", "design")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn(f"UGII_BASE_DIR is set to {nx}. Invalid directory.\n"
                      "Run kym explain design APPLICATION UGII_BASE_DIR", done.stderr)

    def test_the_nearest_layer_supplies_an_application_unless_one_is_named(self):
        for department, application, arguments in (
                ("design", "viewer", ["-read-only"]), ("design", "Base KYM:viewer", []),
                ("design", "common:viewer", ["-read-only"]), ("common", "viewer", ["-read-only"])):
            shown = sections(self.kym("show", department, application))
            self.assertEqual(shown["Arguments:"], arguments, (department, application))
            self.assertEqual("Before the start:" in shown, department == "common")  # where a launch cleans up
            self.assertEqual(shown["Working directory:"],
                             [variables(shown["Environment:"])["USERPROFILE"]])

    def test_says_what_is_wrong(self):
        for arguments, status, message in (
                (["applications", "sales"], 1, 'no department "sales". There are: common, design.'),
                (["applications", "archive"], 1, '"archive" is not prepared for the release "nx4". Run kym prepare archive'),
                (["show", "design", "licence"], 1, 'no application "licence". There are: drafting, gearbox,'),
                (["show", "design", "licences"], 1, 'disables the application "licences". There are: drafting, g'),
                (["show", "design", "design:nx"], 1, 'no application "design:nx"'),
                (["launch", "design", "report", "--work-directory", "parts"], 1,
                 'no work directory "parts". There are: Parts, New d\u00e9signs.'),
                (["show", "design"], 2, "APPLICATION is required"),
                (["start"], 2, 'no command "start". There are: departments, applications,'),
                (["preferences", "set", "a", "-x"], 2, 'that begins with a minus stands behind a "--"'),
                (["documentation"], 2, "DOCUMENT is required"),
                ([], 2, "subcommand is required")):
            done = self.run_program("kym", *arguments)
            self.assertEqual((done.returncode, done.stdout), (status, ""), arguments)
            self.assertTrue(done.stderr.startswith("kym: "), done.stderr)
            self.assertIn(message, done.stderr)

    def test_creates_prepares_renames_and_deletes_departments(self):
        before = self.entries()
        self.addCleanup(lambda: [shutil.rmtree(self.site / "ugsite" / name)
                                 for name in self.entries() if name not in before])
        self.assertEqual(self.kym("create", "d\u00e9p", "--description", "All \u20ac", "--type", "Test"),
                         'Created the department "d\u00e9p".\n')
        self.assertIn("d\u00e9p     Test        All \u20ac", self.kym("departments").splitlines())
        release = self.site / "ugsite" / "d\u00e9p" / "nx4"
        self.assertTrue((release / "menus" / "custom_dirs.dat").exists())
        self.assertFalse((release / "win64").exists())
        prepared = 'The department "d\u00e9p" is prepared for the release "nx4"'
        self.assertEqual(self.kym("prepare", "d\u00e9p"), prepared + ".\n")
        self.assertTrue((release / "win64" / "udo").is_dir())
        self.assertEqual(self.kym("prepare", "d\u00e9p"), prepared + " already.\n")
        self.assertEqual(self.kym("create"), 'Created the department "change_me".\n')
        self.assertIn("give it its name with kym rename change_me NAME",
                      self.run_program("kym", "create", "gears").stderr)
        shutil.rmtree(self.site / "ugsite" / "change_me" / "nx4")
        self.assertEqual(self.kym("rename", "change_me", "later"),
                         'Renamed the department "change_me" to "later".\n')
        self.kym("prepare", "later")
        self.assertEqual(self.entries(), sorted([*before, "d\u00e9p", "later"]))
        for name in "d\u00e9p", "later":
            self.assertEqual(self.kym("delete", name, "--yes"), f'Deleted the department "{name}".\n')
        self.assertEqual(self.entries(), before)
        self.assertEqual(self.kym("rename", "common", "common"), 'The department "common" has that name already.\n')
        self.addCleanup((self.site / "ugsite" / "shared").rename, self.site / "ugsite" / "common")
        self.assertIn("kym-configure put department/design/commonDepartment shared\n",
                      self.kym("rename", "common", "shared"))

    def test_refuses_changes_and_leaves_everything(self):
        interrupted = self.site / "ugsite" / "change_me"
        interrupted.mkdir()
        self.addCleanup(lambda: shutil.rmtree(interrupted))
        before = self.entries()
        for arguments, status, message in (
                (["create", "design"], 1, 'There is a department "design" already.'),
                (["create", "x"], 1, "change_me is no department; remove it"),
                (["create", "my site"], 1, '"my site" cannot be the name of a department'),
                (["create", ""], 1, '"" cannot be the name of a department: it is empty.'),
                (["create", "a\x1b/"], 1, '"a\\x1B/" cannot be the name of a department'),
                (["create", "x", "--type", "Prod"], 1, 'no type "Prod". There are: Common, Development, '),
                (["rename", "design", "common"], 1, " already exists."),
                (["rename", "design", "a b"], 1, "cannot be the name of a department"),
                (["rename", "sales", "x"], 1, 'no department "sales". There are: archive, common, design.'),
                (["rename", "design"], 2, "NEW is required"),
                (["delete", "common"], 1, "kym-configure put department/design/commonDepartment NAME\n"),
                (["delete", "design"], 1, "must be confirmed: give --yes"),
                (["delete", "change_me", "--yes"], 1, "change_me is no department; remove it"),
                (["prepare", "sales"], 1, 'no department "sales".')):
            done = self.run_program("kym", *arguments)
            self.assertEqual((done.returncode, done.stdout), (status, ""), arguments)
            self.assertIn(message, done.stderr)
            self.assertEqual(self.entries(), before, arguments)

    def test_a_launched_process_has_the_preferences_of_all_levels(self):
        prefs = functools.partial(self.kym, "preferences")
        constants = self.site / "kym" / "config" / "sysinfo.dat"
        before = constants.read_text(encoding="utf-8")
        self.addCleanup(constants.write_text, before, encoding="utf-8")
        constants.write_text(before.replace(">nxkym<", f">kym-test-{uuid.uuid4().hex}<"), encoding="utf-8")
        installation = self.site / "kym" / "preferences" / "global.plist"
        common = self.site / "ugsite" / "common" / "nx4" / "preferences" / "kym.plist"
        department = self.site / "ugsite" / "design" / "nx4" / "preferences"
        for file in installation, common:
            file.parent.mkdir()
            self.addCleanup(shutil.rmtree, file.parent)
        self.addCleanup(shutil.rmtree, department, ignore_errors=True)
        done = self.run_program("kym", "preferences", "set", "a", "b", "--department")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("KYM_DEPT_DIR and UG_VER must be set", done.stderr)

        launched = variables(sections(self.kym("show", "design", "report"))["Environment:"])
        for name in "KYM_DEPT_DIR", "KYM_COMMONDEPT_DIR", "UG_VER":
            value = launched[name] if ON_WINDOWS else launched[name].replace("\\", "/")
            self.enterContext(self.variable(name, value))
        installation.write_bytes(plistlib.dumps({"level": "installation", "data": b"\x00\xff",
                                                 "list": [-1, {"a": "\u00e4"}]}))
        self.assertEqual(prefs("get", "level"), "installation\n")
        common.write_bytes(plistlib.dumps({"level": "common", "n": {"x": 1.5, "y": 2**40}}))
        self.assertEqual(prefs("get", "level"), "common\n")
        for arguments in (["level", "department"], ["n/x", "2", "--type", "integer"], ["n/z", "-0.5", "--type", "real"],
                          ["no", "false", "--type", "boolean", "--all-applications"]):
            self.assertEqual(prefs("set", "--department", *arguments), "")
        self.assertEqual(plistlib.loads((department / "kym.plist").read_bytes()),
                         {"level": "department", "n": {"x": 2, "z": -0.5}})
        self.assertEqual(prefs("get", "level"), "department\n")
        prefs("set", "level", "user \u20ac")
        users = pathlib.PureWindowsPath if ON_WINDOWS else pathlib.PurePath
        users = users(json.loads(prefs("list", "--json"))["preferences"][1]["file"]).parent.parent
        self.assertIn("kym-test-", users.name)
        removal = [*EMULATOR, "cmd", "/d", "/c", "rmdir", "/s", "/q"] if ON_WINDOWS else ["rm", "-r"]
        self.addCleanup(subprocess.run, [*removal, str(users)], env=self.environment, check=True)
        prefs("set", "n/x", "other", "--application", "other")

        def listed(output):
            return [line.split(maxsplit=1)[0] + " = " + re.split("  +", line)[1] for line in output.splitlines()[1:]]

        expected = ["data = <00ff>", "level = user \u20ac", 'list = [-1, {a = "\u00e4"}]', "n/x = 2",
                    "n/y = 1099511627776", "n/z = -0.5", "no = false"]
        self.assertEqual(listed(prefs("list")), expected)
        self.assertEqual(prefs("get", "n", "--application", "other"), '{x = "other"}\n')
        self.assertEqual(json.loads(prefs("list", "--json"))["preferences"][1]["value"], "user \u20ac")
        if ON_WINDOWS:
            self.assertEqual(listed(self.output_of_launched("preferences", "list")), expected)

        prefs("remove", "level")
        prefs("remove", "n/z", "--department")
        self.assertEqual(prefs("get", "level"), "department\n")
        self.assertEqual(plistlib.loads((department / "kym.plist").read_bytes()),
                         {"level": "department", "n": {"x": 2}})
        for arguments, message in (
                (["remove", "n/y", "--department"], 'no preference "n/y" to remove there.'),
                (["get", "n/z"], 'no preference "n/z".'), (["set", "n", "1.5", "--type", "integer"], "is no integer."),
                (["set", "n", "yes", "--type", "boolean"], "is no boolean."),
                (["set", "--department", "level/x", "1"], "is not a dictionary.")):
            done = self.run_program("kym", "preferences", *arguments)
            self.assertEqual((done.returncode, done.stdout), (1, ""), arguments)
            self.assertIn(message, done.stderr)
        shutil.rmtree(department)
        department.write_text("in the way")
        self.addCleanup(department.unlink)
        done = self.run_program("kym", "preferences", "set", "a", "b", "--department")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("is not a directory.", done.stderr)
        self.assertIn("kym: The preference was not changed.", done.stderr)

    def output_of_launched(self, *arguments):
        """What kym writes when the launcher starts it, in a batch file, from the department "design"."""
        script, output = self.site / "run kym.bat", self.site / "output.txt"
        script.write_text(f'@"%KYM_TEST_PROGRAM%" {" ".join(arguments)} > "%KYM_TEST_OUTPUT%.part"\n'
                          '@move "%KYM_TEST_OUTPUT%.part" "%KYM_TEST_OUTPUT%"\n', encoding="ascii", newline="\r\n")
        settings = self.site / "ugsite" / "design" / "nx4" / "config" / "configSettings.dat"
        before = settings.read_bytes()
        self.addCleanup(settings.write_bytes, before)
        settings.write_bytes(before.replace(self.program.encode(), as_seen_by_programs(script).encode()))
        with self.variable("KYM_TEST_PROGRAM", as_seen_by_programs(FOLDER / f"kym{SUFFIX}")), \
                self.variable("KYM_TEST_OUTPUT", as_seen_by_programs(output)):
            self.kym("launch", "design", "report")
        deadline = time.monotonic() + 30
        while not output.exists() and time.monotonic() < deadline:
            time.sleep(0.05)
        return output.read_text(encoding="utf-8")

    def test_cleans_as_a_launch_would(self):
        def clean(*arguments, command="clean"):
            """Runs in the site, in whose folder "temp" the program looks; Wine sets TEMP as it likes."""
            setting = ["cmd", "/d", "/c", "set", "TEMP=temp&&"] if EMULATOR else []
            done = subprocess.run([*EMULATOR, *setting, str(FOLDER / f"kym{SUFFIX}"), command, *arguments],
                                  env={**self.environment, "TEMP": "temp"}, cwd=self.site, timeout=60, check=False,
                                  stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8")
            return done.returncode, done.stdout, done.stderr

        department = self.site / "ugsite" / "clean"
        self.addCleanup(lambda: shutil.rmtree(department))
        shutil.copytree(self.site / "ugsite" / "design", department)
        description = department / ".dirinfo.plist"
        # So many days that no file of the machine's own is that old.
        settings = {**plistlib.loads(description.read_bytes()), "Do File Cleanup Key": True, "Cleanup Days Key": 9000}
        description.write_bytes(plistlib.dumps(settings))
        folder = self.site / "temp"
        folder.mkdir()
        for name, age in ("old.log", 9002.5), ("young.log", 8998.5):
            (folder / name).touch()
            os.utime(folder / name, (0, time.time() - age * 86400))

        self.assertEqual(clean("design", "--dry-run"), (0, 'The department "design" asks for no cleanup.\n', ""))
        old = "temp" + ("\\" if ON_WINDOWS else "/") + "old.log which is 9002 days old.\n"
        self.assertEqual(clean("clean", "--dry-run"), (0, "Would remove " + old, ""))
        self.assertTrue((folder / "old.log").exists())
        self.assertEqual(clean("clean"), (0, "Removed " + old, ""))
        self.assertEqual([path.name for path in folder.iterdir()], ["young.log"])
        self.assertEqual(clean("clean"), (0, "No file is older than 9000 days.\n", ""))
        self.assertEqual([json.loads(clean(name, "--json")[1]) for name in ("clean", "design")],
                         [{"cleanup": asked, "removed": True, "files": []} for asked in (True, False)])
        if not ON_WINDOWS:
            (folder / "young.log").rename(folder / "old.log")
            os.utime(folder / "old.log", (0, 0))
            (folder / "p.log").symlink_to("p.log")  # cannot be asked for its age
            self.assertEqual(clean("clean", "--json")[:2], (1, ""))
            status, output, error = clean("clean")
            self.assertEqual((status, output.splitlines()[0][:20]), (1, "Removed temp/old.log"))
            self.assertIn("\nThe cleanup ended there.", error)
            self.assertIn("\nNothing was started: ", clean("clean", "clean:report", command="launch")[2])

    @unittest.skipIf(ON_WINDOWS, "pseudo-terminals are made here")
    def test_tables_fit_a_terminal(self):
        import fcntl
        import pty
        import struct
        import termios

        def on_terminal(width=48, **more):
            ours, theirs = pty.openpty()
            fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
            subprocess.run([str(FOLDER / "kym"), "applications", "design"], stdin=subprocess.DEVNULL, stdout=theirs,
                           env={**self.environment, "TERM": "xterm", **more}, timeout=60, check=True)
            os.close(theirs)
            shown = b""
            with contextlib.suppress(OSError):  # EIO: all was read, and nobody writes any more
                while part := os.read(ours, 4096):
                    shown += part
            os.close(ours)
            return shown.decode().replace("\r\n", "\n").splitlines()

        lines = on_terminal(NO_COLOR="1")
        self.assertEqual(max(map(len, lines)), 48)
        self.assertEqual(lines[0], "ID          DESCRIPTION   CATEGORY  FROM")
        self.assertEqual(lines[6], "gearbox     \u00c9tude of ...  Design    design")
        self.assertEqual(on_terminal(), ["\x1b[1m" + lines[0] + "\x1b[0m", *lines[1:]])
        self.assertEqual(on_terminal(width=20)[:3], ["ID: drafting", "    DESCRIPTION: Drafting", "    CATEGORY: CAD"])

    @unittest.skipIf(ON_WINDOWS, "pseudo-terminals and named pipes are made here")
    def test_asks_and_shows_progress_on_a_terminal(self):
        import pty
        archive = self.site / "kym" / "data" / "install" / "versionFiles.tar.gz"
        content = archive.read_bytes()
        self.addCleanup(lambda: (archive.unlink(), archive.write_bytes(content)))
        archive.unlink()
        os.mkfifo(archive)

        def on_terminal(*arguments, until, then):
            """What the terminal showed until `until` was there; then `then` is called with the terminal."""
            ours, theirs = pty.openpty()
            with subprocess.Popen([str(FOLDER / "kym"), *arguments], env=self.environment, stdin=theirs,
                                  stdout=subprocess.PIPE, stderr=theirs, encoding="utf-8") as process:
                os.close(theirs)
                shown = ""
                while until not in shown:
                    shown += os.read(ours, 1000).decode()
                then(ours)
                output = process.communicate(timeout=60)[0]
            os.close(ours)
            return process.returncode, output

        done = on_terminal("create", "slow", until="Unpacking the version files ... ",
                           then=lambda _: archive.write_bytes(content))
        self.assertEqual(done, (0, 'Created the department "slow".\n'))
        for answer, expected in ("no\n", (1, "")), ("yes\n", (0, 'Deleted the department "slow".\n')):
            self.assertIn("slow", self.entries())
            done = on_terminal("delete", "slow", until="Type yes to delete: ",
                               then=lambda terminal: os.write(terminal, answer.encode()))
            self.assertEqual(done, expected)
        self.assertNotIn("slow", self.entries())

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

    def test_tells_when_no_browser_can_be_started(self):
        """Wine has a browser, and sets these variables anew, except below a program of its own."""
        setting, reason = ((["cmd", "/d", "/c", "set", "PATHEXT=.COM&&"], r"\S*\\iexplore\.exe is not executable")
                           if EMULATOR else
                           ([], r"nowhere\\Internet Explorer\\iexplore\.exe was not found"))
        done = subprocess.run([*EMULATOR, *setting, str(FOLDER / f"kym{SUFFIX}"), "documentation", "a.html"],
                              env={**self.environment, "PROGRAMFILES": "nowhere"}, stdin=subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, rf"\Akym: The executable {reason}\.\n\Z")

    @unittest.skipIf(ON_WINDOWS, "programs are started there")
    def test_a_launch_is_refused(self):
        done = self.run_program("kym", "launch", "design", "report", "--work-directory", "Parts")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("starting programs is offered on Windows only", done.stderr)


unittest.main(argv=sys.argv[:1])
