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

    def alone(self, *command, **options):
        """Runs it in a network of its own, where the search for cameras leaves nothing of the machine."""
        as_root = [] if os.geteuid() == 0 else ["--map-root-user"]
        return self.run_command("unshare", *as_root, "--net", "sh", "-euc", 'ip link set lo up; exec "$@"', "sh", *command,
                                **options)

    def package_in(self, name):
        """The .deb, made in the folder of that name."""
        folder = self.folder / name
        folder.mkdir()
        self.done(SOURCES / "packaging/debian.sh", self.build, folder, environment={"SOURCE_DATE_EPOCH": "1700000000"})
        package = folder / "norveltl_4.0.1.0_amd64.deb"
        self.assertEqual(list(folder.iterdir()), [package])
        return package

    def unpacked(self):
        """The root of what the .deb holds, and the .deb."""
        package = self.package_in("package")
        self.done("dpkg-deb", "--extract", package, self.folder / "root")
        return self.folder / "root", package
