#!/usr/bin/env python3
"""Proves the Windows installer, archive and helper: package_tests.py --work FOLDER BUILD [CASE...]

Every class of tests has a Windows machine of its own, a copy of the Wine prefix in FOLDER. Where GTEST_OUTPUT names a
folder ("xml:FOLDER/"), a report for scripts/summarise.py goes there.
"""
import argparse
import pathlib
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parent / "tool"), str(HERE.parent / "loader")]

import packages
import runner


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", required=True, type=pathlib.Path, help="where packages and machines are made")
    parser.add_argument("build", type=pathlib.Path, help="a build of the preset windows")
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    packages.make(options.build.resolve(), options.work.resolve())
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    return runner.run(loader.discover(str(HERE), top_level_dir=str(HERE)), __file__)


if __name__ == "__main__":
    sys.exit(main())
