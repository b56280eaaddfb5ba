"""What makes no sense is refused before anything is done, in the form of every other error."""
from harness import WRONG_USAGE, ToolTest

RUNS_BESIDE_OTHERS = True

MOST = "18446744073709551615"


class WrongUsage(ToolTest):
    def wrong(self, reason, *arguments, command=None):
        """Refused with that reason, and told where help is."""
        help_ = " ".join(filter(None, ["norveltl", arguments[0] if command is None else command, "--help"]))
        answer = self.refused(WRONG_USAGE, f'norveltl: {reason}\n  "{help_}" tells what there is.\n', *arguments)
        self.assertEqual(answer.out, "")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_options_and_commands(self):
        self.wrong("A command is required", "--cti", "x.cti", command="")
        self.wrong("there is no command frobnicate", "frobnicate", command="")
        self.wrong("there is no option --frobnicate", "grab", "Left", "--frobnicate")
        self.wrong("--count: 1 required COUNT missing", "grab", "Left", "-n")
        self.wrong("--format: bmp not in {png,pgm,tiff,raw}", "grab", "--format", "bmp")

    def test_numbers(self):
        for number in ("0", "-5", "x", "2.5", "18446744073709551616", "99999999999999999999999"):
            with self.subTest(number=number):
                self.wrong(f"--count: {number} is no whole number from 1 to {MOST}", "grab", "Left", f"--count={number}")
        for number in ("0", "-1", "inf", "nan", "1,5", "1e999"):
            with self.subTest(number=number):
                self.wrong(f"--time: {number} is no number above 0", "grab", "Left", "-t", number)
        self.wrong("--buffers: Value 99999999999999999999 not in range 1 to 10000",
                   "grab", "Left", "--buffers", "99999999999999999999")

    def test_texts_that_name_nothing(self):
        reason = "an empty text names nothing"
        self.wrong(f"--output: {reason}", "grab", "Left", "-n", "1", "-o", "")
        self.wrong(f"--plot: {reason}", "grab", "Left", "-n", "1", "--plot", "")
        self.wrong(f"--output: {reason}", "xml", "port:Left", "-o", "")
        self.wrong(f"--cti: {reason}", "list", "--cti", "")
        self.wrong(f"--junit: {reason}", "check", "--junit", "")

    def test_types_that_exclude_each_other(self):
        for one, other in (("--u32", "--i32"), ("--f64", "--string")):
            with self.subTest(one=one):
                self.wrong(f"{one} and {other}: values have one type only", "read", "port:Left", "0x400", one, other)
                self.wrong(f"{one} and {other}: values have one type only", "write", "port:Left", "0x400=1", one, other)
