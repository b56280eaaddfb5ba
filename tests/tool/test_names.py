"""Names as people type them: one way to name a camera everywhere, in any case, and what a misspelt name meant."""
from harness import LEFT, MICROSCOPE, NOTHING_FOUND, RIGHT, WRONG_USAGE, ToolTest

RUNS_BESIDE_OTHERS = True

CAMERAS = "".join(f"\n  {name}  {model}  serial number {number}, read and write" for name, model, number in (
    (RIGHT, "G1300C", 10002), (LEFT, "G640M", 10001), (MICROSCOPE, "U320C", 20001))) + "\n"

SMALL = ("--set", "Width=32", "Height=8", "AcquisitionFrameRate=500")


def only(**camera):
    return {"interfaces": [{"cameras": [camera]}]}


class OneWay(ToolTest):
    def same(self, expected, *ways, **options):
        for words in ways:
            with self.subTest(words=words):
                self.assertEqual(self.done(*words, **options).out, expected)

    def test_features(self):
        self.same("640\n", ["get", "Left", "Width"], ["get", "-d", "Left", "Width"], ["get", "Width", "--device", "Left"],
                  ["get", "SN->10001", "Width"], ["get", "g640", "Width"])
        self.same("", ["set", "Left", "Width=320", "OffsetX=320"], ["set", "-d", "Left", "Width=320", "OffsetX=320"],
                  ["exec", "Left", "TimestampLatch"], ["exec", "-d", "Left", "TimestampLatch"])
        listed = self.done("features", "Left", "Width").out
        self.assertIn("640 pixel", listed)
        self.same(listed, ["features", "-d", "Left", "Width"])
        self.same(self.done("features", "-d", "Left").out, ["features", "Left"])

    def test_registers_and_modules(self):
        self.same("640\n", *(["read", *words, "0x400", "--u32"] for words in (
            ["Left"], ["port:Left"], ["-d", "Left"], ["-d", "Left", "port"], ["Port:left"])))
        self.same("", *(["write", *words, "0x400=320", "--u32"] for words in (["Left"], ["-d", "Left"], ["port:Left"])))
        self.same(self.done("xml", "port:Left").out, ["xml", "Left"], ["xml", "-d", "Left"])
        self.same(self.done("info", "stream:Left").out, ["info", "-d", "Left", "stream"])
        modules = [module["module"] for module in self.done("info", "Left", "--json").json()]
        self.assertEqual(modules, ["system", "interface", "device", "port", "stream"])

    def test_images_and_events(self):
        for words in (["grab", "Left"], ["grab", "-d", "Left"]):
            self.assertTrue(self.done(*words, "-n", "1", *SMALL).out.startswith(f"camera      {LEFT}, "))
        for words in (["events", "Left"], ["events", "-d", "Left"]):
            self.assertEqual(self.done(*words, "-t", "0.1").out, f"camera      {LEFT}\nevents      0\n")

    def test_named_twice(self):
        self.assertEqual(self.run_tool("events", "Left", "-d", "Right", "-t", "0.1").code, WRONG_USAGE)
        self.refused(WRONG_USAGE, 'norveltl: "port:Left" and --device do not go together\n',
                     "xml", "port:Left", "-d", "Right")
        self.refused(WRONG_USAGE, 'norveltl: "system" and --device do not go together\n', "info", "system", "-d", "Left")

    def test_the_only_camera_needs_no_name(self):
        self.same("640\n", ["get", "Width"], ["get", "width"], ["get", "Norvel", "Width"], world=only())

    def test_a_feature_of_the_only_camera_is_no_part_of_its_name(self):
        self.same("640\n", ["get", "Width"], ["get", "line-", "Width"], world=only(name="line-width"))
        # But a whole name it is.
        self.same("640\n", ["get", "Width", "Width"], world=only(name="width"))

    def test_nothing_but_a_camera(self):
        self.refused(WRONG_USAGE, "norveltl: no feature is named\n", "get", "Left")
        self.refused(WRONG_USAGE, "norveltl: no feature is named\n", "exec", "Left")
        self.refused(WRONG_USAGE, "norveltl: no register is named\n", "read", "Left")


class AnyCase(ToolTest):
    def test_commands_cameras_features_entries_and_modules(self):
        self.assertEqual(self.done("GET", "lEFT", "width", "PIXELFORMAT").out, "Width=640\nPixelFormat=Mono8\n")
        self.done("set", "left", "pixelformat=rgb8", "width=320")
        self.done("exec", "left", "timestamplatch")
        self.assertEqual(self.done("read", "DEVICE:left", "0", "--u32").code, 0)
        self.assertEqual(self.done("info", "interface:gev::ETH0").out, self.done("info", "interface:GEV::eth0").out)

    def test_the_exact_name_wins(self):
        names = {"top": 32, "Top": 64, "TOPMOST": 128}
        world = {"interfaces": [{"cameras": [{"name": f"{width}", "userDefinedName": name, "width": width}
                                             for name, width in names.items()]}]}
        for name, width in {**names, "topmost": 128, "most": 128}.items():
            self.assertEqual(self.done("get", name, "Width", world=world).out, f"{width}\n")
        answer = self.run_tool("get", "TOP", "Width", world=world)
        self.assertEqual(answer.code, WRONG_USAGE)
        self.assertRegex(answer.err, r"^norveltl: several cameras can be meant; name one of them:\n"
                                     r"  32  .*\n  64  .*\n$")


class DidYouMean(ToolTest):
    def test_cameras(self):
        self.refused(NOTHING_FOUND, f'norveltl: no camera is named "Lfet"; did you mean Left? There are:{CAMERAS}',
                     "get", "Lfet", "Width")
        self.refused(NOTHING_FOUND, f'norveltl: no camera is named "1001"; did you mean 10001? There are:{CAMERAS}',
                     "grab", "1001")

    def test_features(self):
        for word, meant in (("Widht", "Width"), ("gian", "Gain"), ("ExposureTmie", "ExposureTime"),
                            ("exposure", "ExposureTime")):
            with self.subTest(word=word):
                answer = self.run_tool("get", "Left", word)
                self.assertRegex(answer.err, rf"^norveltl: the camera has no feature {word}; did you mean {meant}\b")

    def test_entries(self):
        self.refused(1, 'norveltl: PixelFormat does not take "Mno8": it is one of Mono8, Mono16, BayerRG8, RGB8; '
                     "did you mean Mono8?\n", "set", "Left", "PixelFormat=Mno8")

    def test_commands_and_options(self):
        for words, reason, command in ((["grap"], "there is no command grap; did you mean grab?", ""),
                                       (["grab", "Left", "--cuont", "5"],
                                        "there is no option --cuont; did you mean --count?", "grab ")):
            self.refused(WRONG_USAGE, f'norveltl: {reason}\n  "norveltl {command}--help" tells what there is.\n', *words)


class SeveralSettings(ToolTest):
    def size(self, *words):
        return self.done("grab", *words).out.splitlines()[0].split()[-2]

    def test_behind_one_option(self):
        self.assertEqual(self.size("Left", "-n", "1", "--set", "Width=32", "Height=8"), "256")
        self.assertEqual(self.size("--set", "Width=32", "Height=8", "-n", "1", "Left"), "256")
        self.assertEqual(self.size("--set=Width=32", "Height=8", "Left", "-n", "1"), "256")
        self.assertEqual(self.size("--set", "Width=32", "--set", "Height=8", "Left", "-n", "1"), "256")
