#!/usr/bin/env python3
"""Takes images from cameras that lose 1 % and 10 % of their packets: losses.py CAMERA_HOST FOLDER_OF_THE_MODULE COUNT
None may be torn, and all are accounted for."""
import os
import signal
import subprocess
import sys

import wire
from namespaces import enter_own_network
from wire import Camera, Images, base


def sleep_through(session):
    """Images that come while this process cannot take them are lost, and counted."""
    images = Images(session)
    session.start(200)
    for _ in range(50):
        images.take()
    subprocess.Popen(["sh", "-c", "sleep 1; kill -CONT %d" % os.getpid()])
    os.kill(os.getpid(), signal.SIGSTOP)
    for _ in range(50):
        images.take()
    session.write(base.ACQUISITION, 0)
    images.take_rest()
    _, lost, text = images.check_counts()
    if lost == 0:
        raise AssertionError("nothing was lost")
    print("Asleep for a second:", text)


def main():
    wire.load()
    camera = Camera()
    with wire.open_soon(wire.NAME, 512, 32) as session:
        sleep_through(session)
    camera.kill()
    for share in (0.01, 0.1):
        camera = Camera(lost=share)
        with wire.open_soon(wire.NAME, 64, 32) as session:
            images = Images(session)
            session.start(400)
            for _ in range(int(sys.argv[3])):
                images.take()
            session.write(base.ACQUISITION, 0)
            images.take_rest()
            _, lost, text = images.check_counts()
            missing, aborted = session.info(1002, base.ctypes.c_uint64), session.info(1003, base.ctypes.c_uint32)
            if not (0 < aborted <= lost and missing > 0):
                raise AssertionError("%d lost, %d aborted, %d packets missing" % (lost, aborted, missing))
            print("%g %% of packets lost: %s; %d packets missing" % (100 * share, text, missing))
        camera.kill()


if __name__ == "__main__":
    enter_own_network()
    # The first process of a namespace cannot be stopped.
    child = os.fork()
    if child != 0:
        sys.exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
    main()
