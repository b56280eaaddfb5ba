#!/usr/bin/env python3
# Sums up one CTest run case by case, names what failed, and ends with "PASSED FAILED" on a line.
# Call it with CTest's JSON inventory, its JUnit file, and the folder of the programs' reports.
import json
import pathlib
import sys
import xml.etree.ElementTree as xml


def reporting_program_in(command):
    """The program among a test's first two words that reports its cases, or None.

    It is built with GoogleTest, or a script that writes such a report itself; what runs it may come first.
    """
    for word in command[:2]:
        path = pathlib.Path(word)
        if path.is_file() and any(mark in path.read_bytes() for mark in (b"gtest_list_tests", b"GTEST_OUTPUT")):
            return path
    return None


def failed_cases(report):
    """Splits a report into the number of passed cases and the names of the others."""
    passed, others = 0, []
    for case in xml.parse(report).getroot().iter("testcase"):
        name = f"{case.get('classname')}.{case.get('name')}"
        if case.find("failure") is not None or case.find("error") is not None:
            others.append(name)
        elif case.get("status") != "run" or case.get("result") != "completed":
            others.append(f"{name} was skipped or disabled")
        else:
            passed += 1
    return passed, others


def main(inventory, junit, folder):
    tests = json.loads(pathlib.Path(inventory).read_text())["tests"]
    commands = {test["name"]: test.get("command", []) for test in tests}
    results = {case.get("name"): case.get("status") for case in xml.parse(junit).getroot().iter("testcase")}
    folder = pathlib.Path(folder)
    passed, failures = 0, []
    for name, command in commands.items():
        went_well = results.get(name) == "run"
        program = reporting_program_in(command)
        if program is None:
            if went_well:
                passed += 1
            else:
                failures.append(f"{name} failed or did not run")
            continue
        # A script that runs several programs names a report for the test; a program registered more than once leaves
        # numbered reports: each entry takes the next one.
        stem = program.name.removesuffix(".exe").removesuffix(".py")
        reports = [*folder.glob(f"{name}.xml"), *folder.glob(f"{stem}.xml"), *sorted(folder.glob(f"{stem}_[0-9]*.xml"))]
        if not reports:
            failures.append(f"{name} ended without a report")
            continue
        try:
            good, bad = failed_cases(reports[0])
        except xml.ParseError:
            good, bad = 0, ["its report cannot be read"]
        reports[0].unlink()
        passed += good
        if not bad and not good:
            bad = ["it ran no test"]
        elif not bad and not went_well:
            bad = ["its cases passed but the program failed"]
        failures += [f"{name}: {what}" for what in bad]
    if not commands:
        failures.append("there is no test")
    for failure in failures:
        print(f"  FAILED {failure}")
    print(passed, len(failures))


main(*sys.argv[1:])
