#!/usr/bin/env python3
"""Takes ten images of a camera with nothing but Python 3: acquire.py [MODULE.cti] [CAMERA [FOLDER]]

CAMERA is a part of the camera's ID. Into FOLDER go image_01.pgm and so on, if the camera sends 8 bits of
grey, else image_01.raw: width, height and format are looked up in the camera's own description.
"""
import ctypes as c
import os
import pathlib
import sys
import xml.etree.ElementTree as xml

NUM_BUFFERS, NUM_IMAGES, DISCOVERY_MS, IMAGE_MS = 4, 10, 1000, 5000
EXCLUSIVE, PAYLOAD_SIZE, NEW_BUFFER, BUFFER_BASE, BUFFER_FILLED, ALL_DISCARD = 4, 9, 1, 0, 9, 4
ENDLESS = 0xFFFFFFFFFFFFFFFF
MONO8 = 0x01080001


class NewBuffer(c.Structure):
    """What EventGetData writes for a filled buffer."""
    _fields_ = [("buffer", c.c_void_p), ("private", c.c_void_p)]


class Failure(Exception):
    pass


def find_module(arguments):
    """The module's path: the first argument, or where GENICAM_GENTL64_PATH leads to."""
    if arguments and arguments[0].endswith(".cti"):
        return pathlib.Path(arguments.pop(0))
    for folder in os.environ.get("GENICAM_GENTL64_PATH", "").split(os.pathsep):
        if folder and (path := pathlib.Path(folder, "NorvelTL40.cti")).is_file():
            return path
    raise Failure("no producer: name a .cti file, or set GENICAM_GENTL64_PATH")


class Producer:
    """The module's functions: producer("TLOpen", ...) raises Failure with the producer's own text."""

    def __init__(self, path):
        # On Windows the whole path makes the module find the camera library beside itself.
        self.module = c.CDLL(str(path.resolve()))

    def __call__(self, function, *arguments):
        code = self.module[function](*arguments)
        if code != 0:
            text = c.create_string_buffer(1024)
            self.module.GCGetLastError(None, text, c.byref(c.c_size_t(len(text))))
            raise Failure(f"{function}: {code}, {text.value.decode(errors='replace')}")

    def handle(self, function, *arguments):
        """What the function writes through its last argument."""
        handle = c.c_void_p()
        self(function, *arguments, c.byref(handle))
        return handle

    def text(self, function, *arguments):
        text = c.create_string_buffer(4096)
        self(function, *arguments, text, c.byref(c.c_size_t(len(text))))
        return text.value.decode(errors="replace")

    def number(self, function, handle, command, kind):
        value = kind()
        self(function, *handle, command, None, c.byref(value), c.byref(c.c_size_t(c.sizeof(value))))
        return value.value

    def list(self, update, count, name, handle):
        """The IDs of a module's children, looked for anew."""
        self(update, handle, None, c.c_uint64(DISCOVERY_MS))
        number = c.c_uint32()
        self(count, handle, c.byref(number))
        return [self.text(name, handle, c.c_uint32(i)) for i in range(number.value)]

    def read(self, port, address, length):
        data = c.create_string_buffer(length)
        self("GCReadPort", port, c.c_uint64(address), data, c.byref(c.c_size_t(length)))
        return data.raw


def open_camera(gentl, system, wanted):
    """The first camera whose ID holds that text: its ID, its handle, and that of its interface."""
    for name in gentl.list("TLUpdateInterfaceList", "TLGetNumInterfaces", "TLGetInterfaceID", system):
        interface = gentl.handle("TLOpenInterface", system, name.encode())
        for camera in gentl.list("IFUpdateDeviceList", "IFGetNumDevices", "IFGetDeviceID", interface):
            if wanted in camera:
                return camera, gentl.handle("IFOpenDevice", interface, camera.encode(), EXCLUSIVE), interface
        gentl("IFClose", interface)
    raise Failure("no camera")


