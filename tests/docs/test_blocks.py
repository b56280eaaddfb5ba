"""Commands of the documents are run, or compared with what there is; code is compiled."""
import json
import os
import pathlib
import re
import shlex
import subprocess

import harness
import pages
from harness import SOURCES, Setting

COMPILERS = {"c": ["gcc", "-std=gnu99"], "cpp": ["g++", "-std=c++17"]}
# What installs, builds or tests everything is not run from within a test.
NOT_RUN = re.compile(r"(sudo|apt|git|ctest|cmake --preset|cmake --build --preset|scripts/\w+\.(sh|py))\b")
BEFORE = """#include "GenTL/GenTL.h"
#include "OptivoImage.h"
#include "OptivoSim.h"
#include <stdio.h>
void f(void);
void f(void) {
"""


def commands_of(block):
    """The commands of a block, one a line, without comments."""
    joined = block.text().replace("\\\n", " ")
    return [line.strip() for line in joined.splitlines() if line.strip() and not line.strip().startswith("#")]


class Forms(harness.HelpTest):
    """Commands that are not run have a form that fits: their scripts, presets, commands and options exist."""

    known = None

    def check_tool(self, words):
        """Words behind norveltl."""
        if Forms.known is None:
            Forms.known = self.everything()
        names = [word for word in words if word in Forms.known]
        allowed = Forms.known[""] | (Forms.known[names[0]] if names else set())
        for word in words:
            if re.match(r"--?[a-zA-Z]", word):
                self.assertIn(word.partition("=")[0], allowed)

    def check_script(self, words):
        script = SOURCES / words[0]
        self.assertTrue(os.access(script, os.X_OK))
        if script.name == "wine.sh":
            self.assertEqual(words[1], "build/windows/bin/norveltl.exe")
            return self.check_tool(words[2:])
        text = script.read_text()
        for word in words[1:]:
            if word.startswith("--"):
                self.assertIn(word, text)
        return None

    def check_preset(self, words):
        presets = json.loads((SOURCES / "CMakePresets.json").read_text())
        kind = "testPresets" if words[0] == "ctest" else "buildPresets" if "--build" in words else "configurePresets"
        name = words[words.index("--preset") + 1]
        self.assertIn(name, [preset["name"] for preset in presets[kind]])
        options = (SOURCES / "CMakeLists.txt").read_text()
        for option in re.findall(r"-D(\w+)=", " ".join(words)):
            self.assertIn(option, options)

    def check(self, command):
        words = shlex.split(command, comments=True, posix=True)
        if words[0] == "norveltl" and "|" in words:
            words = words[:words.index("|")]  # behind it are other people's programs
        if words[0].startswith("scripts/"):
            self.check_script(words)
        elif words[0] in ("cmake", "ctest"):
            self.check_preset(words)
        elif words[0] == "norveltl":
            self.check_tool(words[1:])
        else:
            self.assertIn(words[0], ("sudo", "apt", "git", "set", "setx", "cd", "msiexec"))

    def test_commands_that_are_not_run(self):
        count = 0
        for page in pages.all_pages():
            for block in pages.blocks(page):
                commands = commands_of(block)
                if block.language == "bat":
                    commands = [command.replace("\\", "/") for command in commands]
                elif block.language == "sh":
                    commands = [command for command in commands if NOT_RUN.match(command)]
                elif block.language == "":
                    commands = [re.split(r"  +", command)[0] for command in commands
                                if re.match(r"(norveltl|scripts/\w+\.sh) ", command)]
                else:
                    continue
                for command in commands:
                    count += 1
                    with self.subTest(block=str(block), command=command):
                        self.check(command)
        self.assertGreater(count, 25)


    def test_no_indented_block_belongs_to_a_list(self):
        """Markdown takes what is indented behind an entry of a list for more of its prose."""
        for page in pages.all_pages():
            lines = page.read_text().splitlines()
            for block in pages.blocks(page):
                if block.language != "" or lines[block.line - 1].startswith("```"):
                    continue
                before = lines[:block.line - 1]
                while before and before[-1] == "":
                    before.pop()
                while len(before) > 1 and before[-2] != "" and not re.match(r"(-|\d+\.) ", before[-1]):
                    before.pop()
                with self.subTest(block=str(block)):
                    self.assertNotRegex(before[-1] if before else "", r"^(-|\d+\.) ")


