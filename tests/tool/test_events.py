"""events: what a camera reports."""
import re

from harness import FAILED, LEFT, NOTHING_FOUND, WRONG_USAGE, ToolTest


def world(*faults, **camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": 32, "height": 8, "frameRate": 50, **camera}]}],
            "faults": list(faults)}


def frame_numbers(out, event):
    """The values of the events: 64 bits behind ID and flags, each group of four bytes low byte first."""
    words = re.findall(rf"^ +\d+\.\d{{3}} s  camera  ID {event}  \w{{8}} \w{{8}} (\w{{8}}) \w{{8}} \w{{8}} \w{{8}}$",
                       out, re.M)
    return [int.from_bytes(bytes.fromhex(word), "little") for word in words]


class Watching(ToolTest):
    def test_events_while_images_are_taken(self):
        answer = self.done("events", "10001", "--acquire", "-t", "1", "--set", "EventNotification=On")
        self.assertTrue(answer.out.startswith(f"camera      {LEFT}\n"), answer.out)
        numbers = frame_numbers(answer.out, "0x9001")
        self.assertEqual(numbers, list(range(len(numbers))))
        self.assertGreater(len(numbers), 5)
        self.assertEqual(answer.numbers()["events"], str(len(numbers)))

    def test_which_events(self):
        out = self.done("events", "10001", "--acquire", "-t", "0.5", "--set", "EventSelector=ExposureEnd",
                        "--set", "EventNotification=On").out
        self.assertEqual(frame_numbers(out, "0x9001"), [])
        self.assertGreater(len(frame_numbers(out, "0x9002")), 1)

    def test_nothing_happens(self):
        for arguments in ((), ("--set", "EventNotification=On"), ("--acquire",)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.done("events", "10001", "-t", "0.2", *arguments).out,
                                 f"camera      {LEFT}\nevents      0\n")

    def test_events_of_a_world_file(self):
        burst = {"eventId": 77, "value": 258, "count": 500, "afterImages": 3}
        answer = self.done("events", "--acquire", "-t", "1", world=world(eventBursts=[burst]))
        self.assertEqual(frame_numbers(answer.out, "0x4d"), [258] * 500)

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
