"""What is printed and written arrives whole, or the command says that it did not."""
import resource

from harness import DONE, FAILED, LEFT, Setting, ToolTest

RUNS_BESIDE_OTHERS = True

FAST = ("--set", "Width=32", "--set", "Height=8", "--set", "AcquisitionFrameRate=500")

FULL = "norveltl: cannot write the output: No space left on device\n"


class FullOutput(ToolTest):
    def full(self, *arguments, **options):
        with open("/dev/full", "wb") as out:
            return self.run_tool(*arguments, out=out, **options)

    def test_every_command_that_prints(self):
        for arguments in (["list"], ["list", "--json"], ["info", "system"], ["info", "system", "--json"],
                          ["xml", "port:Left"], ["read", "port:Left", "0x400"], ["read", "port:Left", "0x400", "0x404", "--u32"],
                          ["features", "-d", "Left", "Width"], ["features", "-d", "Left", "--json"],
                          ["get", "-d", "Left", "Width"], ["grab", "Left", "-n", "2"],
                          ["grab", "Left", "-n", "2", "--json"], ["grab", "Left", "-t", "1.5", "--stats"],
                          ["--help"], ["--version"], ["grab", "--help"]):
            with self.subTest(arguments=arguments):
                answer = self.full(*arguments)
                self.assertEqual((answer.code, answer.err), (FAILED, FULL))

    def test_events_end_where_nobody_can_see_them(self):
        answer = self.full("events", "Left", "--acquire", "--set", "EventNotification=On")
        self.assertEqual((answer.code, answer.err), (FAILED, FULL))

    def test_images_are_written_all_the_same(self):
        answer = self.full("grab", LEFT, "-n", "3", "-o", "out")
        self.assertEqual((answer.code, answer.err), (FAILED, FULL))
        self.assertEqual(len(self.images("out")), 3)

    def test_what_prints_nothing_is_done(self):
        self.assertEqual(self.full("set", "-d", "Left", "Width=320").code, DONE)


class FullDisk(ToolTest):
    """A file grows to so many bytes and no further, as on a full disk."""

    SMALL = 1000

    def refused_by_disk(self, file, *arguments):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (self.SMALL, self.SMALL))

        answer = self.run_tool(*arguments, preexec_fn=limit, restore_signals=False)
        self.assertEqual(answer.code, FAILED, answer.out)
        self.assertRegex(answer.err, rf"^norveltl: cannot write {file}: \w[\w ]+\n")

    def test_no_damaged_image(self):
        for kind, name in (("png", "png"), ("pgm", "pgm"), ("raw", "raw")):
            with self.subTest(kind=kind):
                self.refused_by_disk(rf"{kind}[/\\]image_\d+\.{name}", "grab", "Left", "-n", "3", "-o", kind,
                                     "--format", kind)
                self.assertEqual([file.name for file in (self.folder / kind).iterdir() if file.name != "grab.json"], [])

    def test_no_damaged_plot(self):
        self.refused_by_disk("plot.png", "grab", "Left", "-n", "200", *FAST, "--plot", "plot.png")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_no_damaged_description(self):
        (self.folder / "x.xml").write_text("mine")
        self.refused_by_disk("x.xml", "xml", "port:Left", "-o", "x.xml", "--force")
        self.assertEqual([file.read_text() for file in self.folder.iterdir()], ["mine"])


class Existing(ToolTest):
    """What is there already stays, unless --force asks for its place."""

    def files(self, folder):
        return sorted(file.name for file in (self.folder / folder).iterdir())

    def grab(self, count, *arguments):
        return self.done("grab", "Left", "-n", str(count), *FAST, *arguments)

    def test_each_run_has_a_folder_of_its_own(self):
        for run, folder in enumerate(("out", "out-2", "out-3"), 2):
            answer = self.grab(run, "-o", "out")
            self.assertEqual(answer.numbers()["files"], f"{run} PNG, 0 raw in {folder}")
        self.assertEqual([len(self.images(folder)) for folder in ("out", "out-2", "out-3")], [2, 3, 4])
        answer = self.grab(1, "-o", "out/", "--json")
        self.assertEqual(answer.json()["files"]["folder"], "out-4")

    def test_other_files_in_the_folder_do_no_harm(self):
        (self.folder / "out").mkdir()
        for name in ("notes.txt", "image_1.png", "my image_0001.png", "image_0001.bmp"):
            (self.folder / "out" / name).write_text("mine")
        self.grab(2, "-o", "out", "--force")
        self.assertEqual(self.files("out"), ["grab.json", "image_0001.bmp", "image_0001.png", "image_0002.png",
                                             "image_1.png", "my image_0001.png", "notes.txt"])
        self.assertEqual((self.folder / "out/notes.txt").read_text(), "mine")

    def test_force_replaces_an_earlier_run(self):
        self.grab(5, "-o", "out", "--format", "pgm")
        self.grab(2, "-o", "out", "--force")
        self.assertEqual(self.files("out"), ["grab.json", "image_0001.png", "image_0002.png"])

    def test_a_plot_is_not_replaced(self):
        (self.folder / "plot.png").write_text("mine")
        self.refused(FAILED, "norveltl: plot.png exists already; --force replaces it\n",
                     "grab", "Left", "-n", "2", "--plot", "plot.png")
        self.assertEqual((self.folder / "plot.png").read_text(), "mine")
        self.grab(2, "--plot", "plot.png", "--force")
        self.assertTrue((self.folder / "plot.png").read_bytes().startswith(b"\x89PNG"))

    def test_a_description_is_not_replaced(self):
        (self.folder / "x.xml").write_text("mine")
        self.refused(FAILED, "norveltl: x.xml exists already; --force replaces it\n", "xml", "port:Left", "-o", "x.xml")
        self.assertEqual((self.folder / "x.xml").read_text(), "mine")
        self.done("xml", "port:Left", "-o", "x.xml", "--force")
        self.assertTrue((self.folder / "x.xml").read_text().startswith("<?xml"))

    def test_the_programs_own_streams_are_files_too(self):
        if not Setting.is_windows:
            self.assertTrue(self.done("xml", "port:Left", "-o", "/dev/stdout").out.startswith("<?xml"))
            self.refused(FAILED, "norveltl: cannot write /dev/full: No space left on device\n",
                         "xml", "port:Left", "-o", "/dev/full")

    def test_a_link_stays_a_link(self):
        if not Setting.is_windows:
            (self.folder / "other").mkdir()
            (self.folder / "x.xml").symlink_to("other/y.xml")
            self.done("xml", "port:Left", "-o", "x.xml")
            self.assertTrue((self.folder / "x.xml").is_symlink())
            self.assertTrue((self.folder / "other/y.xml").read_text().startswith("<?xml"))
