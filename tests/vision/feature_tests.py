#!/usr/bin/env python3
"""What norveltl makes of a description that nobody here wrote, compared with what Aravis makes of it:
feature_tests.py CAMERA_HOST FOLDER_OF_THE_MODULE [unittest's arguments]"""
import json
import pathlib
import re
import subprocess
import sys
import unittest

from cameras import CameraTest
from namespaces import enter_own_network
from vision_tests import tool

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
import pictures

CAMERA = "Aravis-Fake-T1"
# Aravis names a feature's node, norveltl what the node is to users.
KINDS = {"StringReg": "String", "IntReg": "Integer", "IntSwissKnife": "Integer"}
# Of the camera's own, each other than at its start.
CHANGES = {"OffsetX": 16, "OffsetY": 8, "Width": 256, "Height": 128, "BinningHorizontal": 2, "BinningVertical": 4,
           "PixelFormat": "Mono16", "AcquisitionMode": "SingleFrame", "TriggerMode": "On", "TriggerSource": "Software",
           "ExposureTimeAbs": 1234, "TestRegister": 7}
# The only one that has no register: each program chooses anew.
SELECTOR = "TriggerSelector"


def arv_tool(*arguments):
    run = subprocess.run(["arv-tool-0.8", "-n", CAMERA, *arguments], capture_output=True, text=True, timeout=30)
    if run.returncode != 0 or "not found" in run.stdout:
        raise RuntimeError(f"arv-tool-0.8 {arguments}: {run.stdout}{run.stderr}")
    return run.stdout


def number_or_text(text):
    if re.fullmatch(r"'.*'", text):
        return text[1:-1]
    return float(text)


def by_aravis():
    """All that it lists: (category, name, kind, access, value)."""
    listed, category = [], None
    for line in arv_tool("values").splitlines():
        kind, access, name, value = re.fullmatch(r" *(\w+) *: (?:\[(\w+)\] )?'(\w+)'(?: = (.*))?", line).groups()
        if kind == "Category":
            category = name
        else:
            kind = KINDS.get(kind, kind)
            value = number_or_text(value) if value is not None else None
            listed.append((category, name, kind, access, value))
    return listed


def by_norveltl():
    def printed(value):
        """A number as Aravis prints it."""
        return value if value is None or isinstance(value, str) else float(f"{value:g}" if value % 1 else value)
    return [(feature["category"], feature["name"], feature["kind"], feature["access"], printed(feature.get("value")))
            for feature in features()]


def features(*names):
    return json.loads(done("features", "-d", CAMERA, "--json", *names))


def done(*arguments):
    run = tool(*arguments)
    if run.returncode != 0 or run.stderr:
        raise RuntimeError(f"norveltl {arguments}: {run.stdout}{run.stderr}")
    return run.stdout


