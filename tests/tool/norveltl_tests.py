#!/usr/bin/env python3
"""Proves the command line: norveltl_tests.py [--launch EMULATOR] [--accept] --producers FOLDER PROGRAM [CASE...]

Cases are named like test_grab.Grabbing.test_counts, or by a part of that. Where GTEST_OUTPUT names a folder
("xml:FOLDER/"), a report for scripts/summarise.py goes there. --accept takes what the program prints for golden.
"""
import argparse
import os
import pathlib
import sys
import time
import unittest
import xml.etree.ElementTree as xml

import harness

HERE = pathlib.Path(__file__).resolve().parent


class Result(unittest.TextTestResult):
    """Remembers how every case ended, for the report."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.suite = xml.Element("testsuites")
        self.case = None

    def startTest(self, test):
        super().startTest(test)
        group, name = test.id().rsplit(".", 1)
        self.case = xml.SubElement(self.suite, "testcase", classname=group, name=name, status="run",
                                   result="completed")
        self.began = time.monotonic()

    def stopTest(self, test):
        super().stopTest(test)
        self.case.set("time", f"{time.monotonic() - self.began:.3f}")
        self.case = None

    def fail(self, test, error):
        # A class that cannot be set up fails without a case of its own.
        case = self.case if self.case is not None else xml.SubElement(self.suite, "testcase", name=str(test))
        xml.SubElement(case, "failure").text = self._exc_info_to_string(error, test)

    def addError(self, test, error):
        super().addError(test, error)
        self.fail(test, error)

    def addFailure(self, test, error):
        super().addFailure(test, error)
        self.fail(test, error)

    def addSubTest(self, test, subtest, error):
        super().addSubTest(test, subtest, error)
        if error is not None:
            self.fail(subtest, error)

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self.case.set("result", "skipped")


def report_path():
    """Where GTEST_OUTPUT wants a report; a Windows program would know the folder by a drive."""
    kind, _, folder = os.environ.get("GTEST_OUTPUT", "").partition(":")
    if kind != "xml" or not folder:
        return None
    return pathlib.Path(folder.removeprefix("Z:")) / (pathlib.Path(__file__).stem + ".xml")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--launch", help="what runs the program, if it is none of this system")
    parser.add_argument("--producers", required=True, help="the folder of the producers made for these tests")
    parser.add_argument("--accept", action="store_true", help="write the golden files anew")
    parser.add_argument("program")
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    harness.setup(options.program, options.producers, options.launch, options.accept)
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    suite = loader.discover(str(HERE), top_level_dir=str(HERE))
    with harness.awake():
        result = unittest.TextTestRunner(resultclass=Result, verbosity=2).run(suite)
    if path := report_path():
        xml.ElementTree(result.suite).write(path)
    return 0 if result.wasSuccessful() and result.testsRun > 0 and not result.skipped else 1


if __name__ == "__main__":
    sys.exit(main())
