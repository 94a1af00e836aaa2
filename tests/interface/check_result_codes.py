#!/usr/bin/env python3
"""Compares the result codes that the header documents for each export with those that its code can return.

check_result_codes.py HEADER FOLDER, where FOLDER holds the exports and their helpers. A code counts as returned where
the export, or a helper of the folder that it calls, names it. Two codes hold for every function and are documented
once: OperationFailed for a stopped exception, and InvalidHandle for an unknown handle.
"""
import re
import sys
from pathlib import Path

CODE = re.compile(r"velkori_Result_(\w+)")
DEFINITION = re.compile(r"^(?! |return)(?:inline )?[\w:<>&* ]+?\b(\w+)\(([^;{}]*?)\)(?: noexcept| const)* \{$", re.M)


def closing(text, start, pair):
    depth = 0
    for position in range(start, len(text)):
        depth += (text[position] == pair[0]) - (text[position] == pair[1])
        if depth == 0:
            return position
    raise ValueError(text[start : start + 60])


def functions(folder):
    """Name to (default codes of its parameters, body)."""
    found = {}
    for path in sorted(folder.glob("*.cpp")) + sorted(folder.glob("*.h")):
        text = re.sub(r"//.*", "", re.sub(r'"(?:\\.|[^"\\])*"', '""', path.read_text()))
        for declared in re.finditer(r"\b(\w+)\(([^;{}]*= velkori_Result_[^;{}]*)\);", text):
            found.setdefault(declared[1], [set(), ""])[0].update(CODE.findall(declared[2]))
        for match in DEFINITION.finditer(text):
            start = match.end() - 1
            function = found.setdefault(match[1], [set(), ""])
            function[0].update(CODE.findall(match[2]))
            function[1] += text[start : closing(text, start, "{}") + 1]
    return found


def returned(name, all_functions, seen):
    """The codes that a function names, itself or through what it calls."""
    if name in seen or name == "AtBoundary":
        return set()
    seen.add(name)
    body = all_functions[name][1]
    codes = set(CODE.findall(re.sub(r"[=!]= velkori_Result_\w+", "", body)))
    for call in re.finditer(r"\b(\w+)\(", body):
        if call[1] in all_functions:
            arguments = body[call.end() : closing(body, call.end() - 1, "()")]
            if not CODE.search(arguments):
                codes |= all_functions[call[1]][0]
            codes |= returned(call[1], all_functions, seen)
    return codes


def main():
    header = Path(sys.argv[1]).read_text()
    all_functions = functions(Path(sys.argv[2]))
    documented = re.findall(r"/\*\*((?:(?!\*/).)*)\*/\s*VELKORI_API velkori_Result (\w+)\(([^;]*)\);", header, re.S)
    faults = []
    for comment, name, parameters in documented:
        told = set(re.findall(r"@retval velkori_Result_(\w+)", comment)) | {"Success"}
        actual = returned(name, all_functions, set()) | {"Success"}
        if "InvalidHandle" not in told and re.search(r"velkori_Handle \w*[hH]andle", parameters):
            actual.discard("InvalidHandle")
        faults += [f"{name} returns {code}, which isn't documented." for code in sorted(actual - told)]
        faults += [f"{name} never returns {code}." for code in sorted(told - actual)]
    if len(documented) < 60 or sum(name.startswith("velkori_") for name in all_functions) < 60:
        faults.append("Not all exports were found.")
    print("\n".join(faults) or f"{len(documented)} exports return what they document.")
    return 1 if faults else 0


sys.exit(main())
