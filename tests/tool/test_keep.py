"""view: what the page lets be kept: snapshots and settings, and what the tests of recordings share."""
import json
import shutil
import zlib

import pictures
from harness import DONE, FAILED
from viewing import ViewTest

RUNS_BESIDE_OTHERS = True

CAM = "0:Cam"
WIDTH, HEIGHT = 48, 20
NAME = r"Cam_\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d\.\d{3}Z(-\d+)?"


def world(**camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": WIDTH, "height": HEIGHT, "frameRate": 40,
                                         "testPattern": "GreyDiagonalRampMoving", **camera}]}]}


class KeepTest(ViewTest):
    def setUp(self):
        super().setUp()
        self.kept = self.folder / "kept"

    def serve_kept(self, *arguments, **options):
        return self.serve("Cam", "--keep", "kept", *arguments, **{"world": world(), **options})

    def recording(self, server, camera=CAM):
        return next((its for its in server.ask("keep")["recordings"] if its["camera"] == camera), None)

    def wait_until_ended(self, server, camera=CAM):
        return self.wait_for(lambda: (its := self.recording(server, camera))["state"] == "ended" and its)

    def assert_painted(self, pixels, pattern="GreyDiagonalRampMoving"):
        """The camera's picture; answers the number in it."""
        number = pictures.stamp_number(pixels)
        self.assertEqual(pixels[pictures.STAMP:], pictures.paint("Mono8", pattern, WIDTH, HEIGHT, number)[pictures.STAMP:])
        return number


