#!/usr/bin/env python3
"""Holds what norveltl_bench measured against the budgets.

Report.py smoke PROGRAM...      runs the program for a moment; every figure must come out positive
Report.py print FOLDER...       prints the table of the build folders' bench.json
Report.py write FOLDER...       prints it, and writes docs/performance.md with its plots

With NORVELTL_BENCH_DOCS the page and its plots go to that folder instead of docs.
"""
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys

import Plots
from Figures import BUILD_FIGURES, FIGURES, Results, Row

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCS = pathlib.Path(os.environ.get("NORVELTL_BENCH_DOCS", ROOT / "docs"))
PAGE = DOCS / "performance.md"
IMAGES = DOCS / "images"


def read(path):
    """The medians of a run's repetitions: benchmark -> value name -> number. Times are nanoseconds."""
    report = json.loads(pathlib.Path(path).read_text())
    units = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    found = {}
    for run in report["benchmarks"]:
        if run["run_type"] != "iteration":
            continue
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        values = found.setdefault("/".join(run["name"].split("/")[:2]), {})
        for name, value in run.items():
            if isinstance(value, (int, float)):
                factor = units[run["time_unit"]] if name in ("real_time", "cpu_time") else 1
                values.setdefault(name, []).append(value * factor)
    medians = {bench: {name: statistics.median(list_) for name, list_ in values.items()} for bench, values in found.items()}
    results = Results(medians, report["context"])
    results.derive()
    return results


def rows_of(results, figures=(*FIGURES, *BUILD_FIGURES)):
    return [Row(figure, results) for figure in figures if not (figure.is_for_linux and results.is_of_windows)]


def smoke(program):
    out = pathlib.Path("bench-smoke.json")
    out.unlink(missing_ok=True)
    run = [*program, "--quick", f"--benchmark_out={out}", "--benchmark_out_format=json"]
    subprocess.run(run, check=True, stdout=subprocess.DEVNULL, timeout=300)
    results = read(out)
    rows = rows_of(results, FIGURES)
    missing = [f"{row.title}: {row.inputs}" for row in rows if not row.is_measured]
    for line in missing:
        print(line)
    print(f"{len(rows)} figures, {len(missing)} not measured")
    return 1 if missing or not rows else 0


def module_size(folder):
    """Bytes of the module as it is delivered, without debug information."""
    module = folder / "bin" / "NorvelTL40.cti"
    is_windows = module.read_bytes()[:2] == b"MZ"
    stripped = folder / "bench-stripped.cti"
    subprocess.run(["x86_64-w64-mingw32-strip" if is_windows else "strip", "-o", stripped, module], check=True)
    size = stripped.stat().st_size
    stripped.unlink()
    return size


def load(folder):
    results = read(folder / "bench.json")
    results.target = folder.name
    results.values["module_size/module"] = {"kib": module_size(folder) / 1024}
    return results


HEADINGS = ("figure", "module", "floor", "compared", "budget", "met")


def plain_table(rows):
    lines = [HEADINGS, *(row.cells() for row in rows)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(HEADINGS))]
    return "\n".join("  ".join(f"{cell:<{width}}" for cell, width in zip(line, widths)).rstrip() for line in lines)


def markdown_table(rows):
    lines = [HEADINGS, ("---",) * len(HEADINGS), *(row.cells() for row in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0]


def machine():
    info = pathlib.Path("/proc/cpuinfo").read_text()
    model = re.search(r"^model name\s*: (.*)$", info, re.M)
    memory = int(re.search(r"^MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text(), re.M)[1]) / 2**20
    return (f"{model[1] if model else platform.machine()}, {memory:.0f} GiB of memory, "
            f"{platform.system()} {platform.release()}, {first_line('g++', '--version')}, "
            f"{first_line('x86_64-w64-mingw32-g++-posix', '--version')}, {first_line('/usr/lib/wine/wine64', '--version')}")


def conditions(results):
    context = results.context
    load_text = ", ".join(f"{value:.1f}" for value in context.get("load_avg", []))
    return (f"{results.target}: {context['date'][:16].replace('T', ' ')}, {context['num_cpus']} processors"
            + (f", load average before the run {load_text}" if load_text else ""))


def lead(all_results):
    """(what is done, {target: nanoseconds that the module adds to it}, how it reads)"""
    def over(bench, value="real_time", floor=None, scale=1):
        return {r.target: (r.value(f"{bench}/module", value) - r.value(floor or f"{bench}/floor", value)) * scale
                for r in all_results}

    in_a_frame = 1e9 / (100 * 16 * 30)  # per cent of a core, for the 480 images of a second
    return [
        ("a waiting consumer gets its image", over("latency", "median"),
         "later than a bare condition variable would wake it (median)"),
        ("an image of 64 bytes", over("frame_cost", floor="frame_cost/library"),
         "fetched and queued again, more than the camera library takes for it"),
        ("an image of 12 MiB", over("throughput"), "more than grabbing it in a bare loop"),
        ("a buffer is queued", {r.target: r.value("queue_buffer/module", "real_time") for r in all_results}, "a whole call of `DSQueueBuffer`"),
        ("processor time of an image, 16 cameras", over("processor", "core_percent", scale=in_a_frame),
         "beside what the camera library needs"),
    ]


def lead_lines(all_results):
    names = {"linux": "on Linux", "windows": "under Wine"}
    return "\n".join(
        f"- {title}, {words}: " + ", ".join(
            f"{Plots.duration(value) if value >= 0.5 else 'nothing'} {names[target]}" for target, value in values.items())
        for title, values, words in lead(all_results))


def page(all_results):
    template = (pathlib.Path(__file__).parent / "performance.md.in").read_text()
    tables = [f"### {Results.TARGETS[r.target]}\n\n{markdown_table(rows_of(r))}" for r in all_results]
    return (template.replace("@LEAD@", lead_lines(all_results)).replace("@TABLES@", "\n\n".join(tables)).replace("@MACHINE@", machine())
            .replace("@CONDITIONS@", "\n".join(f"- {conditions(r)}" for r in all_results)))


def write(all_results):
    IMAGES.mkdir(parents=True, exist_ok=True)
    rows = {r.target: rows_of(r) for r in all_results}
    for name, svg in Plots.all_plots(all_results, rows, [line[:2] for line in lead(all_results)]).items():
        (IMAGES / f"performance-{name}.svg").write_text(svg)
    PAGE.write_text(page(all_results))
    print(f"written: {PAGE}, {IMAGES}/performance-*.svg")


def main(mode, *arguments):
    if mode == "smoke":
        return smoke(arguments)
    all_results = [load(pathlib.Path(folder)) for folder in arguments]
    for results in all_results:
        print(f"== {Results.TARGETS[results.target]}\n{plain_table(rows_of(results))}\n")
    if mode == "write":
        write(all_results)
    return 0


if __name__ == "__main__":
    if len(sys.argv) < 3 or sys.argv[1] not in ("smoke", "print", "write"):
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
