"""grab with several cameras at once, and with triggers."""
import json

import pictures
from harness import DONE, FAILED, LEFT, MICROSCOPE, NOTHING_FOUND, RIGHT, WRONG_USAGE, ToolTest

SMALL = ("--set", "Width=32", "--set", "Height=8")
LOCK = 0x600  # TLParamsLocked
TRIGGER_MODE = 0x550 + 16  # of FrameStart


def world(one=None, two=None, faults=()):
    """Two cameras, One and Two."""
    return {"interfaces": [{"cameras": [{"name": "One", "width": 32, "height": 8, "frameRate": 100, **(one or {})},
                                        {"name": "Two", "width": 64, "height": 4, "frameRate": 50, **(two or {})}]}],
            "faults": list(faults)}


class Several(ToolTest):
    def test_each_has_a_folder_and_figures(self):
        answer = self.done("grab", "Left", "Right", "Microscope", "-n", "4", "-o", "out")
        self.assertEqual(sorted(path.name for path in (self.folder / "out").iterdir()),
                         sorted((LEFT, RIGHT, MICROSCOPE)))
        for camera, size in ((LEFT, (640, 480)), (RIGHT, (1280, 1024)), (MICROSCOPE, (320, 240))):
            images = self.images(f"out/{camera}")
            self.assertEqual([file.name for file in images], [f"image_000{i}.png" for i in range(1, 5)])
            picture = pictures.read_png(images[0])
            self.assertEqual((picture.width, picture.height), size)
            report = json.loads((self.folder / f"out/{camera}/grab.json").read_text())
            self.assertEqual((report["camera"]["id"], report["delivered"]), (camera, 4))
            self.assertIn(f"\ncamera      {camera}\ndelivered   4 of 4\n", answer.out)
        self.assertRegex(answer.out, r"\nmilliseconds  min  .*\nskew +\d+\.\d{3} ")

    def test_figures_as_json(self):
        answer = self.done("grab", "One", "Two", "-n", "8", "--json", world=world()).json()
        self.assertEqual([(camera["payloadSize"], camera["delivered"], camera["failed"]) for camera in answer["cameras"]],
                         [(256, 8, False), (256, 8, False)])
        self.assertFalse(answer["failed"])
        # The eighth image comes after 80 ms here and 160 ms there.
        self.assertGreater(answer["milliseconds"]["skew"]["max"], 40)

    def test_the_others_go_on_when_one_fails(self):
        answer = self.run_tool("grab", "One", "Two", "-n", "20", "-o", "out", "--json",
                               world=world(one={"unplugAfterImages": 5}))
        self.assertEqual(answer.code, FAILED)
        for line in answer.err.splitlines():
            self.assertRegex(line, "^(norveltl: [^:]*One[^:]*: |  )")
        one, two = answer.json()["cameras"]
        self.assertEqual((one["failed"], two["failed"], two["delivered"]), (True, False, 20))
        self.assertLess(one["delivered"], 20)
        self.assertTrue(answer.json()["failed"])
        self.assertEqual(len(list(self.folder.glob("out/*Two*/image_*.png"))), 20)

    def test_the_others_go_on_when_one_cannot_be_opened(self):
        fault = {"operation": "InterfaceOpenDevice", "kind": "result", "result": -1005, "object": "One"}
        answer = self.run_tool("grab", "One", "Two", "-n", "3", "--json", world=world(faults=[fault]))
        self.assertEqual(answer.code, FAILED)
        self.assertRegex(answer.err, "^norveltl: [^:]*One[^:]*: IFOpenDevice failed: ")
        self.assertEqual([camera["delivered"] for camera in answer.json()["cameras"]], [3])

    def test_names_that_mean_no_camera_or_the_same(self):
        self.refused(WRONG_USAGE, 'norveltl: "Left" and "10001" are the same camera\n', "grab", "Left", "Right", "10001")
        self.assertEqual(self.run_tool("grab", "Left", "Nobody").code, NOTHING_FOUND)
        self.refused(WRONG_USAGE, "norveltl: --plot, --record and -o - are for one camera\n", "grab", "Left", "Right", "--plot", "x.png")

    def test_interrupted_together(self):
        process = self.start("grab", "One", "Two", "-n", "100000", "-o", "out", world=world())
        process.stdout.readline()
        while len(list(self.folder.glob("out/*/image_*"))) < 4:
            self.assertIsNone(process.poll())
        answer = self.interrupt(process)
        self.assertEqual((answer.code, answer.err), (FAILED, "norveltl: interrupted\n"))
        self.assertEqual(len(list(self.folder.glob("out/*/grab.json"))), 2)


