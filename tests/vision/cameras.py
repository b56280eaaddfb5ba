"""Cases with cameras that end with them, and with folders of their own."""
import os
import tempfile
import unittest
from unittest import mock

from vision_tests import Camera


class CameraTest(unittest.TestCase):
    def start_camera(self, description=None, **options):
        """With the description in that file, or the camera's own."""
        variables = {} if description is None else {"CAMERA_DESCRIPTION": str(description)}
        with mock.patch.dict(os.environ, variables):
            camera = Camera(**options)
        self.addCleanup(camera.kill)
        return camera

    def folder(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return folder.name
