#!/usr/bin/env python3
"""What users of a camera see when something is in its way, as docs/real-cameras.md tells them:
trouble_tests.py CAMERA_HOST FOLDER_OF_THE_MODULE [unittest's arguments]"""
import os
import shutil
import signal
import subprocess
import sys
import time
import unittest

from cameras import CameraTest
from namespaces import enter_own_network
from vision_tests import FOLDER, TOOL, tool

CAMERA = "Aravis-Fake-T1"
NO_IMAGE = "norveltl: no image came within 2 s\n"
IS_SILENT = 'GCWritePort failed: GC_ERR_TIMEOUT (-1011): "Timeout"\n'
# The port at which cameras are asked and answer.
CONTROL = 3956


def rule(*words):
    subprocess.run(["ip", "rule", *words], check=True)


class Trouble(CameraTest):
    def grab(self, *arguments):
        return tool("grab", CAMERA, "--timeout", "2", "-o", self.folder(), *(arguments or ("-n", "5")))

    def start_grabbing(self):
        """Once images come."""
        folder = self.folder()
        grab = subprocess.Popen([TOOL, "grab", CAMERA, "--timeout", "2", "-t", "60", "-o", folder],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(grab.communicate)
        self.addCleanup(grab.kill)
        end = time.monotonic() + 20
        while not os.listdir(folder):
            self.assertLess(time.monotonic(), end, "no image came")
            time.sleep(0.05)
        return grab

    def lists_none(self):
        listed = tool("list")
        self.assertEqual((listed.returncode, listed.stderr), (3, "norveltl: found no camera\n"))
        for interface in ("GEV::GigEVision", "U3V::USB3Vision"):
            self.assertIn(interface, listed.stdout)

    def test_no_camera(self):
        self.lists_none()
        run = self.grab()
        self.assertEqual((run.returncode, run.stderr), (3, "norveltl: found no camera\n"))

    def test_another_program_has_it(self):
        self.start_camera()
        grab = self.start_grabbing()
        begin = time.monotonic()
        run = tool("get", "-d", CAMERA, "Width")
        self.assertIn(f'"already opened device.({CAMERA})', run.stderr)
        self.assertEqual(run.returncode, 1)
        self.assertLess(time.monotonic() - begin, 10)
        # One that crashed has it no longer than its heartbeat.
        grab.send_signal(signal.SIGKILL)
        grab.communicate()
        run = tool("get", "-d", CAMERA, "Width")
        self.assertEqual((run.returncode, run.stdout), (0, "512\n"), run.stderr)

    def test_a_trigger_that_nobody_pulls(self):
        self.start_camera()
        tool("set", "-d", CAMERA, "TriggerMode=On", "TriggerSource=Software")
        run = self.grab()
        self.assertEqual(run.returncode, 1)
        self.assertIn(NO_IMAGE, run.stderr)
        self.assertRegex(run.stdout, r"\nlost +0\n")

    def test_a_firewall(self):
        self.start_camera()
        # The system's own addresses are looked up behind what the firewall says.
        rule("add", "pref", "100", "lookup", "local")
        rule("del", "pref", "0")
        rule("add", "pref", "50", "ipproto", "udp", "blackhole")
        try:
            self.lists_none()
            for side in ("sport", "dport"):
                rule("add", "pref", "40", "ipproto", "udp", side, str(CONTROL), "lookup", "local")
            run = self.grab()
            self.assertEqual(run.returncode, 1)
            self.assertIn(NO_IMAGE, run.stderr)
            self.assertRegex(run.stdout, r"\nlost +0\n")
        finally:
            rule("del", "pref", "50")
        self.assertEqual(self.grab().returncode, 0)

    def test_every_image_is_incomplete(self):
        self.start_camera(lost=0.2)
        run = self.grab()
        self.assertEqual(run.returncode, 1)
        self.assertIn(NO_IMAGE, run.stderr)
        self.assertRegex(run.stdout, r"\ndelivered +0 of 5\n[^$]*\nlost +[1-9]\d*\n")

    def test_power_off(self):
        camera = self.start_camera()
        grab = self.start_grabbing()
        camera.kill()
        _, errors = grab.communicate(timeout=30)
        self.assertEqual(grab.returncode, 1)
        self.assertIn(NO_IMAGE, errors)
        self.assertIn(IS_SILENT, errors)

    def test_two_folders(self):
        """The library that is loaded first answers for both."""
        self.start_camera()
        alone = os.path.join(self.folder(), "norveltl")
        shutil.copy(TOOL, alone)
        simulated = FOLDER.parent / "bin"
        run = subprocess.run([alone, "list"], capture_output=True, text=True, timeout=30,
                             env={**os.environ, "GENICAM_GENTL64_PATH": f"{FOLDER}:{simulated}"})
        self.assertEqual(run.stdout.count(f"{FOLDER}/libOptivo40.so"), 2, run.stdout)
        self.assertEqual(run.stdout.count(CAMERA), 2)


if __name__ == "__main__":
    enter_own_network()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
