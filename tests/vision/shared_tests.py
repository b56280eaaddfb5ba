#!/usr/bin/env python3
"""Runs the contract or robustness tests above cameras on the wire: shared_tests.py PROGRAM [ONLY_THESE]
All of them run, but for those of the first part of simulated_only.txt, and those of its second part must fail: each for
the reason that stands there, or at least still. So the list can neither hide a test that would pass nor name one that
is gone. They run beside each other, each lot in a network of its own, as most of their time is waiting.

Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for scripts/summarise.py goes there."""
import collections
import fnmatch
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
import runner  # noqa: E402
from namespaces import enter_own_network, in_further_network  # noqa: E402

LOTS = 40
STEERS = "steers the simulated cameras"


def read_list(program):
    """The reason by pattern, apart for the tests that are not run and for those that must fail."""
    parts, part, reason = {"not run": {}, "must fail": {}}, None, None
    for line in (pathlib.Path(__file__).parent / "simulated_only.txt").read_text().splitlines():
        if line.startswith("== "):
            suite, part = line.strip("= ").split(": ")
            part = parts[part] if suite == program.name else {}
        elif line.startswith("# "):
            reason = line[2:]
        elif line and part is not None:
            part[line] = reason
    return parts["not run"], parts["must fail"]


def names_of(program, only):
    names, suite = [], ""
    listed = subprocess.run([program, "--gtest_list_tests", "--gtest_filter=" + only], check=True, capture_output=True, text=True)
    for line in listed.stdout.splitlines():
        line = line.split("#")[0].rstrip()
        if line.startswith("  "):
            names.append(suite + line.strip())
        elif line.endswith("."):
            suite = line
    return names


def run(program, only, not_run, folder):
    """The failures of each test that ran, and whether every lot came to its end."""
    filters = "--gtest_filter=" + only + "-" + ":".join(not_run)
    lots = []
    for lot in range(LOTS):
        environment = dict(os.environ, GTEST_TOTAL_SHARDS=str(LOTS), GTEST_SHARD_INDEX=str(lot))
        command = [program, filters, "--gtest_output=json:%s/%d.json" % (folder, lot)]
        lots.append(subprocess.Popen(in_further_network(command), env=environment, text=True, stdin=subprocess.DEVNULL,
                                     stdout=open("%s/%d.log" % (folder, lot), "w"), stderr=subprocess.STDOUT))
    failures, is_whole = {}, True
    for lot, process in enumerate(lots):
        process.wait()
        report = pathlib.Path("%s/%d.json" % (folder, lot))
        if not report.exists():
            print("A lot ended early:", *pathlib.Path("%s/%d.log" % (folder, lot)).read_text().splitlines()[-8:], sep="\n")
            is_whole = False
            continue
        for suite in json.loads(report.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                failures[suite["name"] + "." + test["name"]] = [f["failure"] for f in test.get("failures", [])]
    return failures, is_whole


def write_report(path, passed, wrong):
    report = xml.Element("testsuites")
    for name in passed:
        suite, case = name.split(".", 1)
        xml.SubElement(report, "testcase", classname=suite, name=case, status="run", result="completed")
    for text in wrong:
        xml.SubElement(xml.SubElement(report, "testcase", name=text.splitlines()[0]), "failure").text = text
    xml.ElementTree(report).write(path)


def judge(program, only, failures, not_run, must_fail):
    """What is wrong, as texts."""
    wrong = []
    names = names_of(program, only)
    for pattern in [*not_run, *must_fail]:
        if only == "*" and not fnmatch.filter(names, pattern):
            wrong.append("simulated_only.txt: there is no " + pattern)
    for name in names:
        reasons = [must_fail[pattern] for pattern in must_fail if fnmatch.fnmatchcase(name, pattern)]
        if any(fnmatch.fnmatchcase(name, pattern) for pattern in not_run):
            if reasons:
                wrong.append("simulated_only.txt: %s stands in both parts" % name)
        elif name not in failures:
            wrong.append(name + " did not run")
        elif failures[name] and not reasons:
            wrong.append("%s fails:\n    %s" % (name, "\n    ".join("\n".join(failures[name]).splitlines())))
        elif reasons and not failures[name]:
            wrong.append("simulated_only.txt: %s passes" % name)
        elif reasons and (reasons[0] == STEERS) != any(STEERS in failure for failure in failures[name]):
            wrong.append("simulated_only.txt: %s fails for another reason:\n    %s" % (name, failures[name][0]))
    return wrong


def main():
    program, only = pathlib.Path(sys.argv[1]).resolve(), (sys.argv[2] if len(sys.argv) > 2 else "*")
    report = runner.report_path(program)
    os.environ.pop("GTEST_OUTPUT", None)  # or listing the tests would leave a report of its own
    not_run, must_fail = read_list(program)
    with tempfile.TemporaryDirectory() as folder:
        failures, is_whole = run(program, only, not_run, folder)
    wrong = judge(program, only, failures, not_run, must_fail)
    print(*wrong, sep="\n")
    passed = [name for name in failures if not failures[name]]
    print("%d tests passed above a camera on the wire, %d others need simulated ones" % (len(passed), len(failures) - len(passed)))
    if report:
        write_report(report, passed, wrong)
    return 0 if is_whole and not wrong and passed else 1


if __name__ == "__main__":
    enter_own_network()
    sys.exit(main())
