#!/usr/bin/env python3
"""Checks who includes whom: layering.py PROJECT INSTALLED-HEADERS-FILE. Prints a line for each offence."""
import pathlib
import re
import sys

# The levels of kym/ above the values; everything else, the helpers too, is on the lowest.
HIGHER_LEVELS = [
    {"SystemInfo"},
    {"BaseSettings", "PluginSettings", "PluginsManager", "DisablePluginSource", "SiteSettings",
     "ConfigurationSettings", "Configuration"},
    {"ConfigurationManager", "Launcher", "SystemPreferences"},
    {"App"},
]
LEVEL_OF = {stem: number for number, stems in enumerate(HIGHER_LEVELS, 1) for stem in stems}

# What may be included in angle brackets besides the C++ standard library.
THIRD_PARTY = {
    "base": r"boost/|(pugixml\.hpp|zlib\.h)$",
    "kym": r"boost/|archive\.h$|archive_entry\.h$",
    "programs": r"boost/|CLI/",
    "samples": r"boost/|CLI/|archive\.h$|archive_entry\.h$",
    "bench": r"boost/|benchmark/|pugixml\.hpp$",
}

INCLUDE = re.compile(r'\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
CONDITION = re.compile(r"\s*#\s*(if|ifdef|ifndef|elif|else)\b")
SYSTEM_MACRO = re.compile(r"\b(_WIN32|_WIN64|WIN32|__linux__|__unix__|_MSC_VER|__MINGW32__|__MINGW64__)\b")


def system_header(room, name):
    return ("." in name or "/" in name) and not re.match(THIRD_PARTY[room], name)


def offences(project, file, installed):
    name = file.relative_to(project).as_posix()
    room = name.split("/")[0]
    in_platform = name.startswith("base/platform/")
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        if CONDITION.match(line) and not in_platform and room != "bench":
            yield number, "conditional compilation belongs below base/platform/"
        elif SYSTEM_MACRO.search(line) and not in_platform:
            yield number, "what depends on the system belongs below base/platform/"
        found = INCLUDE.match(line)
        if not found:
            continue
        quoted, angled = found.groups()
        if angled:
            if system_header(room, angled) and (not in_platform or name in installed):
                yield number, f"<{angled}> is not for this file"
            continue
        if ".." in quoted.split("/"):
            yield number, f'"{quoted}": a header is named from the top of the project'
        if room == "base" and quoted.startswith("kym/"):
            yield number, "base/ knows nothing of kym/"
        if room in ("programs", "samples", "bench") and not (
                quoted in installed or room == "programs" and quoted == "base/platform/Terminal.h" or
                (file.parent / quoted).exists() or
                room == "programs" and quoted.startswith("programs/") and (project / quoted).exists()):
            yield number, f'"{quoted}" is not installed'
        if name in installed and quoted not in installed:
            yield number, f'an installed header includes "{quoted}", which is not installed'
        if room != "base" and quoted.startswith("base/platform/") and quoted.count("/") > 2:
            yield number, f'"{quoted}" is for one system only'
        if room == "kym" and quoted.startswith("kym/"):
            if LEVEL_OF.get(pathlib.PurePosixPath(quoted).stem, 0) > LEVEL_OF.get(file.stem, 0):
                yield number, f'"{quoted}" is of a higher level'


def main():
    project = pathlib.Path(sys.argv[1]).resolve()
    installed = set(pathlib.Path(sys.argv[2]).read_text(encoding="utf-8").split())
    failed = False
    for header in sorted(installed):
        if not (project / header).is_file():
            print(f"{header}: to be installed, but not there")
            failed = True
    files = sorted(file for room in THIRD_PARTY for file in (project / room).rglob("*")
                   if file.suffix in (".h", ".cpp", ".hpp", ".cc"))
    for file in files:
        for number, what in offences(project, file, installed):
            print(f"{file.relative_to(project).as_posix()}:{number}: {what}")
            failed = True
    print(f"{len(files)} files read, {len(installed)} headers installed")
    return 1 if failed or not files or not installed else 0


sys.exit(main())
