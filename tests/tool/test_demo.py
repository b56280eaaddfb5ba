"""The demo grabs anew each time, and removes nothing but what it made."""
import shutil
import subprocess

from harness import SOURCES, Setting, ToolTest


class Demo(ToolTest):
    """Runs the script in a folder of its own, where everything is built already."""

    mostly_waits = True

    def setUp(self):
        super().setUp()
        target = "windows" if Setting.is_windows else "linux"
        (self.folder / "scripts").mkdir()
        (self.folder / "build" / target).mkdir(parents=True)
        (self.folder / "build" / target / "bin").symlink_to(Setting.program.parent)
        shutil.copy2(SOURCES / "scripts/demo.sh", self.folder / "scripts")
        launch = f'exec {Setting.launch[0]} "$@"' if Setting.launch else "exit 1"
        for name, text in (("setup", ""), ("build", ""), ("wine", launch)):
            script = self.folder / f"scripts/{name}.sh"
            script.write_text(f"#!/bin/sh\n{text}\n")
            script.chmod(0o755)

    def demo(self):
        arguments = [] if Setting.is_windows else ["--linux"]
        done = subprocess.run([self.folder / "scripts/demo.sh", *arguments], capture_output=True, text=True,
                              timeout=120)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.splitlines()[-1]

    def images(self, folder):
        return sorted(file.name for file in (self.folder / folder).iterdir() if not file.name.startswith("."))

    def test_a_hundred_images_each_time(self):
        for _ in range(2):
            self.assertEqual(self.demo(), f"100 images are in {self.folder}/out")
            self.assertEqual(self.images("out"), [f"image_{i:04}.png" for i in range(1, 101)])
            self.assertFalse((self.folder / "out-2").exists())

    def test_what_others_made_stays(self):
        (self.folder / "out").mkdir()
        (self.folder / "out/holiday.jpg").write_text("mine")
        self.demo()
        (self.folder / "out/image_0007.png").write_text("mine")
        self.assertEqual(self.demo(), f"100 images are in {self.folder}/out-2")
        self.assertEqual(self.images("out"), ["holiday.jpg", "image_0007.png"])
        self.assertEqual(len(self.images("out-2")), 100)
        self.demo()
        self.assertEqual(self.images("out"), ["holiday.jpg", "image_0007.png"])
        self.assertEqual(len(self.images("out-2")), 100)
