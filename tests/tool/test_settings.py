"""Settings in a file, and several steps while the camera stays open."""
import time

from harness import DONE, FAILED, WRONG_USAGE, ToolTest

RUNS_BESIDE_OTHERS = True


def world(*faults, **camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", **camera}]}], "faults": list(faults)}


class Saving(ToolTest):
    def test_every_streamable_feature_under_its_selectors(self):
        self.assertEqual(self.done("features", "Left", "--save", "left.txt").out, "")
        self.assert_golden((self.folder / "left.txt").read_text(), "settings.txt")

    def test_what_cannot_be_read_is_told(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x528, "result": -1010}
        answer = self.run_tool("features", "--save", "s.txt", world=world(fault))
        self.assertEqual(answer.code, FAILED)
        self.assertRegex(answer.err, r"^norveltl: Gain is left out: .*GC_ERR_IO \(-1010\)")
        text = (self.folder / "s.txt").read_text()
        self.assertNotIn("Gain=", text)
        self.assertIn("\nExposureTime=10000\n", text)

    def test_each_value_is_read_under_its_selector(self):
        # The register of the trigger at the frame's start.
        fault = {"operation": "DeviceReadPort", "selector": 0x560, "result": -1010}
        answer = self.run_tool("features", "--save", "s.txt", world=world(fault))
        self.assertEqual(answer.err.count("TriggerMode is left out"), 1)
        text = (self.folder / "s.txt").read_text()
        self.assertIn("TriggerSelector=AcquisitionStart\n  TriggerMode=Off\n", text)
        self.assertIn("TriggerSelector=FrameStart\n  TriggerSource=Software\n", text)

    def test_no_file_is_replaced_unless_asked(self):
        (self.folder / "s.txt").write_text("mine")
        self.assertEqual(self.run_tool("features", "Left", "--save", "s.txt").code, FAILED)
        self.assertEqual((self.folder / "s.txt").read_text(), "mine")
        self.done("features", "Left", "--save", "s.txt", "--force")
        self.assertTrue((self.folder / "s.txt").read_text().startswith("# Settings of Norvel-G640M-10001: "))


class Loading(ToolTest):
    def load(self, text, *errors, taken, **options):
        (self.folder / "s.txt").write_bytes(text.encode())
        answer = self.run_tool("features", "--load", "s.txt", **{"world": world(), **options})
        self.assertEqual(answer.err, "".join(f"norveltl: s.txt:{error}\n" for error in errors))
        self.assertEqual(answer.code, FAILED if errors else DONE)
        self.assertEqual(answer.out, f"taken       {taken}\n")

    def test_what_was_saved(self):
        self.done("features", "Left", "--save", "s.txt")
        text = (self.folder / "s.txt").read_text()
        count = text.count("=")
        self.load(text, taken=f"{count} of {count}")
        self.load(text.replace("Mono8", "mono16").replace("\n", "\r\n"), taken=f"{count} of {count}")

    def test_limits_that_depend_on_what_comes_later(self):
        self.load("OffsetX=320\nOffsetY=200\nHeight=240\nWidth=320\n", taken="4 of 4")
        self.load("OffsetX=320\nWidth=324\n", '1: OffsetX does not take "320": it is at most 316', taken="1 of 2")

    def test_what_the_camera_changes_or_refuses(self):
        self.load("Gain=6.54\nWidht=320\n\n# A comment\n Height=33\nExposureTime=2000\n",
                  "1: Gain is 6.5 instead of 6.54",
                  "2: the camera has no feature Widht; did you mean Width?",
                  '5: Height does not take "33": it goes from 2 in increments of 2', taken="1 of 4")
        # Binning makes the image smaller behind a setting that was taken before.
        self.load("Width=640\nBinningHorizontal=2\n", '1: Width does not take "640": it is at most 320', taken="1 of 2")
        self.load("TLParamsLocked=1\nWidth=320\n", "2: Width cannot be written now: it is locked", taken="1 of 2")

    def test_a_value_is_set_under_its_selector_only(self):
        # The register of the trigger at the frame's start.
        fault = {"operation": "DeviceWritePort", "selector": 0x560, "result": -1010}
        self.load("TriggerSelector=AcquisitionStart\n  TriggerMode=On\nTriggerSelector=FrameStart\n", taken="3 of 3",
                  world=world(fault))
        self.load("TriggerSelector=Never\n  TriggerMode=On\n",
                  '1: TriggerSelector does not take "Never": it is one of AcquisitionStart, FrameStart',
                  "2: TriggerMode is not set: TriggerSelector has not the value before it", taken="0 of 2")

    def test_texts(self):
        self.load('DeviceUserID=Line 2, left = best\n', taken="1 of 1")
        self.load('DeviceUserID=" in blanks "\n', taken="1 of 1")

    def test_what_is_no_file_of_settings(self):
        for text, reason in (("Width=320\nHeight\n", '2: "Height" is not of the form NAME=VALUE'),
                             ('DeviceUserID="open\n', '1: "open is no text in quotes')):
            (self.folder / "s.txt").write_text(text)
            answer = self.refused(WRONG_USAGE, f"norveltl: s.txt:{reason}\n", "features", "Left", "--load", "s.txt")
            self.assertEqual(answer.out, "")
        self.refused(FAILED, "norveltl: cannot read none.txt: No such file or directory\n",
                     "features", "Left", "--load", "none.txt")
        self.assertEqual(self.run_tool("features", "Left", "Width", "--load", "s.txt").code, WRONG_USAGE)
        self.assertEqual(self.run_tool("features", "Left", "--load", "s.txt", "--save", "t.txt").code, WRONG_USAGE)


class Running(ToolTest):
    def test_steps_while_the_camera_stays_open(self):
        self.assertEqual(self.done("run", "Left", "set", "Width=320", "OffsetX=316", "get", "offsetx", "Width", "exec",
                                   "UserSetLoad", "get", "OffsetX").out, "OffsetX=316\nWidth=320\nOffsetX=0\n")
        self.assertEqual(self.done("run", "get", "Width", world=world()).out, "Width=640\n")
        self.assertEqual(self.done("run", "get", "Width", "-d", "Right").out, "Width=1280\n")

    def test_steps_in_a_file(self):
        (self.folder / "steps.txt").write_text('# To the left\nset Width=320 OffsetX=16\n\n'
                                               'set "DeviceUserID=Line 2, left" get DeviceUserID\nget OffsetX\n')
        self.assertEqual(self.done("run", "Left", "--file", "steps.txt").out,
                         "DeviceUserID=Line 2, left\nOffsetX=16\n")
        self.assertEqual(self.done("run", "Left", "get", "Width", "-f", "steps.txt").out.splitlines()[0], "Width=640")

    def test_a_wait(self):
        began = time.monotonic()
        self.done("run", "Left", "get", "Width", "wait", "0.5")
        self.assertGreater(time.monotonic() - began, 0.5)

    def test_the_first_that_fails_ends_it(self):
        answer = self.refused(FAILED, 'norveltl: "set Width=6": Width does not take "6": it goes from 4 in increments '
                              "of 4\n", "run", "Left", "get", "Width", "set", "Width=6", "get", "Height")
        self.assertEqual(answer.out, "Width=640\n")
        (self.folder / "steps.txt").write_text("get Width\nexec Width\n")
        self.refused(FAILED, 'norveltl: steps.txt:2: "exec Width": Width is no command, but of the kind Integer\n',
                     "run", "Left", "-f", "steps.txt")

    def test_nothing_is_done_before_all_is_understood(self):
        for words, reason in ((["get", "Width", "wait", "long"], '"long" is no time in seconds'),
                              (["get", "Width", "set", "Width"], '"Width" is not of the form NAME=VALUE'),
                              (["get", "Width", "exec"], '"exec" is about nothing'),
                              (["gte", "Width"], '"gte" is no step: there are set, get, exec and wait; did you mean get?'),
                              ([], "there is no step")):
            with self.subTest(words=words):
                answer = self.refused(WRONG_USAGE, f"norveltl: {reason}\n", "run", "Left", *words)
                self.assertEqual(answer.out, "")
        (self.folder / "steps.txt").write_text("get Width\nWidth\n")
        self.refused(WRONG_USAGE, 'norveltl: steps.txt:2: "Width" is no step: there are set, get, exec and wait\n',
                     "run", "Left", "-f", "steps.txt")


class AsJson(ToolTest):
    def test_values_of_features(self):
        self.assertEqual(self.done("get", "Left", "width", "PixelFormat", "Gain", "AcquisitionFrameRateEnable",
                                   "--json").json(),
                         {"Width": 640, "PixelFormat": "Mono8", "Gain": 0, "AcquisitionFrameRateEnable": True})

    def test_registers(self):
        def read(*words):
            return self.done("read", "Left", *words, "--json").json()
        self.assertEqual(read("0x400", "0x404", "--u32"), [{"address": 0x400, "value": 640},
                                                          {"address": 0x404, "value": 480}])
        self.assertEqual(read("0x140:6"), [{"address": 0x140, "bytes": "473634304d00"}])
        self.assertEqual(read("0x140", "--string"), [{"address": 0x140, "value": "G640M"}])
