#!/usr/bin/env python3
"""Tests the launcher program on a sample site; arguments as in sample_site.py."""
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

sys.dont_write_bytecode = True
from sample_site import (BASE, DESIGN, EMULATOR, FOLDER, ON_WINDOWS, PROPERTIES, SYSTEM, TIME_LIMIT, SiteTest,
                         native)

if not ON_WINDOWS:
    import fcntl
    import pty
    import struct
    import termios


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


def values(pairs):
    """Names do not depend on letter case, and Wine renews its own variables in every process."""
    return {name.upper(): value for name, value in pairs if not name.startswith("WINE")}


def assigned(lines):
    return values(line.split("=", 1) for line in lines)


class KymTest(SiteTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.environment["XDG_CONFIG_HOME"] = str(cls.site / "config")  # where the system asks the environment
        cls.environment.update(SAMPLE_LAYERS="caller", SAMPLE_TRIAL="caller")
        cls.parts = native(cls.site / "data" / "parts")
        cls.nx = native(cls.site / "nx").replace("/", "\\")
        cls.settings = native(cls.site / DESIGN)
        cls.report = cls.site / "ugsite" / "design" / "report.txt"
        (cls.pristine / "ugsite" / "archive").mkdir()  # not prepared
        shutil.copy(cls.pristine / PROPERTIES, cls.pristine / "ugsite" / "archive")

    def kym(self, *arguments):
        return self.output("kym", *arguments)

    def listed(self, *arguments):
        """What the one list of a JSON document holds."""
        return next(each for each in json.loads(self.kym(*arguments, "--json")).values() if isinstance(each, list))

    def plan(self, *arguments):
        return json.loads(self.kym("show", *arguments, "--json"))

    def departments(self):
        return sorted(path.name for path in (self.site / "ugsite").iterdir() if path.is_dir())

    def test_lists_what_the_site_offers(self):
        self.assertEqual(self.kym("departments").splitlines(), [
            "NAME    TYPE        DESCRIPTION",
            "design  Production  Design of gearboxes",
            "common  Common      What all departments share"])
        self.assertEqual([(each["name"], each["commonDepartment"]) for each in self.listed("departments")],
                         [("design", "common"), ("common", "")])
        self.assertEqual(self.kym("applications", "design", "--all").splitlines(), [
            "ID          DESCRIPTION                 CATEGORY  FROM              STATE",
            "drafting    Drafting                    CAD       drafting Plugin",
            "materials   Materials                   CAD       materials Plugin",
            "viewer      Viewer                      CAD       common",
            "viewer      Viewer of the installation  CAD       Base KYM",
            "nx          NX for gearboxes            Design    Base KYM",
            "gearbox     \u00c9tude of a gearbox          Design    design",
            "licences    Licence manager             Tools     Base KYM          disabled",
            "report      Report of the environment   Tools     design",
            "translator  Translator                  Tools     common"])
        known = self.listed("applications", "design", "--all")
        self.assertEqual(self.listed("applications", "design"), [each for each in known if not each["disabled"]])

    def test_shows_a_launch(self):
        odd = "\x01\t\x1f\x7f\x9b \"'\\ \u00e9\u20ac\U0001f600 \ud7ff\ue000"
        with self.variables(SAMPLE_ODD=odd):
            shown = sections(self.kym("show", "design", "report", "--work-directory", "Parts"))
            plan = self.plan("design", "report", "--work-directory", "Parts")
        for name, heading, lines in (("commandLine", "Command line:", [f'{self.application} -all "of gearbox"']),
                                     ("arguments", "Arguments:", ["-all", '"of gearbox"']),
                                     ("workingDirectory", "Working directory:", [self.parts])):
            self.assertEqual((plan[name], shown[heading]), (lines if name == "arguments" else lines[0], lines))
        environment = values(plan["environment"].items())
        for name, value in {
                "SAMPLE_LAYERS": "site;base;drafting;materials;common;design", "SAMPLE_STANDARD": "ISO 128",
                "SAMPLE_DRAWINGS": self.nx[:-2] + "data\\parts\\gearbox", "SAMPLE_TRIAL": None, "UG_VER": "nx4",
                "UGII_ROOT_DIR": self.nx + "\\ugii\\", "SAMPLE_ODD": odd,
                "UGII_LOCAL_USER_DEFAULTS": self.parts + "\\nx90_user.dpv"}.items():
            self.assertEqual(environment.get(name), value, name)
        self.assertTrue(environment["PATH"].startswith(self.nx + "\\ugii;"), environment["PATH"])
        environment["SAMPLE_ODD"] = "\\x01\\x09\\x1f\\x7f\\xc2\\x9b" + odd[5:]  # what a terminal would obey
        self.assertEqual(assigned(shown["Environment:"]), environment)

    def test_explains_where_values_come_from(self):
        told = {each["name"]: each for each in self.listed("explain", "design", "report")}
        self.assertEqual(values((name, each["value"]) for name, each in told.items() if each["value"] is not None),
                         values(self.plan("design", "report")["environment"].items()))
        self.assertEqual(self.kym("explain", "design", "gearbox", "SAMPLE_STANDARD").splitlines(), [
            "SAMPLE_STANDARD=ISO 128 A",
            "    set by common configuration, " + self.settings.replace("design", "common"),
            "        ISO 128",
            "    extended by application, " + self.settings,
            "        ISO 128 A"])
        self.assertEqual(self.kym("explain", "design", "report", "SAMPLE_TRIAL").splitlines()[-1],
                         "    removed by configuration, " + self.settings)
        with self.variables(SAMPLE_A="$SAMPLE_B", SAMPLE_B="$SAMPLE_A"):
            self.assertEqual(self.kym("explain", "design", "gearbox", "SAMPLE_A").splitlines()[-2:], [
                "    cannot be expanded, so that nothing can be launched",
                "        The variable SAMPLE_A refers to itself: SAMPLE_A -> SAMPLE_B -> SAMPLE_A"])
        self.refused('sets or removes the variable "NO"', "kym", "explain", "design", "gearbox", "NO")

    def test_explains_through_what_paths_came(self):
        self.replace(DESIGN, (">SAMPLE_DRAWINGS<", ">SAMPLE_DIRS_PATH<"), (">SAMPLE_PROJECT<", ">SAMPLE_PATH<"),
                     (">${SAMPLE_PARTS_DIR}/${SAMPLE_PROJECT}<", ">$SAMPLE_DIRS_PATH;Q:/e<"),
                     ('Value Key">gearbox<', 'Value Key">q:/a;${SAMPLE_MORE}/x:$SAMPLE_DIRS_PATH;&quot;'
                      '$SAMPLE_PARTS_DIR/$UG_VER//y&quot;;$_SAMPLE<'))
        with self.variables(SAMPLE_MORE="q:/b//;r:\\c", SAMPLE_DIRS_PATH="r:/d;", _SAMPLE="x"):
            shown = self.kym("explain", "design", "report", "SAMPLE_PATH").split("    paths\n")[1].splitlines()
            told = self.listed("explain", "design", "report", "SAMPLE_PATH")[0]["paths"]
        more, parts = ["SAMPLE_MORE, set by process"], "SAMPLE_PARTS_DIR, set by base, " + native(self.site / BASE)
        department = "configuration, " + self.settings
        paths = [("q:\\a", []), ("q:\\b\\", more), ("r:\\c\\x", more), ("r:\\d", ["SAMPLE_DIRS_PATH, set by process"]),
                 ("Q:\\e", ["SAMPLE_DIRS_PATH, set by " + department]),
                 (self.nx[:-2] + "data\\parts\\nx4\\y", [parts, "UG_VER, set by launcher"]),
                 ("$_SAMPLE", [])]
        expected = [line for path, through in paths for line in (
            path, "    from " + department, *("    through " + each for each in through))]
        self.assertEqual([line.removeprefix("        ") for line in shown], expected)
        self.assertEqual([[each["name"] for each in path["through"]] for path in told],
                         [[each.split(",")[0] for each in through] for _, through in paths])

    def test_tells_two_launches_apart(self):
        self.assertEqual(self.kym("diff", "design", "report", "design", "report"), "The two launches are the same.\n")
        told = json.loads(self.kym("diff", "design", "report", "design", "viewer", "--work-directory2", "Parts",
                                   "--json"))
        self.assertEqual([(each["name"], each["second"]) for part in ("command", "variables") for each in told[part]], [
            ("argument 1", "-read-only"), ("argument 2", None), ("working directory", self.parts),
            ("UGII_LOCAL_USER_DEFAULTS", self.parts + "\\nx90_user.dpv")])
        shutil.copytree(self.site / "ugsite" / "design", self.site / "ugsite" / "other")
        self.replace(DESIGN.replace("design", "other"), (">SAMPLE_PROJECT<", ">SAMPLE_PATH<"),
                     ('Value Key">gearbox<', 'Value Key">bb;new;dd;${KYM_TEST_MORE};aa;cc<'))
        with self.variables(SAMPLE_PATH="aa;bb;cc;old;dd", KYM_TEST_MORE="x y"):
            lines = self.kym("diff", "design", "report", "other", "other:report").splitlines()
        start = lines.index("  SAMPLE_PATH")
        self.assertEqual(lines[start + 1:start + 6], ["    - old", "    + new", "    + x y", "    ~ aa", "    ~ cc"])
        self.assertLessEqual({"    - gearbox", "  KYM_DEPT_DIR"}, set(lines))

    def test_exports_scripts_or_says_what_a_shell_cannot_carry(self):
        export = "export", "design", "report", "--format"
        with self.variables(SAMPLE_ODD="it's\n$x `\u2019\U0001f600"):
            script = self.kym(*export, "powershell")
            self.assertEqual(json.loads(self.kym(*export, "json")), self.plan("design", "report")["environment"])
        self.assertTrue(script.isascii())
        self.assertIn("[Environment]::SetEnvironmentVariable(('SAMPLE_ODD'), ('it''s'+[char]10+'$x `'+[char]8217+''"
                      "+[char]55357+''+[char]56832+''), 'Process')", script.splitlines())
        for name, value, message in (
                ("SAMPLE_ODD", "a\nb", "SAMPLE_ODD: it holds a line break"),
                ("SAMPLE_ODD", "%" * 4090, "SAMPLE_ODD: its line would be longer than the 8191"),
                ('X86"', "a", 'X86": its name is empty or holds "=" or a quote.')):
            with self.variables(**{name: value}):
                self.refused(message, "kym", *export, "batch")

    if ON_WINDOWS:
        def test_an_exported_script_sets_exactly_the_environment_of_a_launch(self):
            texts = ["%PATH%", "100%", "%%1 %~dp0", "!x! ^!", "a&b|c<d>e^f(g)h", 'say "hi & <you>" & go ^',
                     'odd " & ^ | (', "it's, a;b=c", " ends ", "tab\there", "\"", "\"\"", "^^", "::x",
                     "\u00e9\u00c4\u00df\u00bd"]
            odd = {f"SAMPLE_ODD_{number}": text for number, text in enumerate(texts)} | {"SAMPLE X86 &^%!)": "x"}
            script = self.site / "export.bat"
            with self.variables(**odd):
                self.kym("export", "design", "report", "--format", "batch", "--output", native(script))
                expected = self.plan("design", "report")["environment"]
            self.assertEqual({name: expected[name.upper()] for name in odd}, odd)
            if EMULATOR:  # whose cmd.exe reads scripts in this code page, whatever chcp says
                script.write_bytes(script.read_bytes().decode().encode("cp437"))
            with self.variables(SAMPLE_ODD_LEFT_OVER="x"):
                done = subprocess.run([*EMULATOR, "cmd", "/d", "/c", "call", "export.bat", "&&", self.application],
                                      env=self.environment, cwd=self.site, stdin=subprocess.DEVNULL,
                                      capture_output=True, timeout=TIME_LIMIT, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
            received = sections(self.report.read_text(encoding="utf-8"))["Environment:"]
            self.assertEqual(assigned(received), values(expected.items()))

        def test_a_program_receives_what_was_shown(self):
            choice = ["design", "gearbox", "--work-directory", "New d\u00e9signs"]
            shown = sections(self.kym("show", *choice))
            self.kym("launch", *choice)
            deadline = time.monotonic() + 30
            while not self.report.exists() and time.monotonic() < deadline:
                time.sleep(0.05)
            received = sections(self.report.read_text(encoding="utf-8"))
            self.assertEqual(len(received["Arguments:"]), 3)
            for heading in "Arguments:", "Working directory:":
                self.assertEqual(received[heading], shown[heading])
            self.assertEqual(assigned(received["Environment:"]), assigned(shown["Environment:"]))

        def test_checks_the_cad_system(self):
            self.assertEqual([(each["name"], each["before"]) for each in self.listed("check", "design")], [
                ("UGII_BASE_DIR", self.nx), ("UGII_ROOT_DIR", self.nx + "\\ugii\\"), ("UGII_LIB1", None)])
            self.assertIn("UGII_LIB1 is not set.\n", self.kym("check", "design", "nx"))
    else:
        def completed(self, *words):
            script = self.output(words[0], "completion", "bash")
            ask = ('source /dev/stdin; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _${1//-/_}; '
                   'printf "%s\\n" "${COMPREPLY[@]}"')
            done = subprocess.run(["bash", "-c", ask, "-", *words], input=script, capture_output=True, check=False,
                                  env={**self.environment, "PATH": f"{FOLDER}:{self.environment['PATH']}"},
                                  encoding="utf-8", timeout=TIME_LIMIT)
            self.assertEqual(done.stderr, "")
            return done.stdout.splitlines()

        def test_completes_in_bash(self):
            self.output("kym-configure", "add", "base/applications", "AppID=x$(echo y)")
            for line, offered in (
                    ("kym de", ["departments", "delete"]), ("kym show d", ["design"]), ("kym prepare a", ["archive"]),
                    ("kym diff design nx design mat", ["materials"]), ("kym clean design d", [""]),
                    ("kym show --work-directory New --json design g", ["gearbox"]),
                    ("kym show design --json x", ["x\\$\\(echo\\ y\\)"]),  # never run
                    ("kym show design nx --", ["--help", "--work-directory", "--json"]),
                    ("kym export design nx --format p", ["powershell"]), ("kym preferences re", ["remove"]),
                    ("kym preferences set a b --type r", ["real"]),
                    ("kym-configure show department/design/w", ["department/design/work-directories"]),
                    ("kym-configure put site/useW", ["site/useWindowsRegistry"]),
                    ("kym-configure export plugin/m", ["plugin/machining", "plugin/materials"])):
                self.assertEqual(self.completed(*line.split(" ")), offered, line)

        def on_terminal(self, *arguments, width=80, until=None, then=None, **more):
            """What a terminal shows, the status and the rest: `until` is waited for, then `then` gets the terminal."""
            ours, theirs = pty.openpty()
            fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
            with subprocess.Popen([str(FOLDER / "kym"), *arguments], stdin=theirs if until else subprocess.DEVNULL,
                                  stdout=subprocess.PIPE if until else theirs, stderr=theirs, encoding="utf-8",
                                  env={**self.environment, "TERM": "xterm", **more}) as process:
                os.close(theirs)
                shown = b""
                with contextlib.suppress(OSError):  # EIO: all was read, and nobody writes any more
                    while not until or until not in shown:
                        shown += os.read(ours, 4096)
                if then:
                    then(ours)
                output = process.communicate(timeout=TIME_LIMIT)[0]
            os.close(ours)
            # What a return to the start of the line writes over, as progress does on a slow machine, is gone.
            lines = re.sub("[^\n]*\r", "", shown.decode().replace("\r\n", "\n")).splitlines()
            return lines, process.returncode, output

        def test_tables_fit_a_terminal(self):
            table = functools.partial(self.on_terminal, "applications", "design")
            lines = table(width=48, NO_COLOR="1")[0]
            self.assertEqual(lines[0], "ID          DESCRIPTION   CATEGORY  FROM")
            self.assertEqual(lines[6], "gearbox     \u00c9tude of ...  Design    design")
            self.assertEqual(table(width=48)[0], ["\x1b[1m" + lines[0] + "\x1b[0m", *lines[1:]])
            self.assertEqual(table(width=20)[0][:3], ["ID: drafting", "    DESCRIPTION: Drafting", "    CATEGORY: CAD"])

        def test_asks_and_shows_progress_on_a_terminal(self):
            archive = self.site / "kym" / "data" / "install" / "versionFiles.tar.gz"
            content = archive.read_bytes()
            archive.unlink()
            os.mkfifo(archive)
            self.assertEqual(self.on_terminal("create", "slow", until=b"Unpacking the version files ... ",
                                              then=lambda _: archive.write_bytes(content))[1:],
                             (0, 'Created the department "slow".\n'))
            for answer, expected in (b"no\n", (1, "")), (b"yes\n", (0, 'Deleted the department "slow".\n')):
                self.assertIn("slow", self.departments())
                self.assertEqual(self.on_terminal("delete", "slow", until=b"Type yes to delete: ",
                                                  then=lambda terminal: os.write(terminal, answer))[1:], expected)
            self.assertNotIn("slow", self.departments())

        def test_json_refuses_what_is_no_text(self):
            for wrong in b"a\x80", b"\xc1\xbf", b"\xe0\x9f\xbf", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xe2\x82":
                with self.variables(SAMPLE_ODD=os.fsdecode(wrong)):
                    self.refused("The text at /environment/SAMPLE_ODD is not UTF-8", "kym", "show", "design", "report",
                                 "--json")

        def test_says_what_could_not_be_written(self):
            self.refused("/dev/full could not be written", "kym", "export", "design", "report", "--format", "json",
                         "--output", "/dev/full")
            self.refused("/dev/full could not be written", "kym-configure", "export", "base", "/dev/full")
            with open("/dev/full", "wb") as full:
                self.assertEqual(self.start("kym", "departments", capture_output=False, stdout=full).returncode, 1)

    def test_the_nearest_layer_supplies_an_application_unless_one_is_named(self):
        for department, application, arguments in (
                ("design", "viewer", ["-read-only"]), ("design", "Base KYM:viewer", []),
                ("design", "common:viewer", ["-read-only"]), ("common", "viewer", ["-read-only"])):
            shown = sections(self.kym("show", department, application))
            self.assertEqual(shown["Arguments:"], arguments, (department, application))
            self.assertEqual("Before the start:" in shown, department == "common")  # where a launch cleans up

    def test_says_what_is_wrong_and_changes_nothing(self):
        (self.site / "ugsite" / "change_me").mkdir()  # as an interrupted creation leaves it
        (self.site / "nx").rename(self.site / "elsewhere")
        before = self.departments()
        refusals = [
            (["applications", "sales"], 'no department "sales". There are: common, design.'),
            (["applications", "archive"], '"archive" is not prepared for the release "nx4". Run kym prepare archive'),
            (["show", "design", "lice\x1bnce"], 'no application "lice\\x1bnce". There are: drafting, gearbox,'),
            (["show", "design", "licences"], 'disables the application "licences". There are: drafting, g'),
            (["launch", "design", "report", "--work-directory", "parts"],
             'no work directory "parts". There are: Parts, New d\u00e9signs.'),
            (["check", "design"], f"UGII_BASE_DIR is set to {self.nx}. Invalid directory.\n"
                                  "Run kym explain design APPLICATION UGII_BASE_DIR"),
            (["create", "design"], 'There is a department "design" already.'),
            (["create", "x"], "change_me is no department; remove it"),
            (["create", "my site"], '"my site" cannot be the name of a department'),
            (["create", "x", "--type", "Prod"], 'no type "Prod". There are: Common, Development, '),
            (["rename", "design", "common"], " already exists."),
            (["delete", "design"], "must be confirmed: give --yes")]
        misuses = [
            (["show", "design"], "APPLICATION is required"), ([], "subcommand is required"),
            (["start"], 'no command "start". There are: departments, applications,'),
            (["preferences", "set", "", "x"], "KEY: a key is expected"),
            (["preferences", "set", "a", "-x"], 'that begins with a minus stands behind a "--"')]
        if not ON_WINDOWS:
            refusals += [(["launch", "design", "report", "--work-directory", "Parts"], "is offered on Windows only"),
                         (["documentation", "a.html"], "Internet Explorer\\iexplore.exe was not found.")]
        for status, cases in (1, refusals), (2, misuses):
            for arguments, message in cases:
                with self.subTest(arguments=arguments):
                    self.refused(message, "kym", *arguments, status=status)
                    self.assertEqual(self.departments(), before)

    def test_unpacks_files_with_holes(self):
        archive = self.site / "kym" / "data" / "install" / "versionFiles.tar.gz"
        self.addCleanup(archive.write_bytes, archive.read_bytes())
        with tempfile.TemporaryDirectory() as folder:
            with open(f"{folder}/table", "wb") as table:
                table.write(b"x" * 4096)
                table.truncate(1 << 20)
            subprocess.run(["tar", "-C", folder, "-cSzf", archive, "table"], check=True)
        self.kym("create", "holes")
        self.addCleanup(self.kym, "delete", "holes", "--yes")
        self.assertEqual((self.site / "ugsite" / "holes" / "nx4" / "table").stat().st_size, 1 << 20)

    def test_creates_prepares_renames_and_deletes_departments(self):
        before = self.departments()
        self.assertEqual(self.kym("create", "d\u00e9p", "--description", "All \u20ac", "--type", "Test"),
                         'Created the department "d\u00e9p".\n')
        self.assertIn("d\u00e9p     Test        All \u20ac", self.kym("departments").splitlines())
        release = self.site / "ugsite" / "d\u00e9p" / "nx4"
        self.assertTrue((release / "menus" / "custom_dirs.dat").exists())
        self.assertFalse((release / "win64").exists())
        for ending in ".\n", " already.\n":
            self.assertEqual(self.kym("prepare", "d\u00e9p"),
                             'The department "d\u00e9p" is prepared for the release "nx4"' + ending)
            self.assertTrue((release / "win64" / "udo").is_dir())
        self.refused("control character", "kym", "create", "half", "--description", "\x01")
        self.assertEqual(self.kym("create"), 'Created the department "change_me".\n')
        self.refused("give it its name with kym rename change_me NAME", "kym", "create", "gears")
        self.assertEqual(self.kym("rename", "change_me", "later"), 'Renamed the department "change_me" to "later".\n')
        self.assertEqual(self.departments(), sorted([*before, "d\u00e9p", "later"]))
        for name in "d\u00e9p", "later":
            self.assertEqual(self.kym("delete", name, "--yes"), f'Deleted the department "{name}".\n')
        self.assertEqual(self.departments(), before)
        self.assertIn("kym-configure put department/design/commonDepartment shared\n",
                      self.kym("rename", "common", "shared"))

    def test_shows_and_changes_preferences(self):
        prefs = functools.partial(self.kym, "preferences")
        self.refused("KYM_DEPT_DIR and UG_VER must be set", "kym", "preferences", "set", "a", "b", "--department")
        own = f"kym-test-{uuid.uuid4().hex}"
        self.replace(SYSTEM, (">nxkym<", f">{own}<"))
        department = self.site / "ugsite" / "design" / "nx4" / "preferences" / "kym.plist"
        (self.site / "kym" / "preferences").mkdir()
        (self.site / "kym" / "preferences" / "global.plist").write_bytes(plistlib.dumps(
            {"level": "installation", "data": b"\x00\xff", "list": [-1, {"a": "\u00e4"}], "n": {"y": 2**40}}))
        self.enterContext(self.variables(KYM_DEPT_DIR=native(self.site / "ugsite" / "design"), UG_VER="nx4"))
        for arguments in (["level", "department"], ["n/x", "2", "--type", "integer"], ["n/z", "-0.5", "--type", "real"],
                          ["no", "false", "--type", "boolean", "--all-applications"]):
            self.assertEqual(prefs("set", "--department", *arguments), "")
        prefs("set", "level", "user \u20ac")
        users = pathlib.PureWindowsPath if ON_WINDOWS else pathlib.PurePath
        users = users(self.listed("preferences", "list")[1]["file"]).parent.parent
        self.assertEqual(users.name, own)
        removal = [*EMULATOR, "cmd", "/d", "/c", "rmdir", "/s", "/q"] if ON_WINDOWS else ["rm", "-r"]
        self.addCleanup(subprocess.run, [*removal, str(users)], env=self.environment, check=True)
        prefs("set", "n/x", "other", "--application", "other")
        self.assertEqual(prefs("get", "n", "--application", "other"), '{x = "other"}\n')
        self.assertEqual([re.split("  +", line)[:2] for line in prefs("list").splitlines()[1:]], [
            ["data", "<00ff>"], ["level", "user \u20ac"], ["list", '[-1, {a = "\u00e4"}]'], ["n/x", "2"],
            ["n/y", "1099511627776"], ["n/z", "-0.5"], ["no", "false"]])
        prefs("remove", "level")
        prefs("remove", "n/z", "--department")
        self.assertEqual(prefs("get", "level"), "department\n")
        self.assertEqual(plistlib.loads(department.read_bytes()), {"level": "department", "n": {"x": 2}})
        for arguments, message in ((["remove", "n/y", "--department"], 'no preference "n/y" to remove there.'),
                                   (["get", "n/z"], 'no preference "n/z".'),
                                   (["set", "n", "1.5", "--type", "integer"], "is no integer.")):
            self.refused(message, "kym", "preferences", *arguments)

    def test_cleans_as_a_launch_would(self):
        def clean(*arguments, command="clean"):
            """Runs in the site, in whose folder "temp" the program looks."""
            done = self.start("kym", command, *arguments, env={**self.environment, "TEMP": "temp"}, cwd=self.site,
                              setting=["cmd", "/d", "/c", "set", "TEMP=temp&&"] if EMULATOR else [])
            return done.returncode, done.stdout, done.stderr

        department = self.site / "ugsite" / "clean"
        shutil.copytree(self.site / "ugsite" / "design", department)
        description = department / ".dirinfo.plist"
        # So many days that no file of the machine's own is that old.
        description.write_bytes(plistlib.dumps({**plistlib.loads(description.read_bytes()), "Do File Cleanup Key": True,
                                                "Cleanup Days Key": 9000}))
        folder = self.site / "temp"
        folder.mkdir()
        for name, age in ("old.log", 9002.5), ("young.log", 8998.5):
            (folder / name).touch()
            os.utime(folder / name, (0, time.time() - age * 86400))
        self.assertEqual(clean("design"), (0, 'The department "design" asks for no cleanup.\n', ""))
        old = "temp" + ("\\" if ON_WINDOWS else "/") + "old.log which is 9002 days old.\n"
        for arguments, shown, left in ((["--dry-run"], "Would remove " + old, ["old.log", "young.log"]),
                                       ([], "Removed " + old, ["young.log"]),
                                       ([], "No file is older than 9000 days.\n", ["young.log"])):
            self.assertEqual(clean("clean", *arguments), (0, shown, ""))
            self.assertEqual(sorted(path.name for path in folder.iterdir()), left)
        self.assertEqual(json.loads(clean("clean", "--json")[1]), {"cleanup": True, "removed": True, "files": []})
        if not ON_WINDOWS:  # a file that cannot be asked for its age
            (folder / "young.log").rename(folder / "old.log")
            os.utime(folder / "old.log", (0, 0))
            (folder / "p.log").symlink_to("p.log")
            self.assertEqual(clean("clean", "--json")[:2], (1, ""))
            status, output, error = clean("clean")
            self.assertEqual((status, output[:20]), (1, "Removed temp/old.log"))
            self.assertIn("\nThe cleanup ended there.", error)
            self.assertIn("\nNothing was started: ", clean("clean", "clean:report", command="launch")[2])

    def test_every_command_has_an_example(self):
        for program in "kym", "kym-configure":
            script = self.output(program, "completion", "powershell")
            for command in re.findall(r"^ {8}'([\w ]+)' = @\(", script, re.MULTILINE):
                self.assertRegex(self.output(program, *command.split(), "--help"),
                                 rf"Example:\s+(source <\()?{program} {command}")


unittest.main(argv=sys.argv[:1])
