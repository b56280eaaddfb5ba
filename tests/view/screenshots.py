#!/usr/bin/env python3
"""Takes the pictures of the page that the documents show: screenshots.py PROGRAM"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import page_tests

IMAGES = pathlib.Path(__file__).resolve().parent.parent.parent / "docs/images"
WORLD = {"interfaces": [{"name": "eth0", "cameras": [
    {"name": "Left", "width": 640, "height": 480, "frameRate": 30},
    {"name": "Right", "width": 640, "height": 480, "frameRate": 20, "pixelFormat": "BayerRG8", "testPattern": "ColorBar"},
    {"name": "Spare"}]}]}


def main():
    with tempfile.TemporaryDirectory() as folder:
        world = pathlib.Path(folder) / "world.json"
        world.write_text(json.dumps(WORLD))
        command = [pathlib.Path(sys.argv[1]).resolve(), "view", "Left", "Right", "--no-browser", "--keep", "/tmp/lens"]
        with subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, text=True,
                              env={**os.environ, "OPTIVO_SIM_CONFIG": str(world)}) as server:
            browser = page_tests.start_browser()
            try:
                browser.set_window_size(1360, 900)
                browser.get(server.stdout.readline().strip())
                # Long enough for the plot of the intervals to fill.
                time.sleep(6)
                browser.find_element("css selector", "canvas.picture").send_keys("l")
                time.sleep(1)
                browser.execute_script("document.querySelector('.feature[data-name=ExposureTime]').scrollIntoView()")
                whole = pathlib.Path(folder) / "whole.png"
                browser.save_screenshot(str(whole))
                # Few colours make a small file.
                subprocess.run(["ffmpeg", "-y", "-loglevel", "error", "-i", whole, "-vf",
                                "split[a][b];[a]palettegen=max_colors=128:stats_mode=full[p];[b][p]paletteuse=dither=none",
                                IMAGES / "view.png"], check=True)
            finally:
                browser.quit()
                server.terminate()


if __name__ == "__main__":
    main()
