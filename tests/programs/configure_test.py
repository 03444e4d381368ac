#!/usr/bin/env python3
"""Tests the editor program on a sample site: configure_test.py FOLDER-OF-PROGRAMS SUFFIX [EMULATOR...].

SUFFIX is that of an executable; EMULATOR runs a Windows program where the system cannot.
"""
import concurrent.futures
import json
import os
import pathlib
import plistlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

FOLDER = pathlib.Path(sys.argv[1]).resolve()
SUFFIX = sys.argv[2]
EMULATOR = sys.argv[3:]
ON_WINDOWS = SUFFIX == ".exe"
GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "administrator.md"

# What a process needs of its surroundings; the rest of the caller's environment must not change a result.
KEPT = {"PATH", "HOME", "TMPDIR", "TEMP", "SYSTEMROOT", "PATHEXT", "PROGRAMFILES", "USERPROFILE", "KYM_WINE",
        "KYM_WINE_PREFIX", "ASAN_OPTIONS", "UBSAN_OPTIONS"}


def as_seen_by_programs(path):
    return "Z:" + str(path).replace("/", "\\") if EMULATOR else str(path)


class ConfigureTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="kym sit\u00e9 ")
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = pathlib.Path(temporary.name).resolve()
        cls.pristine = cls.folder / "pristine"
        cls.site = cls.folder / "site"
        cls.site.mkdir()
        cls.environment = {name: value for name, value in os.environ.items() if name.upper() in KEPT}
        cls.environment.setdefault("USERPROFILE", str(cls.site))
        cls.environment["KYM_BASE_DIR"] = as_seen_by_programs(cls.site / "kym")
        cls.environment["KYM_UGSITE_DIR"] = as_seen_by_programs(cls.site / "ugsite")
        made = cls.run_program("kym-sample-site", as_seen_by_programs(cls.site),
                               as_seen_by_programs(FOLDER / f"kym-sample-report{SUFFIX}"))
        if made.returncode != 0:
            raise RuntimeError(made.stderr)
        cls.site.rename(cls.pristine)

    def setUp(self):
        shutil.copytree(self.pristine, self.site)
        self.addCleanup(lambda: shutil.rmtree(self.site))

    @classmethod
    def run_program(cls, name, *arguments):
        return subprocess.run([*EMULATOR, str(FOLDER / f"{name}{SUFFIX}"), *arguments], env=cls.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", timeout=60,
                              check=False)

    def configure(self, *arguments, status=0):
        done = self.run_program("kym-configure", *arguments)
        self.assertEqual((done.returncode, done.stderr), (status, ""), arguments)
        return done.stdout

    def rows(self, table):
        return [list(row.values())[1:] for row in json.loads(self.configure("show", table, "--json"))["rows"]]

    def files(self):
        return {path.relative_to(self.site).as_posix(): path.read_bytes()
                for path in self.site.rglob("*") if path.is_file()}

    def changed(self, before):
        after = self.files()
        return sorted(name for name in before.keys() | after.keys() if before.get(name) != after.get(name))

    def test_lists_every_table(self):
        tables = {table["table"]: table["rows"]
                  for table in json.loads(self.configure("tables", "--json"))["tables"]}
        for path, rows in {"departments": 2, "plugins": 3, "base/variables/windows": 1, "base/applications": 3,
                           "site/variables/common": 3, "plugin/materials/applications": 1,
                           "department/design/applications/gearbox/variables/common": 2,
                           "department/design/work-directories": 2, "department/design/overlays": 2,
                           "department/design/disabled-plugins": 3}.items():
            self.assertEqual(tables.get(path), rows, path)
        lines = self.configure("show", "department/design/work-directories").splitlines()
        self.assertEqual(lines[0], "ROW  Name         Path")
        self.assertEqual(lines[2], "2    New d\u00e9signs  ${SAMPLE_DATA_DIR}\\new d\u00e9signs")

    def test_an_edit_changes_that_cell_and_that_file(self):
        design = "ugsite/design/nx4/config/configSettings.dat"
        for table, file, edit, expected in (
                ("base/variables/common", "kym/config/baseSettings.dat", ["set", 3, "Value", ""],
                 lambda rows: [*rows[:2], ["SAMPLE_TRIAL", ""]]),
                ("base/applications", "kym/config/baseSettings.dat", ["set", 2, "Disable", "TRUE"],
                 lambda rows: [rows[0], [*rows[1][:7], "True"], rows[2]]),
                ("department/design/applications/report/variables/windows", design, ["add", "Name=D", "Value=a=b"],
                 lambda rows: [*rows, ["D", "a=b"]]),
                ("site/variables/common", "ugsite/site_settingsNx4.dat", ["delete", 3, 1, 3],
                 lambda rows: rows[1:2]),
                ("plugin/drafting/applications", "kym/plugins/drafting/settings.dat",
                 ["set", 1, "Arguments", "--", "-sheet=\u00c91 \"x\""],
                 lambda rows: [[*rows[0][:4], "-sheet=\u00c91 \"x\"", *rows[0][5:]]]),
                ("department/design/work-directories", design, ["delete", 1], lambda rows: rows[1:]),
                ("department/design/overlays", design,
                 ["add", "Configuration=common", "AppID=viewer", "Category=X", "Disable=true"],
                 lambda rows: [*rows, ["common", "viewer", "X", "", "True"]]),
                ("department/design/overlays", design, ["set", 1, "AppID", "viewer"],
                 lambda rows: [["Base KYM", "viewer", *rows[0][2:]], rows[1], rows[2]]),
                ("department/design/disabled-plugins", design, ["set", 3, "Disabled", "True"],
                 lambda rows: [rows[0], rows[1], ["materials", "True"]]),
                ("department/design/disabled-plugins", design, ["set", 2, "Disabled", "False"],
                 lambda rows: [rows[0], ["machining", "False"], ["materials", "True"]])):
            with self.subTest(table=table, edit=edit):
                files, rows = self.files(), self.rows(table)
                arguments = [edit[0], table, *map(str, edit[1:])]
                dry = self.configure(arguments[0], "--dry-run", *arguments[1:])
                self.assertEqual((self.changed(files), self.rows(table)), ([], rows))
                done = self.configure(*arguments)
                self.assertEqual(dry.splitlines()[:-1], done.splitlines()[:-1])
                self.assertIn(f"{table} row ", done)
                self.assertEqual((self.changed(files), self.rows(table)), ([file], expected(rows)))

    def test_what_is_said_to_be_saved_is_kept_when_many_save(self):
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            done = list(pool.map(lambda number: self.run_program(
                "kym-configure", "add", "site/variables/common", f"Name=V{number}", "Value=x"), range(16)))
        saved = [f"V{number}" for number, run in enumerate(done) if run.returncode == 0]
        self.assertEqual({name for name, _ in self.rows("site/variables/common")[3:]}, set(saved))
        self.assertGreater(len(saved), 0)
        for run in done:
            self.assertTrue(run.returncode == 0 or "Run the command again." in run.stderr, run.stderr)

    def test_settings_are_kept_by_name(self):
        for name, value, kept, file in (
                ("system/KymVersionString", "2.0 \u00e9", None, "kym/config/sysinfo.dat"),
                ("site/winNxInstallPath", "%NX%\\nx", None, "ugsite/site_settingsNx4.dat"),
                ("site/useWindowsRegistry", "TRUE", "True", "ugsite/site_settingsNx4.dat"),
                ("department/design/cleanupDays", "30", None, "ugsite/design/.dirinfo.plist"),
                ("department/design/commonDepartment", "", None, "ugsite/design/.dirinfo.plist"),
                ("plugin/machining/type", "Test", None, "kym/plugins/machining/settings.dat")):
            files = self.files()
            self.configure("put", name, value, "--dry-run")
            self.assertEqual(self.changed(files), [])
            self.configure("put", name, value)
            self.assertEqual(self.changed(files), [file])
            self.assertEqual(self.configure("get", name), (value if kept is None else kept) + "\n")
            listed = json.loads(self.configure("get", "--json"))["settings"]
            self.assertEqual(listed[name], value if kept is None else kept)

    def test_refuses_what_breaks_a_rule_and_changes_nothing(self):
        (self.site / "ugsite" / "archive").mkdir()
        shutil.copy(self.site / "ugsite" / "design" / ".dirinfo.plist", self.site / "ugsite" / "archive")
        damaged = self.site / "ugsite" / "common" / "nx4" / "config" / "configSettings.dat"
        damaged.write_bytes(damaged.read_bytes()[:-20])
        files = self.files()
        for arguments, status, message in (
                (["set", "base/variables/common", "1", "Name", "_A"], 1, "begins with neither \"_\" nor a digit"),
                (["add", "base/variables/common", "Name=A", "Value=%A"], 1, "an even number of \"%\""),
                (["set", "base/variables/common", "4", "Value", "x"], 1, "has no row 4; it has 3."),
                (["set", "base/variables/common", "0", "Value", "x"], 1, "has no row 0; it has 3."),
                (["delete", "base/applications", "1", "4"], 1, "has no row 4; it has 3."),
                (["set", "base/variables/common", "1", "Values", "x"], 1, "There are: Name, Value."),
                (["set", "base/applications", "1", "Disable", "yes"], 1, "takes True or False, not \"yes\""),
                (["add", "base/applications", "nx"], 1, "\"nx\" is not COLUMN=VALUE."),
                (["show", "department/design/variables"], 1, "department/design/variables/common"),
                (["show", "department/sales/overlays"], 1, "There are: system, site, base, department/archive, "),
                (["show", "department/archive/overlays"], 1, "Run: kym prepare archive"),
                (["set", "department/common/work-directories", "1", "Name", "x"], 1, "configSettings.dat"),
                (["add", "department/design/disabled-plugins"], 1, "set its column Disabled"),
                (["add", "departments", "Name=x"], 1, "kym create"),
                (["add", "department/design/overlays", "Configuration=Base KYM", "AppID=nx"], 1,
                 "\"Base KYM:nx\" already"),
                (["put", "department/design/type", "Prod"], 1, "There are: Common, Development, Production, Test."),
                (["put", "plugin/drafting/type", "Prod"], 1, "There are: Site-wide, Common, "),
                (["put", "department/design/commonDepartment", "sales"], 1, "Run: kym create sales --type Common"),
                (["put", "department/design/commonDepartment", "a b"], 1, "holds no blank"),
                (["put", "department/design/cleanupDays", "-1"], 1, "a number of days from 0"),
                (["put", "department/design/cleanupDays", "4294967296"], 1, "a number of days from 0"),
                (["put", "site/winNxInstallPath", "${A"], 1, "as many \"{\" as \"}\""),
                (["put", "system/CadVersionDirectory", ""], 1, "names a file or a directory"),
                (["put", "system/SiteSettingsSuffix", "/../x"], 1, "names a file or a directory"),
                (["put", "system/CadInstallPathVariable", "1A"], 1, "a name holds letters"),
                (["import", "base", as_seen_by_programs(self.site)], 1, "is a directory"),
                (["put", "site/nothing", "x"], 1, "site/winNxInstallPath"),
                (["put", "base/type", "x"], 1, "kym-configure tables"),
                (["get", "site/useWindowsRegistry", "x"], 2, ""),
                ([], 2, "subcommand is required")):
            with self.subTest(arguments=arguments):
                done = self.run_program("kym-configure", *arguments)
                self.assertEqual((done.returncode, done.stdout), (status, ""))
                self.assertIn(message, done.stderr)
        self.assertEqual(self.changed(files), [])

    def test_a_file_of_other_kinds_is_neither_shown_nor_edited(self):
        for file, begin, table, edit in (
                ("ugsite/design/nx4/config/configSettings.dat", "bool", "show department/design/applications",
                 "set department/design/variables/common 2 Value x"),
                ("kym/config/sysinfo.dat", "string", "get system/KymVersionString", "put system/KymVersionString x")):
            text = (self.site / file).read_text(encoding="utf-8")
            text = re.sub(f"<{begin} (key=[^<]*)</{begin}>", r"<int \1</int>", text, count=1)
            (self.site / file).write_text(text, encoding="utf-8")
            files = self.files()
            for command in (table, edit):
                done = self.run_program("kym-configure", *command.split())
                self.assertEqual((done.returncode, done.stdout), (1, ""), command)
                self.assertIn(file.split("/")[-1], done.stderr)
            self.assertEqual(self.changed(files), [])
            self.assertIn("unreadable", {code for _, code, *_ in self.findings(status=4)})

    def replace(self, file, *pairs):
        """Makes in a settings file what the program itself would refuse to make."""
        path = self.site / file
        text = path.read_text(encoding="utf-8")
        for old, new in pairs:
            self.assertEqual(text.count(old), 1, old)
            text = text.replace(old, new)
        path.write_text(text, encoding="utf-8")

    def findings(self, status):
        found = [tuple(finding[key] for key in ("severity", "code", "table", "row", "column"))
                 for finding in json.loads(self.configure("validate", "--json", status=status))["findings"]]
        self.assertEqual(len(found), len(set(found)), found)
        return set(found)

    def test_validate_finds_each_kind_of_fault(self):
        if ON_WINDOWS:  # elsewhere the paths of an environment name nothing
            self.assertEqual(self.configure("validate"), "0 errors, 0 warnings.\n")
        self.replace("kym/config/baseSettings.dat", (">SAMPLE_TRIAL<", ">_TRIAL<"), (">on<", ">50%<"))
        self.replace("ugsite/common/nx4/config/configSettings.dat", (">translator<", ">viewer<"))
        # What a layer sets to nothing is set, and so is what only the application sets.
        self.replace("ugsite/design/nx4/config/configSettings.dat",
                     ("/${SAMPLE_PROJECT}<", "/${NOBODY}$SAMPLE_TRIAL<"), (">SAMPLE_STANDARD<", ">OWN<"),
                     ("-layers=$SAMPLE_LAYERS<", "-layers=$OWN<"), (">licences<", ">gone<"),
                     (">machining<", ">milling<"))
        archive = self.site / "ugsite" / "old archive"
        archive.mkdir()
        (archive / ".dirinfo.plist").write_bytes(plistlib.dumps(
            {"Description": "x", "Type": "Prod", "Common Department": "sales"}))
        self.configure("set", "department/design/applications", "1", "Executable", "${UGII_BASE_DIR}/gone")
        found = self.findings(status=4)
        if not ON_WINDOWS:
            places = {place for place in found if place[1] in ("executable-not-found", "cad-system-not-found")}
            found -= places - {("error", "executable-not-found", "department/design/applications", 1, "Executable")}
        self.assertEqual(found, {
            ("error", "invalid-name", "base/variables/common", 3, "Name"),
            ("error", "invalid-value", "base/variables/common", 3, "Value"),
            ("error", "duplicate-application", "department/common/applications", 2, "AppID"),
            ("warning", "undefined-variable", "department/design/variables/common", 3, "Value"),
            ("warning", "overlay-without-application", "department/design/overlays", 2, "AppID"),
            ("warning", "unknown-plugin", "department/design/disabled-plugins", 4, "Name"),
            ("error", "blank-in-name", "department/old archive", 0, ""),
            ("warning", "not-prepared", "department/old archive", 0, ""),
            ("warning", "unknown-type", "department/old archive/type", 0, ""),
            ("error", "unknown-common-department", "department/old archive/commonDepartment", 0, ""),
            ("error", "executable-not-found", "department/design/applications", 1, "Executable")})
        self.assertIn('Run: kym prepare "old archive"\n', self.configure("validate", status=4))

    def test_validate_goes_on_after_a_fault_and_tells_its_place(self):
        design = "department/design"
        for arguments in (
                ["site/variables/common", "Name=A", "Value=${B}"], ["site/variables/common", "Name=B", "Value=$A"],
                ["site/variables/common", "Name=C", "Value=${D}"], ["site/variables/common", "Name=D", "Value=$C"],
                [f"{design}/variables/common", "Name=Path", "Value=${Path};d:/x"],
                [f"{design}/variables/windows", "Name=UGII_BASE_DIR", "Value=Q:/none"],
                [f"{design}/applications", "AppID=unixsh", "Executable=/none"],
                [f"{design}/applications/unixsh/variables/windows", "Name=N", "Value=$NIX"],
                [f"{design}/applications", "AppID=plain", "NoCustom=True", "Executable=$SAMPLE_REPORT",
                 "Arguments=-p $SAMPLE_DRAWINGS"],
                [f"{design}/overlays", "Configuration=design", "AppID=report"]):
            self.configure("add", *arguments)
        self.configure("put", "site/winTcEngInstallPath", "${NOPE}/tc")
        self.configure("put", "site/winPortalInstallPath", "${TC_PORTAL_ROOT}/$A")
        found = self.findings(status=4)
        self.assertLessEqual({
            ("error", "cycle", "site/variables/common", 4, "Value"),
            ("error", "cycle", "site/variables/common", 6, "Value"),
            ("error", "cycle", "site/winPortalInstallPath", 0, ""),
            ("warning", "name-differs-in-case", f"{design}/variables/common", 5, "Name"),
            ("error", "cad-system-not-found", f"{design}/variables/windows", 1, "Value"),
            ("error", "executable-not-found", f"{design}/applications", 3, "Executable"),
            ("warning", "overlay-without-application", f"{design}/overlays", 3, "AppID")}, found)
        self.assertEqual({place for place in found if place[1] == "undefined-variable"}, {
            ("warning", "undefined-variable", f"{design}/applications/unixsh/variables/windows", 1, "Value"),
            ("warning", "undefined-variable", f"{design}/applications", 4, "Arguments"),
            ("warning", "undefined-variable", "site/winTcEngInstallPath", 0, "")})

    def test_tables_of_one_path_are_one_table(self):
        self.configure("set", "base/applications", "2", "AppID", "nx")
        self.configure("set", "base/applications", "1", "AppID", "#2")
        paths = [table["table"] for table in json.loads(self.configure("tables", "--json"))["tables"]]
        self.assertEqual(len(paths), len(set(paths)))

    def test_validate_without_departments_and_with_damage(self):
        for name in ("design", "common"):
            shutil.rmtree(self.site / "ugsite" / name)
        if ON_WINDOWS:
            self.assertEqual(self.configure("validate"), "0 errors, 0 warnings.\n")
        self.configure("add", "site/variables/common", "Name=A", "Value=x${B}")
        self.configure("set", "base/applications", "1", "Executable", "/none")
        if ON_WINDOWS:
            self.configure("validate", status=4)
            self.configure("set", "base/applications", "1", "Executable", as_seen_by_programs(FOLDER / "kym.exe"))
            shown = self.configure("validate", status=3).splitlines()
            self.assertEqual(shown[:2], ["warning undefined-variable: site/variables/common row 4, Value",
                                         "    No layer sets the variable \"B\"."])
            self.assertIn("site_settingsNx4.dat", shown[3])
            self.assertEqual(shown[-1], "0 errors, 1 warning.")
        self.configure("put", "site/winNxInstallPath", "Q:/none")
        self.configure("set", "plugin/machining/applications", "1", "Executable", "/none")
        self.assertLessEqual({("warning", "undefined-variable", "site/variables/common", 4, "Value"),
                              ("error", "cad-system-not-found", "site/winNxInstallPath", 0, ""),
                              ("error", "executable-not-found", "plugin/machining/applications", 1, "Executable")},
                             self.findings(status=4))
        shutil.copytree(self.pristine / "ugsite" / "design", self.site / "ugsite" / "design")
        for file, layer in (("kym/config/baseSettings.dat", "base"), ("ugsite/site_settingsNx4.dat", "site"),
                            ("plugins/materials/settings.dat", "plugin/materials"),
                            ("ugsite/design/.dirinfo.plist", "department/design")):
            path = self.site / file
            content = path.read_bytes()
            path.write_bytes(content[:-20])
            shown = json.loads(self.configure("validate", "--json", status=4))["findings"]
            self.assertEqual([(finding["table"], pathlib.PureWindowsPath(finding["file"]).name) for finding in shown
                              if finding["code"] == "unreadable"], [(layer, path.name)])
            path.write_bytes(content)

    def test_export_and_import_keep_everything(self):
        file = self.folder / "layer.json"
        self.addCleanup(file.unlink)
        shown_file = as_seen_by_programs(file)
        record = ('>SAMPLE_TRIAL</string>\n\t\t\t<string key="Value Key">{}</string>\n\t\t\t'
                  '<string key="Comment Key">{}</string>\n\t\t\t<int key="Variable Type Key">{}<')
        self.replace("ugsite/design/nx4/config/configSettings.dat",
                     (record.format("", "", 0), record.format('&lt;\u20ac\\', "why so", 7)))
        for layer, kept in (("department/design", ["ugsite/design/.dirinfo.plist",
                                                   "ugsite/design/nx4/config/configSettings.dat"]),
                            ("site", ["ugsite/site_settingsNx4.dat"]), ("base", ["kym/config/baseSettings.dat"]),
                            ("system", ["kym/config/sysinfo.dat"]),
                            ("plugin/materials", ["plugins/materials/settings.dat"])):
            with self.subTest(layer=layer):
                self.configure("export", layer, shown_file)
                files = self.files()
                for name in kept:
                    if layer.startswith("department"):
                        shutil.copy(self.site / name.replace("design", "common"), self.site / name)
                    elif layer == "site":
                        browser = ('UGII_HTML_BROWSER</string>\n\t\t<string key="Value Key">{0}</string>\n\t\t'
                                   '<string key="Comment Key">{0}</string>\n\t\t<int key="Variable Type Key">{1}<')
                        self.replace(name, (browser.format("", 0), browser.format("x", 1)))
                    elif layer != "system":
                        (self.site / name).unlink()
                file.write_bytes(b"\xef\xbb\xbf" + file.read_bytes())
                self.configure("import", layer, shown_file)
                self.assertEqual(self.changed(files), [])

    def test_import_tells_what_changes_and_saves_both_files_or_none(self):
        file = self.folder / "layer.json"
        self.addCleanup(file.unlink)
        layer = json.loads(self.configure("export", "department/design"))
        layer["settings"]["cleanupDays"] = 9
        del layer["variables"]["common"][1]
        layer["applications"][0]["arguments"] = "-x"
        file.write_text(json.dumps(layer), encoding="utf-8")
        files, arguments = self.files(), ("import", "department/design", as_seen_by_programs(file))
        shown = self.configure(*arguments, "--dry-run").splitlines()
        self.assertEqual(shown[0], "department/design/settings/cleanupDays 2 becomes 9")
        self.assertTrue(shown[1].startswith('department/design/variables/common/1 removed: {"name":"SAMPLE_PROJECT"'))
        self.assertTrue(shown[2].endswith(' becomes "-x"'))
        self.assertEqual(len(shown), 4)
        settings = self.site / "ugsite" / "design" / "nx4" / "config" / "configSettings.dat"
        content = settings.read_bytes()
        if ON_WINDOWS:
            settings.chmod(0o444)
        else:  # write protection does not stop a superuser
            settings.unlink()
            settings.symlink_to(self.site / "gone" / "settings")
            files = self.files()
        done = self.run_program("kym-configure", *arguments)
        self.assertEqual(done.returncode, 1)
        self.assertIn("configSettings.dat", done.stderr)
        self.assertEqual(self.changed(files), [])
        settings.chmod(0o644) if ON_WINDOWS else settings.unlink()
        settings.write_bytes(content)
        self.configure(*arguments)
        self.assertEqual(len(self.changed(files)), 2)

    def test_import_refuses_and_changes_nothing(self):
        file = self.folder / "layer.json"
        self.addCleanup(file.unlink)
        layer = json.loads(self.configure("export", "department/design"))
        files = self.files()
        for change, message in (
                (lambda text: text.split('"layer"')[0] + "\n]", "layer.json, line 2: this is not JSON"),
                (lambda text: text + "x", "this is not JSON"),
                (lambda text: text.replace('"format": 1', '"format": 2'), "/format: this program reads format 1."),
                (lambda text: text.replace('"department/design"', '"plugin/x"'), "/layer: a layer of the kind"),
                (lambda text: text.replace('"SAMPLE_PROJECT"', '"1X"'), "/variables/common/1: a name holds"),
                (lambda text: text.replace('"cleanupDays": 2', '"cleanupDays": 2.5'), "/settings/cleanupDays: "),
                (lambda text: text.replace('"disabled": true', '"disabled": "yes"'),
                 "/overlays/1/disabled: true or false is expected."),
                (lambda text: text.replace('"licences"', '"nx"'), "/overlays/1: there is an overlay"),
                (lambda text: text.replace('"arguments"', '"argument"'), "/applications/0/argument: there is no"),
                (lambda text: "[]", "the top: an object is expected."),
                (lambda text: "{}", "\"format\" and \"layer\" are expected"),
                (lambda text: text.replace('"id": "report"', '"id": "gearbox"'), "applications row 2, AppID: "),
                (lambda text: text.replace('"id": "report", ', ""), "/applications/1: the member \"id\" is expected."),
                (lambda text: text.replace('"Tools"', r'"a\u0000b"'), "without the character U+0000"),
                (lambda text: text.replace('"Production"', '"Prod"'), "There is no type \"Prod\""),
                (lambda text: text.replace('"commonDepartment": "common"', '"commonDepartment": "nobody"'),
                 "kym create nobody"),
                (lambda text: text.encode("utf-16"), "is UTF-16")):
            text = change(json.dumps(layer, ensure_ascii=False))
            file.write_bytes(text if isinstance(text, bytes) else text.encode("utf-8"))
            done = self.run_program("kym-configure", "import", "department/design", as_seen_by_programs(file))
            self.assertEqual((done.returncode, done.stdout), (1, ""), message)
            self.assertIn(message, done.stderr)
            self.assertEqual(self.changed(files), [], message)

    def test_the_guide_makes_a_site_from_nothing(self):
        archive = (self.site / "kym" / "data" / "install" / "versionFiles.tar.gz").read_bytes()
        program = f"kym-sample-report{SUFFIX}"
        for folder in ("kym", "ugsite"):
            shutil.rmtree(self.site / folder)
            (self.site / folder).mkdir()
        (self.site / "kym" / "data" / "install").mkdir(parents=True)
        (self.site / "kym" / "data" / "install" / "versionFiles.tar.gz").write_bytes(archive)
        block = GUIDE.read_text(encoding="utf-8").split("```text\n")[1].split("```")[0]
        block = block.replace("C:\\nx", as_seen_by_programs(self.site / "nx")).replace("ugraf.exe", program)
        block = block.replace("C:\\parts", as_seen_by_programs(self.site / "data" / "parts"))
        commands = 0
        for line in block.splitlines():
            lexer = shlex.shlex(line, posix=True, punctuation_chars=False)
            lexer.whitespace_split, lexer.escape = True, ""
            name, *arguments = lexer
            if not ON_WINDOWS and arguments[0] in ("launch", "explain", "validate", "show"):
                continue  # programs and paths of Windows
            done = self.run_program(name, *arguments)
            self.assertEqual((done.returncode, done.stderr), (0, ""), line)
            commands += 1
        self.assertGreater(commands, 10)
        self.assertIn("design  Production  Design of gearboxes", done.stdout if not ON_WINDOWS else
                      self.run_program("kym", "departments").stdout)


unittest.main(argv=sys.argv[:1])
