#!/usr/bin/env python3
"""Runs, beside each other and each in a network of its own, the tests that spend their time waiting:
short_tests.py CAMERA_HOST FOLDER_OF_THE_MODULE OPERATION_TESTS"""
import pathlib
import subprocess
import sys
import unittest

import test_check
import test_deaths
from namespaces import enter_own_network, in_further_network

HERE = pathlib.Path(__file__).resolve().parent


def commands(host, folder, operation_tests):
    for module, case in ((test_check, test_check.CheckTest), (test_deaths, test_deaths.DeathTest)):
        for name in unittest.TestLoader().getTestCaseNames(case):
            yield name, [sys.executable, module.__file__, host, folder, case.__name__ + "." + name]
    yield "losses", [sys.executable, HERE / "losses.py", host, folder, "300"]
    yield "operations", [operation_tests, "--gtest_output="]


def main():
    running = {name: subprocess.Popen(in_further_network(command), text=True, stdin=subprocess.DEVNULL,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
               for name, command in commands(*sys.argv[1:4])}
    failed = 0
    for name, process in running.items():
        text, _ = process.communicate(timeout=120)
        print("%s: %s" % (name, "passed" if process.returncode == 0 else "failed\n" + text))
        failed += process.returncode != 0
    return 1 if failed or len(running) < 10 else 0


if __name__ == "__main__":
    enter_own_network()
    sys.exit(main())
