"""What a user sees on a terminal while images come."""
import fcntl
import os
import select
import struct
import termios
import time

from harness import DONE, WRONG_USAGE, Setting, ToolTest

FAST = ("--set", "Width=32", "--set", "Height=8")


def resize(terminal, columns):
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))


class Progress(ToolTest):
    def grab(self, columns, *arguments, later=None):
        """What a grab writes on a terminal so wide, from one return of the cursor to the next; after 0.7 s the
        terminal has the later width, and what comes then is a list of its own."""
        master, slave = os.openpty()
        resize(master, columns)
        process = self.start("grab", "Left", *FAST, *arguments, out=slave)
        os.close(slave)
        texts, begin = [b"", b""], time.monotonic()
        while True:
            is_late = later is not None and time.monotonic() - begin > 0.7
            if is_late and not texts[1]:
                # What was written before is read before.
                while select.select([master], [], [], 0)[0]:
                    texts[0] += os.read(master, 4096)
                resize(master, later)
            try:
                text = os.read(master, 4096)
            except OSError:
                break
            texts[is_late] += text
        self.assertEqual(self.finish(process).code, DONE)
        os.close(master)
        return [text.decode().replace("\r\n", "\n").split("\r")[1:] for text in texts]

    def assert_fits(self, draws, columns):
        self.assertGreater(len(draws), 4)
        for draw in draws:
            self.assertLess(len(draw.split("\n")[0]), columns)
        # The cursor stays in its line until the totals come.
        self.assertFalse(any("\n" in draw for draw in draws[:-1]), draws)

    def test_one_line_however_wide_the_terminal_is(self):
        if Setting.is_windows:
            return
        for columns, pattern in ((200, r"\[[#.]{20}\] \d+  [\d.]+ frames/s  [\d.]+ MB/s  lost \d+  waiting \d+  to write \d+"),
                                 (80, r"\[[#.]{5,20}\] \d+  [\d.]+ frames/s  [\d.]+ MB/s  lost \d+  waiting \d+  to write \d+"),
                                 (40, r"(\[[#.]+\] )?\d+  [\d.]+ frames/s  [\d.]+ MB/s  lost \d+"),
                                 (10, r"\d+"), (0, r"\[[#.]{5,20}\] \d+ .*waiting \d+  to write \d+")):
            with self.subTest(columns=columns):
                draws, _ = self.grab(columns, "-t", "1.2", "-o", f"out{columns}")
                self.assert_fits(draws, columns or 80)
                self.assertRegex(draws[-2], rf"^{pattern} *$")

    def test_a_terminal_that_becomes_narrow(self):
        if Setting.is_windows:
            return
        wide, narrow = self.grab(120, "-t", "2", "-o", "out", later=40)
        self.assertGreater(len(wide[-1]), 60)
        self.assert_fits(narrow[1:], 40)

    def test_a_terminal_that_becomes_wide(self):
        if Setting.is_windows:
            return
        _, wide = self.grab(30, "-t", "2", "-o", "out", later=120)
        self.assertRegex(wide[-2], r"^\[[#.]{20}\] .*  to write \d+ *$")


class Streaming(ToolTest):
    def test_no_images_into_a_terminal(self):
        if Setting.is_windows:
            return
        master, slave = os.openpty()
        answer = self.run_tool("grab", "Left", "-n", "1", "-o", "-", out=slave)
        os.close(slave)
        os.close(master)
        self.assertEqual((answer.code, answer.err), (
            WRONG_USAGE, "norveltl: -o - is for a pipe or a file: the standard output is a terminal\n"))
