"""events: what a camera reports."""
import json
import re
import statistics

from harness import FAILED, LEFT, NOTHING_FOUND, WRONG_USAGE, ToolTest, native, standard_module


def world(*faults, **camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": 32, "height": 8, "frameRate": 50, **camera}]}],
            "faults": list(faults)}


def frame_numbers(out, event):
    """The values of the events of that name."""
    return [int(value) for value in re.findall(rf"^ +\d+\.\d{{6}} s  camera  {event}  value (\d+)\b", out, re.M)]


class Watching(ToolTest):
    def test_events_while_images_are_taken(self):
        answer = self.done("events", "10001", "--acquire", "-t", "1", "--set", "EventNotification=On")
        self.assertTrue(answer.out.startswith(f"camera      {LEFT}\n"), answer.out)
        numbers = frame_numbers(answer.out, "FrameStart")
        self.assertEqual(numbers, list(range(len(numbers))))
        self.assertGreater(len(numbers), 5)
        self.assertEqual(answer.numbers()["events"], str(len(numbers)))

    def test_which_events(self):
        out = self.done("events", "10001", "--acquire", "-t", "0.5", "--set", "EventSelector=ExposureEnd",
                        "--set", "EventNotification=On").out
        self.assertEqual(frame_numbers(out, "FrameStart"), [])
        self.assertGreater(len(frame_numbers(out, "ExposureEnd")), 1)

    def test_nothing_happens(self):
        for arguments in ((), ("--set", "EventNotification=On"), ("--acquire",)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.done("events", "10001", "-t", "0.2", *arguments).out,
                                 f"camera      {LEFT}\nevents      0\n")

    def test_events_of_a_world_file(self):
        burst = {"eventId": 77, "value": 258, "count": 500, "afterImages": 3}
        answer = self.done("events", "--acquire", "-t", "1", world=world(eventBursts=[burst]))
        self.assertEqual(frame_numbers(answer.out, "ID 0x4d"), [258] * 500)

    def json_events(self, *words, **options):
        out = self.done("events", "--acquire", *words, "--set", "EventNotification=On", "--json", **options).out
        return [json.loads(line) for line in out.splitlines()]

    def test_names_and_data_are_those_of_the_description(self):
        for words in ((), ("--cti", native(standard_module()))):
            with self.subTest(words=words):
                events = self.json_events(*words, "-t", "0.3", world=world())
                self.assertEqual([event["value"] for event in events], list(range(len(events))))
                self.assertGreater(len(events), 3)
                for event in events:
                    self.assertEqual((event["source"], event["name"], event["id"]), ("camera", "FrameStart", 0x9001))
                    self.assertEqual(set(event["data"]), {"FrameID", "Timestamp"})
                # The camera tells them of the last event, of which there may be another by then.
                ahead = [event["data"]["FrameID"] - event["value"] for event in events]
                self.assertGreaterEqual(min(ahead), 0)
                self.assertEqual(statistics.median_low(ahead), 0)
        out = self.done("events", "--acquire", "-t", "0.2", "--set", "EventNotification=On", world=world()).out
        self.assertRegex(out, r"\n +\d\.\d{6} s  camera  FrameStart  value 1  FrameID \d+  Timestamp \d+ ns\n")

    def test_the_times_are_those_of_the_arrival(self):
        events = self.json_events("-t", "0.6", world=world(frameRate=70))
        self.assertGreater(len(events), 20)
        delays = [event["seconds"] - event["data"]["Timestamp"] / 1e9 for event in events]
        usual = statistics.median(delays)
        # Evenly spread over 20 ms it would be 5 ms.
        self.assertLess(statistics.median(abs(delay - usual) for delay in delays), 0.002)

    def test_the_plug_is_pulled(self):
        answer = self.run_tool("events", "--acquire", "-t", "20", world=world(unplugAfterImages=5))
        self.assertEqual(answer.code, FAILED)
        self.assertIn('norveltl: EventGetData failed: GC_ERR_ERROR (-1001): "Port is not available"\n', answer.err)
        self.assertTrue(answer.out.endswith("\nevents      0\n"), answer.out)

    def test_wrong_usage(self):
        self.assertEqual(self.run_tool("events").code, WRONG_USAGE)
        self.assertEqual(self.run_tool("events", "nobody").code, NOTHING_FOUND)
        self.refused(WRONG_USAGE, 'norveltl: "Width" is not of the form NAME=VALUE\n',
                     "events", "10001", "--set", "Width")
