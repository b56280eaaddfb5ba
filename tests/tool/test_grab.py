"""grab: counts, times, statistics, losses and interruptions."""
import time

import pictures
from harness import DONE, FAILED, LEFT, NOTHING_FOUND, WRONG_USAGE, ToolTest

FAST = ("--set", "Width=32", "--set", "Height=8")


def world(*faults, **camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": 32, "height": 8, **camera}]}],
            "faults": list(faults)}


class Grabbing(ToolTest):
    def test_a_hundred_images_by_default(self):
        answer = self.done("grab", "10001", *FAST, "--set", "AcquisitionFrameRate=1000")
        self.assertTrue(answer.out.startswith(f"camera      {LEFT}, G640M, 8 buffers of 256 bytes\n"), answer.out)
        totals = answer.numbers()
        self.assertEqual((totals["delivered"], totals["incomplete"]), ("100 of 100", "0"))
        self.assertNotIn("files", totals)

    def test_a_count(self):
        self.assertEqual(self.done("grab", "10001", "-n", "7", *FAST).numbers()["delivered"], "7 of 7")
        self.assertEqual(self.done("grab", "10001", "--count=1", *FAST).numbers()["delivered"], "1 of 1")

    def test_a_duration(self):
        begin = time.monotonic()
        totals = self.done("grab", "10001", "-t", "0.8", *FAST).numbers()
        self.assertGreaterEqual(time.monotonic() - begin, 0.8)
        self.assertGreater(int(totals["delivered"]), 1)
        self.assertLessEqual(int(totals["delivered"]), 60)

    def test_count_or_duration_whichever_ends_first(self):
        self.assertEqual(self.done("grab", "10001", "-n", "3", "-t", "60", *FAST).numbers()["delivered"], "3 of 3")
        totals = self.done("grab", "10001", "-n", "100000", "-t", "0.5", *FAST).numbers()
        self.assertRegex(totals["delivered"], r"^\d{1,2} of 100000$")

    def test_the_rate(self):
        totals = self.done("grab", "10001", "-n", "30", *FAST, "--set", "AcquisitionFrameRate=100").numbers()
        frames, megabytes = totals["rate"].removesuffix(" MB/s").split(" frames/s, ")
        self.assertGreater(float(frames), 20)
        self.assertLess(float(frames), 115)
        self.assertAlmostEqual(float(megabytes), float(frames) * 256 / 1e6, delta=0.01)

    def test_buffers(self):
        for count in ("1", "25"):
            answer = self.done("grab", "10001", "-n", "50", "--buffers", count, *FAST)
            self.assertIn(f", {count} buffers of 256 bytes\n", answer.out)

    def test_progress_on_a_pipe_is_a_line_a_second(self):
        lines = self.done("grab", "10001", "-t", "2.5", *FAST).out.splitlines()
        progress = [line for line in lines if "frames/s  " in line]
        self.assertEqual(len(progress), 2)
        self.assertRegex(progress[1], r"^\d+  \d+\.\d frames/s  \d+\.\d MB/s  lost \d+  waiting \d+$")

    def test_nothing_is_left_out(self):
        totals = self.done("grab", "10001", "-n", "40", *FAST, "-o", "out").numbers()
        self.assertEqual((totals["files"], totals["left out"]), ("40 PNG, 0 raw in out", "0"))
        totals = self.done("grab", "10001", "-n", "2", *FAST, "-o", "pgm", "--format", "pgm").numbers()
        self.assertEqual(totals["files"], "2 PGM, 0 raw in pgm")
        totals = self.done("grab", "10001", "-n", "2", *FAST, "-o", "raw", "--format", "raw").numbers()
        self.assertEqual(totals["files"], "0 PNG, 2 raw in raw")

    def test_a_second_grab(self):
        for folder in ("one", "two"):
            self.done("grab", "10001", "-n", "3", *FAST, "-o", folder)
            self.assertEqual(len(self.images(folder)), 3)

    def test_json(self):
        answer = self.done("grab", "10001", "-n", "5", *FAST, "-o", "out", "--json", "--stats").json()
        self.assertEqual({key: answer[key] for key in ("device", "payloadSize", "buffers", "delivered", "incomplete",
                                                       "bytes", "interrupted", "failed", "files")},
                         {"device": LEFT, "payloadSize": 256, "buffers": 8, "delivered": 5, "incomplete": 0,
                          "bytes": 1280, "interrupted": False, "failed": False,
                          "files": {"folder": "out", "pictures": 5, "raw": 0, "repeated": 0, "leftOut": 0,
                                    "notes": []}})
        self.assertAlmostEqual(answer["framesPerSecond"], 5 / answer["seconds"], delta=0.001)
        interval = answer["milliseconds"]["interval"]
        spread = [interval[key] for key in ("min", "median", "p90", "p99", "p999", "max")]
        self.assertEqual(spread, sorted(spread))

    def test_json_stays_json_when_the_camera_cannot_tell_its_format(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x408, "result": -1010}
        answer = self.run_tool("grab", "-n", "1", "-o", "out", "--json", world=world(fault))
        self.assertEqual((answer.code, answer.json()["delivered"]), (DONE, 1))
        self.assertTrue(answer.err.startswith("note: GCReadPort failed: GC_ERR_IO (-1010)"), answer.err)

    def test_images_of_an_unknown_format_are_raw_files(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x408, "result": -1010}
        answer = self.run_tool("grab", "-n", "2", "-o", "out", world=world(fault))
        self.assertEqual((answer.code, answer.numbers()["files"]), (DONE, "0 PNG, 2 raw in out"))
        self.assertTrue(answer.err.endswith("note: the image format is unknown: raw files\n"), answer.err)
        self.assertEqual([file.name for file in self.images("out")],
                         ["image_0001.raw", "image_0002.raw"])


