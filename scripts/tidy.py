#!/usr/bin/env python3
# Runs clang-tidy over everything but tests and benchmarks, again only over files whose contents or headers changed.
# Call it after building, with the build folders whose compile commands count: scripts/tidy.py FOLDER...
import concurrent.futures
import functools
import hashlib
import itertools
import json
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PLUGIN = ROOT / "scripts" / "tidy" / "OwnCode.cpp"
CACHE = ROOT / ".cache" / "tidy"
ANALYSED = ("src", "genapi", "standard", "camera-library", "vision", "simulator", "tools", "examples")
SUFFIXES = (".cpp", ".c")
GCC_ONLY = {"-fno-gnu-unique", "-fno-keep-inline-dllexport", "-Winvalid-pch", "-Werror"}


def output_of(*command):
    return subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout


@functools.cache
def digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


@functools.cache
def arguments_for_clang(compiler):
    """What clang cannot find out by itself about a MinGW compiler."""
    if "mingw" not in compiler:
        return []
    searched = subprocess.run([compiler, "-E", "-v", "-x", "c++", "/dev/null"], check=True, capture_output=True, text=True)
    library = [line.strip() for line in searched.stderr.splitlines() if re.match(r" /.*/include/c\+\+", line)]
    return ["--target=x86_64-w64-mingw32", "-nostdinc++", *(word for d in library for word in ("-isystem", d))]


def headers_of(build):
    """Object file -> everything it was compiled from, as Ninja recorded it or the compiler of a custom command wrote."""
    found, target = {}, None
    for written in build.rglob("*.obj.d"):
        words = written.read_text().replace("\\\n", " ").split()
        found[words[0].removesuffix(":")] = [str((build / word).resolve()) for word in words[1:]]
    for line in output_of("ninja", "-C", str(build), "-t", "deps").splitlines():
        if line.startswith("    "):
            found[target].append(str((build / line.strip()).resolve()))
        elif ": #deps" in line:
            target = line.split(":")[0]
            found[target] = []
    return found


@functools.cache
def sources_in_tree():
    found = (path for top in ANALYSED for path in (ROOT / top).rglob("*"))
    return {path.resolve() for path in found if path.suffix in SUFFIXES}


def sources_of(compiled):
    """A file that a build compiles, or those that CMake has put together in it."""
    together = re.findall(r'^#include "(.*)"$', compiled.read_text(), re.M) if compiled.parent.name == "Unity" else []
    return {pathlib.Path(source).resolve() for source in together or [compiled]} & sources_in_tree()


def jobs_in(build):
    """Source file -> (command for clang, everything it includes)."""
    headers = headers_of(build)
    entries = (json.loads(commands.read_text()) for commands in sorted(build.glob("*_commands.json")))
    for entry in itertools.chain.from_iterable(entries):
        compiled = pathlib.Path(entry["file"])
        sources = sources_of(compiled)
        if not sources:
            continue
        command = shlex.split(entry["command"])
        made = command[command.index("-o") + 1]
        if made not in headers:
            sys.exit(f"tidy: {compiled} has not been built in {build}")
        kept = [word for word in command[1:] if word not in GCC_ONLY]
        # A file must name what it needs itself, and clang reads no header that another compiler has precompiled.
        if "-include" in kept:
            place = kept.index("-include")
            del kept[place : place + 2]
        included = {header for header in headers[made] if not header.endswith(".gch")} - set(map(str, sources))
        for source in sources:
            yield source, [*arguments_for_clang(command[0]), *kept], [str(source), *included]


def built_plugin():
    """The library with the check that spares the others the headers of libraries, compiled as soon as it changes."""
    headers = pathlib.Path(shutil.which("clang-tidy")).resolve().parent.parent / "include"
    built = CACHE / f"{hashlib.sha256((VERSION + digest(PLUGIN)).encode()).hexdigest()}.so"
    if not (headers / "clang-tidy").is_dir():
        sys.exit(f"tidy: {headers} has no headers of clang-tidy: scripts/setup.sh installs them")
    if not built.exists():
        half = built.with_suffix(".part")
        subprocess.run(["g++", "-std=c++17", "-fno-rtti", "-fPIC", "-shared", "-isystem", str(headers), str(PLUGIN),
                        "-o", str(half)], check=True)
        half.rename(built)
    return built


def analyse(plugin, source, command, included):
    """Answers what clang-tidy has to say, nothing if the file is clean."""
    parts = [plugin.name, digest(ROOT / ".clang-tidy"), shlex.join(command), *map(digest, sorted(included))]
    mark = CACHE / hashlib.sha256("\n".join(parts).encode()).hexdigest()
    if mark.exists():
        return ""
    options = ["--quiet", f"--load={plugin}", "--checks=norvel-*"]
    run = subprocess.run(["clang-tidy", *options, str(source), "--", *command], capture_output=True, text=True)
    if run.returncode == 0 and not run.stdout.strip():
        mark.touch()
        return ""
    return run.stdout + run.stderr


def main(builds):
    CACHE.mkdir(parents=True, exist_ok=True)
    jobs = {}
    for build in builds:
        for source, command, included in jobs_in(pathlib.Path(build).resolve()):
            jobs.setdefault(source, (command, included))
    left_out = sources_in_tree() - jobs.keys()
    for source in sorted(left_out):
        print(f"{source}: no build compiles this file")
    plugin = built_plugin()
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        reports = list(pool.map(lambda job: analyse(plugin, job[0], *job[1]), sorted(jobs.items())))
    complaints = [report for report in reports if report]
    print(*complaints, sep="\n", end="")
    print(f"tidy: {len(jobs)} files analysed, {len(complaints)} with complaints, {len(left_out)} not built")
    sys.exit(0 if jobs and not complaints and not left_out else 1)


VERSION = output_of("clang-tidy", "--version")
main(sys.argv[1:])
