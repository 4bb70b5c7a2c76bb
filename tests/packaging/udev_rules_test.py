#!/usr/bin/python3
"""Checks the udev rules: their syntax, and what they decide about devices.

Usage: udev_rules_test.py path/to/70-uxvisa.rules
"""

import fnmatch
import os
import re
import subprocess
import sys

MATCH_KEYS = {"ACTION", "KERNEL", "SUBSYSTEM", "SUBSYSTEMS"}
ASSIGN_KEYS = {"GROUP", "MODE", "TAG", "GOTO", "LABEL"}
# systemd gives the rights of the tag "uaccess" in its rules 73-seat-late.
UACCESS_RULES = 73

PAIR = re.compile(r'\s*([A-Z]+)\s*(==|!=|\+=|=)\s*"([^"]*)"\s*')


class BadRules(Exception):
    pass


def parse_rule(line):
    """A list of (key, operator, value)."""
    pairs = []
    position = 0
    while True:
        found = PAIR.match(line, position)
        if not found:
            raise BadRules(f"no key, operator and value at '{line[position:]}'")
        key, operator, value = found.groups()
        allowed = ("==", "!=") if key in MATCH_KEYS else ("=", "+=") if key in ASSIGN_KEYS else ()
        if operator not in allowed:
            raise BadRules(f"{key} with {operator}")
        if key == "MODE" and not re.fullmatch(r"0[0-7]{3}", value):
            raise BadRules(f"mode {value}")
        pairs.append((key, operator, value))
        position = found.end()
        if position == len(line):
            return pairs
        if line[position] != ",":
            raise BadRules(f"no comma at '{line[position:]}'")
        position += 1


def parse_rules(text):
    lines = [line for line in text.splitlines() if line.strip() and not line.startswith("#")]
    rules = [parse_rule(line) for line in lines]
    labels = [value for rule in rules for key, _, value in rule if key == "LABEL"]
    for number, rule in enumerate(rules):
        for key, _, value in rule:
            later = [v for r in rules[number + 1 :] for k, _, v in r if k == "LABEL"]
            if key == "GOTO" and value not in later:
                raise BadRules(f"no label {value} behind its GOTO")
    if len(set(labels)) != len(labels):
        raise BadRules("a label twice")
    return rules


def matches(pair, device):
    key, operator, pattern = pair
    found = any(
        fnmatch.fnmatchcase(name, alternative)
        for name in device.get(key, [])
        for alternative in pattern.split("|")
    )
    return found == (operator == "==")


def decide(rules, device):
    """(group, mode, tags) of a device."""
    group, mode, tags, target = None, None, [], None
    for rule in rules:
        if target and ("LABEL", "=", target) not in rule:
            continue
        target = None
        if not all(matches(pair, device) for pair in rule if pair[0] in MATCH_KEYS):
            continue
        for key, _, value in rule:
            group = value if key == "GROUP" else group
            mode = value if key == "MODE" else mode
            tags += [value] if key == "TAG" else []
            target = value if key == "GOTO" else target
    return group, mode, tags


def device(kernel, *subsystems, action="add"):
    """The first subsystem is the device's own, all together are those of its parents as well."""
    return {
        "ACTION": [action],
        "KERNEL": [kernel],
        "SUBSYSTEM": subsystems[:1],
        "SUBSYSTEMS": subsystems,
    }


NOTHING = (None, None, [])
DECISIONS = [
    (device("usbtmc0", "usbmisc", "usb"), ("plugdev", "0660", ["uaccess"])),
    (device("usbtmc12", "usbmisc", "usb", action="change"), ("plugdev", "0660", ["uaccess"])),
    (device("ttyUSB0", "tty", "usb-serial", "usb"), ("dialout", "0660", ["uaccess"])),
    (device("ttyACM3", "tty", "usb", "pci"), ("dialout", "0660", ["uaccess"])),
    (device("ttyS0", "tty", "serial-base", "pnp"), ("dialout", "0660", [])),
    (device("ttyS0", "tty"), ("dialout", "0660", [])),
    (device("tty0", "tty"), NOTHING),
    (device("tty", "tty"), NOTHING),
    (device("ttyprintk", "tty"), NOTHING),
    (device("console", "tty"), NOTHING),
    (device("hiddev0", "usbmisc", "usb"), NOTHING),
    (device("lp0", "usbmisc", "usb"), NOTHING),
    (device("usbtmc0", "usb"), NOTHING),
    (device("ttyUSB0", "tty", "usb", action="remove"), NOTHING),
]

BAD = [
    'SUBSYSTEM="tty", MODE="0660"',
    'SUBSYSTEM=="tty", MODE=="0660"',
    'SUBSYSTEM=="tty" MODE="0660"',
    'SUBSYSTEM=="tty", MODE="0660",',
    'SUBSYSTEM=="tty", MODE="660"',
    'SUBSYSTEM=="tty, MODE="0660"',
    'SUBSYSTM=="tty", MODE="0660"',
    "SUBSYSTEM==tty",
    'LABEL="a"\nGOTO="a"',
    'LABEL="a"\nLABEL="a"',
]


def accepts(text):
    try:
        parse_rules(text)
        return True
    except BadRules:
        return False


def verify_with_udevadm(path):
    """None where there is no udevadm that can do it."""
    try:
        answer = subprocess.run(["udevadm", "verify", "--help"], capture_output=True, check=False)
        if answer.returncode != 0:
            return None
        command = ["udevadm", "verify", "--resolve-names=never", path]
        return subprocess.run(command, capture_output=True, text=True, check=False)
    except FileNotFoundError:
        return None


def main():
    path = sys.argv[1]
    with open(path, encoding="ascii") as file:
        rules = parse_rules(file.read())
    faults = [f"taken for good: {text!r}" for text in BAD if accepts(text)]
    for subject, expected in DECISIONS:
        decided = decide(rules, subject)
        if decided != expected:
            faults.append(f"{subject['KERNEL'][0]}: {decided}, expected {expected}")
    number = int(os.path.basename(path).split("-")[0])
    if number >= UACCESS_RULES:
        faults.append(f"number {number} is too late for the tag uaccess")
    verified = verify_with_udevadm(path)
    if verified is not None and verified.returncode != 0:
        faults.append(verified.stdout + verified.stderr)
    print(f"{len(rules)} rules, udevadm verify: {'ran' if verified else 'not here'}")
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
