#!/usr/bin/env python3
"""Proves what the development build installs, and what guards a release: install_tests.py BUILD [CASE...]

Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for scripts/summarise.py goes there.
"""
import argparse
import pathlib
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tool"))

import commands
import runner


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="a build of the preset linux")
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    commands.CommandTest.build = options.build.resolve()
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    return runner.run(loader.discover(str(HERE), top_level_dir=str(HERE)), __file__)


if __name__ == "__main__":
    sys.exit(main())
