"""measure: what a picture tells about exposure, focus and noise."""
import pictures
from harness import DONE, FAILED, LEFT, NOTHING_FOUND, ToolTest

RUNS_BESIDE_OTHERS = True


def world(pixel_format, pattern, **more):
    return {"interfaces": [{"cameras": [{"width": 320, "height": 240, "pixelFormat": pixel_format,
                                         "testPattern": pattern, "frameRate": 100, **more}]}]}


class Measuring(ToolTest):
    def measure(self, *arguments):
        return self.done("measure", "--json", world=world(*arguments)).json()

    def test_figures_as_text(self):
        out = self.done("measure", "Left", "--set", "TestPattern=White").out.splitlines()
        self.assertEqual(out[0], f"camera  {LEFT}, Mono8, 640 x 480")
        self.assertEqual(out[1].split(), "mean deviation least most at 0 at the top noise".split())
        self.assertRegex(out[2], r"^grey  25[45]\.\d\d +\d\.\d\d +0 +255 +0\.\d\d % +9\d\.\d\d % +\d\.\d{3}$")
        self.assertEqual(out[3], "top     255")
        self.assertRegex(out[4], r"^focus   0\.\d{5}$")

    def test_grey(self):
        """The pattern is that of the first image; the bytes in front that are no pixels tell little."""
        figures = self.measure("Mono8", "GreyVerticalRampMoving")
        painted = pictures.paint("Mono8", "GreyVerticalRampMoving", 320, 240, 0)
        self.assertEqual((figures["pixelFormat"], figures["width"], figures["height"], figures["top"]),
                         ("Mono8", 320, 240, 255))
        grey, = figures["channels"]
        mean = sum(painted) / len(painted)
        self.assertAlmostEqual(grey["mean"], mean, delta=0.2)
        self.assertAlmostEqual(grey["deviation"], (sum((value - mean) ** 2 for value in painted) / len(painted)) ** 0.5,
                               delta=0.2)
        self.assertEqual(sum(grey["histogram"]), 320 * 240)
        self.assertAlmostEqual(grey["histogram"][100], painted.count(100), delta=pictures.STAMP)

    def test_colours(self):
        for pixel_format in ("RGB8", "BayerRG8"):
            with self.subTest(pixel_format=pixel_format):
                channels = self.measure(pixel_format, "White")["channels"]
                self.assertEqual([channel["name"] for channel in channels], ["red", "green", "blue"])
                for channel in channels:
                    self.assertGreater(channel["saturated"], 0.99)
                    self.assertLess(channel["saturated"], 1.00001)

    def test_16_bits(self):
        figures = self.measure("Mono16", "White")
        self.assertEqual(figures["top"], 65535)
        self.assertGreater(figures["channels"][0]["mean"], 65000)

    def test_noise_is_what_differs_from_image_to_image(self):
        still = self.measure("Mono8", "GreyHorizontalRamp")["channels"][0]["noise"]
        moving = self.measure("Mono8", "GreyDiagonalRampMoving")["channels"][0]["noise"]
        self.assertLess(still, 2)
        # Most pixels differ by 2, but those that begin anew with black by 254.
        self.assertGreater(moving, 10)

    def test_edges_are_sharp(self):
        soft, hard = (self.measure("Mono8", pattern)["focus"] for pattern in ("White", "ColorBar"))
        self.assertGreater(hard, 10 * soft)

    def test_a_histogram(self):
        # Of this pattern's colours red and blue are equally frequent, and darken each other.
        for pixel_format, colours in (("Mono8", {(24, 96, 180)}), ("BayerRG8", {(24, 48, 40), (32, 140, 60)})):
            with self.subTest(pixel_format=pixel_format):
                self.done("measure", "--plot", "plot.png", "--force", world=world(pixel_format, "ColorBar"))
                picture = pictures.read_png(self.folder / "plot.png")
                found = {tuple(picture.pixels[at:at + 3]) for at in range(0, len(picture.pixels), 3)}
                self.assertLessEqual(colours, found)

    def test_what_is_there_already_stays(self):
        (self.folder / "plot.png").write_text("mine")
        self.refused(FAILED, "norveltl: plot.png exists already; --force replaces it\n",
                     "measure", "Left", "--plot", "plot.png")

    def test_what_cannot_be_measured(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x408, "result": -1010}
        answer = self.run_tool("measure", world={**world("Mono8", "White"), "faults": [fault]})
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertIn("norveltl: images of an unknown format cannot be measured\n", answer.err)
        answer = self.run_tool("measure", "Left", "--timeout", "0.3", "--set", "TriggerSelector=FrameStart", "--set",
                               "TriggerMode=On")
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertIn("norveltl: no image came within 0.3 s\n", answer.err)
        self.assertEqual(self.run_tool("measure", "nobody").code, NOTHING_FOUND)
        self.assertEqual(self.run_tool("measure", "Left").code, DONE)
