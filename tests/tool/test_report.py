"""The file beside a grab's images tells what they are and where they come from."""
import datetime
import json
import zlib

import pictures
from harness import FAILED, LEFT, ToolTest, module, native, standard_module

RUNS_BESIDE_OTHERS = True

SMALL = ("--set", "Width=32", "--set", "Height=8")


class Report(ToolTest):
    def report(self, folder="out"):
        return json.loads((self.folder / folder / "grab.json").read_text())

    def test_where_the_images_come_from(self):
        before = datetime.datetime.now(datetime.timezone.utc)
        self.done("grab", "Left", "-n", "3", "-o", "out", *SMALL, "--set", "Gain=1.5")
        report = self.report()
        self.assertEqual(report["producer"], {"path": native(module()), "id": "NorvelTL40.cti", "vendor": "NORVEL",
                                              "model": "NorvelTL", "version": "4.0.1.0"})
        self.assertEqual(report["camera"], {"id": LEFT, "interface": "GEV::eth0", "vendor": "Norvel", "model": "G640M",
                                            "serialNumber": "10001", "userName": "Left", "version": "1.2.0"})
        settings = report["settings"]
        self.assertEqual([settings[name] for name in ("Width", "Height", "PixelFormat", "TriggerMode")],
                         ["32", "8", "Mono8", "Off"])
        self.assertAlmostEqual(float(settings["Gain"]), 1.5, delta=0.01)
        self.assertNotIn("AcquisitionStart", settings)
        begin = datetime.datetime.fromisoformat(report["begin"].replace("Z", "+00:00"))
        self.assertLess(abs((begin - before).total_seconds()), 30)
        self.assertEqual(report["format"], {"pixelFormat": "Mono8", "pixelFormatValue": 0x01080001, "width": 32,
                                            "height": 8, "linePadding": 0, "bytesPerLine": 32})
        self.assertEqual({key: report[key] for key in ("delivered", "incomplete", "lost", "leftOut", "repeated",
                                                       "interrupted")},
                         {"delivered": 3, "incomplete": 0, "lost": 0, "leftOut": 0, "repeated": 0,
                          "interrupted": False})

    def test_each_image(self):
        self.done("grab", "Left", "-n", "4", "-o", "out", *SMALL)
        images = self.report()["images"]
        self.assertEqual([(image["file"], image["number"], image["size"]) for image in images],
                         [(f"image_000{n}.png", n, 256) for n in range(1, 5)])
        arrivals = [image["arrival"] for image in images]
        self.assertEqual(arrivals, sorted(set(arrivals)))
        self.assertLess(arrivals[-1], 5)
        for image, file in zip(images, self.images("out"), strict=True):
            self.assertEqual(image["crc32"], f"{zlib.crc32(pictures.read_png(file).pixels):08x}")
            self.assertEqual((image["frameId"], image["timestamp"]), (None, None))

    def test_what_the_standard_module_knows_too(self):
        self.done("--cti", native(standard_module()), "grab", "Left", "-n", "3", "-o", "out", *SMALL)
        images = self.report()["images"]
        first = images[0]["frameId"]
        self.assertEqual([image["frameId"] for image in images], [first, first + 1, first + 2])
        stamps = [image["timestamp"] for image in images]
        self.assertEqual(stamps, sorted(set(stamps)))
        self.assertGreater(stamps[0], 0)

    def test_pictures_from_raw_files(self):
        """What the file says is enough to make of the raw files what norveltl makes of them itself."""
        for pixel_format in ("Mono8", "Mono16", "RGB8"):
            world = {"interfaces": [{"cameras": [{"width": 36, "height": 10, "pixelFormat": pixel_format,
                                                  "testPattern": "ColorBar"}]}]}
            for kind in ("raw", "png"):
                self.done("grab", "-n", "1", "-o", f"{pixel_format}-{kind}", "--format", kind, world=world)
            report = self.report(f"{pixel_format}-raw")
            image = report["images"][0]
            raw = (self.folder / f"{pixel_format}-raw" / image["file"]).read_bytes()
            self.assertEqual((len(raw), f"{zlib.crc32(raw):08x}"), (image["size"], image["crc32"]))
            form = report["format"]
            size = form["bytesPerLine"] - form["linePadding"]
            lines = [raw[at:at + size] for at in range(0, form["bytesPerLine"] * form["height"], form["bytesPerLine"])]
            pixels = b"".join(lines)
            if form["pixelFormat"] == "Mono16":
                pixels = pictures.swapped(pixels)
            picture = pictures.read_png(self.images(f"{pixel_format}-png")[0])
            with self.subTest(pixel_format=pixel_format):
                self.assertEqual((picture.width, picture.height, len(picture.pixels)),
                                 (form["width"], form["height"], len(pixels)))
                # The number in the first bytes tells two grabs apart, not the picture behind it.
                self.assertEqual(picture.pixels[pictures.STAMP:], pixels[pictures.STAMP:])

    def test_repeated_images_are_counted(self):
        world = {"interfaces": [{"cameras": [{"width": 32, "height": 8, "frameRate": 200, "imageFaults":
                                              [{"kind": "repeated", "skip": 2, "count": 3}]}]}]}
        answer = self.done("grab", "-n", "10", "-o", "out", world=world)
        self.assertEqual(answer.numbers()["repeated"], "3")
        report = self.report()
        self.assertEqual(report["repeated"], 3)
        self.assertEqual([image["number"] for image in report["images"] if image["repeated"]], [3, 4, 5])
        answer = self.done("grab", "-n", "10", "-o", "json", "--json", world=world)
        self.assertEqual(answer.json()["files"]["repeated"], 3)

    def test_it_is_written_when_the_grab_is_interrupted(self):
        process = self.start("grab", "Left", "-n", "100000", "-o", "out", *SMALL)
        process.stdout.readline()
        while len(self.images("out")) < 3:
            self.assertIsNone(process.poll())
        self.assertEqual(self.interrupt(process).code, FAILED)
        report = self.report()
        self.assertTrue(report["interrupted"])
        self.assertEqual([image["file"] for image in report["images"]], [file.name for file in self.images("out")])

    def test_it_is_written_when_the_plug_is_pulled(self):
        world = {"interfaces": [{"cameras": [{"width": 32, "height": 8, "frameRate": 100, "unplugAfterImages": 5}]}]}
        self.assertEqual(self.run_tool("grab", "-o", "out", world=world).code, FAILED)
        self.assertEqual(len(self.report()["images"]), len(self.images("out")))

    def test_the_queue_has_a_size(self):
        """More images come than can be packed; a queue of a megabyte holds none of them, the usual one all."""
        world = {"interfaces": [{"cameras": [{"width": 1280, "height": 1024, "frameRate": 1000}]}]}
        answer = self.run_tool("grab", "-n", "30", "-o", "out", "--queue", "1", "--json", world=world)
        left_out = answer.json()["files"]["leftOut"]
        self.assertGreater(left_out, 0)
        self.assertEqual(answer.err, f"norveltl: {left_out} images could not be written in time and are left out\n"
                         "  Try --format raw, a faster disk, a larger --queue, or a lower frame rate.\n")
        report = self.report()
        self.assertEqual((report["leftOut"], len(report["images"])), (left_out, 30 - left_out))
        self.assertEqual([image["file"] for image in report["images"]], [file.name for file in self.images("out")])
        self.done("grab", "-n", "30", "-o", "large", "--format", "pgm", world=world)
