"""The demo grabs anew each time, and removes nothing but what it made."""
import os
import shutil
import subprocess

from harness import SOURCES, Setting, ToolTest


class Demo(ToolTest):
    """Runs the script in a folder of its own, where everything is built already."""

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
                              timeout=300)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.splitlines()[-1]

    def images(self, folder):
        return sorted(file.name for file in (self.folder / folder).iterdir()
                      if not file.name.startswith(".") and file.name != "grab.json")

    def test_a_hundred_images_each_time(self):
        for _ in range(2):
            self.assertEqual(self.demo(), f"100 images are in {self.folder}/out")
            self.assertEqual(self.images("out"), [f"image_{i:04}.png" for i in range(1, 101)])
            self.assertFalse((self.folder / "out-2").exists())

    def test_what_others_made_stays(self):
        (self.folder / "out").mkdir()
        (self.folder / "out/holiday.jpg").write_text("mine")
        self.demo()
        self.assertTrue((self.folder / "out/grab.json").is_file())
        (self.folder / "out/image_0007.png").write_text("mine")
        self.assertEqual(self.demo(), f"100 images are in {self.folder}/out-2")
        self.assertEqual(self.images("out"), ["holiday.jpg", "image_0007.png"])
        self.assertFalse((self.folder / "out/grab.json").exists())
        self.assertEqual(len(self.images("out-2")), 100)
        self.demo()
        self.assertEqual(self.images("out"), ["holiday.jpg", "image_0007.png"])
        self.assertEqual(len(self.images("out-2")), 100)


class Building(ToolTest):
    """What the demo shows of a build."""

    def build(self, *lines, code=0, options=("--progress",)):
        scripts = self.folder / "scripts"
        scripts.mkdir(exist_ok=True)
        shutil.copy2(SOURCES / "scripts/build.sh", scripts)
        cmake = self.folder / "bin/cmake"
        cmake.parent.mkdir(exist_ok=True)
        text = "".join(f"echo '{line}'\n" for line in lines)
        cmake.write_text(f'#!/bin/sh\n[ "$1" = --build ] || exit 0\n{text}exit {code}\n')
        cmake.chmod(0o755)
        environment = {**os.environ, "PATH": f"{cmake.parent}:{os.environ['PATH']}"}
        return subprocess.run([scripts / "build.sh", *options, "linux"], capture_output=True, text=True, timeout=60,
                              env=environment)

    def test_how_far_it_is(self):
        lines = [f"[{i}/40] Building CXX object src/x.dir/File{i}.cpp.o" for i in range(1, 41)]
        done = self.build(*lines)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout, "".join(f"  {i} of 40  File{i}.cpp.o\n" for i in range(4, 41, 4)))
        self.assertEqual((self.folder / ".cache/logs/build-linux.log").read_text(), "\n".join(lines) + "\n")
        self.assertEqual(self.build(*lines, options=()).stdout, "")

    def test_a_build_that_fails(self):
        done = self.build("[1/2] Building CXX object a.cpp.o", "a.cpp:1: error: no", code=1)
        self.assertEqual(done.returncode, 1)
        self.assertIn("a.cpp:1: error: no\nbuild: linux failed; ", done.stderr)
