"""Which camera library is used, and what is said of libraries that cannot be loaded."""
import re
import struct

from harness import (DONE, FAILED, NOTHING_FOUND, Setting, ToolTest, camera_library, library, module, native, producer,
                     separator)

RUNS_BESIDE_OTHERS = True

VERSION = "4.0.1.0"
COMMANDS = (("list",), ("list", "--json"), ("info",), ("info", "system", "--json"), ("xml", "system"),
            ("read", "system", "0"), ("write", "system", "0=00"), ("features",), ("get", "Width"), ("set", "Width=4"),
            ("exec", "AcquisitionStart"), ("grab", "-n", "1"), ("events", "-t", "1"), ("check",))


def wide(text):
    return text.encode("utf-16-le")


def replaced(data, old, new):
    assert old in data and len(old) == len(new)
    return data.replace(old, new)


def of_another_make(data):
    """The simulated camera library, but that it says to be something else."""
    if Setting.is_windows:
        return replaced(data, wide("NorvelTL"), wide("Likewise"))
    return replaced(data, b"simulated\0", b"genuine!!\0")


def without_identity(data):
    """The simulated camera library, but that it says nothing of itself."""
    if Setting.is_windows:
        data = bytearray(data)
        # Without the directory of its resources.
        struct.pack_into("<Q", data, struct.unpack_from("<I", data, 0x3C)[0] + 24 + 112 + 16, 0)
        return bytes(data)
    return replaced(of_another_make(data), VERSION.encode() + b"\0", bytes(len(VERSION) + 1))


def with_other_bits(data):
    """A library for a processor of 32 bits, by its header."""
    data = bytearray(data)
    if Setting.is_windows:
        struct.pack_into("<H", data, struct.unpack_from("<I", data, 0x3C)[0] + 4, 0x14C)
    else:
        data[4] = 1
    return bytes(data)


def producer_file(name):
    return Setting.producers / f"{name}.cti"


class LibraryTest(ToolTest):
    def place(self, name, *files, camera=None):
        """A folder with files of these tests and, if camera changes its bytes, the camera library."""
        folder = self.install(name, *files)
        if camera is not None:
            (folder / camera_library().name).write_bytes(camera(camera_library().read_bytes()))
        return folder

    def using(self, *places, **options):
        """The camera library that list tells of each producer."""
        answer = self.run_tool("list", "--json", search=separator().join(map(native, places)), program=self.tool(),
                               **options)
        self.assertEqual((answer.code, answer.err), (DONE, ""), answer.out)
        return {entry["path"]: entry["cameraLibrary"] for entry in answer.json()["producers"]}

    def tool(self):
        """The tool without a module beside it, and without a camera library, which Windows would find there."""
        folder = self.folder / "tool"
        if not folder.exists():
            self.install("tool", Setting.program)
        return folder / Setting.program.name


def told(folder, version=VERSION, simulated=True):
    return {"path": native(folder / camera_library().name), "version": version, "simulated": simulated}


