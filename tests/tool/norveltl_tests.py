#!/usr/bin/env python3
"""Proves the command line: norveltl_tests.py [OPTION...] --producers FOLDER PROGRAM [CASE...]

Options are --launch EMULATOR, --accept and --leave-out CASE. Cases are named like test_grab.Grabbing.test_counts, or by
a part of that. Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for scripts/summarise.py goes there.
--accept takes what the program prints for golden.
"""
import argparse
import pathlib
import sys
import unittest

import harness
import runner

HERE = pathlib.Path(__file__).resolve().parent


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--launch", help="what runs the program, if it is none of this system")
    parser.add_argument("--producers", required=True, help="the folder of the producers made for these tests")
    parser.add_argument("--accept", action="store_true", help="write the golden files anew")
    parser.add_argument("--leave-out", metavar="CASE", help="cases that another build runs")
    parser.add_argument("program")
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    harness.setup(options.program, options.producers, options.launch, options.accept)
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    suite = loader.discover(str(HERE), top_level_dir=str(HERE))
    if options.leave_out:
        suite = unittest.TestSuite(case for case in runner.cases_of(suite) if options.leave_out not in case.id())
    with harness.awake():
        return runner.run(suite, __file__)


if __name__ == "__main__":
    sys.exit(main())
