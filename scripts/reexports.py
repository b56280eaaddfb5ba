#!/usr/bin/env python3
"""Lists what the Windows module hands on to the camera library: reexports.py [--check]

These are the constructors, assignments, destructors and virtual tables of the exception classes and of the iterators of
gcstring_vector that src/camlib/GenICamBase.h declares, with all that a compiler exports beside them: it is given
definitions of them and asked what it exports. Writes src/api/reexports-mingw.txt and src/api/reexports-msvc.txt, the
names under MinGW and under Visual C++; with --check it writes nothing and fails when one of the two is out of date.
"""
import argparse
import difflib
import json
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCES = pathlib.Path(__file__).resolve().parent.parent
HEADER = SOURCES / "src/camlib/GenICamBase.h"
# Clang gives everything the names that Visual C++ gives it.
MSVC = ("clang++", "--target=x86_64-pc-windows-msvc")
COMPILERS = {"mingw": ("x86_64-w64-mingw32-g++-posix",), "msvc": MSVC}
OPTIONS = ("-std=c++20", "-w", "-DOPTIVO_BUILD", "-nostdinc++", "-x", "c++")

# Visual C++'s own headers are not at hand, and no name depends on what stands in them.
STANDARD_HEADERS = {"cstddef": "", "exception": """
namespace std {
using size_t = decltype(sizeof 0);
class exception {
public:
    exception() noexcept;
    exception(const exception&) noexcept;
    virtual ~exception() noexcept;
    virtual const char* what() const noexcept;
};
}
"""}


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise SystemExit(f"reexports: {' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def classes_in(node, scope=()):
    """Every class that is defined below, as (its names from the outside in, what the compiler knows of it)."""
    for inner in node.get("inner", []):
        if inner["kind"] == "NamespaceDecl":
            yield from classes_in(inner, (inner["name"],))
        elif inner["kind"] == "CXXRecordDecl" and inner.get("completeDefinition"):
            yield (*scope, inner["name"]), inner
            yield from classes_in(inner, (*scope, inner["name"]))


def is_handed_on(names):
    return names[0] == "GenICam" and (names[-1].endswith("Exception") or names[1:-1] == ("gcstring_vector",))


def definitions_of(names, declared):
    """None of them is ever called: a base may come from anywhere."""
    bases = [base["type"]["qualType"] for base in declared.get("bases", [])]
    copied = " : " + ", ".join(f"{base}(*({base}*)nullptr)" for base in bases) if bases else ""
    for member in declared["inner"]:
        if member.get("isImplicit"):
            continue
        types = ", ".join(inner["type"]["qualType"] for inner in member.get("inner", []) if inner["kind"] == "ParmVarDecl")
        head = f"{'::'.join(names)}::{member.get('name')}({types})"
        if member["kind"] == "CXXConstructorDecl":
            yield f"{head}{copied} {{}}"
        elif member["kind"] == "CXXDestructorDecl":
            yield f"{head} {{}}"
        elif member.get("name") == "operator=":
            yield f"auto {head} -> {names[-1]}& {{ return *this; }}"


def make_lists():
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        for name, text in STANDARD_HEADERS.items():
            (work / name).write_text(text)
        options = (*OPTIONS, "-I", work)
        tree = json.loads(run(*MSVC, *options, "-fsyntax-only", "-Xclang", "-ast-dump=json", HEADER))
        handed_on = {names: declared for names, declared in classes_in(tree) if is_handed_on(names)}
        source, compiled = work / "definitions.cpp", work / "definitions.o"
        source.write_text("\n".join([f'#include "{HEADER}"', *(
            line for names, declared in handed_on.items() for line in definitions_of(names, declared))]) + "\n")

        def exported_by(compiler):
            run(*compiler, *options, "-c", source, "-o", compiled)
            directives = run("llvm-readobj-14", "--coff-directives", compiled)
            names = re.findall(r'[-/]export:"?([^",\s]+)', directives, re.IGNORECASE)
            # What Visual C++ makes by itself for other classes is exported, too.
            return sorted(name for name in names if re.search("Exception|iterator", name))

        return {kind: exported_by(compiler) for kind, compiler in COMPILERS.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    check = parser.parse_args().check
    differences = []
    for kind, names in make_lists().items():
        file = SOURCES / f"src/api/reexports-{kind}.txt"
        lines = "# Made by scripts/reexports.py.", *names
        if check:
            differences += difflib.unified_diff(file.read_text().splitlines(), lines, file.name, "as it should be", lineterm="")
        else:
            file.write_text("\n".join(lines) + "\n")
    print("\n".join(differences) or "the lists are up to date")
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main())