class Using(LibraryTest):
    def test_the_simulated_one(self):
        line = f"  simulated camera library {VERSION}: {native(camera_library())}"
        self.assertEqual(self.done("list").out.splitlines()[2], line)
        self.assertEqual(self.done("info", "system").out.splitlines()[1], line)
        expected = told(camera_library().parent)
        self.assertEqual(self.done("list", "--json").json()["producers"][0]["cameraLibrary"], expected)
        system, *others = self.done("info", "--json", world={"interfaces": [{"cameras": [{}]}]}).json()
        self.assertEqual(system["cameraLibrary"], expected)
        for other in others:
            self.assertNotIn("cameraLibrary", other)
        self.assertNotIn("camera library", self.done("info", "port:10001").out)

    def test_one_of_another_make(self):
        place = self.place("place", module(), camera=of_another_make)
        answer = self.done("--cti", native(place / module().name), "list")
        self.assertEqual(answer.out.splitlines()[2],
                         f"  camera library {VERSION}: {native(place / camera_library().name)}")
        self.assertEqual(self.using(place), {native(place / module().name): told(place, simulated=False)})

    def test_one_that_tells_nothing_of_itself(self):
        place = self.place("place", module(), camera=without_identity)
        answer = self.done("--cti", native(place / module().name), "list")
        self.assertEqual(answer.out.splitlines()[2], f"  camera library: {native(place / camera_library().name)}")
        self.assertEqual(self.using(place), {native(place / module().name): told(place, None, False)})

    def test_one_that_the_system_finds(self):
        place, elsewhere = self.place("place", module()), self.place("elsewhere", camera_library())
        self.assertEqual(self.using(place, libraries=elsewhere), {native(place / module().name): told(elsewhere)})
        beside = self.place("beside", module(), camera=of_another_make)
        found = self.using(beside, libraries=elsewhere)[native(beside / module().name)]
        # Linux follows LD_LIBRARY_PATH first.
        self.assertEqual(found, told(beside, simulated=False) if Setting.is_windows else told(elsewhere))

    def test_other_producers_have_none(self):
        search = separator().join((native(module()), producer("lonely")))
        answer = self.run_tool("list", "--json", program=self.tool(), search=search)
        self.assertEqual([entry["cameraLibrary"] for entry in answer.json()["producers"]],
                         [told(module().parent), None])
        beside = self.place("beside", producer_file("lonely"), camera_library())
        answer = self.run_tool("--cti", native(beside / "lonely.cti"), "list", "--json")
        self.assertIsNone(answer.json()["producers"][0]["cameraLibrary"])
        answer = self.run_tool("--cti", native(beside / "lonely.cti"), "list")
        self.assertEqual(len(answer.out.splitlines()), 3, answer.out)
        self.assertIsNone(self.done("--cti", producer("lonely"), "info", "system", "--json").json()[0]["cameraLibrary"])

    def test_two_modules_with_a_library_each(self):
        first, second = (self.place(name, module(), camera_library()) for name in ("first", "second"))
        # Linux loads one library of a name.
        expected = [told(first), told(second if Setting.is_windows else first)]
        self.assertEqual(list(self.using(first, second).values()), expected)

    def test_two_modules_with_one_library(self):
        first, second = self.place("first", module(), camera_library()), self.place("second", module())
        self.assertEqual(list(self.using(first, second).values()), [told(first), told(first)])


class Missing(LibraryTest):
    def test_every_command_names_the_camera_library(self):
        place = self.place("place", module())
        for command in COMMANDS:
            with self.subTest(command=command):
                answer = self.run_tool("--cti", native(place / module().name), *command, program=self.tool())
                self.assertEqual((answer.code, answer.out), (FAILED, ""))
                self.assertIn(camera_library().name, answer.err)

    def test_a_folder_beyond_ascii(self):
        place = self.place("Träger", module())
        answer = self.run_tool("--cti", native(place / module().name), "list", program=self.tool())
        self.assertEqual(answer.code, FAILED)
        self.assertIn("Träger", answer.err)

    def test_a_camera_library_that_is_none(self):
        for name, spoil in (("text", lambda data: b"no library\n"), ("bits", with_other_bits)):
            place = self.place(name, module(), camera=spoil)
            for command in COMMANDS:
                with self.subTest(name=name, command=command):
                    answer = self.run_tool("--cti", native(place / module().name), *command, program=self.tool())
                    self.assertEqual((answer.code, answer.out), (FAILED, ""))
                    self.assertIn(camera_library().name, answer.err)

    def test_several_producers(self):
        broken, sound = self.place("broken", module()), producer("lonely")
        answer = self.run_tool("list", program=self.tool(), search=separator().join((native(broken), sound)))
        self.assertEqual(answer.code, FAILED)
        self.assertTrue(answer.out.startswith(sound), answer.out)
        self.assertTrue(answer.err.startswith(f"norveltl: {native(broken / module().name)}: "), answer.err)
        self.assertIn(camera_library().name, answer.err)

    def test_what_another_producer_needs(self):
        """A library that it needs, and one that this library needs."""
        companion, further = library("companion"), library("further")
        advice = "\n  Install what is missing, or put it beside the module.\n"
        nowhere = "which is neither beside it nor in a folder of PATH (126)"
        cannot = "cannot open shared object file: No such file or directory"
        for name, files, windows, linux in (
                ("no companion", (further,), f"it needs companion.dll, {nowhere}", f"companion.so: {cannot}"),
                ("none further", (companion,), f"it needs companion.dll, which needs further.dll, {nowhere}",
                 f"further.so: {cannot}")):
            place = self.place(name, producer_file("accompanied"), *files)
            path = native(place / "accompanied.cti")
            why = windows if Setting.is_windows else linux
            with self.subTest(name=name):
                self.refused(FAILED, f"norveltl: cannot load {path}: {why}{advice}", "--cti", path, "list")
        place = self.place("all", producer_file("accompanied"), companion)
        elsewhere = self.place("elsewhere", further)
        self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "--cti", native(place / "accompanied.cti"), "list",
                     libraries=elsewhere)

    def test_a_library_of_another_kind(self):
        place = self.place("place", producer_file("accompanied"), library("companion"), library("further"))
        path, needed = native(place / "accompanied.cti"), place / library("further").name
        for content, kind in ((b"no library\n", ""),
                              (with_other_bits(needed.read_bytes()), ", but one for 32-bit Windows")):
            needed.write_bytes(content)
            answer = self.run_tool("--cti", path, "list")
            self.assertEqual(answer.code, FAILED)
            self.assertTrue(answer.err.startswith(f"norveltl: cannot load {path}: "), answer.err)
            self.assertIn("it needs companion.dll, which needs further.dll, and "
                          f"{native(needed)} is no library for 64-bit Windows{kind} ("
                          if Setting.is_windows else "further.so: ", answer.err)


