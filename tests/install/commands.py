"""Commands as a user types them, in a folder that is thrown away."""
import os
import pathlib
import subprocess
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parent.parent.parent


class CommandTest(unittest.TestCase):
    maxDiff = 4000
    build = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="norveltl install ")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_command(self, *command, environment=None, folder=None):
        surroundings = {name: value for name, value in os.environ.items()
                        if name not in ("GENICAM_GENTL64_PATH", "OPTIVO_SIM_CONFIG", "PKG_CONFIG_PATH")}
        return subprocess.run([str(word) for word in command], cwd=folder or self.folder, capture_output=True,
                              text=True, env={**surroundings, **(environment or {})}, stdin=subprocess.DEVNULL)

    def done(self, *command, **options):
        """What the command prints; it must go well."""
        run = self.run_command(*command, **options)
        self.assertEqual(run.returncode, 0, f"{command}\n{run.stdout}{run.stderr}")
        return run.stdout

    def installed(self):
        """The prefix into which everything is installed."""
        prefix = self.folder / "Some where"
        self.done("cmake", "--install", self.build, "--prefix", prefix)
        return prefix