class Statistics(ToolTest):
    def test_a_table_and_a_histogram(self):
        out = self.done("grab", "10001", "-n", "21", *FAST, "--stats").out
        header = next(line for line in out.splitlines() if line.startswith("milliseconds"))
        self.assertEqual(header.split(), "milliseconds min median 90 % 99 % 99.9 % max mean".split())
        bars = out.split("\nintervals\n")[1].splitlines()
        self.assertEqual(len(bars), 10)
        self.assertEqual(sum(int(bar.split()[2]) for bar in bars), 20)

    def curve(self, path):
        """The columns in which the plot draws something, after a look at its extent."""
        picture = pictures.read_png(path)
        self.assertEqual((picture.width, picture.height, picture.channels, picture.bits), (960, 440, 3, 8))
        return sorted({at // 3 % picture.width for at in range(0, len(picture.pixels), 3)
                       if picture.pixels[at:at + 3] == bytes((24, 96, 180))})

    def test_a_plot_fills_its_width(self):
        for count in (2, 61, 502):
            with self.subTest(count=count):
                self.done("grab", "10001", "-n", str(count), *FAST, "--set", "AcquisitionFrameRate=500",
                          "--plot", "plot.png", "--force")
                self.assertEqual(self.curve(self.folder / "plot.png"), list(range(80, 940)))

    def test_a_plot_of_one_image(self):
        self.done("grab", "10001", "-n", "1", *FAST, "--plot", "plot.png", "--stats")
        self.assertEqual(self.curve(self.folder / "plot.png"), [])

    def test_a_plot_that_cannot_be_written(self):
        answer = self.run_tool("grab", "10001", "-n", "2", *FAST, "--plot", "missing/plot.png")
        self.assertEqual((answer.code, answer.err), (FAILED, "norveltl: cannot write missing/plot.png: No such file or directory\n"))
        self.assertEqual(answer.numbers()["delivered"], "2 of 2")


