"""Which producers are found, and what is said of broken ones; the command line itself."""
import re
import shutil

from harness import (DONE, FAILED, NOTHING_FOUND, WRONG_USAGE, Setting, ToolTest, camera_library, library, module,
                     native, producer, separator)

RUNS_BESIDE_OTHERS = True

NOBODY = 'GC_ERR_ACCESS_DENIED (-1005): "Nobody is at home."\n'


class Broken(ToolTest):
    def test_every_way_to_be_broken(self):
        for name, code, error in (
                ("failing_init", FAILED, "norveltl: GCInitLib failed: GC_ERR_CUSTOM (-10001); "
                 f"the last recorded error is {NOBODY}"),
                ("failing_open", FAILED, f"norveltl: TLOpen failed: {NOBODY}"
                 "  Another program may hold it: close that program and try again.\n"),
                ("failing_close", NOTHING_FOUND, "norveltl: found no camera\nnorveltl: TLClose failed: "
                 f"GC_ERR_BUSY (-1022); the last recorded error is {NOBODY}"),
                ("lonely", NOTHING_FOUND, "norveltl: found no camera\n")):
            with self.subTest(name=name):
                self.refused(code, error, "--cti", producer(name), "list")

    def test_a_library_that_is_no_producer(self):
        path = native(library("further"))
        self.refused(FAILED, f"norveltl: {path} is no usable producer: it does not export GCInitLib\n",
                     "--cti", path, "list")

    def test_closing_that_fails_is_a_failure(self):
        self.refused(FAILED, f"norveltl: TLClose failed: GC_ERR_BUSY (-1022); the last recorded error is {NOBODY}",
                     "--cti", producer("failing_close"), "read", "system", "0")

    def test_no_device(self):
        for arguments, error in ((("info",), "found no camera"), (("info", "interface"), "found no interface"),
                                 (("grab",), "found no camera"), (("features",), "found no camera"),
                                 (("events",), "found no camera"), (("check",), "found no camera to check")):
            with self.subTest(arguments=arguments):
                self.refused(NOTHING_FOUND, f"norveltl: {error}\n", "--cti", producer("lonely"), *arguments)

    def test_no_description(self):
        self.refused(FAILED, "norveltl: the module names no XML description\n",
                     "--cti", producer("lonely"), "xml", "system")

    def test_what_is_no_module(self):
        for path in (self.folder / "none.cti", self.folder):
            self.refused(NOTHING_FOUND, f"norveltl: there is no producer module at {native(path)}\n",
                         "--cti", native(path), "list")
        text = self.folder / "text.cti"
        text.write_text("no module")
        answer = self.run_tool("--cti", native(text), "list")
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        self.assertTrue(answer.err.startswith(f"norveltl: cannot load {native(text)}: "), answer.err)