class Runs(harness.ToolTest):
    def sandbox(self):
        """A folder that looks like a clone with a native build, and can be written to."""
        for path in SOURCES.iterdir():
            if path.name not in pages.OUTSIDE:
                (self.folder / path.name).symlink_to(path)
        (self.folder / "build").mkdir()
        (self.folder / "build/linux").symlink_to(Setting.program.parent.parent)

    def shell(self, script):
        environment = {**os.environ, "PATH": f"{Setting.program.parent}:{os.environ['PATH']}",
                       "GENICAM_GENTL64_PATH": ""}
        environment.pop("OPTIVO_SIM_CONFIG", None)
        return subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=self.folder, env=environment,
                              capture_output=True, text=True, timeout=300, stdin=subprocess.DEVNULL)

    def test_commands(self):
        """The shell commands of a page go well, one after the other."""
        count = 0
        for page in pages.all_pages():
            commands = [command for block in pages.blocks(page) if block.language == "sh"
                        for command in commands_of(block) if not NOT_RUN.match(command)]
            if not commands:
                continue
            count += len(commands)
            with self.subTest(page=str(page.relative_to(SOURCES))):
                self.setUp()
                self.sandbox()
                done = self.shell("\n".join(commands))
                self.assertEqual(done.returncode, 0, done.stdout[-1000:] + done.stderr)
        self.assertGreater(count, 15)

    def test_commands_with_their_outputs(self):
        """Behind "$ " stands a command and below it what it prints, but for numbers and folders."""
        count = 0
        for page in pages.all_pages():
            for block in pages.blocks(page):
                for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ |norveltl \w).*\n)*)", block.text(), re.M):
                    count += 1
                    with self.subTest(block=str(block), command=command):
                        self.assert_prints(command, expected)
        self.assertGreater(count, 10)

    def assert_prints(self, command, expected):
        done = self.shell(command)
        fails = any(line.startswith("norveltl: ") for line in expected.splitlines())
        self.assertEqual(done.returncode, 1 if fails else 0, done.stderr)
        actual = (done.stdout + done.stderr).splitlines()
        for line in filter(None, expected.splitlines()):
            # Whether a line of progress comes depends on how quick the machine is.
            if line.strip() != "..." and not re.match(r"\d+  [\d.]+ frames/s ", line):
                form = re.compile(form_of(line))
                self.assertTrue(any(form.fullmatch(other) for other in actual), f"{line!r} is not in {actual}")


def form_of(line):
    """A pattern for lines that differ in numbers, bars, blanks and the folder only."""
    parts = re.split(r"(\S*(?:NorvelTL40\.cti|libOptivo40\.so)|\d+|#+| +)", line.rstrip())
    forms = {"#": r"#*", " ": r" +"}
    pattern = ""
    for i, part in enumerate(parts):
        if i % 2 == 0:
            pattern += re.escape(part)
        elif part.endswith((".cti", ".so")):
            pattern += r"\S*" + re.escape(part.rpartition("/")[2])
        else:
            pattern += forms.get(part[0], r"\d+")
    return pattern + r"\s*#*"


class Code(harness.ToolTest):
    def test_c_and_cpp(self):
        """A block with an #include is a file, another the body of a function."""
        count = 0
        for page in pages.all_pages():
            for block in pages.blocks(page):
                if block.language not in COMPILERS:
                    continue
                count += 1
                text = block.text() if "#include" in block.text() else f"{BEFORE}{block.text()}}}\n"
                source = self.folder / f"block.{block.language}"
                source.write_text(text)
                done = subprocess.run([*COMPILERS[block.language], "-Wall", "-Wno-unused", "-Werror", "-fsyntax-only",
                                       "-I", SOURCES / "include", "-I", SOURCES / "simulator/include", source],
                                      capture_output=True, text=True)
                with self.subTest(block=str(block)):
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertGreater(count, 3)

    def test_python(self):
        for page in pages.all_pages():
            for block in pages.blocks(page):
                if block.language == "python":
                    with self.subTest(block=str(block)):
                        compile(block.text(), str(block), "exec")

    def test_json(self):
        for page in pages.all_pages():
            for block in pages.blocks(page):
                if block.language == "json":
                    with self.subTest(block=str(block)):
                        json.loads(block.text())

    def test_every_language_is_looked_at(self):
        for page in pages.all_pages():
            for block in pages.blocks(page):
                with self.subTest(block=str(block)):
                    self.assertIn(block.language, ("", "sh", "bat", "c", "cpp", "python", "json", "text"))
