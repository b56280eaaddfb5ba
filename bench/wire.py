#!/usr/bin/env python3
"""What an image from a camera on the wire costs, beside a bare loop over Aravis: wire.py BENCH CAMERA_HOST MODULE [quick]
Prints a table of images of several sizes, at a rate that both keep up with and as fast as the camera makes them."""
import pathlib
import statistics
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "vision"))
from namespaces import enter_own_network  # noqa: E402

SIZES = ((8, 8), (64, 64), (512, 512), (2048, 2048), (4096, 3072))
PACED = {8: 2000, 64: 2000, 512: 5000, 2048: 40000, 4096: 100000}
# Smaller images than these come faster than anybody can take them.
UNPACED = {512: 1, 2048: 1, 4096: 1}


def measure(program, host, module, width, height, period, seconds, rounds):
    """Of the module and the bare loop: processor time of an image in microseconds, images in a second."""
    camera = subprocess.Popen([host, "127.0.0.1", "T1"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    try:
        assert camera.stdout.readline() == "ready\n"
        run = subprocess.run([program, module, *map(str, (width, height, period, seconds, rounds))], check=True,
                             stdout=subprocess.PIPE, text=True, timeout=600)
    finally:
        camera.kill()
        camera.communicate()
    found = {"module": [], "bare": []}
    for line in run.stdout.splitlines():
        name, images, processor, clock = line.split()
        if int(images) == 0:
            raise SystemExit("no image of %d x %d came to the %s loop" % (width, height, name))
        found[name].append((1e6 * float(processor) / int(images), int(images) / float(clock)))
    return [[statistics.median(column) for column in zip(*found[name])] for name in ("module", "bare")]


def main():
    program, host, module = sys.argv[1:4]
    is_quick = sys.argv[4:] == ["quick"]
    print("| image | pace | module | bare loop | compared | images a second |")
    print("|---|---|---|---|---|---|")
    for width, height in SIZES[1:2] if is_quick else SIZES:
        for pace, period in (("paced", PACED[width]), ("as fast as it goes", UNPACED.get(width))):
            if period is None:
                continue
            (cost, rate), (bare_cost, bare_rate) = measure(
                program, host, module, width, height, period, *((0.2, 1) if is_quick else (1, 3)))
            print("| %s bytes | %s | %.1f us | %.1f us | %.2fx | %.0f, bare %.0f |" % (
                format(width * height, ","), pace, cost, bare_cost, cost / bare_cost, rate, bare_rate), flush=True)


if __name__ == "__main__":
    enter_own_network()
    main()
