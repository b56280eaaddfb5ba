#!/usr/bin/env python3
"""Proves the documents: documents.py PROGRAM [CASE...]

PROGRAM is the command line of a native build. Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for
scripts/summarise.py goes there.
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
import harness  # noqa: E402
import runner  # noqa: E402


def main():
    program, *cases = sys.argv[1:]
    harness.setup(program, pathlib.Path(program).parent, None, False)
    here = pathlib.Path(__file__).resolve().parent
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in cases] or None
    return runner.run(loader.discover(str(here), top_level_dir=str(here)), __file__)


if __name__ == "__main__":
    sys.exit(main())