class Searching(ToolTest):
    """The tool lies in a folder of its own here, so that only the search finds modules."""

    def setUp(self):
        super().setUp()
        self.tool = self.install("tool", Setting.program) / Setting.program.name

    def search(self, *arguments, places=()):
        return self.run_tool(*arguments, program=self.tool, search=separator().join(map(str, places)))

    def paths(self, answer):
        self.assertEqual(answer.code, DONE, answer.err)
        return [entry["path"] for entry in answer.json()["producers"]]

    def test_nowhere(self):
        own = native(self.tool.parent / "NorvelTL40.cti")
        for places in ((), ("",), (native(self.folder / "missing"), native(self.folder))):
            answer = self.search("list", places=places)
            self.assertEqual((answer.code, answer.err), (
                NOTHING_FOUND, f"norveltl: found no producer module: there is no {own} and no .cti file through "
                "GENICAM_GENTL64_PATH\n  Name one with --cti PATH.\n"))

    def test_folders_and_files(self):
        found = self.install("found", module(), camera_library())
        (found / "notes.txt").write_text("no module")
        expected = [native(found / "NorvelTL40.cti")]
        for places in ((native(found),), (native(found / "NorvelTL40.cti"),),
                       ("", native(self.folder / "missing"), native(found), native(found))):
            with self.subTest(places=places):
                self.assertEqual(self.paths(self.search("list", "--json", places=places)), expected)

    def test_the_module_beside_the_tool_comes_first(self):
        self.install("found", Setting.producers / "lonely.cti")
        for file in (module(), camera_library()):
            (self.tool.parent / file.name).write_bytes(file.read_bytes())
        answer = self.search("list", "--json", places=(native(self.folder / "found"),))
        self.assertEqual(self.paths(answer), [native(self.tool.parent / "NorvelTL40.cti")])

    def test_a_named_module_comes_before_all(self):
        answer = self.search("--cti", producer("lonely"), "list", places=(native(module().parent),))
        self.assertIn("ID Lonely", answer.out)
        self.assertEqual(answer.code, NOTHING_FOUND)

    def test_several_producers(self):
        places = (native(module()), producer("lonely"))
        answer = self.search("list", places=places)
        self.assertEqual(answer.code, DONE)
        self.assertEqual(re.findall(r"^  ID (\S+),", answer.out, re.M), ["NorvelTL40.cti", "Lonely"])
        answer = self.search("info", "system", places=places)
        self.assertEqual((answer.code, answer.err), (
            WRONG_USAGE, "norveltl: several producers can be meant; choose one:"
            f"\n  --cti {places[0]}\n  --cti {places[1]}\n"))
        self.assertEqual(self.search("get", "-d", "10001", "Width", places=places).out, "640\n")

    def test_a_broken_one_hides_no_other(self):
        broken = self.install("broken")
        shutil.copy2(library("further"), broken / "further.cti")
        error = f"{native(broken / 'further.cti')}: {native(broken / 'further.cti')} is no usable producer: " \
                "it does not export GCInitLib"
        answer = self.search("list", places=(native(broken), native(module())))
        self.assertEqual((answer.code, answer.err), (FAILED, f"norveltl: {error}\n"))
        self.assertIn("Norvel-G640M-10001", answer.out)
        answer = self.search("grab", "10001", "-n", "1", places=(native(broken), native(module())))
        self.assertEqual((answer.code, answer.err), (DONE, f"note: {error}\n"))

    def test_none_that_can_be_used(self):
        broken = self.install("broken", Setting.producers / "failing_open.cti")
        shutil.copy2(library("further"), broken / "further.cti")
        answer = self.search("list", places=(native(broken),))
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.err.startswith("norveltl: no producer module can be used:\n  "), answer.err)
        self.assertIn("TLOpen failed", answer.err)
        self.assertIn("does not export GCInitLib", answer.err)


class Usage(ToolTest):
    def test_version_and_help(self):
        self.assertRegex(self.done("--version").out, r"^norveltl \d+\.\d+\.\d+\.\d+\n$")
        self.assertIn("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing found.", self.done("--help").out)

    def test_wrong_usage(self):
        for arguments, error in (((), "A command is required"),
                                 (("lst",), "there is no command lst; did you mean list?"),
                                 (("list", "extra"), "The following argument was not expected: extra"),
                                 (("list", "--bogus"), "there is no option --bogus"),
                                 (("--cti",), "--cti: 1 required PATH missing"),
                                 (("read",), "target is required"),
                                 (("get",), "names is required"),
                                 (("grab", "-n", "0"), "--count: 0 is no whole number from 1 to 18446744073709551615"),
                                 (("grab", "-n", "-3"), "--count: -3 is no whole number from 1 to 18446744073709551615"),
                                 (("grab", "-n", "x"), "--count: x is no whole number from 1 to 18446744073709551615"),
                                 (("grab", "-t", "nan"), "--time: nan is no number above 0"),
                                 (("grab", "--timeout", "0"), "--timeout: 0 is no number above 0"),
                                 (("events", "-t", "-1"), "--time: -1 is no number above 0"),
                                 (("grab", "--buffers", "0"), "--buffers: Value 0 not in range 1 to 10000"),
                                 (("grab", "--format", "bmp"), "--format: bmp not in {png,pgm,tiff,raw}")):
            with self.subTest(arguments=arguments):
                known = [word for word in arguments if word in ("list", "xml", "read", "get", "grab", "events")]
                help_ = " ".join(["norveltl", *known, "--help"])
                answer = self.refused(WRONG_USAGE, f'norveltl: {error}\n  "{help_}" tells what there is.\n', *arguments)
                self.assertEqual(answer.out, "")

    def test_options_of_the_program_may_stand_behind_the_command(self):
        self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "list", "--cti", producer("lonely"))
