"""What the documents refer to is there: pages, headings, files, functions, errors."""
import ctypes
import glob
import re
import sys
import unittest

import harness
import pages
import texts
from harness import SOURCES

GUIDE = SOURCES / "docs/consumer-guide.md"
ERRORS = SOURCES / "docs/errors.md"
HEADER = SOURCES / "include/GenTL/GenTL.h"
# Names that look like the header's, and are Windows', the environment's, or a camera's.
ELSEWHERE = {"GENICAM_GENTL64_PATH", "OPTIVO_SIM_CONFIG", "LOAD_WITH_ALTERED_SEARCH_PATH", "TLParamsLocked"}
PATH = re.compile(r"^(?:src|genapi|standard|docs|tests|tools|scripts|include|simulator|examples|cmake|bench)/[\w./*-]*$")


class References(unittest.TestCase):
    def test_links(self):
        count = 0
        for page in pages.all_pages():
            for link in pages.links(page):
                if re.match(r"(https?|mailto):", link):
                    continue
                count += 1
                with self.subTest(page=str(page.relative_to(SOURCES)), link=link):
                    name, _, anchor = link.partition("#")
                    target = (page.parent / name).resolve() if name else page
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, pages.anchors(target))
        self.assertGreater(count, 60)

    def test_every_page_is_linked(self):
        linked = {(page.parent / link.partition("#")[0]).resolve() for page in pages.all_pages()
                  for link in pages.links(page) if link.partition("#")[0]}
        for page in pages.all_pages():
            if page.parent in (SOURCES / "docs", SOURCES / "examples"):
                with self.subTest(page=page.name):
                    self.assertIn(page, linked)

    def test_pictures_are_all_shown(self):
        shown = {(page.parent / link).resolve() for page in pages.all_pages() for link in pages.links(page)}
        for picture in (SOURCES / "docs/images").iterdir():
            with self.subTest(picture=picture.name):
                self.assertIn(picture, shown)
                # A whole page takes more than a plot.
                self.assertLess(picture.stat().st_size, 60_000 if picture.name == "view.png" else 20_000)

    def test_paths(self):
        count = 0
        for page in pages.all_pages():
            for name in re.findall(r"`([^`\n]+)`", pages.prose(page)):
                # Beside the page, a name is that of a neighbour.
                if PATH.match(name) and not (page.parent / name).exists():
                    count += 1
                    with self.subTest(page=str(page.relative_to(SOURCES)), path=name):
                        self.assertTrue(glob.glob(str(SOURCES / name)))
        self.assertGreater(count, 15)


class Functions(unittest.TestCase):
    def test_each_is_in_the_guide(self):
        exported = (SOURCES / "src/api/exports.txt").read_text().split()
        listed = []
        for family in ("Library", "System", "Interface", "Device", "Ports", "Data stream", "Events"):
            table = pages.section(GUIDE, family).split("\n| function | answers |\n")[1].split("\n\n")[0]
            listed += [name for row in pages.rows(table) for name in re.findall(r"`(\w+)`", row[0])]
        self.assertGreater(len(exported), 50)
        self.assertEqual(sorted(listed), sorted(exported))

    def test_names_are_spelled_as_in_the_header(self):
        known = set(re.findall(r"\w+", HEADER.read_text()))
        for page in (GUIDE, ERRORS):
            names = re.findall(r"`((?:GC|TL|IF|Dev|DS|Event)[A-Z]\w+|[A-Z]+_[A-Z_0-9]+)`", pages.prose(page))
            for name in set(names) - ELSEWHERE:
                with self.subTest(page=page.name, name=name):
                    self.assertTrue(name in known)