class Failing(ToolTest):
    def test_lost_images_are_counted(self):
        lossy = world(frameRate=200, imageFaults=[{"kind": "lost", "skip": 10, "count": 5}])
        totals = self.done("grab", "-n", "30", "-o", "out", "--format", "raw", world=lossy).numbers()
        self.assertEqual((totals["delivered"], totals["lost"]), ("30 of 30", "5"))
        numbers = [pictures.stamp_number(file.read_bytes()) for file in self.images("out")]
        self.assertEqual(numbers, [*range(10), *range(15, 35)])

    def test_late_images_show_in_the_statistics(self):
        late = world(frameRate=20, imageFaults=[{"kind": "late", "delayMs": 600, "skip": 5, "count": 1}])
        answer = self.done("grab", "-n", "20", "--stats", "--json", world=late).json()
        self.assertGreater(answer["milliseconds"]["interval"]["max"], 500)

    def test_no_image_comes(self):
        begin = time.monotonic()
        answer = self.refused(FAILED, "norveltl: no image came within 0.5 s\n  Check that the camera is not waiting "
                              "for a trigger; --timeout sets the time.\n", "grab", "10001", "--timeout", "0.5",
                              "--set", "TriggerSelector=FrameStart", "--set", "TriggerMode=On")
        self.assertGreater(time.monotonic() - begin, 0.5)
        self.assertEqual(answer.numbers()["delivered"], "0 of 100")
        self.assertGreaterEqual(float(answer.numbers()["time"].removesuffix(" s")), 0.5)

    def test_a_single_frame(self):
        answer = self.run_tool("grab", "10001", "-n", "3", "--timeout", "0.5", "--set", "AcquisitionMode=SingleFrame")
        self.assertEqual((answer.code, answer.numbers()["delivered"]), (FAILED, "1 of 3"))
        self.done("grab", "10001", "-n", "3", "--set", "AcquisitionMode=MultiFrame", "--set",
                  "AcquisitionFrameCount=3")

    def test_the_plug_is_pulled(self):
        answer = self.run_tool("grab", "-n", "100", world=world(frameRate=100, unplugAfterImages=20))
        self.assertEqual(answer.code, FAILED)
        # The cause comes first.
        self.assertTrue(answer.err.startswith("norveltl: EventGetData failed: GC_ERR_ERROR (-1001): \"Port is not "
                                              'available"\n'), answer.err)
        self.assertRegex(answer.numbers()["delivered"], r"^\d+ of 100$")

    def test_json_of_a_failure(self):
        answer = self.run_tool("grab", "-n", "100", "--json", "-t", "20",
                               world=world(frameRate=100, unplugAfterImages=20))
        self.assertEqual((answer.code, answer.json()["failed"]), (FAILED, True))

    def test_a_start_that_fails(self):
        answer = self.run_tool("grab", "-n", "3", world=world({"operation": "StreamStartAcquisition"}))
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.err.startswith("norveltl: DSStartAcquisition failed: GC_ERR_"), answer.err)
        self.assertEqual(answer.numbers()["delivered"], "0 of 3")

    def test_a_stop_that_fails(self):
        answer = self.run_tool("grab", "-n", "3", world=world({"operation": "StreamStopAcquisition"}))
        self.assertEqual((answer.code, answer.numbers()["delivered"]), (FAILED, "3 of 3"))
        self.assertTrue(answer.err.startswith("norveltl: DSStopAcquisition failed: GC_ERR_"), answer.err)

    def test_a_camera_without_a_stream(self):
        self.refused(FAILED, "norveltl: the camera has no data stream\n", "grab", world=world(numStreams=0))

    def test_a_feature_that_cannot_be_set(self):
        self.refused(FAILED, 'norveltl: Width does not take "3": it is at least 4\n',
                     "grab", "10001", "--set", "Width=3")
        self.refused(WRONG_USAGE, 'norveltl: "Width" is not of the form NAME=VALUE\n',
                     "grab", "10001", "--set", "Width")

    def test_which_camera(self):
        self.assertEqual(self.run_tool("grab").code, WRONG_USAGE)
        self.assertEqual(self.run_tool("grab", "nobody").code, NOTHING_FOUND)
        self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "grab", world={})


class Interrupting(ToolTest):
    def interrupted(self, *arguments):
        """The answer of what Ctrl-C ended after it had said its first line."""
        process = self.start(*arguments)
        first = process.stdout.readline()
        time.sleep(0.5)
        answer = self.interrupt(process)
        answer.out = first.decode().replace("\r\n", "\n") + answer.out
        return answer

    def test_a_grab_stops_with_its_totals(self):
        answer = self.interrupted("grab", "10001", "-n", "100000", *FAST, "-o", "out")
        self.assertEqual((answer.code, answer.err), (FAILED, "norveltl: interrupted\n"))
        totals = answer.numbers()
        delivered = int(totals["delivered"].removesuffix(" of 100000"))
        self.assertGreater(delivered, 1)
        self.assertEqual(totals["files"], f"{delivered} PNG, 0 raw in out")
        self.assertEqual(len(self.images("out")), delivered)
        self.done("grab", "10001", "-n", "2", *FAST)

    def test_a_silent_grab_stops_too(self):
        begin = time.monotonic()
        answer = self.interrupted("grab", "10001", "--timeout", "100", "--set", "TriggerSelector=FrameStart",
                                  "--set", "TriggerMode=On")
        self.assertLess(time.monotonic() - begin, 50)
        self.assertEqual((answer.code, answer.err), (FAILED, "norveltl: interrupted\n"))
        self.assertEqual(answer.numbers()["delivered"], "0 of 100")

    def test_events_end_well(self):
        answer = self.interrupted("events", "10001", "--acquire", "--set", "EventNotification=On")
        self.assertEqual((answer.code, answer.err), (DONE, ""))
        self.assertEqual(answer.numbers()["events"], str(answer.out.count("FrameStart")))
