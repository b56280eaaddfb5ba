"""grab's files: every pixel is where it belongs."""
import pictures
from harness import FAILED, ToolTest

RUNS_BESIDE_OTHERS = True

WIDTH, HEIGHT = 64, 48


def world(pixel_format, pattern, **more):
    return {"interfaces": [{"cameras": [{"width": WIDTH, "height": HEIGHT, "pixelFormat": pixel_format,
                                         "testPattern": pattern, "frameRate": 100, **more}]}]}


class Pictures(ToolTest):
    def grab(self, pixel_format, pattern, *arguments, count=3):
        """The files of a grab, in their order."""
        self.done("grab", "-n", str(count), "-o", "out", *arguments, world=world(pixel_format, pattern))
        files = self.images("out")
        self.assertEqual([file.stem for file in files], [f"image_{i + 1:04}" for i in range(count)])
        return files

    def assert_image(self, image, pixel_format, pattern):
        """An image as the camera sent it; answers its number."""
        number = pictures.stamp_number(image)
        painted = pictures.paint(pixel_format, pattern, WIDTH, HEIGHT, number)
        self.assertEqual(image[pictures.STAMP:], painted[pictures.STAMP:])
        return number

    def assert_files(self, read, pixel_format, pattern, *arguments):
        numbers = []
        for file in self.grab(pixel_format, pattern, *arguments):
            picture = read(file)
            self.assertEqual((picture.width, picture.height), (WIDTH, HEIGHT))
            self.assertEqual(picture.channels, 3 if pixel_format == "RGB8" else 1)
            self.assertEqual(picture.bits, 16 if pixel_format == "Mono16" else 8)
            image = picture.pixels if picture.bits == 8 else pictures.swapped(picture.pixels)
            numbers.append(self.assert_image(image, pixel_format, pattern))
        self.assertEqual(numbers, sorted(set(numbers)))

    def test_png_of_8_bits(self):
        for pattern in ("GreyDiagonalRampMoving", "GreyVerticalRampMoving", "ColorBar", "White"):
            with self.subTest(pattern=pattern):
                self.folder = self.folder / pattern
                self.folder.mkdir()
                self.assert_files(pictures.read_png, "Mono8", pattern)

    def test_png_of_16_bits(self):
        self.assert_files(pictures.read_png, "Mono16", "GreyDiagonalRampMoving")

    def test_png_in_colour(self):
        self.assert_files(pictures.read_png, "RGB8", "ColorBar")

    def test_pgm_of_8_bits(self):
        self.assert_files(pictures.read_pnm, "Mono8", "GreyDiagonalRampMoving", "--format", "pgm")

    def test_pgm_of_16_bits(self):
        self.assert_files(pictures.read_pnm, "Mono16", "ColorBar", "--format", "pgm")

    def test_ppm_in_colour(self):
        self.assert_files(pictures.read_pnm, "RGB8", "ColorBar", "--format", "pgm")

    def test_tiff(self):
        for pixel_format in ("Mono8", "Mono16", "RGB8"):
            with self.subTest(pixel_format=pixel_format):
                self.folder = self.folder / pixel_format
                self.folder.mkdir()
                self.assert_files(pictures.read_tiff, pixel_format, "ColorBar", "-f", "tiff")
                self.assertEqual({file.suffix for file in self.images("out")}, {".tif"})

    def test_raw(self):
        for file in self.grab("BayerRG8", "ColorBar", "--format", "raw"):
            self.assertEqual(file.suffix, ".raw")
            self.assert_image(file.read_bytes(), "BayerRG8", "ColorBar")

    def test_bayer(self):
        """Behind the rows that the stamp touches, the picture is that of one of the pattern's images."""
        possible = {}
        for number in range(pictures.PERIOD):
            image = pictures.paint("BayerRG8", "ColorBar", WIDTH, HEIGHT, number)
            possible[pictures.demosaic(image, WIDTH, HEIGHT)[2 * 3 * WIDTH:]] = number
        for suffix, read in (("png", pictures.read_png), ("pgm", pictures.read_pnm)):
            with self.subTest(suffix=suffix):
                self.folder = self.folder / suffix
                self.folder.mkdir()
                numbers = []
                for file in self.grab("BayerRG8", "ColorBar", "--format", suffix):
                    picture = read(file)
                    self.assertEqual((picture.channels, picture.bits), (3, 8))
                    self.assertIn(picture.pixels[2 * 3 * WIDTH:], possible)
                    numbers.append(possible[picture.pixels[2 * 3 * WIDTH:]])
                self.assertEqual(numbers, sorted(set(numbers)))

    def test_the_suffix_tells_the_format(self):
        suffixes = []
        for pixel_format, kind in (("Mono8", "png"), ("Mono8", "pgm"), ("RGB8", "pgm"), ("Mono8", "raw")):
            self.folder = self.folder / f"{pixel_format}-{kind}"
            self.folder.mkdir()
            suffixes.append(self.grab(pixel_format, "White", "--format", kind, count=1)[0].suffix)
        self.assertEqual(suffixes, [".png", ".pgm", ".ppm", ".raw"])

    def test_features_set_before(self):
        self.done("grab", "10001", "-n", "1", "-o", "out", "--set", "Width=32", "--set", "Height=8", "--set",
                  "PixelFormat=Mono16", "--set", "TestPattern=White", "--set", "ExposureTime=5000")
        picture = pictures.read_png(self.folder / "out/image_0001.png")
        self.assertEqual((picture.width, picture.height, picture.bits), (32, 8, 16))
        self.assertEqual(picture.pixels[pictures.STAMP:], b"\x80\x00" * (32 * 8 - pictures.STAMP // 2))

    def test_gain_goes_through_its_converter(self):
        self.done("grab", "10001", "-n", "1", "-o", "out", "--set", "Width=32", "--set", "Height=4", "--set",
                  "TestPattern=GreyHorizontalRamp", "--set", "Gain=20")
        picture = pictures.read_png(self.folder / "out/image_0001.png")
        self.assertEqual(list(picture.pixels[32:64]), [min(257 * 10 * x, 65535) >> 8 for x in range(32)])

    def test_selectors_choose_what_is_set(self):
        answer = self.run_tool("grab", "10001", "-n", "1", "--timeout", "0.3",
                               "--set", "TriggerSelector=FrameStart", "--set", "TriggerMode=On")
        self.assertEqual(answer.code, FAILED)
        self.done("grab", "10001", "-n", "1", "--set", "TriggerSelector=FrameStart", "--set", "TriggerMode=On",
                  "--set", "TriggerSelector=AcquisitionStart", "--set", "TriggerMode=Off",
                  "--set", "TriggerSelector=FrameStart", "--set", "TriggerMode=Off")

    def test_a_folder_beyond_ascii(self):
        self.done("grab", "10001", "-n", "1", "-o", "Bilder λ/heute", "--set", "Width=32", "--set", "Height=4")
        self.assertEqual([file.name for file in self.images("Bilder λ/heute")], ["image_0001.png"])

    def test_a_file_in_place_of_the_folder(self):
        (self.folder / "out").write_text("")
        self.refused(FAILED, "norveltl: cannot use the folder out: Not a directory\n", "grab", "10001", "-n", "1", "-o", "out")

    def test_files_that_cannot_be_written(self):
        (self.folder / "out/image_0001.png").mkdir(parents=True)
        answer = self.run_tool("grab", "10001", "-n", "3", "-o", "out")
        self.assertEqual(answer.code, FAILED)
        self.assertIn("image_0001.png", answer.err)
        self.assertRegex(answer.err, r"^norveltl: cannot write out[/\\]image_0001.png: \w")
        self.assertIn("delivered", answer.out)
