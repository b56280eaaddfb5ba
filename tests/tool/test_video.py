"""grab's videos, on the standard output and in files, as an independent player sees them."""
import struct
import subprocess
import time

import pictures
from harness import DONE, FAILED, WRONG_USAGE, Setting, ToolTest, native

WIDTH, HEIGHT = 64, 48
EDGE = pictures.STAMP  # the bytes that are no pixels touch the first line only


def world(pixel_format="Mono8", pattern="GreyDiagonalRampMoving", **more):
    return {"interfaces": [{"cameras": [{"width": WIDTH, "height": HEIGHT, "pixelFormat": pixel_format,
                                         "testPattern": pattern, "frameRate": 100, **more}]}]}


class Video(ToolTest):
    def assert_exact(self, video, pixel_format, pattern, count):
        """Every frame is an image as the camera sent it, one after the other."""
        self.assertEqual((video.width, video.height, len(video.frames)), (WIDTH, HEIGHT, count))
        numbers = []
        for frame in video.frames:
            image = frame if video.bits == 8 else pictures.swapped(frame)
            numbers.append(pictures.stamp_number(image))
            painted = pictures.paint(pixel_format, pattern, WIDTH, HEIGHT, numbers[-1])
            self.assertEqual(image[EDGE:], painted[EDGE:])
        self.assertEqual(numbers, list(range(numbers[0], numbers[0] + count)))

    def assert_near(self, video, pixel_format, pattern, count, tolerance):
        """Every frame looks like an image, a later one each."""
        self.assertEqual((video.width, video.height, len(video.frames)), (WIDTH, HEIGHT, count))
        last = -1
        for frame in video.frames:
            def difference(number):
                painted = pictures.paint(pixel_format, pattern, WIDTH, HEIGHT, number)
                behind = 16 * WIDTH * video.channels  # what the stamp colours
                return sum(abs(a - b) for a, b in zip(painted[behind:], frame[behind:])) / len(painted[behind:])
            found = min(range(last + 1, last + 6), key=difference)
            self.assertLess(difference(found), tolerance)
            self.assertGreater(found, last)
            last = found

    def stream(self, *arguments, count, **options):
        """What a grab writes to its standard output, as a file, and what it says meanwhile."""
        process = self.start("grab", "-n", str(count), "-o", "-", *arguments, **options)
        out, err = process.communicate(timeout=60)
        self.assertEqual(process.returncode, DONE, err)
        path = self.folder / "stream"
        path.write_bytes(out)
        return path, err.decode().replace("\r\n", "\n")


