"""Starts the command line as a user does, natively or under Wine, and keeps what it answers."""
import contextlib
import errno
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
GOLDEN = HERE / "golden"
SOURCES = HERE.parent.parent
WORLDS = SOURCES / "docs/worlds"

DONE, FAILED, WRONG_USAGE, NOTHING_FOUND = 0, 1, 2, 3

LEFT, RIGHT, MICROSCOPE = "Norvel-G640M-10001", "Norvel-G1300C-10002", "Norvel-U320C-20001"


class Setting:
    """What the runner was called with."""

    program = None
    producers = None
    launch = []
    is_windows = False
    accept = False


def setup(program, producers, launch, accept):
    Setting.program = pathlib.Path(program).resolve()
    Setting.producers = pathlib.Path(producers).resolve()
    Setting.launch = [str(pathlib.Path(launch).resolve())] if launch else []
    Setting.is_windows = Setting.program.suffix == ".exe"
    Setting.accept = accept


@contextlib.contextmanager
def awake():
    """Keeps Wine up meanwhile, which otherwise boots anew for every program."""
    if not Setting.is_windows or not Setting.launch:
        yield
        return
    with subprocess.Popen([*Setting.launch, "cmd", "/k"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL) as shell:
        # Once it greets, Wine is up; whoever boots it shares its pipes with Wine's own processes.
        shell.stdout.readline()
        yield


def native(path):
    """The path as the program knows it."""
    path = str(pathlib.Path(path).resolve())
    return "Z:" + path.replace("/", "\\") if Setting.is_windows else path


def separator():
    return ";" if Setting.is_windows else ":"


def producer(name):
    return native(Setting.producers / f"{name}.cti")


def module():
    return Setting.program.parent / "NorvelTL40.cti"


def standard_module():
    return Setting.program.parent / "standard/NorvelTL40-standard.cti"


def camera_library():
    return Setting.program.parent / ("Optivo40.dll" if Setting.is_windows else "libOptivo40.so")


def library(name):
    """A library made for these tests."""
    return Setting.producers / (name + (".dll" if Setting.is_windows else ".so"))


class Answer:
    def __init__(self, code, out, err):
        self.code = code
        self.out = out.decode().replace("\r\n", "\n")
        self.err = err.decode().replace("\r\n", "\n")

    def json(self):
        return json.loads(self.out)

    def numbers(self):
        """The totals, by their labels: {"delivered": "100 of 100", ...}."""
        return {label.strip(): text for label, text in re.findall(r"^(\w[\w ]{10} )(\S.*)$", self.out, re.M)}


class ToolTest(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="norveltl-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def start(self, *arguments, world=None, search="", program=None, libraries=None, variables=None,
              out=subprocess.PIPE, **system):
        """Starts the program in the test's folder; a world is a path, or what the file shall hold; libraries is a
        folder in which the system looks for libraries too; variables are those of the environment; out takes its
        output; the rest is for the system."""
        environment = {**os.environ, "GENICAM_GENTL64_PATH": search, **(variables or {})}
        if libraries is not None:
            environment["WINEPATH" if Setting.is_windows else "LD_LIBRARY_PATH"] = native(libraries)
        environment.pop("OPTIVO_SIM_CONFIG", None)
        if world is not None:
            if not isinstance(world, pathlib.Path):
                path = self.folder / "world.json"
                path.write_text(world if isinstance(world, str) else json.dumps(world))
                world = path
            environment["OPTIVO_SIM_CONFIG"] = native(world)
        command = [*Setting.launch, str(program or Setting.program), *arguments]
        while True:
            try:
                return subprocess.Popen(command, cwd=self.folder, env=environment, stdout=out,
                                        stderr=subprocess.PIPE, **{"stdin": subprocess.DEVNULL, **system})
            except OSError as error:
                # A copy is busy while a process that another thread was starting meanwhile has it open for writing.
                if error.errno != errno.ETXTBSY:
                    raise

    def finish(self, process, timeout=120):
        try:
            out, err = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            self.fail(f"{process.args} did not end")
        return Answer(process.returncode, out or b"", err)

    def run_tool(self, *arguments, **options):
        return self.finish(self.start(*arguments, **options))

    def done(self, *arguments, **options):
        """Runs what must go well without a word on the error output."""
        answer = self.run_tool(*arguments, **options)
        self.assertEqual((answer.code, answer.err), (DONE, ""), answer.out)
        return answer

    def refused(self, code, error, *arguments, **options):
        """Runs what must end with this code and exactly this on the error output."""
        answer = self.run_tool(*arguments, **options)
        self.assertEqual((answer.code, answer.err), (code, error), answer.out)
        return answer

    def assert_golden(self, text, name):
        """Compares with a file; the build's folder and the length of what it is part of vary."""
        text = re.sub(r"[^\s\"]*[/\\](NorvelTL40\.cti|libOptivo40\.so|Optivo40\.dll)", r"FOLDER/\1", text)
        text = text.replace(camera_library().name, "CAMERA_LIBRARY")
        text = re.sub(r"STRING  \d+ +\"FOLDER", 'STRING  NN    "FOLDER', text)
        text = re.sub(r'"size": \d+,(\s+"value": "FOLDER)', r'"size": "NN",\1', text)
        path = GOLDEN / name
        if Setting.accept:
            path.write_text(text)
        self.assertEqual(text, path.read_text(), f"differs from {path}")

    def images(self, folder):
        """The images of a grab, in their order."""
        return sorted((self.folder / folder).glob("image_*"))

    def install(self, name, *files):
        """A folder with these files, as a user would lay it out."""
        folder = self.folder / name
        folder.mkdir()
        for file in files:
            shutil.copy2(file, folder)
        return folder

    def interrupt(self, process):
        """Presses Ctrl-C; Wine takes the signal for it."""
        process.send_signal(signal.SIGINT)
        return self.finish(process)


class HelpTest(ToolTest):
    """Knows the commands and options that --help tells of."""

    def help(self, *command):
        return self.done(*command, "--help").out

    def commands(self):
        names = re.findall(r"^  (\w+) ", self.help().split("\nSubcommands:\n")[1], re.M)
        self.assertGreater(len(names), 11)
        return names

    def options(self, *command):
        """The options of a command, short and long."""
        text = self.help(*command).split("\nOptions:\n")[1].split("\n\n")[0]
        return {name for line in re.findall(r"^  (-\S+)", text, re.M) for name in line.split(",")}

    def everything(self):
        """The options by their command; "" is the program's own."""
        return {"": self.options(), **{command: self.options(command) for command in self.commands()}}
