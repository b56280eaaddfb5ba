"""view: recordings. Not beside others: on a machine that is too busy, images find no buffer and are missing."""
import json
import os
import pathlib
import shutil
import subprocess
import zlib

import pictures
from harness import DONE, FAILED, Setting
from test_keep import CAM, HEIGHT, NAME, WIDTH, KeepTest, world


class Recordings(KeepTest):
    def record(self, server, kind, count):
        self.assertEqual(server.order("record", camera=CAM, kind=kind), {})
        state = self.wait_for(lambda: (its := self.recording(server))["images"] >= count and its)
        self.assertEqual((state["state"], state["trouble"]), ("takes", ""))
        self.assertEqual(server.order("record/end", camera=CAM), {})
        return self.wait_until_ended(server)

    def report(self, state):
        return json.loads((self.kept / state["name"] / "grab.json").read_text())

    def assert_every_image(self, state):
        """Neither one of the camera's images is missing nor any pixel wrong."""
        folder = self.kept / state["name"]
        told = self.report(state)
        self.assertEqual((told["delivered"], told["lost"], told["leftOut"], len(told["images"])),
                         (state["images"], 0, 0, state["images"]))
        numbers = []
        for number, record in enumerate(told["images"], 1):
            self.assertEqual(record["number"], number)
            pixels = pictures.read_png(folder / record["file"]).pixels
            self.assertEqual(record["crc32"], f"{zlib.crc32(pixels):08x}")
            numbers.append(self.assert_painted(pixels))
        self.assertEqual(numbers, list(range(numbers[0], numbers[0] + len(numbers))))
        return told

    def test_a_folder_of_every_image(self):
        server = self.serve_kept()
        state = self.record(server, "png", 30)
        self.assertRegex(state["name"], f"^{NAME}$")
        self.assertEqual((state["bytes"], state["leftOut"], state["waiting"]), (state["images"] * WIDTH * HEIGHT, 0, 0))
        self.assertAlmostEqual(state["images"] / state["seconds"], 40, delta=12)
        told = self.assert_every_image(state)
        self.assertEqual((told["camera"]["id"], told["settings"]["Width"], told["interrupted"]), ("Cam", str(WIDTH), False))
        # The images went on, and can be recorded again.
        again = self.record(server, "png", 5)
        self.assertNotEqual(again["name"], state["name"])
        self.assert_every_image(again)

    def test_a_video_of_every_image(self):
        server = self.serve_kept()
        state = self.record(server, "video-raw", 20)
        self.assertRegex(state["name"], rf"^{NAME}\.avi$")
        frames = pictures.video(self.kept / state["name"]).frames
        self.assertEqual(len(frames), state["images"])
        numbers = [self.assert_painted(bytes(frame)) for frame in frames]
        self.assertEqual(numbers, list(range(numbers[0], numbers[0] + len(numbers))))
        self.assertRegex(self.record(server, "video", 5)["name"], r"\.avi$")

    def test_one_at_a_time(self):
        server = self.serve_kept()
        server.order("record", camera=CAM, kind="raw")
        self.assertEqual(server.order("record", camera=CAM, kind="raw"), (409, "the camera is recorded already"))
        self.assertEqual(server.order("record", camera=CAM, kind="nothing"), (400, "there is no such kind of file"))
        self.assertEqual(server.order("record", camera="0:Other", kind="raw"), (410, "the camera is not open"))
        self.assertEqual(server.order("record/end", camera="0:Other"), {})

    def test_the_images_are_stopped(self):
        server = self.serve_kept()
        server.order("record", camera=CAM, kind="png")
        self.wait_for(lambda: self.recording(server)["images"] > 10)
        server.order("stop", camera=CAM)
        state = self.wait_until_ended(server)
        self.assertEqual(state["trouble"], "the images were stopped")
        self.assertTrue(self.assert_every_image(state)["interrupted"])
        self.assertEqual(server.order("record", camera=CAM, kind="png"), (409, "the camera takes no images"))

    def test_the_plug_is_pulled(self):
        server = self.serve_kept(world=world(unplugAfterImages=60))
        server.order("record", camera=CAM, kind="png")
        state = self.wait_until_ended(server)
        self.assertIn('"Port is not available"', state["trouble"])
        self.assert_every_image(state)

    def test_the_program_ends(self):
        server = self.serve_kept()
        server.order("record", camera=CAM, kind="png")
        state = self.wait_for(lambda: (its := self.recording(server))["images"] > 20 and its)
        answer = self.interrupt(server.process)
        self.assertEqual((answer.code, answer.err), (DONE, ""))
        told = self.report(state)
        self.assertGreater(told["delivered"], 20)
        self.assert_every_image({**state, "images": told["delivered"]})

    def test_what_the_disk_has_left(self):
        server = self.serve_kept()
        told = server.ask("keep")
        self.assertTrue(told["folder"].endswith("kept"))
        self.assertAlmostEqual(told["left"], shutil.disk_usage(self.kept).free, delta=4e9)

    def test_a_disk_that_fills(self):
        if Setting.is_windows:
            return
        # A disk of its own, in a namespace in which its user may mount one.
        self.kept.mkdir()
        launcher = self.folder / "launch"
        launcher.write_text("#!/bin/sh\nmount -t tmpfs -o size=68m none kept && exec " + str(Setting.program) + ' "$@"\n')
        launcher.chmod(0o755)
        process = subprocess.Popen(["unshare", "--map-root-user", "--mount", str(launcher), "view", "Cam", "--no-browser", "--keep", "kept"],
                                   cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env={**os.environ, "OPTIVO_SIM_CONFIG": self.large_world()})
        server = self.adopt(process)
        server.order("record", camera=CAM, kind="raw")
        state = self.wait_until_ended(server)
        self.assertEqual(state["trouble"], "the disk is full but for what it needs itself")
        self.assertIn(server.ask("keep")["left"], range(60 << 20, 64 << 20))
        self.assertTrue(server.ask("quality", camera=CAM)["acquires"])
        inside = pathlib.Path(f"/proc/{process.pid}/root{self.kept}") / state["name"]
        told = json.loads((inside / "grab.json").read_text())
        self.assertEqual((len(told["images"]), told["interrupted"]), (state["images"], True))
        self.assertTrue(all((inside / record["file"]).stat().st_size == record["size"] for record in told["images"]))

    def test_files_that_cannot_grow(self):
        if Setting.is_windows:
            return
        launcher = self.folder / "launch"
        launcher.write_text("#!/bin/sh\ntrap '' XFSZ\nulimit -f 600\nexec " + str(Setting.program) + ' "$@"\n')
        launcher.chmod(0o755)
        server = self.serve("Cam", "--keep", "kept", world=pathlib.Path(self.large_world()), program=launcher)
        server.order("record", camera=CAM, kind="video-raw")
        state = self.wait_until_ended(server)
        self.assertRegex(state["trouble"], "^cannot write .*: File too large$")
        self.assertTrue(server.ask("quality", camera=CAM)["acquires"])
        answer = self.interrupt(server.process)
        self.assertEqual((answer.code, "File too large" in answer.err), (FAILED, True))

    def large_world(self):
        path = self.folder / "large.json"
        path.write_text(json.dumps(world(width=320, height=240)))
        return str(path)
