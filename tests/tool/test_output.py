"""What the system does not take, on the standard output: no command calls it done."""
from harness import DONE, FAILED, LEFT, ToolTest

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
        self.assertEqual(len(list((self.folder / "out").iterdir())), 3)

    def test_what_prints_nothing_is_done(self):
        self.assertEqual(self.full("set", "-d", "Left", "Width=320").code, DONE)