class Features(CameraTest):
    def setUp(self):
        self.start_camera()

    def values(self):
        """By both, which must be of one mind."""
        listed = by_aravis()
        self.assertEqual(by_norveltl(), listed)
        self.assertEqual(len(listed), 25)
        return {name: value for _, name, _, _, value in listed}

    def test_every_feature_has_its_category_kind_access_and_value(self):
        self.values()

    def test_the_description_is_the_same(self):
        self.assertEqual(done("xml", "port:T1") + "\n", arv_tool("genicam"))

    def test_what_norveltl_sets_aravis_finds(self):
        before = self.values()
        done("set", "-d", CAMERA, *(f"{name}={value}" for name, value in CHANGES.items()))
        after = self.values()
        self.assertEqual({name: after[name] for name in CHANGES}, CHANGES)
        self.assertEqual({name for name in after if after[name] != before[name]}, {*CHANGES, "PayloadSize"})

    def test_what_aravis_sets_norveltl_finds(self):
        before = self.values()
        arv_tool("control", *(f"{name}={value}" for name, value in CHANGES.items()))
        after = self.values()
        self.assertEqual({name: after[name] for name in CHANGES}, CHANGES)
        self.assertEqual({name for name in after if after[name] != before[name]}, {*CHANGES, "PayloadSize"})
        self.assertEqual(done("get", "-d", CAMERA, *CHANGES),
                         "".join(f"{name}={value}\n" for name, value in CHANGES.items()))

    def test_every_feature_that_can_be_written_is_changed_here(self):
        writable = {name for _, name, kind, access, _ in by_aravis() if access == "RW"}
        # One entry only.
        self.assertEqual(writable, {*CHANGES, SELECTOR, "TriggerActivation"})

    def test_limits(self):
        """Where the description gives none, Aravis tells those of the register's width."""
        numbers = [feature for feature in features() if feature["kind"] in ("Integer", "Float")]
        for feature in numbers:
            limits = {name: float(value) for name, value in
                      re.findall(r" (min|max|inc):(\S+)", arv_tool("control", feature["name"]))}
            if "min" in feature:
                own = {"min": feature["min"], "max": feature["max"]}
                self.assertEqual(own, {name: limits[name] for name in own}, feature["name"])
            elif limits:
                self.assertEqual(limits, {"min": 0, "max": 2**32 - 1}, feature["name"])
        self.assertEqual([feature["name"] for feature in numbers if "min" not in feature],
                         ["SensorHeight", "SensorWidth", "PayloadSize", "TestRegister"])

    def test_entries(self):
        entries = {}
        for line in arv_tool("features").splitlines():
            kind, name = re.match(r" *(\w+) *: (?:\[\w+\] )?'(\w+)'", line).groups()
            if kind == "EnumEntry":
                entries[feature].add(name)
            else:
                feature = name
                entries[feature] = set()
        for feature in features():
            self.assertEqual(set(feature.get("entries", ())), entries[feature["name"]], feature["name"])

    def test_a_selector_without_a_register(self):
        done("set", "-d", CAMERA, f"{SELECTOR}=AcquisitionStart", "TriggerMode=On")
        chosen = arv_tool("control", "TriggerMode", f"{SELECTOR}=AcquisitionStart", "TriggerMode")
        self.assertEqual(chosen, f"TriggerMode = Off\n{SELECTOR} = AcquisitionStart\nTriggerMode = On\n")
        self.values()

    def test_a_fraction_for_a_whole_register(self):
        """The one value on which both differ: norveltl takes the nearest, Aravis cuts off."""
        done("set", "-d", CAMERA, "ExposureTimeAbs=77.7")
        self.assertEqual(self.values()["ExposureTimeAbs"], 78)
        arv_tool("control", "ExposureTimeAbs=77.7")
        self.assertEqual(self.values()["ExposureTimeAbs"], 77)

    def test_commands(self):
        for command, register in (("AcquisitionStart", "0x00000001"), ("AcquisitionStop", "0x00000000")):
            done("exec", "-d", CAMERA, command)
            self.assertEqual(arv_tool("control", "R[0x124]"), f"R[0x00000124] = {register}\n")

    def test_refusals(self):
        for arguments, error in ((("get", "Nope"), 'the camera has no feature Nope; "norveltl features" lists what it has'),
                                 (("set", "Width=5000"), 'Width does not take "5000": it is at most 2048'),
                                 (("set", "SensorWidth=5"), "SensorWidth cannot be written: it is read-only"),
                                 (("get", "TriggerSoftware"), "TriggerSoftware is of the kind Command, which has no value"),
                                 (("set", f"{SELECTOR}=Nope"),
                                  f'{SELECTOR} does not take "Nope": it is one of FrameStart, AcquisitionStart')):
            run = tool(arguments[0], "-d", CAMERA, arguments[1])
            self.assertEqual((run.returncode, run.stdout, run.stderr), (1, "", f"norveltl: {error}\n"))
        self.assertEqual(self.values()["Width"], 512)

    def test_images_as_they_were_set(self):
        done("set", "-d", CAMERA, "Width=256", "Height=128")
        for pixel_format, channels, bits in (("Mono8", 1, 8), ("Mono16", 1, 16), ("RGB8", 3, 8), ("BayerRG8", 3, 8),
                                             ("BayerBG8", 3, 8), ("BayerGR8", 3, 8), ("BayerGB8", 3, 8)):
            with self.subTest(pixel_format=pixel_format):
                done("set", "-d", CAMERA, f"PixelFormat={pixel_format}")
                folder = pathlib.Path(self.folder())
                self.assertIn("\ndelivered   3 of 3\n", "\n" + done("grab", CAMERA, "-n", "3", "-o", str(folder)))
                images = [pictures.read_png(path) for path in sorted(folder.glob("*.png"))]
                self.assertEqual([(image.width, image.height, image.channels, image.bits) for image in images],
                                 [(256, 128, channels, bits)] * 3)
                if pixel_format == "Mono8":
                    for image in images:
                        first = image.pixels[0]
                        self.assertEqual(image.pixels, bytes((first + x + y) % 255 for y in range(128) for x in range(256)))


class OddDescriptions(CameraTest):
    """Aravis writes what it thinks of them to the error output too, before norveltl does."""

    def setUp(self):
        self.sound = pathlib.Path(self.folder()) / "Camera.xml"
        camera = self.start_camera()
        self.sound.write_text(done("xml", "port:T1"))
        camera.kill()

    def with_description(self, text, *arguments):
        odd = self.sound.with_name("odd.xml")
        odd.write_text(text)
        camera = self.start_camera(description=odd)
        run = tool(*arguments)
        camera.kill()
        return run.returncode, run.stdout, run.stderr.rstrip("\n").rpartition("\n")[2]

    def refused(self, text, error, *arguments):
        self.assertEqual(self.with_description(text, *(arguments or ("features", "-d", CAMERA))), (1, "", error))

    def test_what_is_no_xml(self):
        for text in ("no XML", "<html><body>404</body></html>"):
            self.refused(text, 'norveltl: IFOpenDevice failed: GC_ERR_ERROR (-1001): "XML schema error.(Aravis-Fake-T1)"')

    def test_what_is_cut_off(self):
        self.refused(self.sound.read_text()[:5000], "norveltl: the camera's XML is malformed in line 184: expected >")

    def test_what_says_nothing(self):
        text = '<?xml version="1.0"?>\n<RegisterDescription></RegisterDescription>\n'
        self.refused(text, "norveltl: the camera's XML has no node Root", "get", "-d", CAMERA, "Width")
        self.refused(text, "norveltl: the image size is not known: the stream does not tell it, and the camera's XML has "
                     "no node PayloadSize", "grab", CAMERA, "-n", "1", "-o", self.folder())

    def test_one_broken_feature_hides_no_other(self):
        text = self.sound.read_text().replace("<pValue>WidthRegister</pValue>", "<pValue>Nowhere</pValue>", 1)
        code, listed, note = self.with_description(text, "features", "-d", CAMERA, "Width", "Height")
        self.assertEqual((code, note), (0, ""))
        self.assertRegex(listed, r"\n  Height +Integer +RW +512 .*\nnote: Width: the camera's XML has no node Nowhere\n$")


if __name__ == "__main__":
    enter_own_network()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
