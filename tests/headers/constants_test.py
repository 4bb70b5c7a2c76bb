#!/usr/bin/python3
"""Compares the numbers of visatype.h with those that PyVISA knows by the same name.

Usage: constants_test.py path/to/visatype.h
"""

import re
import sys

import pyvisa.constants

# How many names both sides know. Raise it with the header; a lower number means that the parser
# below no longer sees what it should.
FEWEST_COMPARED = 426

# Names that PyVISA does not have, each for a reason of its own.
ONLY_HERE = {
    "_VI_ERROR",  # what errors are made from
    "VI_ATTR_BRIX_SPLIT_WRITE",  # this library's own protocol
    "VI_ATTR_BRIX_FULL_HEADER",
    "VI_ATTR_BRIX_DECODE_MODE",
    "VI_ATTR_BRIX_RAW",
    "VI_ERROR_INV_SESSION",  # an older name
    "VI_ERROR_LINE_NRESERVED",
    "VI_INTF_USOCK",  # this library's own interface
}

# Words that are empty, or no number, on Linux; and the include guard.
NO_NUMBER = {"_VI_FAR", "_VI_PTR", "_VI_FUNC", "_VI_FUNCC", "_VI_FUNCH", "UXVISA_VISATYPE_H"}

DEFINE = re.compile(r"^#define[ \t]+(\w+)[ \t]*(.*?)[ \t]*(/\*.*)?$", re.MULTILINE)
LITERAL = re.compile(r"\b(0[xX][0-9A-Fa-f]+|\d+)(?:UL|L|U)?\b")
ERROR_FORM = re.compile(r"\(_VI_ERROR \+ 0x3FFF[0-9A-F]{4}L\)")
IDENTIFIER_FORM = re.compile(r"\(0x[3B]FFF[0-9A-F]{4}UL\)")


def parse(text):
    """Name -> (number, text of the definition, comment behind it)."""
    found = {}
    for name, body, comment in DEFINE.findall(text):
        if name in NO_NUMBER:
            continue
        if name in found:
            raise SystemExit(f"{name} is defined twice")
        expression = re.sub(r"\b_?VI_\w+", lambda word: str(found[word.group()][0]), body)
        number = eval(LITERAL.sub(r"\1", expression), {"__builtins__": {}})
        found[name] = (number, body, comment)
    return found


def is_status(name):
    return name.startswith(("VI_ERROR_", "VI_SUCCESS", "VI_WARN_"))


def as_published(name, number):
    """Statuses are signed 32-bit numbers, everything else counts by its low 32 bits."""
    low = number & 0xFFFFFFFF
    if is_status(name) and low >= 0x80000000:
        return low - 0x100000000
    return low


def form_fault(name, number, body, comment):
    """Signs and widths hang on how a number is written, so the form is checked too."""
    is_alias = re.fullmatch(r"VI_\w+", body) is not None
    if is_alias:
        return None
    if name.startswith("VI_ERROR_"):
        if not ERROR_FORM.fullmatch(body):
            return "an error is not written as (_VI_ERROR + 0x3FFF....L)"
        if f"0x{number & 0xFFFFFFFF:08X}" not in comment:
            return "the comment shows another number"
    elif is_status(name) and not body.endswith("L)"):
        return "a status is not a long"
    elif name.startswith(("VI_ATTR_", "VI_EVENT_")) and not IDENTIFIER_FORM.fullmatch(body):
        return "an identifier is not written as (0x.FFF....UL)"
    return None


def main():
    with open(sys.argv[1], encoding="ascii") as header:
        constants = parse(header.read())
    faults = []
    compared = 0
    for name, (number, body, comment) in constants.items():
        fault = form_fault(name, number, body, comment)
        if fault:
            faults.append(f"{name}: {fault}")
        if not hasattr(pyvisa.constants, name):
            if name not in ONLY_HERE:
                faults.append(f"{name}: unknown to PyVISA; a misspelt name?")
            continue
        compared += 1
        theirs = as_published(name, int(getattr(pyvisa.constants, name)))
        ours = as_published(name, number)
        if ours != theirs:
            faults.append(f"{name}: {ours:#x} here, {theirs:#x} in PyVISA")
    if compared < FEWEST_COMPARED:
        faults.append(f"only {compared} names compared, expected {FEWEST_COMPARED} or more")
    print(f"{compared} names compared with PyVISA")
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
