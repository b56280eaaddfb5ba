"""What the longer tests share: sessions that clean up after themselves, and what a process holds."""
import contextlib
import os
import time

import vision_tests as base
from vision_tests import Camera, Failure, Session

NAME = "Aravis-Fake-T1"
DELIVERED, LOST, WAITING, STARTED, IS_GRABBING = 1, 2, 5, 6, 8


def load():
    base.GENTL = base.Producer(base.FOLDER / "NorvelTL40.cti")
    base.GENTL.GCInitLib()
    return base.GENTL


class Attempt(Session):
    """A session that leaves nothing open when it does not begin."""

    def __init__(self, *arguments, **options):
        try:
            super().__init__(*arguments, **options)
        except Exception:
            self.close()
            raise


def open_soon(*arguments, **options):
    """A session with a camera that may be too new for the list."""
    end = time.monotonic() + 10
    while True:
        try:
            return Attempt(*arguments, **options)
        except Failure:
            if time.monotonic() > end:
                raise
            time.sleep(0.2)


def eventually(condition, seconds=15):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(0.02)
    return condition()


def held():
    """Threads and sockets of this process."""
    sockets = 0
    for entry in os.listdir("/proc/self/fd"):
        with contextlib.suppress(OSError):
            sockets += os.readlink("/proc/self/fd/" + entry).startswith("socket:")
    return len(os.listdir("/proc/self/task")), sockets


def resident_kib():
    with open("/proc/self/status") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


class Images:
    """Takes images, holds each against the camera's pattern, and counts those between the first and the last."""

    def __init__(self, session):
        self.session, self.taken, self.span, self.last = session, 0, 0, None

    def take(self, timeout=3000):
        image = self.session.image(timeout)
        number = image[0]
        if image != self.session.patterns[number]:
            raise AssertionError("a torn image")
        self.taken += 1
        self.span += 1 if self.last is None else (number - self.last) % 255 or 255
        self.last = number

    def take_rest(self):
        """Of a camera that has stopped."""
        while True:
            try:
                self.take(300)
            except Failure as failure:
                if failure.code == base.TIMEOUT:
                    return
                raise

    def check_counts(self):
        """Delivered, lost and waiting are all that were made, by the module's word and by the numbers in the images."""
        info = [self.session.info(command, base.ctypes.c_uint64) for command in (STARTED, DELIVERED, LOST, WAITING)]
        started, delivered, lost, waiting = info
        text = "started %d, delivered %d, lost %d, waiting %d; taken %d, of %d by their numbers" % (
            *info, self.taken, self.span)
        # Those before the first and after the last image have no number.
        if started != delivered + lost + waiting or delivered != self.taken or not 0 <= started - self.span <= 60:
            raise AssertionError(text)
        return started, lost, text
