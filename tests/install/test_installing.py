"""cmake --install and the .deb of the development build."""
import os
import re
import shutil

from commands import SOURCES, CommandTest

EXPECTED = ["bin/norveltl", "include/GenTL/GenTL.h", "lib/cmake/NorvelTL/NorvelTLConfig.cmake",
            "lib/cmake/NorvelTL/NorvelTLConfigVersion.cmake", "lib/cmake/NorvelTL/NorvelTLTargets.cmake",
            "lib/norveltl/NorvelTL40.cti", "lib/norveltl/libOptivo40.so", "lib/norveltl/norveltl",
            "lib/norveltl/standard/NorvelTL40-standard.cti", "lib/norveltl/vision/NorvelTL40.cti",
            "lib/norveltl/vision/libOptivo40.so", "lib/norveltl/vision/norveltl",
            "lib/norveltl/vision/standard/NorvelTL40-standard.cti", "lib/pkgconfig/norveltl.pc",
            "lib/udev/rules.d/70-norveltl-usb3-vision.rules", "share/bash-completion/completions/norveltl",
            "share/fish/vendor_completions.d/norveltl.fish", "share/man/man1/norveltl.1",
            "share/zsh/vendor-completions/_norveltl"]
PROFILE = "etc/profile.d/norveltl.sh"


def files_in(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if not path.is_dir())


class Installing(CommandTest):
    def test_the_files(self):
        files = files_in(self.installed())
        documents = [name for name in files if name.startswith("share/doc/norveltl/")]
        self.assertEqual([name for name in files if name not in documents], sorted([*EXPECTED, PROFILE]))
        for name in ("LICENSE", "copyright", "README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md",
                     "licences/Boost.txt", "docs/norveltl.md", "docs/worlds/small.json"):
            self.assertIn("share/doc/norveltl/" + name, documents)

    def test_the_tool_finds_the_module(self):
        prefix = self.installed()
        listed = self.done(prefix / "lib/norveltl/norveltl", "list")
        self.assertEqual(listed.splitlines()[0], f"{prefix}/lib/norveltl/NorvelTL40.cti")
        self.assertEqual(self.done(prefix / "bin/norveltl", "--version"), "norveltl 4.0.1.0\n")

    def test_the_standard_module_finds_the_first(self):
        prefix = self.installed()
        module = prefix / "lib/norveltl/standard/NorvelTL40-standard.cti"
        report = self.done(prefix / "bin/norveltl", "--cti", module, "check")
        self.assertRegex(report, r"\n\d+ passed, 0 deviate, 0 failed\n$")
        (prefix / "lib/norveltl/NorvelTL40.cti").unlink()
        run = self.run_command(prefix / "bin/norveltl", "--cti", module, "list")
        self.assertIn(f"Unable to load {prefix}/lib/norveltl/NorvelTL40.cti", run.stderr)

    def test_a_project_finds_the_cmake_package(self):
        prefix = self.installed()
        project = self.folder / "project"
        shutil.copytree(SOURCES / "tests/install/consumer", project)
        self.done("cmake", "-S", project, "-B", project / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}")
        self.done("cmake", "--build", project / "build")
        folder = (project / "build/module-folder").read_text()
        self.assertEqual(folder, f"{prefix}/lib/norveltl")
        self.assertEqual(self.done(project / "build/consumer", environment={"GENICAM_GENTL64_PATH": folder}), "4.0.1.0\n")

    def test_a_newer_version_is_not_there(self):
        prefix = self.installed()
        project = self.folder / "project"
        shutil.copytree(SOURCES / "tests/install/consumer", project)
        page = project / "CMakeLists.txt"
        page.write_text(page.read_text().replace("NorvelTL 4.0 ", "NorvelTL 4.1 "))
        run = self.run_command("cmake", "-S", project, "-B", project / "build", "-G", "Ninja",
                               f"-DCMAKE_PREFIX_PATH={prefix}")
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("NorvelTLConfig.cmake, version: 4.0.1.0", run.stderr)

    def test_the_examples_build_where_they_are_installed(self):
        prefix = self.installed()
        build = self.folder / "examples"
        self.done("cmake", "-S", prefix / "share/doc/norveltl/examples", "-B", build, "-G", "Ninja")
        self.done("cmake", "--build", build, "--target", "acquire_cpp")
        self.assertIn(str(prefix / "include"), (build / "CMakeCache.txt").read_text())
        images = self.done(build / "examples/acquire_cpp", environment={"GENICAM_GENTL64_PATH": f"{prefix}/lib/norveltl"})
        self.assertGreater(len(images.splitlines()), 9)

    def test_a_project_finds_it_with_pkg_config(self):
        prefix = self.installed()
        where = {"PKG_CONFIG_PATH": str(prefix / "lib/pkgconfig")}
        self.assertEqual(self.done("pkg-config", "--modversion", "norveltl", environment=where), "4.0.1.0\n")
        source = SOURCES / "tests/install/consumer/consumer.c"
        self.done("bash", "-c", f'eval cc -o consumer "{source}" "$(pkg-config --cflags norveltl)"', environment=where)
        folder = self.done("pkg-config", "--variable=gentlpath", "norveltl", environment=where).strip().replace("\\", "")
        self.assertEqual(os.path.realpath(folder), os.path.realpath(prefix / "lib/norveltl"))
        self.assertEqual(self.done(self.folder / "consumer", environment={"GENICAM_GENTL64_PATH": folder}), "4.0.1.0\n")


class Debian(CommandTest):
    def test_the_package(self):
        root, package = self.unpacked()
        fields = dict(re.findall(r"^ ?(\S+): (.*)$", self.done("dpkg-deb", "--info", package), re.M))
        self.assertEqual((fields["Package"], fields["Version"], fields["Architecture"]), ("norveltl", "4.0.1.0", "amd64"))
        self.assertIn("libboost-thread1.81.0", fields["Depends"])
        usr = root / "usr"
        self.assertEqual([name for name in files_in(usr) if not name.startswith("share/doc/norveltl/")], EXPECTED)
        self.assertEqual(files_in(root), [PROFILE, *("usr/" + name for name in files_in(usr))])
        folders = re.findall(r"/usr/[\w/]+", self.done("dpkg-deb", "--field", package, "Description"))
        self.assertEqual(folders, ["/usr/lib/norveltl", "/usr/lib/norveltl/vision"])
        for folder in folders:
            self.assertTrue((root / folder[1:] / "standard/NorvelTL40-standard.cti").is_file(), folder)

    def test_the_same_build_makes_the_same_bytes(self):
        self.assertEqual(self.package_in("one").read_bytes(), self.package_in("another").read_bytes())
