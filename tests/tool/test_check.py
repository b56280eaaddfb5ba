"""check: how a producer is judged, and what is told of it to people and to programs."""
import concurrent.futures
import json
import os
import re
import xml.etree.ElementTree as xml

from harness import DONE, FAILED, NOTHING_FOUND, WORLDS, Setting, ToolTest, native, producer, standard_module

RUNS_BESIDE_OTHERS = True


def world(*faults, **camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": 32, "height": 8, "frameRate": 50, **camera}]}],
            "faults": list(faults)}


class Checking(ToolTest):
    def test_the_deviations_that_are_known(self):
        self.assert_golden(self.done("check").out, "check.txt")

    def test_the_standard_module_deviates_in_nothing(self):
        answer = self.done("--cti", native(standard_module()), "check")
        self.assertRegex(answer.out, r"\n\d{3} passed, 0 deviate, 0 failed\n$")
        self.assertEqual(len(answer.out.splitlines()), 2, answer.out)

    def test_everything(self):
        answer = self.done("check", "--all", world=world())
        self.assertIn("\npassed    the acquisition delivers images ", answer.out)
        self.assertIn("\npassed    the camera can be opened again ", answer.out)
        self.assertRegex(answer.out, r"\nDSClose +1 +0 +0\n")

    def test_json(self):
        answer = self.done("check", "--json", world=world()).json()
        verdicts = [finding["verdict"] for finding in answer["findings"]]
        self.assertEqual((answer["passed"], answer["deviates"], answer["failed"]),
                         (verdicts.count("passed"), verdicts.count("deviates"), 0))
        self.assertTrue(all(finding["known"] for finding in answer["findings"] if finding["verdict"] == "deviates"))
        for verdict in ("passed", "deviates", "failed"):
            self.assertEqual(sum(counts[verdict] for counts in answer["functions"].values()), answer[verdict])
        self.assertEqual(set(answer["functions"]), {finding["function"] for finding in answer["findings"]})

    def test_no_camera(self):
        self.refused(NOTHING_FOUND, "norveltl: found no camera to check\n", "check", world={})

    def test_the_examples_of_worlds(self):
        self.done("check", world=WORLDS / "small.json")


class JUnit(ToolTest):
    def report(self, *arguments, **options):
        """The exit code, the suite, and of each case that is wrong its name, kind, type and message."""
        answer = self.run_tool(*arguments, "check", "--junit", native(self.folder / "report.xml"), **options)
        suite, = xml.parse(self.folder / "report.xml").getroot()
        wrong = [(case.get("name"), trouble.tag, trouble.get("type"), trouble.get("message"))
                 for case in suite for trouble in case]
        return answer, suite, wrong

    def test_deviations(self):
        answer, suite, wrong = self.report(world=world())
        passed, deviates, failed = map(int, re.search(r"(\d+) passed, (\d+) deviate, (\d+) failed", answer.out).groups())
        self.assertEqual((answer.code, suite.get("tests"), suite.get("failures"), suite.get("errors"), failed),
                         (DONE, str(passed + deviates), str(deviates), "0", 0))
        self.assertEqual((len(suite), len(wrong)), (passed + deviates, deviates))
        self.assertEqual(wrong[0], ("GCInitLib again", "failure", "known deviation", "GC_ERR_SUCCESS (0)"))
        self.assertIn(("EventKill ends an infinite wait (Cam)", "failure", "known deviation",
                       "still waiting after 1000 ms"), wrong)
        self.assertTrue(suite.get("name").endswith("NorvelTL40.cti"))

    def test_failures(self):
        answer, suite, wrong = self.report(world=world({"operation": "StreamStartAcquisition"}))
        self.assertEqual((answer.code, suite.get("errors")), (FAILED, str(len([w for w in wrong if w[1] == "error"]))))
        self.assertIn(("the acquisition delivers images (Cam)", "error", "failed"), [case[:3] for case in wrong])

    def test_what_is_no_xml_becomes_xml(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x528, "result": -1010}
        camera = world(fault, name='<&">')
        answer, _, wrong = self.report(world=camera)
        self.assertIn('<&">', answer.out)
        self.assertIn('feature Gain (<&">)', [case[0] for case in wrong])

    def test_what_cannot_be_written(self):
        places = [(native(self.folder / "missing/report.xml"), "No such file or directory")]
        if not Setting.is_windows:
            places.append(("/dev/full", "No space left on device"))
        for path, why in places:
            with self.subTest(path=path):
                answer = self.run_tool("check", "--junit", path, world=world())
                self.assertEqual((answer.code, answer.err), (FAILED, f"norveltl: cannot write {path}: {why}\n"))
                self.assertTrue(answer.out.endswith(" 0 failed\n"), answer.out)