class Errors(unittest.TestCase):
    # GCGetInfo keeps the texts that others lose.
    OF_GC_GET_INFO = {(-1009, "Invalid Size"), (-1016, "Invalid Buffer Size")}

    def described(self):
        found = set()
        by_code = pages.section(ERRORS, "Texts by code")
        for code, part in re.findall(r"^### (-\d+)$(.*?)(?=^### |\Z)", by_code, re.M | re.S):
            found |= {(int(code), self.text_of(row)) for row in pages.rows(part)}
        inside = pages.section(ERRORS, 'Behind "Unspecified runtime error."')
        return found | {(None, self.text_of(row)) for row in pages.rows(inside)}

    def text_of(self, row):
        return texts.plain(re.fullmatch(r"`(.*)`", row[0])[1])

    def test_every_text_of_the_sources_and_no_other(self):
        found = texts.found_in(SOURCES / "src")
        self.assertGreater(len(found), 90)
        described = self.described()
        self.assertEqual(found - described, set(), "not in the page")
        self.assertEqual(described - found, self.OF_GC_GET_INFO, "not in the sources")

    def test_no_throw_is_overlooked(self):
        for path in sorted((SOURCES / "src").rglob("*")):
            if path.suffix not in (".cpp", ".h"):
                continue
            for thrown in re.findall(r"throw [^;]+;", texts.collapsed(path)):
                with self.subTest(path=path.name, thrown=thrown):
                    # A text that is passed in is looked for where it is passed.
                    self.assertRegex(thrown, r'^throw [\w:]+\( ?(?:Format\( ?)?(?:"|kInvalid)|\(text')

    def test_codes(self):
        known = {name: int(code) for name, code in re.findall(r"(GC_ERR_\w+) = (-?\d+)", HEADER.read_text())}
        del known["GC_ERR_CUSTOM_ID"]
        text = pages.section(ERRORS, "Codes")
        described = {row[1].strip("`"): int(row[0]) for row in pages.rows(text)}
        described.update({name: int(code) for code, name in re.findall(r"(-\d+)\s\(`(GC_ERR_\w+)`\)", text)})
        self.assertEqual(described, known)


class Deviations(harness.ToolTest):
    def test_each_that_the_check_finds_and_no_other(self):
        section = GUIDE.read_text().partition("\n### What the check counts\n")[2].partition("\n## ")[0]
        rows = re.findall(r"^\| [^|]+ \| (`.*`) \|$", section, re.M)
        told = [name for row in rows for name in re.findall(r"`([^`]+)`", row)]
        findings = self.done("check", "--json").json()["findings"]
        found = {finding["check"] for finding in findings if finding["verdict"] == "deviates"}
        self.assertGreater(len(found), 20)
        self.assertEqual(sorted(told), sorted(found))


class Answers(harness.ToolTest):
    def test_of_a_stream(self):
        """Types and refusals of the guide's table are those of a stream."""
        described = {command: row[1] for row in pages.rows(pages.section(GUIDE, "DSGetInfo"))
                     for command in re.findall(r"`(\w+)`", row[0])}
        table = self.done("info", "stream:Left").out
        answers = dict(re.findall(r"^  (STREAM_INFO_\w+) +\d+ +(\S+)", table, re.M))
        refused = {name for name, answer in answers.items() if answer == "GC_ERR_INVALID_PARAMETER"}
        self.assertEqual(described, {name: kind for name, kind in answers.items() if name not in refused})
        self.assertIn("STREAM_INFO_PAYLOAD_SIZE", refused)

    def test_of_a_buffer(self):
        """The same for a buffer, which is asked for all that the header knows."""
        described = {command: row[1] for row in pages.rows(pages.section(GUIDE, "DSGetBufferInfo"))
                     for command in re.findall(r"`(\w+)`", row[0])}
        header = HEADER.read_text()
        commands = {name: int(number) for name, number in re.findall(r"(BUFFER_INFO_\w+) = (\d+)", header)}
        kinds = {int(number): kind for kind, number in re.findall(r"INFO_DATATYPE_(\w+) = (\d+)", header)}
        answers = {}
        for name, answer in buffer_answers(commands).items():
            code, kind = answer
            if code == 0:
                answers[name] = kinds[kind]
            else:
                self.assertEqual((name, code), (name, -1009))
        self.assertEqual(described, answers)


def buffer_answers(commands):
    """The code and the type that a buffer answers to each command."""
    sys.path.insert(0, str(SOURCES / "examples"))
    from acquire import Producer, open_camera
    gentl = Producer(harness.module())
    gentl("GCInitLib")
    system = gentl.handle("TLOpen")
    _, device, _ = open_camera(gentl, system, "")
    stream = gentl.handle("DevOpenDataStream", device, b"DS0")
    buffer = gentl.handle("DSAllocAndAnnounceBuffer", stream, ctypes.c_size_t(64), None)
    answers = {}
    for name, number in commands.items():
        kind, value, size = ctypes.c_int32(), ctypes.c_uint64(), ctypes.c_size_t(8)
        code = gentl.module.DSGetBufferInfo(stream, buffer, number, ctypes.byref(kind), ctypes.byref(value),
                                             ctypes.byref(size))
        answers[name] = code, kind.value
    gentl("TLClose", system)
    gentl("GCCloseLib")
    return answers
