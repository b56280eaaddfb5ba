#!/usr/bin/env python3
"""Cameras that begin and die at every moment, and that others hold: test_deaths.py CAMERA_HOST FOLDER_OF_THE_MODULE"""
import ctypes
import os
import signal
import subprocess
import sys
import threading
import time
import unittest

import wire
from namespaces import enter_own_network
from wire import Attempt, Camera, Failure, Images, base

GENTL = None
STOPS_WITHIN = 0.2


class DeathTest(unittest.TestCase):
    def setUp(self):
        self.held = wire.held()
        self.camera = None

    def tearDown(self):
        if self.camera is not None:
            self.camera.kill()
        self.assertEqual(wire.held(), self.held, "threads and sockets")

    def start(self, **options):
        self.camera = Camera(**options)

    def die(self):
        self.camera.kill()
        self.camera = None

    def code_of(self, call, *arguments):
        try:
            call(*arguments)
        except Failure as failure:
            return failure.code
        return 0

    def assert_fails(self, code, call, *arguments):
        self.assertEqual(self.code_of(call, *arguments), code)

    def assert_dead(self, session):
        """Its ports fail, its acquisition has ended, stopping is quick, and it closes."""
        self.assertTrue(wire.eventually(lambda: not session.info(wire.IS_GRABBING, ctypes.c_bool)))
        self.assert_fails(base.IO, session.read, 0x48)
        self.assert_fails(base.IO, session.write, base.WIDTH, 64)
        self.assertLess(session.stop(), STOPS_WITHIN)
        session.close()

    def assert_streams(self):
        """A camera is there, and opens and streams as if nothing had been."""
        with wire.open_soon(wire.NAME, 64) as session:
            session.start(200)
            images = Images(session)
            for _ in range(20):
                images.take()

    def list_devices(self, interface):
        GENTL.IFUpdateDeviceList(interface, None, ctypes.c_uint64(2500))
        count = ctypes.c_uint32()
        GENTL.IFGetNumDevices(interface, ctypes.byref(count))
        return count.value

    def open_interface(self):
        tl, interface = ctypes.c_void_p(), ctypes.c_void_p()
        GENTL.TLOpen(ctypes.byref(tl))
        GENTL.TLUpdateInterfaceList(tl, None, ctypes.c_uint64(100))
        GENTL.TLOpenInterface(tl, b"GEV::GigEVision", ctypes.byref(interface))
        return tl, interface

    def open(self, interface):
        device = ctypes.c_void_p()
        GENTL.IFOpenDevice(interface, wire.NAME.encode(), 3, ctypes.byref(device))
        return device

    def test_comes_and_goes_with_the_list(self):
        tl, interface = self.open_interface()
        self.assertEqual(self.list_devices(interface), 0)
        self.start()
        self.assert_fails(base.ERROR, self.open, interface)  # it began after the list was made
        self.assertEqual(self.list_devices(interface), 1)
        GENTL.DevClose(self.open(interface))
        self.die()
        begin = time.monotonic()
        self.assert_fails(base.ERROR, self.open, interface)  # it died after the list was made
        self.assertLess(time.monotonic() - begin, 10)
        self.assertEqual(self.list_devices(interface), 0)
        self.start()
        self.assertEqual(self.list_devices(interface), 1)
        GENTL.DevClose(self.open(interface))
        GENTL.TLClose(tl)

    def test_dies_between_open_and_stream(self):
        self.start()
        session = wire.open_soon(wire.NAME, 64)
        GENTL.GCUnregisterEvent(session.stream, 1)
        GENTL.DSFlushQueue(session.stream, 4)
        GENTL.DSClose(session.stream)
        session.stream = None
        self.die()

        def open_stream():
            stream = ctypes.c_void_p()
            GENTL.DevOpenDataStream(session.device, b"DS0", ctypes.byref(stream))
            GENTL.DSClose(stream)

        self.assertTrue(wire.eventually(lambda: self.code_of(session.read, 0x48) == base.IO))
        self.assert_fails(base.ERROR, open_stream)
        session.close()
        self.start()
        self.assert_streams()

    def test_dies_between_stream_and_start(self):
        self.start()
        session = wire.open_soon(wire.NAME, 64)
        self.die()
        with self.assertRaises(Failure):
            session.start()
        session.stop()
        self.assertTrue(wire.eventually(lambda: self.code_of(session.read, 0x48) == base.IO))
        self.assert_fails(base.ERROR, GENTL.DSStartAcquisition, session.stream, 0, ctypes.c_uint64(5))
        session.close()
        self.start()
        self.assert_streams()

    def test_dies_in_the_middle_of_an_image(self):
        self.start()
        # An image of 4 MiB takes thousands of packets: nearly every death is within one.
        session = wire.open_soon(wire.NAME, 2048)
        images = Images(session)
        session.start(50)
        for _ in range(5):
            images.take()
        self.die()
        while self.code_of(images.take, 500) == 0:
            pass  # those that were whole before are delivered, and no other
        self.assert_dead(session)
        self.start()
        self.assert_streams()

    def dies_during(self, call):
        """The call begins while the camera does not answer, and dies meanwhile; answers the call's code and duration."""
        os.kill(self.camera.process.pid, signal.SIGSTOP)
        dying = threading.Timer(0.05, self.die)
        begin = time.monotonic()
        dying.start()
        code = self.code_of(call)
        duration = time.monotonic() - begin
        dying.join()
        return code, duration

    def test_dies_during_a_stop(self):
        self.start()
        session = wire.open_soon(wire.NAME, 64)
        session.start(200)
        images = Images(session)
        images.take()
        code, duration = self.dies_during(lambda: GENTL.DSStopAcquisition(session.stream, 0))
        self.assertEqual(code, 0)
        self.assertLess(duration, STOPS_WITHIN)
        session.close()
        self.start()
        self.assert_streams()

    def test_dies_during_a_close(self):
        self.start()
        session = wire.open_soon(wire.NAME, 64)
        session.start(200)
        Images(session).take()
        code, duration = self.dies_during(lambda: GENTL.DevClose(session.device))
        self.assertEqual(code, 0)
        self.assertLess(duration, 12)
        session.device = session.stream = None
        session.close()
        self.start()
        self.assert_streams()

    def test_tells_its_version_and_the_name_that_its_user_gave(self):
        self.start()
        with wire.open_soon(wire.NAME) as session:
            name = b"Left of the belt"  # as long as may be, without a zero
            for i in range(0, len(name), 4):
                session.write(0xE8 + i, int.from_bytes(name[i:i + 4], "big"))
            version = session.read(0x88, 32).split(b"\0")[0]
        tl, interface = self.open_interface()
        self.list_devices(interface)
        for command, expected in ((8, version), (6, name)):
            text, size = ctypes.create_string_buffer(64), ctypes.c_size_t(64)
            GENTL.IFGetDeviceInfo(interface, wire.NAME.encode(), command, None, text, ctypes.byref(size))
            self.assertEqual(text.value, expected)
            self.assertNotEqual(text.value, b"")
        GENTL.TLClose(tl)

    def test_belongs_to_one_process(self):
        self.start()
        other = subprocess.Popen([sys.executable, __file__, *sys.argv[1:3], "--hold"], stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, text=True)
        self.assertEqual(other.stdout.readline(), "held\n")
        self.assert_taken()
        # Who crashes lets go of it after its heartbeat.
        other.kill()
        other.communicate()
        self.assertTrue(wire.eventually(lambda: self.code_of(self.open_and_close) == 0))
        self.assert_streams()

    def assert_taken(self):
        self.assert_fails(base.ERROR, Attempt, wire.NAME)
        code, text, size = ctypes.c_int32(), ctypes.create_string_buffer(256), ctypes.c_size_t(256)
        GENTL.module.GCGetLastError(ctypes.byref(code), text, ctypes.byref(size))
        self.assertEqual(text.value.decode(), "already opened device.(%s)." % wire.NAME)

    def open_and_close(self):
        Attempt(wire.NAME).close()

    def test_belongs_to_one_handle(self):
        self.start()
        with wire.open_soon(wire.NAME):
            self.assert_taken()

    def test_tells_of_no_events(self):
        self.start()
        with wire.open_soon(wire.NAME, 64) as session:
            event = ctypes.c_void_p()
            GENTL.GCRegisterEvent(session.port, 4, ctypes.byref(event))
            session.start(200)
            images = Images(session)
            for _ in range(20):
                images.take()
            fired, size = ctypes.c_uint64(7), ctypes.c_size_t(8)
            GENTL.EventGetInfo(event, 2, None, ctypes.byref(fired), ctypes.byref(size))
            self.assertEqual(fired.value, 0)
            GENTL.GCUnregisterEvent(session.port, 4)

    def test_stops_at_once_in_every_state(self):
        self.start()
        with wire.open_soon(wire.NAME, 512) as session:
            def waiting():
                waiter = threading.Thread(target=lambda: self.code_of(session.image, 5000))
                waiter.start()
                self.addCleanup(waiter.join)
                time.sleep(0.1)

            def starved():
                # No buffer is queued, and images come all the same.
                for _ in range(len(session.memory) + 5):
                    data, size = (ctypes.c_void_p * 2)(), ctypes.c_size_t(16)
                    self.code_of(lambda: GENTL.EventGetData(session.event, data, ctypes.byref(size), ctypes.c_uint64(100)))

            idle = lambda: GENTL.DSStartAcquisition(session.stream, 0, ctypes.c_uint64(2**64 - 1))
            states = {"never started": lambda: None, "idle": idle, "just started": session.start,
                      "idle, waited for": lambda: (idle(), waiting()),
                      "streaming": lambda: (session.start(200), Images(session).take()),
                      "starved": lambda: (session.start(200), starved()),
                      "stopped": lambda: (idle(), session.stop()),
                      "camera frozen": lambda: (session.start(200), os.kill(self.camera.process.pid, signal.SIGSTOP))}
            for state, reach in states.items():
                with self.subTest(state):
                    session.write(base.ACQUISITION, 0)
                    reach()
                    self.assertLess(session.stop(), STOPS_WITHIN)
                    GENTL.DSFlushQueue(session.stream, 1)
                    GENTL.DSFlushQueue(session.stream, 2)
            os.kill(self.camera.process.pid, signal.SIGCONT)


def hold():
    session = wire.open_soon(wire.NAME)
    print("held", flush=True)
    sys.stdin.read()
    session.close()


if __name__ == "__main__":
    enter_own_network()
    GENTL = wire.load()
    if sys.argv[3:] == ["--hold"]:
        hold()
    else:
        unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
