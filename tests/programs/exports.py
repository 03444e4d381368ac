#!/usr/bin/env python3
"""Compares what a built library exports with a list, in both directions: exports.py LIST LIBRARY TOOL DEMANGLER.

TOOL is nm for a shared object, objdump for a DLL. The list has lines "class NAME" and "function SIGNATURE".
"""
import re
import subprocess
import sys

ABOUT = re.compile(r"(?:vtable|VTT|typeinfo|typeinfo name|guard variable) for |(?:non-)?virtual thunk to ")
TABLE_ROW = re.compile(r"\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+[0-9a-f]+\s+)?(\S+)$")


def output(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def exported(library, tool):
    if library.endswith(".dll"):
        table = output(tool, "-p", library).partition("[Ordinal/Name Pointer] Table")[2]
        return [found.group(1) for found in map(TABLE_ROW.match, table.splitlines()[1:]) if found]
    return [line.split()[-1].partition("@")[0]
            for line in output(tool, "-D", "--defined-only", library).splitlines()]


def main():
    list_file, library, tool, demangler = sys.argv[1:]
    classes, functions = set(), set()
    with open(list_file, encoding="utf-8") as lines:
        for line in lines:
            kind, _, name = line.strip().partition(" ")
            if name:
                {"class": classes, "function": functions}[kind].add(name)

    # A DLL's table holds no leading underscore to strip, and neither does the other.
    symbols = output(demangler, "--no-strip-underscore", text="\n".join(exported(library, tool))).split("\n")
    seen, strangers = set(), []
    for symbol in filter(None, symbols):
        signature = ABOUT.sub("", symbol)
        owner = signature.partition("(")[0]
        parts = owner.split("::")
        owners = {"::".join(parts[:count]) for count in range(1, len(parts) + 1)} & classes
        if signature in functions:
            seen.add(signature)
        elif owners:
            seen |= owners
        else:
            strangers.append(symbol)

    missing = sorted((classes | functions) - seen)
    for symbol in strangers:
        print(f"exported, but not in the list: {symbol}")
    for name in missing:
        print(f"in the list, but not exported: {name}")
    print(f"{len(list(filter(None, symbols)))} symbols of {len(seen)} listed things")
    return 1 if strangers or missing or not seen else 0


sys.exit(main())
