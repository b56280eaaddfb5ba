#!/usr/bin/python3
"""Makes the Windows installer and archive of a build: package.py BUILD OUTPUT

OUTPUT gets norveltl-VERSION-windows-x64.exe and .zip, and the tree they hold as stage/. The same build gives the same
bytes: files come in the order of their names, with the time SOURCE_DATE_EPOCH or else that of the last commit.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import time
import zipfile

import web_pages

HERE = pathlib.Path(__file__).resolve().parent
SOURCES = HERE.parent
# What is installed as a choice of its own.
SIMULATOR = pathlib.PurePath("bin/Optivo40.dll")
HELPER = "norveltl-environment.exe"


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise SystemExit(f"package: {' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def source_time():
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    return int(run("git", "-c", f"safe.directory={SOURCES}", "-C", SOURCES, "log", "-1", "--format=%ct"))


def version_of(build):
    cache = (build / "CMakeCache.txt").read_text()
    return re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(.*)$", cache, re.M).group(1)


def files_in(tree):
    """Relative to the tree, and in one order on every machine."""
    return sorted(path.relative_to(tree) for path in tree.rglob("*") if path.is_file())


def stage(build, tree):
    """Lays the tree out as users get it."""
    shutil.rmtree(tree, ignore_errors=True)
    for component in ("product", "simulator", "development"):
        run("cmake", "--install", build, "--prefix", tree, "--component", component)
    web_pages.replace_documents(tree)
    stamp(tree)


def stamp(tree):
    moment = source_time()
    for path in [*tree.rglob("*"), tree]:
        path.chmod(0o755 if path.is_dir() or path.suffix in (".exe", ".dll", ".cti") else 0o644)
        os.utime(path, (moment, moment))


def make_zip(tree, archive):
    moment = time.gmtime(source_time())[:6]
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
        for file in files_in(tree):
            entry = zipfile.ZipInfo(f"{archive.stem}/{file.as_posix()}", moment)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (tree / file).stat().st_mode << 16
            packed.writestr(entry, (tree / file).read_bytes())


def quoted(path):
    return '"' + str(path).replace("$", "$$") + '"'


def on_windows(path):
    return str(path).replace("/", "\\").replace("$", "$$")


def lists_of(tree):
    """The macros that name every file to install and to remove, and every folder once it may be empty."""
    product = [file for file in files_in(tree) if file != SIMULATOR]
    folders = sorted({parent for file in files_in(tree) for parent in file.parents}, reverse=True)

    def install(files):
        for file in files:
            yield f'SetOutPath "$INSTDIR\\{on_windows(file.parent)}"' if file.parent.name else "SetOutPath $INSTDIR"
            yield f"File {quoted(tree / file)}"

    def remove(files):
        for file in files:
            yield f'StrCpy $R0 "$INSTDIR\\{on_windows(file)}"'
            yield "Call un.RemoveFile"

    def remove_folders():
        for folder in folders:
            place = f'"$INSTDIR\\{on_windows(folder)}"' if folder.name else "$INSTDIR"
            yield f"RMDir {place}"
            yield "${If} ${RebootFlag}"
            yield f"RMDir /REBOOTOK {place}"
            yield "${EndIf}"

    macros = {"InstallProduct": install(product), "InstallSimulator": install([SIMULATOR]),
              "RemoveProduct": remove(product), "RemoveSimulator": remove([SIMULATOR]),
              "RemoveFolders": remove_folders()}
    return "\n".join(line for name, lines in macros.items()
                     for line in (f"!macro {name}", *lines, "!macroend", ""))


def make_installer(tree, helper, version, installer):
    lists = installer.with_suffix(".nsh")
    lists.write_text(lists_of(tree))
    sizes = {file: (tree / file).stat().st_size for file in files_in(tree)}
    product = sum(size for file, size in sizes.items() if file != SIMULATOR)
    moment = source_time()
    # makensis keeps the times of what it packs.
    packed_helper = installer.parent / HELPER
    shutil.copy(helper, packed_helper)
    os.utime(packed_helper, (moment, moment))
    defines = {"VERSION": version, "OUTPUT": installer, "LISTS": lists, "STAGE": tree, "HELPER_PROGRAM": packed_helper,
               "SIZE_PRODUCT": product // 1024, "SIZE_SIMULATOR": sizes[SIMULATOR] // 1024}
    run("makensis", "-V2", "-WX", *(f"-D{name}={value}" for name, value in defines.items()), HERE / "norveltl.nsi",
        env={**os.environ, "SOURCE_DATE_EPOCH": str(moment)})
    lists.unlink()
    packed_helper.unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="a build of the preset windows")
    parser.add_argument("output", type=pathlib.Path)
    options = parser.parse_args()
    build, output = options.build.resolve(), options.output.resolve()
    output.mkdir(parents=True, exist_ok=True)
    version = version_of(build)
    tree = output / "stage"
    stage(build, tree)
    name = f"norveltl-{version}-windows-x64"
    make_zip(tree, output / f"{name}.zip")
    make_installer(tree, build / "bin" / HELPER, version, output / f"{name}.exe")
    print(output / f"{name}.exe", output / f"{name}.zip", sep="\n")


if __name__ == "__main__":
    main()