class Streaming(Video):
    def test_grey(self):
        for pixel_format, bits in (("Mono8", 8), ("Mono16", 16)):
            with self.subTest(pixel_format=pixel_format):
                path, err = self.stream(count=5, world=world(pixel_format))
                video = pictures.video(path)
                self.assertEqual((video.bits, video.rate), (bits, 100))
                self.assert_exact(video, pixel_format, "GreyDiagonalRampMoving", 5)
                self.assertIn("\nstreamed    5\nleft out    0\n", err)

    def test_colours(self):
        path, _ = self.stream(count=4, world=world("RGB8", "ColorBar"))
        self.assertTrue(path.read_bytes().startswith(b"YUV4MPEG2 W64 H48 F100000:1000 Ip A1:1 C444\nFRAME\n"))
        self.assert_near(pictures.video(path, "rgb24"), "RGB8", "ColorBar", 4, 1.5)

    def test_raw(self):
        path, _ = self.stream("-f", "raw", count=3, world=world("BayerRG8", "ColorBar"))
        out = path.read_bytes()
        size = WIDTH * HEIGHT
        self.assertEqual(len(out), 3 * size)
        self.assertEqual([pictures.stamp_number(out[at:at + size]) for at in range(0, len(out), size)], [0, 1, 2])

    def test_triggers_set_the_pace(self):
        path, _ = self.stream("--trigger", "software", "--every", "0.02", count=3, world=world())
        self.assertEqual(pictures.video(path).rate, 50)

    def test_a_reader_that_cannot_keep_up(self):
        """The camera goes on at its pace; what nobody takes is left out and counted, the rest is whole."""
        fast = world(width=1280, height=1024, frameRate=60)
        process = self.start("grab", "-n", "60", "-o", "-", "--queue", "4", world=fast)
        time.sleep(1.5)
        out, err = process.communicate(timeout=60)
        self.assertEqual(process.returncode, FAILED)
        path = self.folder / "stream"
        path.write_bytes(out)
        totals = dict(line.split(maxsplit=1) for line in err.decode().splitlines()
                      if line.startswith(("delivered", "streamed", "time")))
        self.assertEqual(totals["delivered"], "60 of 60")
        self.assertLess(float(totals["time"].removesuffix(" s")), 1.4)
        streamed = int(totals["streamed"])
        self.assertLess(streamed, 60)
        self.assertEqual(len(out), len("YUV4MPEG2 W1280 H1024 F60000:1000 Ip A1:1 Cmono\n") +
                         streamed * (len("FRAME\n") + 1280 * 1024))
        self.assertIn(f"norveltl: {60 - streamed} images could not be written in time", err.decode())

    def test_a_reader_that_goes(self):
        process = self.start("grab", "-n", "100000", "-o", "-", world=world())
        process.stdout.read(1000)
        process.stdout.close()
        err = process.stderr.read().decode()
        self.assertEqual(process.wait(60), FAILED)
        self.assertEqual(err.count("norveltl: cannot write the output: "), 1, err)
        process.stderr.close()

    def test_what_becomes_no_video(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x408, "result": -1010}
        answer = self.run_tool("grab", "-n", "2", "-o", "-", world={**world(), "faults": [fault]})
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertIn("norveltl: images of an unknown format become no video\n", answer.err)

    def test_options_that_make_no_sense(self):
        for arguments in (["-o", "-", "-f", "png"], ["-o", "-", "--json"], ["--codec", "none"],
                          ["Right", "-o", "-"], ["Right", "--record", "x.avi"]):
            self.assertEqual(self.run_tool("grab", "Left", "-n", "1", *arguments).code, WRONG_USAGE, arguments)


class Recording(Video):
    def record(self, pixel_format, pattern, *arguments, count=6):
        answer = self.done("grab", "-n", str(count), "--record", "x.avi", *arguments,
                           world=world(pixel_format, pattern))
        self.assertEqual(answer.numbers()["recorded"], f"{count} in x.avi")
        self.assertEqual(answer.numbers()["left out"], "0")
        return self.folder / "x.avi"

    def test_without_compression(self):
        for pixel_format, form in (("Mono8", "gray"), ("RGB8", "rgb24")):
            with self.subTest(pixel_format=pixel_format):
                path = self.record(pixel_format, "ColorBar", "--codec", "none", "--force")
                self.assert_exact(pictures.video(path, form), pixel_format, "ColorBar", 6)

    def test_16_bits_become_8(self):
        path = self.record("Mono16", "ColorBar", "--codec", "none", count=3)
        video = pictures.video(path, "gray")
        for number, frame in enumerate(video.frames):
            painted = pictures.paint("Mono16", "ColorBar", WIDTH, HEIGHT, number)
            self.assertEqual(frame[WIDTH:], painted[1::2][WIDTH:])

    def test_jpeg(self):
        for pixel_format, form in (("Mono8", "gray"), ("RGB8", "rgb24")):
            with self.subTest(pixel_format=pixel_format):
                pattern = "GreyDiagonalRampMoving"
                path = self.record(pixel_format, pattern, "--force")
                self.assert_near(pictures.video(path, form), pixel_format, pattern, 6, 4)

    def test_the_rate_is_the_one_that_was(self):
        """A camera that says 100 and is triggered 50 times a second."""
        path = self.record("Mono8", "White", "--trigger", "software", "--every", "0.02", count=20)
        self.assertAlmostEqual(pictures.video(path, "gray").rate, 50, delta=10)

    def test_beside_images(self):
        answer = self.done("grab", "-n", "4", "--record", "x.avi", "-o", "out", "--json", world=world()).json()
        self.assertEqual(answer["video"], {"file": "x.avi", "images": 4, "leftOut": 0})
        self.assertEqual(len(self.images("out")), 4)

    def test_what_is_there_already_stays(self):
        (self.folder / "x.avi").write_text("mine")
        self.refused(FAILED, "norveltl: x.avi exists already; --force replaces it\n",
                     "grab", "-n", "2", "--record", "x.avi", world=world())
        self.assertEqual((self.folder / "x.avi").read_text(), "mine")

    def test_a_place_that_is_none(self):
        answer = self.run_tool("grab", "-n", "2", "--record", "missing/x.avi", world=world())
        self.assertEqual(answer.code, FAILED)
        self.assertEqual(answer.err, "norveltl: cannot write missing/x.avi: No such file or directory\n")


