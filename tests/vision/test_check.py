#!/usr/bin/env python3
"""Lets "norveltl check" judge both modules above a camera on the wire: test_check.py CAMERA_HOST FOLDER_OF_THE_MODULE"""
import subprocess
import sys
import unittest

from namespaces import enter_own_network
from wire import Camera, base


class CheckTest(unittest.TestCase):
    def setUp(self):
        self.addCleanup(Camera().kill)

    def check(self, *module):
        result = subprocess.run([base.TOOL, *module, "check"], capture_output=True, text=True, timeout=60)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertIn("Aravis-Fake-T1", subprocess.run([base.TOOL, *module, "list"], capture_output=True, text=True).stdout)
        lines = result.stdout.splitlines()
        passed, deviate, failed = (int(word.split()[0]) for word in lines[-1].split(", "))
        self.assertEqual(failed, 0, result.stdout)
        self.assertGreater(passed, 100)
        return deviate, result.stdout

    def test_the_module_fails_nowhere(self):
        self.check()

    def test_the_standard_module_deviates_nowhere(self):
        deviate, findings = self.check("--cti", str(base.FOLDER / "standard/NorvelTL40-standard.cti"))
        self.assertEqual(deviate, 0, findings)


if __name__ == "__main__":
    enter_own_network()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