def description(gentl, port):
    """The camera's XML, which its URL finds among its registers: "Local:NAME;ADDRESS;LENGTH", in hexadecimal."""
    url = gentl.text("GCGetPortURL", port)
    name, address, length = url.split(";")
    if not name.lower().startswith("local:") or name.lower().endswith(".zip"):
        raise Failure(f"the description at {url} is not understood")
    return xml.fromstring(gentl.read(port, int(address, 16), int(length, 16)).rstrip(b"\0"))


def feature(gentl, port, nodes, name):
    """The value of a feature that is a register, or that leads to one; None for all others."""
    def child(node, tag):
        return next((x.text for x in node if x.tag.rpartition("}")[2] == tag), None)

    node = nodes.get(name)
    while node is not None and child(node, "pValue"):
        node = nodes.get(child(node, "pValue"))
    if node is None or child(node, "Address") is None or child(node, "Length") is None:
        return None
    data = gentl.read(port, int(child(node, "Address"), 0), int(child(node, "Length"), 0))
    return int.from_bytes(data, "big" if child(node, "Endianess") == "BigEndian" else "little")


def acquire(gentl, device):
    """Yields the bytes of one image after the other."""
    stream = gentl.handle("DevOpenDataStream", device, gentl.text("DevGetDataStreamID", device, 0).encode())
    size = gentl.number("DSGetInfo", [stream], PAYLOAD_SIZE, c.c_uint64)
    buffers = [gentl.handle("DSAllocAndAnnounceBuffer", stream, c.c_size_t(size), None) for _ in range(NUM_BUFFERS)]
    for buffer in buffers:
        gentl("DSQueueBuffer", stream, buffer)
    event = gentl.handle("GCRegisterEvent", stream, NEW_BUFFER)
    gentl("DSStartAcquisition", stream, 0, c.c_uint64(ENDLESS))
    for _ in range(NUM_IMAGES):
        filled = NewBuffer()
        gentl("EventGetData", event, c.byref(filled), c.byref(c.c_size_t(c.sizeof(filled))), c.c_uint64(IMAGE_MS))
        buffer = [stream, c.c_void_p(filled.buffer)]
        base = gentl.number("DSGetBufferInfo", buffer, BUFFER_BASE, c.c_void_p)
        yield c.string_at(base, gentl.number("DSGetBufferInfo", buffer, BUFFER_FILLED, c.c_size_t))
        gentl("DSQueueBuffer", *buffer)
    gentl("DSStopAcquisition", stream, 0)
    gentl("DSFlushQueue", stream, ALL_DISCARD)
    gentl("GCUnregisterEvent", stream, NEW_BUFFER)
    for buffer in buffers:
        gentl("DSRevokeBuffer", stream, buffer, None, None)
    gentl("DSClose", stream)


def main(arguments):
    gentl = Producer(find_module(arguments))
    wanted, folder = (arguments[0] if arguments else ""), (arguments[1] if len(arguments) > 1 else None)
    gentl("GCInitLib")
    system = gentl.handle("TLOpen")
    name, device, interface = open_camera(gentl, system, wanted)
    port = gentl.handle("DevGetPort", device)
    nodes = {node.get("Name"): node for node in description(gentl, port).iter() if node.get("Name")}
    width, height, pixels = (feature(gentl, port, nodes, x) for x in ("Width", "Height", "PixelFormat"))
    print(f"camera {name}, {width} x {height}, format {pixels:#x}" if pixels else f"camera {name}")
    if folder and pixels != MONO8:
        print("only Mono8 becomes pictures: raw files, as the camera sent them")
    for number, image in enumerate(acquire(gentl, device), 1):
        print(f"image {number}: {len(image)} bytes, mean {sum(image) / len(image):.1f}")
        if folder and pixels == MONO8 and width * height == len(image):
            header = b"P5 %d %d 255\n" % (width, height)
            pathlib.Path(folder, f"image_{number:02}.pgm").write_bytes(header + image)
        elif folder:
            pathlib.Path(folder, f"image_{number:02}.raw").write_bytes(image)
    for function, handle in (("DevClose", device), ("IFClose", interface), ("TLClose", system)):
        gentl(function, handle)
    gentl("GCCloseLib")
    print("done")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (Failure, OSError) as error:
        sys.exit(str(error))
