"""features, get, set and exec: the camera by the names of its features."""
from harness import FAILED, NOTHING_FOUND, WRONG_USAGE, ToolTest

RUNS_BESIDE_OTHERS = True

CAMERA = ("-d", "10001")


class Listing(ToolTest):
    def test_every_feature(self):
        self.assert_golden(self.done("features", *CAMERA).out, "features.txt")

    def test_json(self):
        self.assert_golden(self.done("features", *CAMERA, "--json").out, "features.json")

    def test_some_features(self):
        out = self.done("features", *CAMERA, "Gain", "Width").out
        self.assertEqual(out, "         kind     access  value      limits\n"
                         "  Gain   Float    RW      0 dB       0 .. 24\n"
                         "  Width  Integer  RW      640 pixel  4 .. 640 step 4\n")
        listed = self.done("features", *CAMERA, "--json", "Gain").json()
        self.assertEqual((listed[0]["name"], listed[0]["min"], listed[0]["max"]), ("Gain", 0, 24))

    def test_a_feature_that_cannot_be_read_hides_no_other(self):
        world = {"interfaces": [{"cameras": [{}]}],
                 "faults": [{"operation": "DeviceReadPort", "selector": 0x528, "result": -1010}]}
        out = self.done("features", world=world).out
        self.assertIn("\nnote: Gain: GCReadPort failed: GC_ERR_IO (-1010)", out)
        self.assertIn("\n  TLParamsLocked              Integer      RW      0 ", out)

    def test_the_only_camera_needs_no_name(self):
        self.assertEqual(self.done("get", "Width", world={"interfaces": [{"cameras": [{}]}]}).out, "640\n")

    def test_which_camera(self):
        self.assertEqual(self.done("get", "-d", "Right", "Width").out, "1280\n")
        self.assertEqual(self.done("get", "Width", "--device=Right").out, "1280\n")
        self.assertEqual(self.run_tool("get", "Width").code, WRONG_USAGE)
        self.assertEqual(self.run_tool("get", "-d", "nobody", "Width").code, NOTHING_FOUND)


class Getting(ToolTest):
    def get(self, *names):
        return self.done("get", *CAMERA, *names).out

    def test_every_kind(self):
        for name, value in (("Width", "640"), ("Gain", "0"), ("ExposureTime", "10000"),
                            ("DeviceTemperature", "42.5"), ("PixelFormat", "Mono8"), ("DeviceUserID", "Left"),
                            ("AcquisitionFrameRateEnable", "true"), ("UserMemory", "00" * 256),
                            ("EventFrameStart", "36865")):
            with self.subTest(name=name):
                self.assertEqual(self.get(name), value + "\n")

    def test_several(self):
        self.assertEqual(self.get("Width", "Gain", "PixelFormat"), "Width=640\nGain=0\nPixelFormat=Mono8\n")

    def test_what_has_no_value(self):
        self.refused(FAILED, 'norveltl: the camera has no feature Nope; "norveltl features" lists what it has\n',
                     "get", *CAMERA, "Nope")
        self.refused(FAILED, "norveltl: TimestampLatch is of the kind Command, which has no value\n",
                     "get", *CAMERA, "TimestampLatch")
        self.refused(FAILED, "norveltl: ImageFormatControl is of the kind Category, which has no value\n",
                     "get", *CAMERA, "ImageFormatControl")

    def test_a_value_without_an_entry(self):
        world = {"interfaces": [{"cameras": [{}]}],
                 "faults": [{"operation": "DeviceReadPort", "selector": 0x408, "result": -1010}]}
        answer = self.run_tool("get", "PixelFormat", world=world)
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertTrue(answer.err.startswith("norveltl: GCReadPort failed: GC_ERR_IO (-1010)"), answer.err)