class Snapshots(KeepTest):
    def test_each_pixel_and_where_it_comes_from(self):
        server = self.serve_kept()
        server.order("set", camera=CAM, name="DeviceUserID", value="mine")
        for kind, ending, read in (("png", "png", pictures.read_png), ("tiff", "tif", pictures.read_tiff)):
            with self.subTest(kind=kind):
                snapshot = server.order("snapshot", camera=CAM, kind=kind)
                image, report = snapshot["files"]
                self.assertRegex(image, rf"^{NAME}\.{ending}$")
                self.assertEqual(report, image.rsplit(".", 1)[0] + ".json")
                pixels = read(self.kept / image).pixels
                self.assert_painted(pixels)
                told = json.loads((self.kept / report).read_text())
                self.assertEqual((told["camera"]["id"], told["settings"]["DeviceUserID"]), ("Cam", "mine"))
                self.assertRegex(told["begin"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
                self.assertEqual((told["format"]["pixelFormat"], told["format"]["width"], told["format"]["height"]),
                                 ("Mono8", WIDTH, HEIGHT))
                [record] = told["images"]
                self.assertEqual((record["file"], record["number"], record["size"]), (image, snapshot["number"], len(pixels)))
                self.assertEqual(record["crc32"], f"{zlib.crc32(pixels):08x}")

    def test_the_frozen_one(self):
        server = self.serve_kept()
        facts, samples = server.picture(CAM, hold=1)
        # Others come meanwhile.
        self.assertGreater(server.picture(CAM, after=facts["number"])[0]["number"], facts["number"])
        snapshot = server.order("snapshot", camera=CAM, kind="png", number=facts["number"])
        self.assertEqual(snapshot["number"], facts["number"])
        self.assertEqual(pictures.read_png(self.kept / snapshot["files"][0]).pixels, samples)
        for _ in range(4):
            facts = server.picture(CAM, after=facts["number"], hold=1)[0]
        self.assertEqual(server.order("snapshot", camera=CAM, kind="png", number=snapshot["number"]),
                         (410, "that image is no longer held"))

    def test_a_silent_camera_keeps_its_last_one(self):
        server = self.serve_kept()
        number = server.picture(CAM)[0]["number"]
        server.order("stop", camera=CAM)
        self.assertGreaterEqual(server.order("snapshot", camera=CAM, kind="png")["number"], number)

    def test_names_stay_in_the_folder(self):
        bad = r'../../a\b:c*?"<>|/x' + "ä" * 80
        made = world()
        made["interfaces"][0]["cameras"][0]["name"] = bad
        server = self.serve(bad, "--keep", "kept", world=made)
        before = sorted(self.folder.rglob("*"))
        self.assertEqual(before, sorted([self.kept, self.folder / "world.json"]))
        image, report = server.order("snapshot", camera="0:" + bad, kind="png")["files"]
        self.assertRegex(image, r"^\.\._\.\._a_b_c_______xä+_2")
        server.order("record", camera="0:" + bad, kind="raw")
        self.wait_for(lambda: self.recording(server, "0:" + bad)["images"] > 3)
        server.order("record/end", camera="0:" + bad)
        folder = self.wait_until_ended(server, "0:" + bad)["name"]
        self.assertEqual(sorted(path.name for path in self.kept.iterdir()), sorted([image, report, folder]))
        self.assertEqual([path for path in self.folder.iterdir() if path not in before], [])
        for name in ("/etc/x", "../x", "x"):
            server.order("snapshot", camera="0:" + bad, kind="png", name=name, file=name, folder=name)
        self.assertEqual(len(list(self.kept.iterdir())), 9)
        self.assertEqual([path for path in self.folder.iterdir() if path not in before], [])

    def test_nothing_is_overwritten(self):
        server = self.serve_kept()
        files = set()
        for _ in range(30):
            files.update(server.order("snapshot", camera=CAM, kind="png")["files"])
        self.assertEqual(len(files), 60)
        self.assertEqual({path.name for path in self.kept.iterdir()}, files)

    def test_what_cannot_be(self):
        server = self.serve_kept()
        self.assertEqual(server.order("snapshot", camera=CAM, kind="exe"), (400, "there is no such kind of file"))
        self.assertEqual(server.order("snapshot", camera=CAM, kind="video"), (400, "a snapshot is no video"))
        self.assertEqual(server.order("snapshot", camera=CAM, kind="png", number=-1), (400, "the number is none of an image"))
        self.assertEqual(server.order("snapshot", camera="0:Other", kind="png"), (410, "the camera is not open"))
        shutil.rmtree(self.kept)
        status, text = server.order("snapshot", camera=CAM, kind="png")
        self.assertEqual((status, text.split(" ")[:2]), (409, ["cannot", "write"]))
        self.assertTrue(server.ask("quality", camera=CAM)["acquires"])

    def test_a_folder_that_is_none(self):
        (self.folder / "kept").write_text("")
        answer = self.run_tool("view", "--no-browser", "--keep", "kept", world=world())
        self.assertEqual((answer.code, answer.err.startswith("norveltl: cannot use the folder kept")), (FAILED, True))

    def test_here_by_default(self):
        server = self.serve("Cam", world=world())
        image, _ = server.order("snapshot", camera=CAM, kind="png")["files"]
        self.assertTrue((self.folder / image).is_file())


class Settings(KeepTest):
    def test_saved_and_loaded(self):
        server = self.serve_kept()
        server.order("set", camera=CAM, name="ExposureTime", value="1234")
        saved = server.ask("settings", camera=CAM)
        self.assertEqual((saved["name"], saved["errors"]), ("Cam.txt", []))
        self.assertRegex(saved["text"], r"^# Settings of Cam: ")
        self.assertIn("\nExposureTime=1234\n", saved["text"])
        self.assertIn(f"\nWidth={WIDTH}\n", saved["text"])
        self.assertEqual(server.ask("features", camera=CAM, name="Width")[0]["access"], "RO")
        server.order("set", camera=CAM, name="ExposureTime", value="4321")
        loaded = server.order("settings", camera=CAM, file="f", text=saved["text"])
        self.assertEqual(loaded, {"settings": saved["text"].count("\n") - 1, "refused": []})
        self.assertIn("\nExposureTime=1234\n", server.ask("settings", camera=CAM)["text"])

    def test_what_the_camera_does_not_take(self):
        server = self.serve_kept()
        loaded = server.order("settings", camera=CAM, file="f", text="# mine\nGain=6.54\nExposureTime=2000\nWidth=7\nWidht=8\n")
        self.assertEqual((loaded["settings"], [(its["line"], its["name"]) for its in loaded["refused"]]),
                         (4, [(2, "Gain"), (4, "Width"), (5, "Widht")]))
        self.assertEqual(loaded["refused"][0]["reason"], "Gain is 6.5 instead of 6.54")
        status, text = server.order("settings", camera=CAM, file="f", text="Gain=1\nnonsense\n")
        self.assertEqual((status, text.startswith("f:2: ")), (409, True))
        self.assertEqual(server.order("settings", camera=CAM, file="f"), (400, 'the request has no text "text"'))

    def test_their_size_is_bounded(self):
        server = self.serve_kept()
        long = "# comment\n" * 50_000
        self.assertEqual(server.order("settings", camera=CAM, file="f", text=long), {"settings": 0, "refused": []})
        self.assertEqual(server.order("settings", camera=CAM, file="f", text=long * 3)[0], 413)
