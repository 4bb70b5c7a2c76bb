#!/usr/bin/python3
"""Checks that visa.h declares exactly the functions of the API, and that each is documented.

Usage: functions_test.py path/to/visa.h
"""

import re
import sys

WIDTHS = ("8", "16", "32", "64")


def expected_functions():
    names = """
        viOpenDefaultRM viGetDefaultRM viFindRsrc viFindNext viParseRsrc viParseRsrcEx viOpen
        viClose viSetAttribute viGetAttribute viStatusDesc viTerminate viLock viUnlock
        viEnableEvent viDisableEvent viDiscardEvents viWaitOnEvent viInstallHandler
        viUninstallHandler
        viRead viReadAsync viReadToFile viWrite viWriteAsync viWriteFromFile viAssertTrigger
        viReadSTB viClear
        viSetBuf viFlush viBufWrite viBufRead viPrintf viVPrintf viSPrintf viVSPrintf viScanf
        viVScanf viSScanf viVSScanf viQueryf viVQueryf
        viMove viMoveAsync viMoveEx viMoveAsyncEx
        viMapAddress viMapAddressEx viUnmapAddress viMemAlloc viMemFree viMemAllocEx viMemFreeEx
        viGpibControlREN viGpibControlATN viGpibSendIFC viGpibCommand viGpibPassControl
        viVxiCommandQuery viAssertUtilSignal viAssertIntrSignal viMapTrigger viUnmapTrigger
        viUsbControlOut viUsbControlIn
    """.split()
    for width in WIDTHS:
        for operation in ("In", "Out", "MoveIn", "MoveOut"):
            names += [f"vi{operation}{width}", f"vi{operation}{width}Ex"]
        names += [f"viPeek{width}", f"viPoke{width}"]
    return set(names)


FUNCTION_COUNT = 106

# Declared once for C++ and once for C, where it needs its C++ name.
DECLARED_TWICE = {"viGetDefaultRM"}

DECLARATION = re.compile(r"^(?:ViStatus|void)\s+(\w+)\s*\([^;]*;", re.MULTILINE)
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)


def blanked(text):
    """The text without its comments, every character in its place."""
    return COMMENT.sub(lambda found: re.sub(r"[^\n]", " ", found.group()), text)


def comment_before(text, position):
    """The documentation comment that ends right before a declaration, or None.

    A conditional may stand between: both forms of a function share one comment.
    """
    before = re.sub(r"(?:\s*#(?:ifdef|else)[^\n]*|\s*ViStatus [^;#]*;(?=\s*#else))*\s*$", "",
                    text[:position])
    if not before.endswith("*/"):
        return None
    comment = before[before.rindex("/*"):]
    return comment if comment.startswith("/**") and "@{" not in comment and "@}" not in comment \
        else None


def in_group(text, position):
    return text.count("@{", 0, position) > text.count("@}", 0, position)


def group_of(text, position):
    start = text.rindex("@{", 0, position)
    return text[text.rindex("/**", 0, start):start]


def fault_of(text, name, position):
    comment = comment_before(text, position)
    if comment is None:
        return "no documentation comment"
    if in_group(text, position):
        if "VI_ERROR_NIMPL_OPER" not in group_of(text, position):
            return "the comment of the group names no status"
        return None
    # A comment names its statuses, or the function that it is an alias of.
    if "VI_" not in comment and not re.search(r"vi\w+\(\)", comment):
        return "the comment names no status"
    parameters = blanked(text)[position:text.index(";", position)]
    for parameter in re.findall(r"@p(?:aram)?\s+(\w+)", comment):
        if not re.search(rf"\b{parameter}\b", parameters):
            return f"the comment explains {parameter}, which is no argument"
    return None


def main():
    with open(sys.argv[1], encoding="ascii") as header:
        text = header.read()
    faults = [f"line {number} is longer than 100 columns"
              for number, line in enumerate(text.splitlines(), 1) if len(line) > 100]
    declared = [(found.group(1), found.start()) for found in DECLARATION.finditer(blanked(text))]
    names = [name for name, _ in declared]
    expected = expected_functions()
    faults += [f"{name}: missing" for name in sorted(expected - set(names))]
    faults += [f"{name}: no function of the API" for name in sorted(set(names) - expected)]
    for name in sorted(set(names)):
        if names.count(name) != (2 if name in DECLARED_TWICE else 1):
            faults.append(f"{name}: declared {names.count(name)} times")
    if len(set(names)) != FUNCTION_COUNT:
        faults.append(f"{len(set(names))} functions instead of {FUNCTION_COUNT}")
    for name, position in declared:
        fault = fault_of(text, name, position)
        if fault:
            faults.append(f"{name}: {fault}")
    print(f"{len(set(names))} functions declared")
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