class Segments(ToolTest):
    """Long recordings, with segments of 100 kB in place of 1 GiB."""

    SEGMENT, FRAMES, SIZE = 100_000, 300, (30, 50)

    def grow(self, *more):
        path = self.folder / "x.avi"
        program = Setting.producers / ("grow_video.exe" if Setting.is_windows else "grow_video")
        command = [*Setting.launch, str(program), native(path), self.SEGMENT, *self.SIZE, self.FRAMES, *more]
        return subprocess.run([str(word) for word in command], check=False).returncode, path

    def assert_plays(self, path):
        video = pictures.video(path)
        self.assertEqual((video.width, video.height), self.SIZE)
        self.assertEqual(len(video.frames), self.FRAMES)
        for number, frame in enumerate(video.frames):
            self.assertEqual(frame, bytes([number % 256]) * (self.SIZE[0] * self.SIZE[1]))

    def chunks(self, data, begin, end):
        """Offset, name and size of each; the offset is that of the content."""
        while begin < end:
            name, size = struct.unpack_from("<4sI", data, begin)
            yield begin + 8, name, size
            begin += 8 + size + size % 2
        self.assertEqual(begin, end)

    def test_every_frame_of_every_segment(self):
        code, path = self.grow()
        self.assertEqual(code, DONE)
        self.assert_plays(path)
        self.assertEqual(pictures.video(path).rate, 25)
        # A place that only the indexes lead to quickly.
        frame = subprocess.run(["ffmpeg", "-v", "error", "-ss", "11.6", "-i", str(path), "-frames:v", "1", "-f",
                                "rawvideo", "-"], check=True, capture_output=True).stdout
        self.assertEqual(frame[0], 290 % 256)

    def test_indexes(self):
        _, path = self.grow()
        data = path.read_bytes()
        segments = list(self.chunks(data, 0, len(data)))
        self.assertGreater(len(segments), 4)
        self.assertEqual([data[at:at + 4] for at, _, _ in segments], [b"AVI "] + [b"AVIX"] * (len(segments) - 1))
        frames, indexes = [], []
        for at, name, size in segments:
            self.assertEqual(name, b"RIFF")
            self.assertLessEqual(size + 8, self.SEGMENT)
            in_segment = list(self.chunks(data, at + 4, at + size))
            movi, movi_size = next((a, s) for a, n, s in in_segment if n == b"LIST" and data[a:a + 4] == b"movi")
            chunks = list(self.chunks(data, movi + 4, movi + movi_size))
            own = [(a, s) for a, n, s in chunks if n == b"00db"]
            frames += own
            index, index_size = next((a, s) for a, n, s in chunks if n == b"ix00")
            indexes.append((index - 8, index_size + 8, len(own)))
            count, base = struct.unpack_from("<4xI4xQ", data, index)
            entries = struct.unpack_from(f"<{2 * count}I", data, index + 24)
            self.assertEqual([(base + a, s) for a, s in zip(entries[::2], entries[1::2])], own)
            for a, n, s in in_segment:
                if n == b"idx1":
                    old = [struct.unpack_from("<4sIII", data, a + i) for i in range(0, s, 16)]
                    self.assertEqual([(movi + offset + 8, size) for _, _, offset, size in old], own)
        self.assertEqual(sum(name == b"idx1" for a, _, s in segments for _, name, _ in self.chunks(data, a + 4, a + s)), 1)
        self.assertEqual(len(frames), self.FRAMES)
        at = data.index(b"indx") + 8
        count = struct.unpack_from("<4xI", data, at)[0]
        self.assertEqual([struct.unpack_from("<QII", data, at + 24 + 16 * i) for i in range(count)], indexes)
        at = data.index(b"dmlh") + 8
        self.assertEqual(struct.unpack_from("<I", data, at)[0], self.FRAMES)

    def test_a_recording_that_was_killed_plays(self):
        code, path = self.grow("killed")
        self.assertEqual(code, 9)
        self.assert_plays(path)
