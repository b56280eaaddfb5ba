#!/usr/bin/env python3
"""Proves the examples: examples_tests.py [--launch EMULATOR] [--python] MODULE FOLDER [CASE...]

FOLDER holds the built ones; --python runs those in Python too. Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a
report for scripts/summarise.py goes there.
"""
import argparse
import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
import harness  # noqa: E402
import pictures  # noqa: E402
import runner  # noqa: E402
from harness import DONE, FAILED, SOURCES, Setting, native  # noqa: E402

WIDTH, HEIGHT = 32, 8
BYTES = WIDTH * HEIGHT
CAMERA = {"name": "Cam", "width": WIDTH, "height": HEIGHT, "frameRate": 100}


def world(*faults, **camera):
    return {"interfaces": [{"name": "eth0"}, {"name": "eth1", "cameras": [{**CAMERA, **camera}]}],
            "faults": list(faults)}


class ExampleTest(harness.ToolTest):
    folder_of_examples = None

    def run_example(self, name, *arguments, search=None, **options):
        program = self.folder_of_examples / (name + (".exe" if Setting.is_windows else ""))
        search = native(Setting.program.parent) if search is None else search
        options.setdefault("world", world())
        return self.run_tool(*arguments, program=program, search=search, **options)

    def done(self, name, *arguments, **options):
        answer = self.run_example(name, *arguments, **options)
        self.assertEqual((answer.code, answer.err), (DONE, ""), answer.out)
        return answer.out.splitlines()

    def fails(self, error, name, *arguments, **options):
        answer = self.run_example(name, *arguments, **options)
        self.assertEqual((answer.code, answer.err), (FAILED, error), answer.out)
        return answer.out.splitlines()

    def assert_sound(self, image, pattern="GreyDiagonalRampMoving"):
        painted = pictures.paint("Mono8", pattern, WIDTH, HEIGHT, pictures.stamp_number(image))
        self.assertEqual(image[pictures.STAMP:], painted[pictures.STAMP:])


class Loading(ExampleTest):
    def test_a_path_goes_before_the_environment(self):
        lines = self.done("acquire_c", native(Setting.program), "Cam", search="nowhere")
        self.assertEqual(lines[0], "camera Cam")

    def test_the_first_folder_that_has_a_module(self):
        search = harness.separator().join(["nowhere", native(Setting.program.parent), "elsewhere"])
        self.assertEqual(self.done("acquire_cpp", search=search)[0], "camera Cam")

    def test_no_module(self):
        error = "no producer: name a .cti file, or set GENICAM_GENTL64_PATH\n"
        self.fails(error, "acquire_c", search="")
        self.fails(error, "acquire_c", "missing.cti")
        self.fails(error + "a producer is needed\n", "acquire_cpp", search="nowhere")

    def test_no_camera(self):
        self.fails("no camera\n", "acquire_c", "Nobody")
        self.fails("no camera\n", "own_memory", "Nobody")


class Acquiring(ExampleTest):
    def test_in_c(self):
        folder = self.install("images")
        lines = self.done("acquire_c", "Cam", native(folder))
        self.assertEqual(lines, ["camera Cam", *(f"image {i}: 256 bytes" for i in range(1, 11)), "done"])
        images = sorted(folder.iterdir())
        self.assertEqual([path.name for path in images], [f"image_{i:02}.raw" for i in range(1, 11)])
        for path in images:
            self.assert_sound(path.read_bytes())

    def test_a_failure_in_c(self):
        fault = {"operation": "StreamStartAcquisition", "result": -1001}
        self.fails("DSStartAcquisition: -1001, Unable to start acquisition\n", "acquire_c", world=world(fault))

    def test_in_cpp(self):
        for pattern, least, most in (("White", 255 * 224 / 256, 255), ("Black", 0, 255 * 32 / 256)):
            lines = self.done("acquire_cpp", "Cam", world=world(testPattern=pattern))
            self.assertEqual(lines[0], "camera Cam")
            self.assertEqual(len(lines), 11)
            for i, line in enumerate(lines[1:], 1):
                mean = float(line.removeprefix(f"image {i}: 256 bytes, mean "))
                self.assertTrue(least <= mean <= most, line)

    def test_a_failure_in_cpp(self):
        fault = {"operation": "InterfaceOpenDevice", "result": -1005}
        self.fails("IFOpenDevice: -1001, already opened device.(Cam).\n", "acquire_cpp", world=world(fault))
        fault = {"operation": "DeviceOpenDataStream", "result": -1001}
        self.fails("DevOpenDataStream: -1001, Unable to open Stream\n", "acquire_cpp", world=world(fault))


