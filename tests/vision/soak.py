#!/usr/bin/env python3
"""Streams for a long time from a camera that loses packets, is killed, and comes back:
soak.py CAMERA_HOST FOLDER_OF_THE_MODULE SECONDS"""
import random
import sys
import time

import wire
from namespaces import enter_own_network
from wire import Camera, Failure, Images, base


def stream(session, seconds, tally):
    """Orderly: every image is whole, and all that were made are accounted for."""
    images = Images(session)
    session.start(300)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        images.take()
    session.write(base.ACQUISITION, 0)
    images.take_rest()
    started, lost, _ = images.check_counts()
    tally["slow stops"] += session.stop() > 0.2
    base.GENTL.DSFlushQueue(session.stream, 2)
    tally["made"] += started
    tally["lost"] += lost
    tally["whole"] += images.taken


def lose(session, camera, tally):
    """The camera dies while its images come: those that still come are whole, and then the acquisition ends."""
    images = Images(session)
    session.start(300)
    for _ in range(random.randrange(1, 200)):
        images.take()
    camera.kill()
    try:
        while True:
            images.take(500)
    except Failure:
        pass
    if not wire.eventually(lambda: not session.info(wire.IS_GRABBING, base.ctypes.c_bool)):
        raise AssertionError("the acquisition outlives its camera")
    session.stop()
    tally["whole"] += images.taken
    tally["deaths"] += 1


def main():
    seconds = float(sys.argv[3])
    wire.load()
    tally = {"whole": 0, "made": 0, "lost": 0, "deaths": 0, "starts": 0, "slow stops": 0}
    begin, rows, camera = time.monotonic(), [], None
    while time.monotonic() < begin + seconds:
        if camera is None:
            camera = Camera(lost=random.choice((0, 0.01, 0.1)))
        session = wire.open_soon(wire.NAME, random.choice((64, 128)))
        for _ in range(random.randrange(1, 4)):
            stream(session, random.uniform(0.5, 3), tally)
            tally["starts"] += 1
        if random.random() < 0.5:
            lose(session, camera, tally)
            camera = None
        session.close()
        rows.append((*wire.held(), wire.resident_kib()))
        print("%6.1f s: %s, %d threads, %d sockets, %d KiB" % (time.monotonic() - begin, tally, *rows[-1]), flush=True)
    if camera is not None:
        camera.kill()
    # Memory is flat after the first tenth, in which the allocator and the patterns find their size.
    settled = rows[len(rows) // 10:]
    growth = max(row[2] for row in settled[len(settled) // 2:]) - max(row[2] for row in settled[:len(settled) // 2 + 1])
    print("threads %s, sockets %s, growth %d KiB" % ({row[0] for row in rows}, {row[1] for row in rows}, growth))
    # A machine that is busy with other work may hold up one.
    is_quick = tally["slow stops"] <= tally["starts"] / 100
    return 0 if len({row[:2] for row in rows}) == 1 and growth < 1024 and is_quick else 1


if __name__ == "__main__":
    enter_own_network()
    sys.exit(main())
