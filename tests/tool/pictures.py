"""Reads the pictures that the command line writes, and paints those that it should have written."""
import dataclasses
import json
import struct
import subprocess
import zlib

STAMP = 32  # bytes at the beginning of an image that are no pixels
PERIOD = 128  # images after which a moving pattern repeats
BARS = (7, 3, 6, 2, 5, 1, 4, 0)  # white, yellow, cyan, ... as one bit a channel


@dataclasses.dataclass
class Picture:
    width: int
    height: int
    channels: int
    bits: int
    pixels: bytes  # row by row; 16-bit numbers high byte first


def _chunks(data):
    at = 8
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        body = data[at + 8:at + 8 + length]
        if zlib.crc32(kind + body) != struct.unpack_from(">I", data, at + 8 + length)[0]:
            raise ValueError(f"the chunk {kind} is broken")
        yield kind, body
        at += 12 + length


def _nearest(left, up, corner):
    distances = [(abs(up - corner), 0, left), (abs(left - corner), 1, up), (abs(left + up - 2 * corner), 2, corner)]
    return min(distances)[2]


def _unfilter(kind, line, before, distance):
    for i in range(len(line)):
        left = line[i - distance] if i >= distance else 0
        corner = before[i - distance] if i >= distance else 0
        guess = (0, left, before[i], (left + before[i]) // 2, _nearest(left, before[i], corner))[kind]
        line[i] = (line[i] + guess) & 0xFF
    return line


def read_png(path):
    data = path.read_bytes()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError(f"{path} is no PNG file")
    chunks = list(_chunks(data))
    if chunks[0][0] != b"IHDR" or chunks[-1][0] != b"IEND":
        raise ValueError(f"{path} has no frame of chunks")
    width, height, bits, colour, *rest = struct.unpack(">IIBBBBB", chunks[0][1])
    if rest != [0, 0, 0]:
        raise ValueError(f"{path} is packed in another way")
    channels = {0: 1, 2: 3}[colour]
    distance = channels * bits // 8
    size = width * distance
    packed = zlib.decompress(b"".join(body for kind, body in chunks if kind == b"IDAT"))
    if len(packed) != (size + 1) * height:
        raise ValueError(f"{path} does not hold its lines")
    rows, before = [], bytes(size)
    for at in range(0, len(packed), size + 1):
        before = _unfilter(packed[at], bytearray(packed[at + 1:at + 1 + size]), before, distance)
        rows.append(before)
    return Picture(width, height, channels, bits, b"".join(rows))


def read_pnm(path):
    kind, extent, most, pixels = path.read_bytes().split(b"\n", 3)
    width, height = map(int, extent.split())
    return Picture(width, height, {b"P5": 1, b"P6": 3}[kind], {b"255": 8, b"65535": 16}[most], pixels)


def swapped(pixels):
    """16-bit numbers with their bytes the other way round."""
    turned = bytearray(len(pixels))
    turned[0::2], turned[1::2] = pixels[1::2], pixels[0::2]
    return bytes(turned)


def stamp_number(image):
    """The number of an image, whose bytes are as the camera sent them."""
    magic, size, number = struct.unpack_from("<IIQ", image)
    if magic != 0x4749564E or size != len(image):
        raise ValueError("the image carries no stamp")
    return number


def _bar(diagonal, channel):
    ramp = diagonal % 32
    return 128 + 4 * ramp if BARS[diagonal % 256 // 32] >> channel & 1 else 2 * ramp


def _colour(pattern, x, y, channel):
    if pattern == "ColorBar":
        return _bar(x + y, channel)
    return {"GreyHorizontalRamp": x, "GreyVerticalRampMoving": y, "GreyDiagonalRampMoving": x + y,
            "White": 255, "Black": 0}[pattern] % 256


def _pixel(pixel_format, pattern, x, y, row):
    if pixel_format == "RGB8":
        return bytes(_colour(pattern, x, y, channel) for channel in range(3))
    if pixel_format == "BayerRG8":
        channel = 1 if x % 2 != row % 2 else 0 if row % 2 == 0 else 2
        return bytes([_colour(pattern, x, y, channel)])
    grey = sum(_colour(pattern, x, y, channel) for channel in range(3)) // 3
    return bytes([grey]) if pixel_format == "Mono8" else struct.pack("<H", 257 * grey)


def paint(pixel_format, pattern, width, height, number):
    """The bytes of an image as the camera sends them, but for the stamp."""
    moved = 2 * (number % PERIOD)
    return b"".join(_pixel(pixel_format, pattern, x, y + moved, y) for y in range(height) for x in range(width))


def demosaic(image, width, height):
    """RGB of a BayerRG8 image: a colour that a pixel lacks is the mean of its neighbours that have it."""
    def at(x, y):
        x = 2 * (width - 1) - x if x >= width else abs(x)
        y = 2 * (height - 1) - y if y >= height else abs(y)
        return image[y * width + x]

    def mean(x, y, *offsets):
        return sum(at(x + dx, y + dy) for dx, dy in offsets) // len(offsets)

    sides, ends = ((-1, 0), (1, 0)), ((0, -1), (0, 1))
    corners = ((-1, -1), (1, -1), (-1, 1), (1, 1))
    pixels = bytearray()
    for y in range(height):
        for x in range(width):
            if x % 2 == 0 and y % 2 == 0:
                pixels += bytes((at(x, y), mean(x, y, *sides, *ends), mean(x, y, *corners)))
            elif x % 2 == 1 and y % 2 == 1:
                pixels += bytes((mean(x, y, *corners), mean(x, y, *sides, *ends), at(x, y)))
            else:
                across, along = (sides, ends) if y % 2 == 0 else (ends, sides)
                pixels += bytes((mean(x, y, *across), at(x, y), mean(x, y, *along)))
    return bytes(pixels)


def read_tiff(path):
    """By an independent reader."""
    picture = video(path)
    return dataclasses.replace(picture, pixels=picture.frames[0])


@dataclasses.dataclass
class Video(Picture):
    frames: list
    rate: float = 0


KINDS = {"gray": (1, 8), "gray16le": (1, 16), "rgb24": (3, 8), "rgb48le": (3, 16), "gray10le": (1, 16)}


def video(path, form=None):
    """What ffmpeg finds in a file: every frame as it is stored, or in a form that is asked for."""
    probe = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                            "stream=width,height,pix_fmt,r_frame_rate", "-of", "json", str(path)],
                           check=True, capture_output=True)
    stream = json.loads(probe.stdout)["streams"][0]
    form = form or stream["pix_fmt"]
    decoded = subprocess.run(["ffmpeg", "-v", "error", "-i", str(path), "-f", "rawvideo", "-pix_fmt", form,
                              "-fps_mode", "passthrough", "-"], check=True, capture_output=True)
    channels, bits = KINDS[form]
    size = stream["width"] * stream["height"] * channels * bits // 8
    pixels = swapped(decoded.stdout) if bits == 16 else decoded.stdout
    frames = [pixels[at:at + size] for at in range(0, len(pixels), size)]
    rate, _, per = stream["r_frame_rate"].partition("/")
    return Video(stream["width"], stream["height"], channels, bits, b"", frames, int(rate) / int(per))