class InPython(ExampleTest):
    def python(self, *arguments, **options):
        search = options.pop("search", native(Setting.program.parent))
        return self.run_tool(str(SOURCES / "examples/acquire.py"), *arguments, program=sys.executable, search=search,
                             **options)

    def test_pictures(self):
        folder = self.install("images")
        answer = self.python("Cam", str(folder), world=world())
        self.assertEqual((answer.code, answer.err), (DONE, ""))
        lines = answer.out.splitlines()
        self.assertEqual((lines[0], lines[-1]), ("camera Cam, 32 x 8, format 0x1080001", "done"))
        images = sorted(folder.iterdir())
        self.assertEqual([path.name for path in images], [f"image_{i:02}.pgm" for i in range(1, 11)])
        for path, line in zip(images, lines[1:-1], strict=True):
            header, pixels = path.read_bytes().split(b"\n", 1)
            self.assertEqual(header, b"P5 32 8 255")
            self.assert_sound(pixels)
            self.assertTrue(line.endswith(f": 256 bytes, mean {sum(pixels) / 256:.1f}"), line)

    def test_what_is_no_picture_stays_raw(self):
        folder = self.install("images")
        answer = self.python(str(Setting.program), "Cam", str(folder), world=world(pixelFormat="RGB8"), search="")
        self.assertEqual((answer.code, answer.err), (DONE, ""))
        self.assertEqual({(path.suffix, path.stat().st_size) for path in folder.iterdir()}, {(".raw", 3 * BYTES)})
        self.assertEqual(answer.out.splitlines()[1], "only Mono8 becomes pictures: raw files, as the camera sent them")

    def test_failures(self):
        error = "no producer: name a .cti file, or set GENICAM_GENTL64_PATH\n"
        answer = self.python(search="")
        self.assertEqual((answer.code, answer.err), (FAILED, error))
        answer = self.python(world=world({"operation": "StreamStartAcquisition", "result": -1001}))
        self.assertEqual((answer.code, answer.err),
                         (FAILED, "DSStartAcquisition: -1001, Unable to start acquisition\n"))


class ManyAtOnce(ExampleTest):
    def test_each_camera_gives_its_images(self):
        cameras = [{**CAMERA, "name": name} for name in ("A", "B", "C")]
        lines = self.done("several", "15", world={"interfaces": [{"name": "eth0", "cameras": cameras[:2]},
                                                                 {"name": "eth1", "cameras": cameras[2:]}]})
        self.assertEqual([re.sub(r" in [0-9.e-]+ s$", "", line) for line in lines],
                         ["A: 15 images", "B: 15 images", "C: 15 images", "3 cameras"])

    def test_one_that_fails_does_not_disturb_the_others(self):
        cameras = [{**CAMERA, "name": name} for name in ("A", "B")]
        fault = {"operation": "StreamStartAcquisition", "result": -1001, "object": "A"}
        lines = self.fails("DSStartAcquisition: -1001, Unable to start acquisition\n", "several", "5",
                           world={"interfaces": [{"cameras": cameras}], "faults": [fault]})
        self.assertRegex("\n".join(lines), r"^A: 0 images in \S+ s\nB: 5 images in \S+ s\n2 cameras$")


class OwnMemory(ExampleTest):
    def test_frames_take_turns(self):
        turns = [f"frame {i}: 256 bytes" for i in (1, 2, 3)]
        totals = [f"frame {i} was filled 3 times" for i in (1, 2, 3)]
        self.assertEqual(self.done("own_memory"), [*turns * 3, *totals])


class Events(ExampleTest):
    def test_what_the_camera_reports_by_itself(self):
        bursts = [{"eventId": 7, "value": 41, "count": 2, "afterImages": 3},
                  {"eventId": 0x9005, "value": 2 ** 40, "afterImages": 20}]
        lines = self.done("events", "Cam", "1", world=world(eventBursts=bursts))
        self.assertEqual(lines, ["event 0x7, value 41", "event 0x7, value 41", "event 0x9005, value 1099511627776",
                                 "3 events"])

    def test_what_is_switched_on(self):
        lines = self.done("events", "Cam", "1", "0x588=1")
        events = lines[:-1]
        self.assertEqual(events, [f"event 0x9001, value {i}" for i in range(len(events))])
        self.assertGreater(len(events), 5)
        self.assertEqual(lines[-1], f"{len(events)} events")

    def test_a_register_that_is_none(self):
        self.fails("GCWritePort: -1015, Invalid Address\n", "events", "Cam", "1", "0x3=1")
        self.fails("on is no ADDRESS=VALUE\n", "events", "Cam", "1", "on")


class Recovering(ExampleTest):
    def test_a_camera_that_comes_back(self):
        ends = {"operation": "StreamGrabImage", "result": -2, "skip": 20, "count": 1}
        refuses = {"operation": "InterfaceOpenDevice", "result": -1001, "skip": 1, "count": 1}
        lines = self.done("recover", "Cam", "40", "60",
                          world=world(ends, refuses, discovery=[True, False, False, True]))
        self.assertRegex(lines[1], r"^after (1\d|20) images: EventGetData: -1001, Port is not available$")
        self.assertEqual([lines[0], *lines[2:]], ["camera Cam", "waiting: no camera", "waiting: no camera",
                                                  "waiting: IFOpenDevice: -1001, Unable to open device Cam",
                                                  "camera Cam", "40 images"])

    def test_a_camera_that_stays_away(self):
        lines = self.fails("the camera stays away\n", "recover", "Cam", "40", "2", world=world(unplugAfterImages=10))
        self.assertEqual(lines[0], "camera Cam")
        self.assertRegex(lines[1], r"^after (9|1\d) images: EventGetData: -1001, Port is not available$")
        self.assertEqual(set(lines[2:]), {"waiting: no camera"})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--launch", help="what runs the programs, if they are none of this system")
    parser.add_argument("--python", action="store_true")
    parser.add_argument("module")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("cases", nargs="*")
    options = parser.parse_intermixed_args()
    harness.setup(options.module, options.folder, options.launch, False)
    Setting.is_windows = bool(options.launch)
    ExampleTest.folder_of_examples = options.folder.resolve()
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in options.cases] or None
    cases = loader.loadTestsFromModule(sys.modules["__main__"])
    suite = unittest.TestSuite(group for group in cases
                               if options.python or not any(isinstance(case, InPython) for case in group))
    with harness.awake():
        return runner.run(suite, __file__)


if __name__ == "__main__":
    sys.exit(main())
