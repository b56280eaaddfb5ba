"""Runs cases of the Python tests and reports them as scripts/summarise.py expects."""
import concurrent.futures
import io
import os
import pathlib
import sys
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


def cases_of(suite):
    """The cases of a suite and of those in it; what cannot be loaded is a case that fails."""
    return [case for part in suite for case in (cases_of(part) if isinstance(part, unittest.TestSuite) else [part])]


def units_of(cases):
    """What can run beside others: cases by themselves, but together those for which their class is set up once."""
    units = {}
    for case in cases:
        shares = type(case).setUpClass.__func__ is not unittest.TestCase.setUpClass.__func__
        units.setdefault(type(case) if shares else case, []).append(case)
    return units.values()


def run_beside_others(unit):
    """Runs some cases and prints what came of them at once, so that others may run meanwhile."""
    out = io.StringIO()
    result = unittest.TextTestRunner(stream=out, resultclass=Result, verbosity=2).run(unittest.TestSuite(unit))
    said = "\n".join(f"{case} ... ok" for case in unit) if result.wasSuccessful() else out.getvalue()
    print(said, file=sys.stderr, flush=True)
    return result


def run(suite, script):
    """Runs the cases of a script and writes their report; answers the exit code. Those of a module with
    RUNS_BESIDE_OTHERS run side by side, and before the rest, which a busy machine could mislead."""
    beside, alone = [], []
    for case in cases_of(suite):
        (beside if getattr(sys.modules[type(case).__module__], "RUNS_BESIDE_OTHERS", False) else alone).append(case)
    with concurrent.futures.ThreadPoolExecutor(2 * os.cpu_count()) as pool:
        results = list(pool.map(run_beside_others, units_of(beside)))
    results.append(unittest.TextTestRunner(resultclass=Result, verbosity=2).run(unittest.TestSuite(alone)))
    if path := report_path(script):
        report = xml.Element("testsuites")
        for result in results:
            report.extend(result.suite)
        xml.ElementTree(report).write(path)
    went_well = all(result.wasSuccessful() and not result.skipped for result in results)
    return 0 if went_well and sum(result.testsRun for result in results) > 0 else 1