class Files(LibraryTest):
    """Files that are no modules of this system."""

    def refuse(self, content, expected):
        path = self.folder / "some.cti"
        path.write_bytes(content)
        answer = self.run_tool("--cti", native(path), "list")
        self.assertEqual((answer.code, answer.out), (FAILED, ""), answer.err)
        number = r" \(\d+\)" if Setting.is_windows else ""
        start = re.escape(f"norveltl: cannot load {native(path)}: ")
        self.assertRegex(answer.err, rf"^{start}{expected}{number}\n(?:  .*\n)?$")

    def test_kinds(self):
        own = "64-bit Windows" if Setting.is_windows else "64-bit Linux"
        for content, kind in ((b"", ""), (b"M", ""), (b"text\n" * 100, ""), (b"MZ" + bytes(98), ""),
                              (windows_file(machine=0x14C), "32-bit Windows"), (windows_file(), "64-bit Windows"),
                              (windows_file(machine=0xAA64), "Windows on ARM"),
                              (windows_file(machine=1), "Windows on another processor"),
                              (b"\x7fELF\1" + bytes(100), "32-bit Linux"), (b"\x7fELF\2" + bytes(100), "64-bit Linux")):
            with self.subTest(kind=kind, size=len(content)):
                if kind == own:
                    self.refuse(content, ".+")
                else:
                    self.refuse(content, f"it is no library for {own}" + (f", but one for {kind}" if kind else ""))

    def test_spoilt_headers(self):
        for spoilt in ({"header": 0xFFFFFFF0}, {"num_sections": 0xFFFF}, {"optional_size": 0xFFFF},
                       {"table": 0xFFFFFFFF}, {"name": 0x7FFFFFFF}, {"num_imports": 100_000},
                       {"section_offset": 0xFFFFFF00}, {"section_size": 0xFFFFFFFF}, {"text": b"x" * 5000},
                       {"text": b"\x1b[31m\xff\xfe"}):
            with self.subTest(spoilt=spoilt):
                self.refuse(windows_file(**spoilt), ".+")


def windows_file(machine=0x8664, header=0x40, num_sections=1, optional_size=240, table=0x1000, name=0x1200,
                 num_imports=1, section_offset=0x200, section_size=0x1000, text=b"missing.dll"):
    """The headers of a Windows library, and a section with its imports."""
    coff = struct.pack("<4sHHIIIHH", b"PE\0\0", machine, num_sections, 0, 0, 0, optional_size, 0x2022)
    optional = struct.pack("<H110xQII", 0x20B, 0, table, 40).ljust(240, b"\0")
    section = struct.pack("<8sIIII16x", b".idata", 0x1000, 0x1000, section_size, section_offset)
    headers = b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", header) + coff + optional + section
    imports = struct.pack("<IIIII", 0, 0, 0, name, 0) * num_imports
    return headers.ljust(0x200, b"\0") + imports.ljust(0x200, b"\0") + text.ljust(0xE00, b"\0")
