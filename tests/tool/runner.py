"""Runs cases of the Python tests and reports them as scripts/summarise.py expects."""
import os
import pathlib
import time
import unittest
import xml.etree.ElementTree as xml


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


def report_path(script):
    """Where GTEST_OUTPUT wants a report; a Windows program would know the folder by a drive."""
    kind, _, folder = os.environ.get("GTEST_OUTPUT", "").partition(":")
    if kind != "xml" or not folder:
        return None
    return pathlib.Path(folder.removeprefix("Z:")) / (pathlib.Path(script).stem + ".xml")


def run(suite, script):
    """Runs the cases of a script and writes their report; answers the exit code."""
    result = unittest.TextTestRunner(resultclass=Result, verbosity=2).run(suite)
    if path := report_path(script):
        xml.ElementTree(result.suite).write(path)
    return 0 if result.wasSuccessful() and result.testsRun > 0 and not result.skipped else 1
