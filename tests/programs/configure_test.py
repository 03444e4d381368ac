#!/usr/bin/env python3
"""Tests the editor program on a sample site; arguments as in sample_site.py."""
import concurrent.futures
import json
import pathlib
import plistlib
import re
import shlex
import shutil
import sys
import unittest

sys.dont_write_bytecode = True
from sample_site import BASE, DESIGN, ON_WINDOWS, PROPERTIES, SITE, SUFFIX, SYSTEM, SiteTest, native

GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "administrator.md"


class ConfigureTest(SiteTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "layer.json"

    def configure(self, *arguments, status=0):
        return self.output("kym-configure", *arguments, status=status)

    def rows(self, table):
        return [list(row.values())[1:] for row in json.loads(self.configure("show", table, "--json"))["rows"]]

    def files(self):
        return {path.relative_to(self.site).as_posix(): path.read_bytes()
                for path in self.site.rglob("*") if path.is_file()}

    def changed(self, before):
        after = self.files()
        return sorted(name for name in before.keys() | after.keys() if before.get(name) != after.get(name))

    def findings(self, status=4):
        found = [tuple(finding[key] for key in ("severity", "code", "table", "row", "column"))
                 for finding in json.loads(self.configure("validate", "--json", status=status))["findings"]]
        self.assertEqual(len(found), len(set(found)), found)
        return set(found)

    def test_lists_every_table(self):
        tables = {table["table"]: table["rows"] for table in json.loads(self.configure("tables", "--json"))["tables"]}
        design = "department/design/"
        self.assertLessEqual({
            "departments": 2, "plugins": 3, "base/variables/windows": 1, "plugin/materials/applications": 1,
            design + "work-directories": 2, design + "applications/gearbox/variables/common": 2,
            design + "overlays": 2, design + "disabled-plugins": 3}.items(), tables.items())
        lines = self.configure("show", "department/design/work-directories").splitlines()
        self.assertEqual([lines[0], lines[2]], ["ROW  Name         Path",
                                                "2    New d\u00e9signs  ${SAMPLE_DATA_DIR}\\new d\u00e9signs"])
        for row, name in ("2", "nx"), ("1", "#2"):  # tables of one path would be one table
            self.configure("set", "base/applications", row, "AppID", name)
        paths = [table["table"] for table in json.loads(self.configure("tables", "--json"))["tables"]]
        self.assertEqual(len(paths), len(set(paths)))

    def state(self, place):
        settings = json.loads(self.configure("get", "--json"))["settings"]
        return settings[place] if place in settings else self.rows(place)

    def test_an_edit_changes_that_place_and_that_file(self):
        design, report = "department/design/", "department/design/applications/report/variables/windows"
        drafting, materials = "kym/plugins/drafting/settings.dat", "plugins/materials/settings.dat"
        for place, file, edit, expected in (
                ("base/variables/common", BASE, ["set", 1, "Value", ""],
                 lambda rows: [["SAMPLE_LAYERS", ""], *rows[1:]]),
                ("base/applications", BASE, ["set", 2, "Disable", "TRUE"],
                 lambda rows: [rows[0], [*rows[1][:7], "True"], rows[2]]),
                (report, DESIGN, ["add", "Name=D", "Value=a=b"], lambda rows: [*rows, ["D", "a=b"]]),
                ("site/variables/common", SITE, ["delete", 3, 1, 3], lambda rows: rows[1:2]),
                ("plugin/drafting/applications", drafting, ["set", 1, "Arguments", "--", "-sheet=\u00c91 \"x\""],
                 lambda rows: [[*rows[0][:4], "-sheet=\u00c91 \"x\"", *rows[0][5:]]]),
                (design + "work-directories", DESIGN, ["delete", 1], lambda rows: rows[1:]),
                (design + "overlays", DESIGN, ["add", "Configuration=common", "AppID=viewer", "Disable=true"],
                 lambda rows: [*rows, ["common", "viewer", "", "", "True"]]),
                (design + "overlays", DESIGN, ["set", 1, "AppID", "viewer"],
                 lambda rows: [["Base KYM", "viewer", *rows[0][2:]], *rows[1:]]),
                (design + "disabled-plugins", DESIGN, ["set", 3, "Disabled", "True"],
                 lambda rows: [*rows[:2], ["materials", "True"]]),
                (design + "disabled-plugins", DESIGN, ["set", 2, "Disabled", "False"],
                 lambda rows: [rows[0], ["machining", "False"], ["materials", "True"]]),
                ("departments", PROPERTIES, ["set", 2, "Description", "x"],
                 lambda rows: [rows[0], [*rows[1][:2], "x", *rows[1][3:]]]),
                ("plugins", materials, ["set", 3, "Type", "Test"],
                 lambda rows: [*rows[:2], ["materials", "Test", rows[2][2]]]),
                ("system/KymVersionString", SYSTEM, ["put", "2.0 \u00e9"], lambda _: "2.0 \u00e9"),
                ("site/winNxInstallPath", SITE, ["put", "%NX%\\nx"], lambda _: "%NX%\\nx"),
                ("site/useWindowsRegistry", SITE, ["put", "TRUE"], lambda _: "True"),
                (design + "cleanupDays", PROPERTIES, ["put", "30"], lambda _: "30"),
                (design + "commonDepartment", PROPERTIES, ["put", ""], lambda _: ""),
                ("plugin/materials/type", materials, ["put", "Site-wide"], lambda _: "Site-wide")):
            with self.subTest(place=place, edit=edit):
                files, before = self.files(), self.state(place)
                arguments = [edit[0], place, *map(str, edit[1:])]
                dry = self.configure(arguments[0], "--dry-run", *arguments[1:])
                self.assertEqual((self.changed(files), self.state(place)), ([], before))
                done = self.configure(*arguments)
                self.assertEqual(dry.splitlines()[:-1], done.splitlines()[:-1])
                self.assertEqual((self.changed(files), self.state(place)), ([file], expected(before)))
        self.assertEqual(self.configure("get", "system/KymVersionString"), "2.0 \u00e9\n")
        self.configure("set", "departments", "1", "Name", "shared", "--dry-run")
        self.assertEqual(self.configure("set", "departments", "1", "Name", "shared").splitlines()[0],
                         'departments row 1: Name "common" becomes "shared"')
        self.assertIn("has that name already", self.configure("set", "departments", "2", "Name", "shared"))
        if ON_WINDOWS:  # where its own directory stands at the new name
            self.assertIn('becomes "SHARED"', self.configure("set", "departments", "2", "Name", "SHARED", "--dry-run"))
        self.assertEqual(sorted(row[0] for row in self.rows("departments")), ["design", "shared"])

    def test_what_is_said_to_be_saved_is_kept_when_many_save(self):
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            done = list(pool.map(lambda number: self.start(
                "kym-configure", "add", "site/variables/common", f"Name=V{number}", "Value=x"), range(16)))
        saved = {f"V{number}" for number, run in enumerate(done) if run.returncode == 0}
        self.assertEqual({name for name, _ in self.rows("site/variables/common")[3:]}, saved)
        for run in done:
            self.assertTrue(run.returncode == 0 or "Run the command again." in run.stderr, run.stderr)

    def test_refuses_what_breaks_a_rule_and_changes_nothing(self):
        (self.site / "ugsite" / "archive").mkdir()
        shutil.copy(self.site / PROPERTIES, self.site / "ugsite" / "archive")
        files = self.files()
        for line, message in (
                ("set base/variables/common 1 Name _A", "begins with neither \"_\" nor a digit"),
                ("add base/variables/common Name=A Value=%A", "an even number of \"%\""),
                ("set base/variables/common 4 Value x", "has no row 4; it has 3."),
                ("delete base/applications 1 0", "has no row 0; it has 3."),
                ("set base/applications 1 Disable yes", "takes True or False, not \"yes\""),
                ("add base/applications nx", "\"nx\" is not COLUMN=VALUE."),
                ("show department/design/variables", "department/design/variables/common"),
                ("show department/archive/overlays", "Run: kym prepare archive"),
                ("add department/design/disabled-plugins", "set its column Disabled"),
                ("add departments Name=x", "kym create"), ("set departments 3 Prepared True", "kym prepare"),
                ("set departments 3 Name common", " already exists."), ("set departments 3 Name 'a b'", "a blank"),
                ("add department/design/overlays 'Configuration=Base KYM' AppID=nx", "\"Base KYM:nx\" already"),
                ("put plugin/drafting/type Prod", "There are: Site-wide, Common, "),
                ("put department/design/commonDepartment sales", "Run: kym create sales --type Common"),
                ("put department/design/commonDepartment 'a b'", "holds no blank"),
                ("put site/winNxInstallPath ${A", "as many \"{\" as \"}\""),
                (f"put site/winExternalPluginsLocation '{native(self.site / BASE)}'", "is not a directory"),
                ("put system/SiteSettingsSuffix /../x", "names a file or a directory"),
                ("put system/CadInstallPathVariable 1A", "a name holds letters"),
                ("put base/type x", "kym-configure tables")):
            with self.subTest(line=line):
                self.refused(message, "kym-configure", *shlex.split(line))
        self.assertEqual(self.changed(files), [])

    def test_a_file_that_cannot_be_read_is_neither_shown_nor_edited(self):
        def other_kind(begin):
            return lambda text: re.sub(f"<{begin} (key=[^<]*)</{begin}>", r"<int \1</int>", text, count=1)

        for file, damage, layer, lines in (
                (DESIGN, other_kind("bool"), "department/design", ["show department/design/applications",
                                                                   "set department/design/variables/common 2 Value x"]),
                (SYSTEM, other_kind("string"), "system", ["get system/CadProductName", "put system/CadProductName x"]),
                (BASE, lambda text: text[:-20], "base", ["export base", "add base/variables/unix"]),
                (SITE, lambda text: text[:-20], "site", ["get site/browser"]),
                (PROPERTIES, lambda text: text[:-20], "department/design", ["show departments"]),
                ("plugins/materials/settings.dat", lambda text: text[:-20], "plugin/materials", ["show plugins"])):
            with self.subTest(file=file):
                path = self.site / file
                content = path.read_bytes()
                path.write_text(damage(content.decode()), encoding="utf-8")
                files = self.files()
                for line in lines:
                    self.refused(path.name, "kym-configure", *line.split())
                shown = json.loads(self.configure("validate", "--json", status=4))["findings"]
                self.assertEqual([(finding["table"], pathlib.PureWindowsPath(finding["file"]).name) for finding in shown
                                  if finding["code"] == "unreadable"], [(layer, path.name)])
                self.assertEqual(self.changed(files), [])
                path.write_bytes(content)

    def test_validate_finds_each_kind_of_fault(self):
        if ON_WINDOWS:  # elsewhere the paths of an environment name nothing
            self.assertEqual(self.configure("validate"), "0 errors, 0 warnings.\n")
        self.replace(BASE, (">SAMPLE_TRIAL<", ">_TRIAL<"), (">on<", ">50%<"))
        self.replace(DESIGN.replace("design", "common"), (">translator<", ">viewer<"))
        # What a layer sets to nothing is set, and so is what only the application sets.
        self.replace(DESIGN, ("/${SAMPLE_PROJECT}<", "/${NOBODY}${}$SAMPLE_TRIAL<"), (">SAMPLE_STANDARD<", ">OWN<"),
                     ("=$SAMPLE_LAYERS<", "=$OWN<"), (">licences<", ">gone<"), (">machining<", ">milling<"))
        archive = self.site / "ugsite" / "old archive"
        archive.mkdir()
        (archive / ".dirinfo.plist").write_bytes(plistlib.dumps(
            {"Description": "x", "Type": "Prod", "Common Department": "sales"}))
        self.configure("set", "department/design/applications", "1", "Executable", "${UGII_BASE_DIR}/gone")
        self.configure("add", "site/variables/common", "Value=x")
        found = self.findings()
        missing = ("error", "executable-not-found", "department/design/applications", 1, "Executable")
        if not ON_WINDOWS:
            found -= {place for place in found if place[1].endswith("-not-found")} - {missing}
        self.assertEqual(found, {
            missing,
            ("error", "invalid-name", "base/variables/common", 3, "Name"),
            ("error", "invalid-value", "base/variables/common", 3, "Value"),
            ("warning", "empty-name", "site/variables/common", 4, "Name"),
            ("error", "duplicate-application", "department/common/applications", 2, "AppID"),
            ("warning", "undefined-variable", "department/design/variables/common", 3, "Value"),
            ("warning", "overlay-without-application", "department/design/overlays", 2, "AppID"),
            ("warning", "unknown-plugin", "department/design/disabled-plugins", 4, "Name"),
            ("error", "blank-in-name", "department/old archive", 0, ""),
            ("warning", "not-prepared", "department/old archive", 0, ""),
            ("warning", "unknown-type", "department/old archive/type", 0, ""),
            ("error", "unknown-common-department", "department/old archive/commonDepartment", 0, "")})
        self.assertIn('Run: kym prepare "old archive"\n', self.configure("validate", status=4))

    def test_validate_goes_on_after_a_fault_and_tells_its_place(self):
        design = "department/design"
        for arguments in (
                ["site/variables/common", "Name=A", "Value=${B}"], ["site/variables/common", "Name=B", "Value=$A"],
                ["site/variables/unix", "Name=A", "Value=$B$NIX"],  # which no launch uses
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
        found = self.findings()
        self.assertLessEqual({
            ("error", "cycle", "site/variables/common", 4, "Value"),
            ("error", "cycle", "site/variables/common", 6, "Value"),
            ("error", "cycle", "site/winPortalInstallPath", 0, ""),
            ("warning", "name-differs-in-case", f"{design}/variables/common", 5, "Name"),
            ("error", "cad-system-not-found", f"{design}/variables/windows", 1, "Value"),
            ("error", "executable-not-found", f"{design}/applications", 3, "Executable"),
            ("warning", "overlay-without-application", f"{design}/overlays", 3, "AppID")}, found)
        self.assertEqual({place[2:] for place in found if "undefined" in place[1] or "variables/unix" in place[2]}, {
            (f"{design}/applications/unixsh/variables/windows", 1, "Value"), (f"{design}/applications", 4, "Arguments"),
            ("site/winTcEngInstallPath", 0, "")})

    def test_validate_without_departments(self):
        for name in ("design", "common"):
            shutil.rmtree(self.site / "ugsite" / name)
        self.configure("add", "site/variables/common", "Name=A", "Value=x${B}")
        if ON_WINDOWS:
            shown = self.configure("validate", status=3).splitlines()
            self.assertEqual([*shown[:2], shown[-1]], ["warning undefined-variable: site/variables/common row 4, Value",
                                                       "    No layer sets the variable \"B\".", "0 errors, 1 warning."])
            self.assertIn("site_settingsNx4.dat", shown[3])
        self.configure("set", "plugin/machining/applications", "1", "Executable", "/none")
        self.assertIn(("error", "executable-not-found", "plugin/machining/applications", 1, "Executable"),
                      self.findings())

    def test_export_and_import_keep_everything(self):
        def describe(file, name, comment, kind):  # what the programs cannot edit
            path = self.site / file
            path.write_text(re.sub(f'(>{name}<.*?Comment Key">)[^<]*(<.*?Type Key">)[0-9]*', rf"\g<1>{comment}\g<2>{kind}",
                                   path.read_text(encoding="utf-8"), count=1, flags=re.DOTALL), encoding="utf-8")

        describe(DESIGN, "SAMPLE_TRIAL", "&lt;why \u20ac", 7)
        for layer, kept in (("department/design", [PROPERTIES, DESIGN]), ("site", [SITE]), ("base", [BASE]),
                            ("system", [SYSTEM]), ("plugin/materials", ["plugins/materials/settings.dat"])):
            with self.subTest(layer=layer):
                self.configure("export", layer, native(self.file))
                files = self.files()
                for name in kept:
                    if layer.startswith("department"):
                        shutil.copy(self.site / name.replace("design", "common"), self.site / name)
                    elif layer == "site":
                        describe(name, "UGII_HTML_BROWSER", "x", 1)
                    elif layer == "system":
                        self.configure("put", "system/BroadcastStartMessage", "x")
                    else:
                        (self.site / name).unlink()
                self.file.write_bytes(b"\xef\xbb\xbf" + self.file.read_bytes())
                self.configure("import", layer, native(self.file))
                self.assertEqual(self.changed(files), [])

    def test_import_tells_what_changes_and_saves_both_files_or_none(self):
        layer = json.loads(self.configure("export", "department/design"))
        layer["settings"]["cleanupDays"] = 9
        del layer["variables"]["common"][1]
        layer["variables"]["windows"] = [{"name": ""}]
        self.file.write_text(json.dumps(layer), encoding="utf-8")
        files, arguments = self.files(), ("import", "department/design", native(self.file))
        shown = self.configure(*arguments, "--dry-run").splitlines()
        self.assertEqual([line.removeprefix("department/design/") for line in shown[:4]], [
            "settings/cleanupDays 2 becomes 9",
            'variables/common/1 removed: {"name":"SAMPLE_PROJECT","value":"gearbox"}',
            'variables/windows/0 added: {"name":"","value":""}',
            "warning: department/design/variables/windows row 1, Name: "
            "A variable without a name is left out of every environment."])
        settings = self.site / DESIGN
        content = settings.read_bytes()
        if ON_WINDOWS:
            settings.chmod(0o444)
        else:  # write protection does not stop a superuser
            settings.unlink()
            settings.symlink_to(self.site / "gone" / "settings")
        protected = self.files()
        done = self.start("kym-configure", *arguments)
        self.assertEqual(done.returncode, 1)
        self.assertIn("configSettings.dat", done.stderr)
        self.assertEqual(self.changed(protected), [])
        settings.chmod(0o644) if ON_WINDOWS else settings.unlink()
        settings.write_bytes(content)
        self.configure(*arguments)
        self.assertEqual(self.changed(files), [PROPERTIES, DESIGN])

    def test_import_refuses_and_changes_nothing(self):
        text = json.dumps(json.loads(self.configure("export", "department/design")), ensure_ascii=False)
        files = self.files()
        for wrong, message in (
                (text.split('"layer"')[0] + "\n]", "layer.json, line 2: this is not JSON"), (text + "x", "not JSON"),
                (text.encode("utf-16"), "is UTF-16"), ("{}", "\"format\" and \"layer\" are expected"),
                (text.replace("{", '{"x": ["x"],\n"x": 1, ', 1), "line 2: a member of that name stands in the object"),
                (('"format": 1', '"format": 2'), "/format: this program reads format 1."),
                (('"department/design"', '"plugin/x"'), "/layer: a layer of the kind"),
                (('"SAMPLE_PROJECT"', '"1X"'), "/variables/common/1: a name holds"),
                (('"cleanupDays": 2', '"cleanupDays": 2.5'), "from 0 to 4294967295.\n"),
                (('"disabled": true', '"disabled": "yes"'), "/overlays/1/disabled: true or false is expected."),
                (('"licences"', '"nx"'), "/overlays/1: there is an overlay"),
                (('"arguments"', '"argument"'), "/applications/0/argument: there is no"),
                (('"id": "report"', '"id": "gearbox"'), "applications row 2, AppID: "),
                (('"id": "report", ', ""), "/applications/1: the member \"id\" is expected."),
                (('"Tools"', r'"a\u0000b"'), "without the character U+0000"),
                (('"Production"', '"Prod"'), "There is no type \"Prod\""),
                (('"commonDepartment": "common"', '"commonDepartment": "nobody"'), "kym create nobody")):
            with self.subTest(message=message):
                content = text.replace(*wrong) if isinstance(wrong, tuple) else wrong
                self.file.write_bytes(content if isinstance(content, bytes) else content.encode())
                self.refused(message, "kym-configure", "import", "department/design", native(self.file))
                self.assertEqual(self.changed(files), [])

    def test_the_guide_makes_a_site_from_nothing(self):
        archive = "data/install/versionFiles.tar.gz"
        for folder in ("kym", "ugsite"):
            shutil.rmtree(self.site / folder)
            (self.site / folder).mkdir()
        (self.site / "kym" / archive).parent.mkdir(parents=True)
        shutil.copy(self.pristine / "kym" / archive, self.site / "kym" / archive)
        block = GUIDE.read_text(encoding="utf-8").split("```text\n")[1].split("```")[0]
        block = block.replace("C:\\nx", native(self.site / "nx")).replace("ugraf.exe", f"kym-sample-report{SUFFIX}")
        block = block.replace("C:\\parts", native(self.site / "data" / "parts"))
        shown = {}
        for line in block.splitlines():
            lexer = shlex.shlex(line, posix=True, punctuation_chars=False)
            lexer.whitespace_split, lexer.escape = True, ""
            program, *arguments = lexer
            if ON_WINDOWS or arguments[0] not in ("launch", "explain", "validate", "show"):  # which need its paths
                shown[arguments[0]] = self.output(program, *arguments)
        self.assertIn("design  Production  Design of gearboxes", shown["departments"])


unittest.main(argv=sys.argv[:1])