class Setting(ToolTest):
    """The camera forgets with the process, so that what a value did shows in the values after it."""

    def set(self, *assignments):
        self.assertEqual(self.done("set", *CAMERA, *assignments).out, "")

    def refuse(self, error, *assignments):
        answer = self.refused(FAILED, f"norveltl: {error}\n", "set", *CAMERA, *assignments)
        self.assertEqual(answer.out, "")

    def test_limits_and_increments(self):
        self.set("Width=4", "Width=640", "Width=0x140", "Height=2")
        self.refuse('Width does not take "3": it is at least 4', "Width=3")
        self.refuse('Width does not take "644": it is at most 640', "Width=644")
        self.refuse('Width does not take "6": it goes from 4 in increments of 4', "Width=6")
        self.refuse('Width: "wide" is no whole number', "Width=wide")
        self.refuse('Width: "" is no whole number', "Width=")
        self.refuse('Width: "6.5" is no whole number', "Width=6.5")

    def test_limits_that_depend_on_what_was_set_before(self):
        self.refuse('OffsetX does not take "320": it is at most 0', "OffsetX=320")
        self.set("Width=320", "OffsetX=320")
        self.refuse('OffsetX does not take "324": it is at most 320', "Width=320", "OffsetX=324")
        self.refuse('Width does not take "640": it is at most 320', "BinningHorizontal=2", "Width=640")

    def test_converters(self):
        self.set("Gain=24", "Gain=0", "Gain=1.05e1")
        self.refuse('Gain does not take "24.5": it is at most 24', "Gain=24.5")
        self.refuse('Gain does not take "-0.1": it is at least 0', "Gain=-0.1")
        for text in ("loud", "", "1,5", "nan", "1e999", "1 "):
            self.refuse(f'Gain does not take "{text}": it is a number', f"Gain={text}")

    def test_enumerations(self):
        self.set("PixelFormat=RGB8", "TestPattern=ColorBar")
        self.refuse('PixelFormat does not take "YUV": it is one of Mono8, Mono16, BayerRG8, RGB8',
                    "PixelFormat=YUV")
        self.refuse('TriggerMode does not take "1": it is one of Off, On', "TriggerMode=1")

    def test_selectors(self):
        world = {"interfaces": [{"cameras": [{}]}],
                 "faults": [{"operation": "DeviceWritePort", "selector": 0x560, "result": -1010}]}
        self.done("set", "TriggerSelector=AcquisitionStart", "TriggerMode=On", world=world)
        answer = self.run_tool("set", "TriggerSelector=FrameStart", "TriggerMode=On", world=world)
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.err.startswith("norveltl: GCWritePort failed: GC_ERR_IO (-1010)"), answer.err)

    def test_what_is_locked(self):
        self.refuse("Width cannot be written now: it is locked", "TLParamsLocked=1", "Width=320")
        self.set("TLParamsLocked=1", "TestPattern=White", "TLParamsLocked=0", "Width=320")
        self.refuse("SensorWidth cannot be written: it is read-only", "SensorWidth=320")

    def test_booleans(self):
        for value in ("true", "false", "1", "0"):
            self.set(f"AcquisitionFrameRateEnable={value}")
        self.refuse('AcquisitionFrameRateEnable does not take "on": it is true or false',
                    "AcquisitionFrameRateEnable=on")

    def test_texts(self):
        self.set("DeviceUserID=My left = best camera", "DeviceUserID=", "DeviceUserID=" + 63 * "x")
        self.refuse("DeviceUserID takes at most 64 characters", "DeviceUserID=" + 65 * "x")

    def test_blanks_are_kept(self):
        world = {"interfaces": [{"cameras": [{"userDefinedName": "Line 2  left "}]}]}
        self.assertEqual(self.done("get", "DeviceUserID", world=world).out, "Line 2  left \n")

    def test_kinds_that_cannot_be_set(self):
        self.refuse("UserMemory is of the kind Register, which cannot be set", "UserMemory=00")
        self.refuse("TimestampLatch is of the kind Command, which cannot be set", "TimestampLatch=1")
        self.refuse('the camera has no feature Nope; "norveltl features" lists what it has', "Nope=1")

    def test_wrong_usage(self):
        for text in ("Width", "=1"):
            self.refused(WRONG_USAGE, f'norveltl: "{text}" is not of the form NAME=VALUE\n', "set", *CAMERA, text)
        # Nothing is written before all of them are understood.
        self.refused(WRONG_USAGE, 'norveltl: "Height" is not of the form NAME=VALUE\n',
                     "set", *CAMERA, "Width=3", "Height")


class Executing(ToolTest):
    def test_commands(self):
        self.assertEqual(self.done("exec", *CAMERA, "TimestampLatch", "UserSetLoad").out, "")

    def test_a_command_reaches_the_camera(self):
        world = {"interfaces": [{"cameras": [{}]}],
                 "faults": [{"operation": "DeviceWritePort", "selector": 0x5C0, "result": -1010}]}
        self.done("exec", "UserSetLoad", world=world)
        answer = self.run_tool("exec", "TimestampLatch", world=world)
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.err.startswith("norveltl: GCWritePort failed: GC_ERR_IO (-1010)"), answer.err)

    def test_what_the_camera_refuses(self):
        answer = self.run_tool("exec", *CAMERA, "UserSetSave")
        self.assertEqual(answer.code, FAILED)
        self.assertIn("norveltl: GCWritePort failed: GC_ERR_ACCESS_DENIED (-1005)", answer.err)

    def test_what_is_no_command(self):
        self.refused(FAILED, "norveltl: Width is no command, but of the kind Integer\n", "exec", *CAMERA, "Width")
        self.refused(FAILED, 'norveltl: the camera has no feature Nope; "norveltl features" lists what it has\n',
                     "exec", *CAMERA, "Nope")


class Opening(ToolTest):
    def test_a_camera_that_is_taken(self):
        world = {"interfaces": [{"cameras": [{"name": "Taken"}]}],
                 "faults": [{"operation": "InterfaceOpenDevice", "object": "Taken", "result": -1005}]}
        answer = self.run_tool("get", "Width", world=world)
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.err.startswith("norveltl: IFOpenDevice failed: GC_ERR_"), answer.err)

    def test_a_description_that_cannot_be_read(self):
        world = {"interfaces": [{"cameras": [{}]}], "faults": [{"operation": "DeviceReadPort", "result": -1010}]}
        answer = self.run_tool("features", world=world)
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertTrue(answer.err.startswith("norveltl: GCReadPort failed: GC_ERR_IO (-1010)"), answer.err)