class Cameras(ToolTest):
    """Cameras that fail below the producer."""

    def check_fails(self, what, world_):
        answer = self.run_tool("check", world=world_)
        self.assertEqual(answer.code, FAILED)
        self.assertRegex(answer.out, rf"(?m)^FAILED    {what}")
        self.assertNotRegex(answer.out, r"(?m), 0 failed$")

    def test_cameras_that_fail(self):
        for operation, what in (("StreamStartAcquisition", "the acquisition delivers images .* DSStartAcq"),
                                ("InterfaceOpenDevice", "the camera can be opened, used and closed .* IFOpen"),
                                ("DeviceOpenDataStream", "the stream can be opened, used and closed .* DevOpen"),
                                ("StreamStopAcquisition", "the acquisition has stopped"),
                                ("DeviceReadPort", "the camera's description is well-formed")):
            with self.subTest(operation=operation):
                self.check_fails(what, world({"operation": operation}))

    def test_a_camera_that_loses_its_plug(self):
        answer = self.run_tool("check", world=world(unplugAfterImages=5))
        self.assertEqual(answer.code, FAILED)
        # Advice of several lines stays out of the table.
        self.assertNotIn("?", answer.out)

    def test_a_feature_that_cannot_be_read(self):
        fault = {"operation": "DeviceReadPort", "selector": 0x528, "result": -1010}
        answer = self.run_tool("check", world=world(fault))
        self.assertEqual(answer.code, DONE)
        self.assertRegex(answer.out, r"(?m)^deviates  feature Gain +Cam +GCReadPort failed: GC_ERR_IO")


# What one wrong answer of a producer is found by, each a check and the answer that is told.
MUTATIONS = {
    "wakes nobody": (("EventKill ends a wait", "GC_ERR_TIMEOUT (-1011)"),
                     ("EventKill ends an infinite wait", "still waiting after 1000 ms")),
    "another last error": (("GCGetLastError after a failure", "GC_ERR_ERROR (-1001)"),),
    "no URL": (("the port of the stream names a description", "0 URLs"),),
    "no URL info": (("GCGetPortURLInfo gives a URL of the device", "refused, or an empty one"),),
    "another URL": (("GCGetPortURL gives the first URL of an interface", '"Xocal:Norvel_Interface.xml;1000;'),),
    "broken XML": tuple((f"the XML at the URL of {module}", "the camera's XML is malformed in line 1")
                        for module in ("the system", "an interface", "the device", "the camera", "the stream")),
    "slow refusals": (("a refusal costs little", ""),),
    "opens listed cameras only": (("IFOpenDevice after the interface was opened anew",
                                   "IFOpenDevice failed: GC_ERR_INVALID_ID (-1007)"),),
    "old images": (("a restarted stream delivers new images only", "buffers as they were"),),
    "loses a buffer": (("a restarted stream uses every buffer", "3 of 4"),),
    "wide flag": (("STREAM_INFO_DEFINES_PAYLOADSIZE into one byte", "GC_ERR_SUCCESS (0), and wrote behind it"),),
    "no payload type": (("BUFFER_INFO_PAYLOADTYPE", "GC_ERR_NOT_AVAILABLE (-1014)"),),
    "another type": (("BUFFER_INFO_WIDTH", "type 6 of 8 bytes"),),
    "another width": (("BUFFER_INFO_WIDTH is the camera's Width", "33"),),
    "another height": (("BUFFER_INFO_HEIGHT is the camera's Height", "9"),),
    "no image present": (("BUFFER_INFO_IMAGEPRESENT of an image", "0"),),
    "no new data": (("BUFFER_INFO_NEW_DATA of a delivered buffer", "0"),),
    "more than the buffer": (("BUFFER_INFO_SIZE_FILLED is within the buffer", "257"),),
    "frames descend": (("BUFFER_INFO_FRAMEID ascends", "a later image has the same or a lower one"),),
    # A camera need not tell it.
    "no width": (),
}


