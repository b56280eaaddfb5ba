"""The packages under test, made once: this version's, and an older one that has a file more."""
import pathlib
import shutil
import sys
import unittest

SOURCES = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(SOURCES / "packaging"))

import package
from machine import Machine


class Made:
    build = work = tree = archive = installer = older = helper = None


def make(build, work):
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    Made.build, Made.work, Made.tree = build, work, work / "stage"
    Made.helper = build / "bin/norveltl-environment.exe"
    Made.installer, Made.older = work / "norveltl.exe", work / "norveltl-older.exe"
    Made.archive = work / "norveltl.zip"
    package.stage(build, Made.tree)
    package.make_zip(Made.tree, Made.archive)
    package.make_installer(Made.tree, Made.helper, "4.0.1.0", Made.installer)
    older = work / "older"
    shutil.copytree(Made.tree, older)
    (older / "docs/no longer there").mkdir()
    (older / "docs/no longer there/page.md").write_text("An old page.\n")
    package.make_installer(older, Made.helper, "3.9.0.7", Made.older)


class MachineTest(unittest.TestCase):
    """Tests that share a machine, and leave it as it was."""
    maxDiff = 4000

    @classmethod
    def setUpClass(cls):
        cls.machine = Machine(Made.work / cls.__name__)
        cls.addClassCleanup(cls.machine.throw_away)
