#!/usr/bin/env python3
"""Reads what Windows' own loader would look up: loader_tests.py --work FOLDER BUILD [CASE...]

BUILD is a build of the preset windows. Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for
scripts/summarise.py goes there.
"""
import argparse
import pathlib
import shutil
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SOURCES = HERE.parent.parent
sys.path.insert(0, str(HERE.parent / "tool"))

import loader  # noqa: E402
import runner  # noqa: E402

SHIPPED = ("NorvelTL40.cti", "standard/NorvelTL40-standard.cti", "norveltl.exe", "norveltl-environment.exe", "Optivo40.dll")


class Setting:
    build = work = None


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)
    assert done.returncode == 0, f"{command}\n{done.stdout}{done.stderr}"


def listed(kind):
    lines = (SOURCES / f"src/api/{kind}.txt").read_text().split("\n")
    return [line for line in lines if line and not line.startswith("#")]


def forwarded(kind):
    return {name: f"Optivo40.{name}" for name in listed(f"reexports-{kind}")}


class Probe:
    """A library that asks for what a test wants, {library: names as in a .def file}: of the libraries in late when it
    calls them, of the others when it is loaded. It exports what a .def file would have as exports."""

    def __init__(self, imports, late=(), exports=()):
        folder = Setting.work / "probe"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        self.path = folder / "probe.dll"
        names = [name.partition(" ")[0] for names in imports.values() for name in names]
        (folder / "probe.c").write_text("\n".join([
            *(f"__declspec(dllimport) void {name}(void);" for name in names),
            "void __delayLoadHelper2(void) {}",
            "void Probe(void) {", *(f"{name}();" for name in names), "}", ""]))
        (folder / "probe.def").write_text("\n".join(["LIBRARY probe.dll", "EXPORTS", "Probe", *exports, ""]))
        for library, names in imports.items():
            definition = folder / f"{library}.def"
            definition.write_text("\n".join([f"LIBRARY {library}", "EXPORTS", *names, ""]))
            run("llvm-dlltool-14", "-m", "i386:x86-64", "-d", definition, "-l", folder / f"{library}.lib")
        run("clang", "--target=x86_64-pc-windows-msvc", "-c", folder / "probe.c", "-o", folder / "probe.obj")
        run("lld-link-14", "/dll", "/noentry", "/nodefaultlib", f"/def:{folder}/probe.def", f"/out:{self.path}",
            *(f"/delayload:{library}" for library in late), folder / "probe.obj",
            *(folder / f"{library}.lib" for library in imports))


class Misfits(unittest.TestCase):
    """Nothing that Windows would refuse gets past."""

    def assert_missing(self, expected, imports, **options):
        self.assertEqual(loader.missing_for(Probe(imports, **options).path), expected)

    def test_what_windows_has_is_found_however_the_library_is_written(self):
        self.assert_missing([], {"KERNEL32.dll": ["Sleep"], "msvcrt.DLL": ["free"], "optivo40.DLL": ["GetSystem"]})

    def test_a_name_that_no_windows_has(self):
        self.assert_missing(["kernel32.dll: SleepWell"], {"kernel32.dll": ["Sleep", "SleepWell"]})

    def test_a_name_of_another_library(self):
        self.assert_missing(["user32.dll: Sleep"], {"user32.dll": ["Sleep"]})

    def test_a_name_of_a_later_windows(self):
        self.assert_missing(["kernel32.dll: SetThreadDescription"], {"KERNEL32.dll": ["SetThreadDescription"]})

    def test_a_library_that_nobody_brings(self):
        self.assert_missing(["libstdc++-6.dll: _Znwy"], {"libstdc++-6.dll": ["_Znwy"], "kernel32.dll": ["Sleep"]})

    def test_a_function_by_its_number(self):
        self.assert_missing(["kernel32.dll: @17"], {"kernel32.dll": ["Sleep @17 NONAME"]})

    def test_another_function_of_the_camera_library(self):
        names = ["GetSystem", "_ZN7GenICam24InvalidArgumentExceptionD1Ev"]
        self.assert_missing([f"optivo40.dll: {names[1]}"], {"Optivo40.dll": names})

    def test_what_is_looked_up_when_it_is_called(self):
        self.assert_missing(["kernel32.dll: SleepWell", "libgcc_s_seh-1.dll: abort"],
                            {"kernel32.dll": ["SleepWell"], "libgcc_s_seh-1.dll": ["abort"],
                             "user32.dll": ["wsprintfW"]}, late=["kernel32.dll", "libgcc_s_seh-1.dll"])

    def test_what_is_handed_on(self):
        self.assert_missing(["kernel32.dll: SleepWell", "libstdc++-6.dll: _Znwy", "msvcrt.dll: @5"], {}, exports=[
            "A=KERNEL32.Sleep", "B=kernel32.SleepWell", "C=libstdc++-6._Znwy", "D=msvcrt.#5", "E=Optivo40.Anything"])


class Products(unittest.TestCase):
    def test_windows_finds_all_that_they_ask_for(self):
        for name in SHIPPED:
            with self.subTest(name):
                path = Setting.build / "bin" / name
                self.assertEqual(loader.missing_for(path), [])
                self.assertTrue({library for library, _ in loader.imports_of(path)} >= {"kernel32.dll", "msvcrt.dll"})

    def test_a_camera_library_from_another_compiler_has_what_they_ask_it_for(self):
        exports = loader.exports_of(Setting.build / "maker/Optivo40.dll")
        # What steers it is for tests.
        self.assertEqual({name for name in exports if not name.startswith("Maker_")},
                         loader.CAMERA_LIBRARY["optivo40.dll"])

    def test_what_the_module_offers_and_hands_on(self):
        exports = loader.exports_of(Setting.build / "bin/NorvelTL40.cti")
        self.assertEqual(exports, {**dict.fromkeys(listed("exports")), **forwarded("mingw"), **forwarded("msvc")})
        for name in ("??0AccessException@GenICam@@QEAA@PEBD0I0@Z", "??1TimeoutException@GenICam@@UEAA@XZ",
                     "??4iterator@gcstring_vector@GenICam@@QEAAAEAV012@AEBV012@@Z", "??_7GenericException@GenICam@@6B@",
                     "_ZN7GenICam15AccessExceptionC1EPKcS2_jS2_", "_ZTVN7GenICam16GenericExceptionE"):
            self.assertEqual(exports[name], f"Optivo40.{name}")
        self.assertEqual(list(exports), sorted(exports), "Windows looks names up by halving the table")

    def test_what_the_standard_module_offers(self):
        exports = loader.exports_of(Setting.build / "bin/standard/NorvelTL40-standard.cti")
        self.assertEqual(exports, dict.fromkeys(listed("exports")))

    def test_what_visual_studio_builds_offers_and_hands_on(self):
        build = Setting.work / "sdk"
        shutil.rmtree(build, ignore_errors=True)
        run("cmake", "-S", HERE / "sdk", "-B", build, "-G", "Ninja", "-D", "CMAKE_BUILD_TYPE=Release")
        run("cmake", "--build", build)
        self.assertEqual(loader.exports_of(build / "NorvelTL40.cti"),
                         {**dict.fromkeys(listed("exports")), **forwarded("msvc")})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", required=True, type=pathlib.Path, help="where binaries are made")
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    Setting.build, Setting.work = options.build.resolve(), options.work.resolve()
    tests = unittest.TestLoader()
    tests.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    return runner.run(tests.loadTestsFromModule(sys.modules["__main__"]), __file__)


if __name__ == "__main__":
    sys.exit(main())