class Mutations(ToolTest):
    """Other producers: the standard module with one answer changed."""

    def setUp(self):
        super().setUp()
        self.world = self.folder / "cameras.json"
        self.world.write_text(json.dumps(world(frameRate=200)))

    def check(self, name, mutation):
        variables = {"NORVELTL_TEST_PRODUCER": native(standard_module()), "NORVELTL_TEST_MUTATION": mutation}
        return self.run_tool("--cti", producer(name), "check", "--json", world=self.world,
                             variables=variables)

    def test_nothing_is_wrong(self):
        answer = self.check("forwarding", "").json()
        self.assertEqual((answer["deviates"], answer["failed"]), (0, 0))

    def test_each_wrong_answer_is_found(self):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            answers = pool.map(lambda mutation: self.check("forwarding", mutation), MUTATIONS)
        for (mutation, expected), judged in zip(MUTATIONS.items(), answers):
            with self.subTest(mutation=mutation):
                findings = judged.json()["findings"]
                found = {(finding["check"], finding["answer"]) for finding in findings
                         if finding["verdict"] == "deviates"}
                self.assertEqual(bool(found), bool(expected), found)
                for check, answer in expected:
                    self.assertTrue([f for f in found if f[0] == check and f[1].startswith(answer)], (check, found))
                self.assertFalse(any(finding["known"] for finding in findings))

    def test_a_wait_without_an_end(self):
        answer = self.check("forwarding", "waits for ever")
        failed = [finding["check"] for finding in answer.json()["findings"] if finding["verdict"] == "FAILED"]
        self.assertEqual((answer.code, failed), (FAILED, ["an image ends an infinite wait"]))


class Lacking(ToolTest):
    """A producer without some of the functions."""

    missing = ["DSClose", "DSGetBufferPartInfo", "EventKill", "GCGetNumPortURLs", "GCGetPortInfo", "GCReadPortStacked"]

    def arguments(self):
        return {"world": world(), "variables": {"NORVELTL_TEST_PRODUCER": native(standard_module())}}

    def test_what_is_missing_is_found(self):
        answer = self.run_tool("--cti", producer("lacking"), "check", "--json", **self.arguments()).json()
        deviations = sorted((finding["function"], finding["check"], finding["answer"])
                            for finding in answer["findings"] if finding["verdict"] == "deviates")
        self.assertEqual(deviations, [(name, f"{name} is exported", "missing") for name in self.missing])
        passed = [finding["check"] for finding in answer["findings"] if finding["verdict"] == "passed"]
        for check in ("the acquisition delivers images", "the XML at the URL of the camera"):
            self.assertIn(check, passed)

    def test_what_does_not_need_it_works(self):
        for arguments in (("list",), ("info", "interface"), ("features",), ("xml", "port"), ("read", "port", "0x140"),
                          ("grab", "-n", "5")):
            with self.subTest(arguments=arguments):
                answer = self.run_tool("--cti", producer("lacking"), *arguments, **self.arguments())
                noted = "note: the producer does not export GCGetPortInfo\n" if arguments[0] == "info" else ""
                self.assertEqual((answer.code, answer.err), (DONE, noted))
                self.assertNotEqual(answer.out, "")

    def test_what_needs_it_says_so(self):
        self.refused(FAILED, "norveltl: the producer does not export GCReadPortStacked\n",
                     "--cti", producer("lacking"), "read", "port", "0x140", "0x144", **self.arguments())

    def test_without_a_list(self):
        error = "norveltl: the producer does not export TLGetNumInterfaces\n"
        self.refused(FAILED, error, "--cti", producer("without_list"), "list")
        answer = self.run_tool("--cti", producer("without_list"), "check")
        self.assertEqual(answer.code, NOTHING_FOUND)
        self.assertRegex(answer.out, r"(?m)^deviates  TLGetNumInterfaces is exported +missing ")
        self.assertRegex(answer.out, r"(?m)^FAILED    the system lists its interfaces +the producer does not export")
