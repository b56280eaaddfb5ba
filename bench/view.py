#!/usr/bin/env python3
"""What norveltl view costs and how soon its page shows an image: view.py PROGRAM [quick | SECONDS]
A camera of 5 megapixels and 30 images a second, headless Chromium on the same machine. With a number of seconds, the
memory of the server and of the page every half minute of a page that is open so long."""
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "view"))
import page_tests  # noqa: E402
from viewing import Server  # noqa: E402

CAM = "0:Cam"
SIZES = ((1500, 1000), (3840, 2160), (1920, 1080))
WORLD = {"interfaces": [{"cameras": [{"name": "Cam", "width": 2592, "height": 1944, "frameRate": 30}]}]}

# Notes each picture when the screen has it: after the frame in which it was painted.
WATCH = """
window.seen = [];
const original = window.fetch;
window.fetch = async (...its) => {
  const response = await original(...its);
  const header = response.headers.get("Picture");
  if (header !== null) {
    const {number, arrived} = JSON.parse(header);
    const bytes = response.arrayBuffer.bind(response);
    response.arrayBuffer = async () => {
      const samples = await bytes();
      requestAnimationFrame(() => {
        const channel = new MessageChannel();
        channel.port1.onmessage = () => seen.push([number, performance.timeOrigin + performance.now() - arrived]);
        channel.port2.postMessage(null);
      });
      return samples;
    };
  }
  return response;
};
"""


def processor_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_mib(pid):
    return int(pathlib.Path(f"/proc/{pid}/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE") / 2**20


class Interval:
    """What the server did from here to there."""

    def __init__(self, server, seconds):
        pid = server.process.pid
        begin, processor, before = time.monotonic(), processor_seconds(pid), server.ask("quality", camera=CAM)
        time.sleep(seconds)
        after = server.ask("quality", camera=CAM)
        self.seconds = time.monotonic() - begin
        self.cores = (processor_seconds(pid) - processor) / self.seconds
        self.images = (after["delivered"] - before["delivered"]) / self.seconds
        self.lost = after["lost"] - before["lost"]


def watch(browser, server, seconds):
    browser.execute_script("seen = []")
    interval = Interval(server, seconds)
    return interval, browser.execute_script("return seen")


def open_page(browser, server):
    browser.get(server.url)
    browser.execute_script(WATCH)


def row(name, interval, seen=None):
    shown = f"{len(seen) / interval.seconds:.1f}" if seen is not None else ""
    if shown == "0.0":
        raise SystemExit("no picture was shown")
    late = f"{statistics.median(late for _, late in seen):.0f} ms" if seen else ""
    print(f"| {name} | {interval.images:.1f} | {interval.lost} | {shown} | {late} | {interval.cores:.2f} |", flush=True)


def compare(browser, server, seconds, sizes, number):
    print("| | images a second | lost | shown a second | median to the screen | processors of the server |")
    print("|---|---|---|---|---|---|")
    row("no page", Interval(server, seconds))
    for width, height in sizes:
        browser.set_window_size(width, height)
        open_page(browser, server)
        time.sleep(2)
        row(f"a page of {width} x {height}", *watch(browser, server, seconds))
    for _ in range(number - 1):
        browser.switch_to.new_window("window")
        open_page(browser, server)
    time.sleep(2)
    row(f"{number} such pages, one of them", *watch(browser, server, seconds))


def watch_memory(browser, server, seconds):
    open_page(browser, server)
    print("| seconds | server | objects of the page | shown since |")
    print("|---|---|---|---|")
    begin = time.monotonic()
    while (passed := time.monotonic() - begin) < seconds:
        time.sleep(min(30, seconds - passed))
        seen = browser.execute_script("const its = seen.length; seen = []; return its")
        browser.execute_cdp_cmd("HeapProfiler.collectGarbage", {})
        heap = {its["name"]: its["value"] for its in browser.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]}
        print(f"| {time.monotonic() - begin:.0f} | {resident_mib(server.process.pid):.0f} MiB "
              f"| {heap['JSHeapUsedSize'] / 2**20:.1f} MiB | {seen} |", flush=True)


def main():
    program, *rest = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        world = pathlib.Path(folder) / "world.json"
        world.write_text(json.dumps(WORLD))
        with subprocess.Popen([program, "view", "Cam", "--no-browser"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env={**os.environ, "OPTIVO_SIM_CONFIG": str(world)}) as process:
            browser = page_tests.start_browser()
            try:
                browser.execute_cdp_cmd("Performance.enable", {})
                server = Server(process)
                if rest == ["quick"]:
                    compare(browser, server, 1, SIZES[:1], 2)
                elif rest:
                    watch_memory(browser, server, float(rest[0]))
                else:
                    compare(browser, server, 10, SIZES, 10)
            finally:
                browser.quit()
                process.terminate()


if __name__ == "__main__":
    main()
