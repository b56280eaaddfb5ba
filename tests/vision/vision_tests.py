#!/usr/bin/env python3
"""Streams from GigE Vision cameras that run on this machine, in a network of their own:
vision_tests.py CAMERA_HOST FOLDER_OF_THE_MODULE [unittest's arguments]"""
import ctypes
import functools
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

from namespaces import enter_own_network

HOST, FOLDER = sys.argv[1], pathlib.Path(sys.argv[2])
TOOL = str(FOLDER / "norveltl")
# Of the camera: registers of 32 bits, big-endian.
ACQUISITION, FRAME_PERIOD, WIDTH, HEIGHT = 0x124, 0x138, 0x100, 0x104
OLD_IS_OVER = 0.2
ERROR, ACCESS_DENIED, IO, TIMEOUT = -1001, -1005, -1010, -1011


class Camera:
    def __init__(self, address="127.0.0.1", serial="T1", lost=0.0):
        self.process = subprocess.Popen([HOST, address, serial, str(lost)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        if self.process.stdout.readline() != "ready\n":
            raise RuntimeError("the camera does not start")

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class Failure(Exception):
    def __init__(self, function, code):
        super().__init__("%s answers %d" % (function, code))
        self.code = code


class Producer:
    def __init__(self, path):
        self.module = ctypes.CDLL(str(path))

    def __getattr__(self, name):
        function = getattr(self.module, name)

        def call(*arguments):
            code = function(*arguments)
            if code != 0:
                raise Failure(name, code)
        return call


GENTL = None


def out(kind=ctypes.c_void_p):
    return kind()


class Session:
    """One camera, open, with a stream and its buffers."""

    def __init__(self, name, extent=512, num_buffers=8):
        self.tl, self.interface, self.device = out(), out(), out()
        self.stream, self.port, self.event = None, out(), out()
        GENTL.TLOpen(ctypes.byref(self.tl))
        GENTL.TLUpdateInterfaceList(self.tl, None, ctypes.c_uint64(100))
        GENTL.TLOpenInterface(self.tl, b"GEV::GigEVision", ctypes.byref(self.interface))
        GENTL.IFUpdateDeviceList(self.interface, None, ctypes.c_uint64(100))
        GENTL.IFOpenDevice(self.interface, name.encode(), 3, ctypes.byref(self.device))
        GENTL.DevGetPort(self.device, ctypes.byref(self.port))
        self.write(WIDTH, extent)
        self.write(HEIGHT, extent)
        self.patterns = patterns(extent)
        self.stream = out()
        stream_id, size = ctypes.create_string_buffer(256), ctypes.c_size_t(256)
        GENTL.DevGetDataStreamID(self.device, 0, stream_id, ctypes.byref(size))
        GENTL.DevOpenDataStream(self.device, stream_id, ctypes.byref(self.stream))
        GENTL.GCRegisterEvent(self.stream, 1, ctypes.byref(self.event))
        self.size = self.info(9, ctypes.c_uint64)
        self.memory = {}
        for _ in range(num_buffers):
            memory, handle = ctypes.create_string_buffer(self.size), out()
            GENTL.DSAnnounceBuffer(self.stream, memory, ctypes.c_size_t(self.size), None, ctypes.byref(handle))
            self.memory[handle.value] = memory
            GENTL.DSQueueBuffer(self.stream, handle)

    def info(self, command, kind):
        value = kind()
        GENTL.DSGetInfo(self.stream, command, None, ctypes.byref(value), ctypes.byref(ctypes.c_size_t(ctypes.sizeof(kind))))
        return value.value

    def read(self, address, length=4):
        data, size = ctypes.create_string_buffer(length), ctypes.c_size_t(length)
        GENTL.GCReadPort(self.port, ctypes.c_uint64(address), data, ctypes.byref(size))
        return data.raw

    def write(self, address, value):
        GENTL.GCWritePort(self.port, ctypes.c_uint64(address), value.to_bytes(4, "big"), ctypes.byref(ctypes.c_size_t(4)))

    def start(self, rate=100):
        self.write(FRAME_PERIOD, 1000000 // rate)
        GENTL.DSStartAcquisition(self.stream, 0, ctypes.c_uint64(2**64 - 1))
        self.write(ACQUISITION, 1)

    def stop(self):
        """Answers how long that took."""
        begin = time.monotonic()
        GENTL.DSStopAcquisition(self.stream, 0)
        return time.monotonic() - begin

    def image(self, timeout=3000):
        data, size = (ctypes.c_void_p * 2)(), ctypes.c_size_t(16)
        GENTL.EventGetData(self.event, data, ctypes.byref(size), ctypes.c_uint64(timeout))
        image = bytes(self.memory[data[0]])
        GENTL.DSQueueBuffer(self.stream, ctypes.c_void_p(data[0]))
        return image

    def close(self):
        for function, handle in (("DSClose", self.stream), ("DevClose", self.device),
                                 ("IFClose", self.interface), ("TLClose", self.tl)):
            if handle:
                getattr(GENTL, function)(handle)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


@functools.lru_cache
def patterns(extent):
    """The images of the camera, by the number in their first pixel."""
    ramp = bytes(i % 255 for i in range(255 + 2 * extent))
    return [b"".join(ramp[first + y:first + y + extent] for y in range(extent)) for first in range(255)]


def tool(*arguments):
    return subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=30)


class VisionTest(unittest.TestCase):
    def start_camera(self, *arguments, **options):
        camera = Camera(*arguments, **options)
        self.addCleanup(camera.kill)
        return camera

    def next_number(self, session):
        """Of the next image, which must be whole: what the camera put into its first pixel."""
        image = session.image()
        self.assertTrue(image == session.patterns[image[0]], "a torn image")
        return image[0]

    def test_lists_and_changes_cameras(self):
        self.start_camera()
        self.start_camera("127.0.0.2", "T2")
        listed = tool("list")
        self.assertEqual(listed.returncode, 0, listed.stderr)
        for text in ("GEV::GigEVision", "Aravis-Fake-T1", "Aravis-Fake-T2", "U3V::USB3Vision"):
            self.assertIn(text, listed.stdout)
        result = tool("set", "--device", "Aravis-Fake-T2", "Width=256")
        self.assertEqual(result.returncode, 0, result.stderr)
        for serial, width in (("T1", "512"), ("T2", "256")):
            result = tool("get", "-d", "Aravis-Fake-" + serial, "Width")
            self.assertIn(width, result.stdout, result.stderr)

    def test_delivers_every_image_exactly_and_nothing_old(self):
        self.start_camera()
        with Session("Aravis-Fake-T1") as session:
            for _ in range(2):
                session.start(200)
                last = None
                for _ in range(100):
                    number = self.next_number(session)
                    self.assertIn(number, ([(last + 1) % 255] if last is not None else range(255)))
                    last = number
                self.assertLess(session.stop(), OLD_IS_OVER)
                session.write(ACQUISITION, 0)
                GENTL.DSFlushQueue(session.stream, 2)
                GENTL.DSStartAcquisition(session.stream, 0, ctypes.c_uint64(2**64 - 1))
                with self.assertRaises(Failure) as none:
                    session.image(150)
                self.assertEqual(none.exception.code, TIMEOUT)
                self.assertLess(session.stop(), OLD_IS_OVER)

    def check_memory(self, session):
        whole = session.read(0, 2000)
        self.assertEqual(whole[0x48:0x4E], b"Aravis")
        for address, length in ((0x48, 1), (0x49, 3), (0x4B, 600), (1, 1999)):
            self.assertEqual(session.read(address, length), whole[address:address + length])
        url, size = ctypes.create_string_buffer(512), ctypes.c_size_t(512)
        GENTL.GCGetPortURL(session.port, url, ctypes.byref(size))
        scheme, address, length = url.value.decode().split(";")
        self.assertTrue(scheme.startswith("Local:"))
        xml = session.read(int(address, 16), int(length, 16))
        self.assertTrue(xml.rstrip().endswith(b"</RegisterDescription>"))

    def test_serves_memory_and_the_description_to_one_process(self):
        self.start_camera()
        with Session("Aravis-Fake-T1") as session:
            self.check_memory(session)
            result = tool("get", "-d", "Aravis-Fake-T1", "Width")
            self.assertNotEqual(result.returncode, 0)
            self.assertIn("already opened device", result.stdout + result.stderr)

    def test_lost_packets_tear_no_image(self):
        # This camera does not send packets again.
        for lost, count in ((0.01, 200), (0.1, 60)):
            with self.subTest(lost=lost):
                camera = self.start_camera(lost=lost)
                with Session("Aravis-Fake-T1", 128) as session:
                    session.start(200)
                    numbers = [self.next_number(session) for _ in range(count)]
                    session.stop()
                    gaps = sum((b - a - 1) % 255 for a, b in zip(numbers, numbers[1:]))
                    self.assertGreater(gaps, 0)
                    self.assertGreater(session.info(1002, ctypes.c_uint64), gaps // 2)
                    self.assertGreaterEqual(session.info(2, ctypes.c_uint64), gaps)
                camera.kill()

    def test_a_camera_that_dies_ends_the_acquisition_and_comes_back(self):
        camera = self.start_camera()
        session = Session("Aravis-Fake-T1")
        session.start()
        for _ in range(10):
            session.image()
        camera.kill()
        end = time.monotonic() + 15
        while session.info(8, ctypes.c_bool) and time.monotonic() < end:
            time.sleep(0.05)
        self.assertFalse(session.info(8, ctypes.c_bool))
        with self.assertRaises(Failure) as gone:
            session.read(0x48)
        self.assertEqual(gone.exception.code, IO)
        self.assertLess(session.stop(), OLD_IS_OVER)
        session.close()
        self.assertNotIn("Aravis-Fake-T1", tool("list").stdout)
        self.start_camera()
        with Session("Aravis-Fake-T1") as again:
            again.start()
            self.next_number(again)

    def test_two_cameras_stream_beside_each_other(self):
        self.start_camera()
        self.start_camera("127.0.0.2", "T2")
        with Session("Aravis-Fake-T1") as first:
            second = subprocess.Popen([TOOL, "grab", "Aravis-Fake-T2", "-n", "10", "-o", self.folder()],
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            first.start()
            for _ in range(100):
                self.next_number(first)
            text, _ = second.communicate(timeout=30)
            self.assertIn("10 of 10", text)

    def folder(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return folder.name


if __name__ == "__main__":
    enter_own_network()
    GENTL = Producer(FOLDER / "NorvelTL40.cti")
    GENTL.GCInitLib()
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