class Triggers(ToolTest):
    TRIGGERED = ("--trigger", "software")

    def test_images_come_as_often_as_triggers(self):
        for every, count in ((0.05, 6), (0.02, 12)):
            answer = self.done("grab", "One", "-n", str(count), *self.TRIGGERED, "--every", str(every), "--json",
                               "--stats", world=world()).json()
            self.assertEqual((answer["delivered"], answer["lost"]), (count, 0))
            # The first trigger comes at once.
            self.assertGreaterEqual(answer["seconds"], (count - 1) * every * 0.9)
            self.assertAlmostEqual(answer["milliseconds"]["interval"]["median"], 1000 * every, delta=400 * every)

    def test_every_tenth_of_a_second_by_default(self):
        answer = self.done("grab", "One", "-n", "4", *self.TRIGGERED, "--json", world=world()).json()
        self.assertGreaterEqual(answer["seconds"], 0.27)

    def test_cameras_are_triggered_together(self):
        answer = self.done("grab", "One", "Two", "-n", "6", *self.TRIGGERED, "--every", "0.05", "--json",
                           world=world()).json()
        self.assertEqual([camera["delivered"] for camera in answer["cameras"]], [6, 6])
        self.assertLess(answer["milliseconds"]["skew"]["median"], 25)

    def test_what_is_in_force_meanwhile(self):
        self.done("grab", "One", "-n", "1", *self.TRIGGERED, "-o", "out", world=world())
        settings = json.loads((self.folder / "out/grab.json").read_text())["settings"]
        self.assertEqual([settings[name] for name in ("TriggerSelector", "TriggerSource", "TriggerMode")],
                         ["FrameStart", "Software", "On"])

    def test_what_the_images_depend_on_is_locked_meanwhile(self):
        """The lock is written twice, of which the second is at the end."""
        for skip, note in ((0, "note: "), (1, "")):
            fault = {"operation": "DeviceWritePort", "selector": LOCK, "result": -1010, "skip": skip}
            answer = self.run_tool("grab", "One", "-n", "2", world=world(faults=[fault]))
            self.assertEqual((answer.code, answer.numbers()["delivered"]), (DONE, "2 of 2"))
            self.assertEqual((answer.err.startswith(note), "GC_ERR_IO (-1010)" in answer.err), (True, bool(note)))

    def test_the_mode_is_set_back(self):
        """The second time that the mode is written is at the end."""
        fault = {"operation": "DeviceWritePort", "selector": TRIGGER_MODE, "result": -1010, "skip": 1}
        answer = self.run_tool("grab", "One", "-n", "2", *self.TRIGGERED, "--every", "0.02",
                               world=world(faults=[fault]))
        self.assertEqual((answer.code, answer.numbers()["delivered"]), (FAILED, "2 of 2"))
        self.assertTrue(answer.err.startswith("norveltl: "), answer.err)
        self.assertEqual(answer.err.count("GC_ERR_IO (-1010)"), 1)

    def test_options_that_make_no_sense(self):
        for arguments in (["--every", "0.1"], [*self.TRIGGERED, "--every", "0"], ["--trigger", "line"],
                          [*self.TRIGGERED, "--every", "1e300"]):
            self.assertEqual(self.run_tool("grab", "Left", "-n", "1", *arguments).code, WRONG_USAGE)
        self.assertEqual(self.run_tool("grab", "Left", "-n", "1", *self.TRIGGERED, *SMALL).code, DONE)
