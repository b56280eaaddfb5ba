"""Descriptions as cameras store them: zipped, in files, at URLs of every form."""
import io
import shutil
import zipfile

from harness import FAILED, Setting, ToolTest, module, native, producer, standard_module

RUNS_BESIDE_OTHERS = True

PLACE = 0x70000000
DAMAGED = ("its zip archive is cut off", "its zip archive is damaged")


def zipped(text, name="Camera.xml", method=zipfile.ZIP_DEFLATED):
    archive = io.BytesIO()
    with zipfile.ZipFile(archive, "w", method) as packed:
        packed.writestr(name, text)
    return archive.getvalue()


class Stored(ToolTest):
    def setUp(self):
        super().setUp()
        self.xml = self.done("xml", "port:10001").out
        self.file = self.folder / "stored"

    def from_url(self, url, *command, next_url=None, by="forwarding", run=None):
        variables = {"NORVELTL_TEST_PRODUCER": native(module()), "NORVELTL_TEST_FILE": native(self.file),
                     "NORVELTL_TEST_URL": url, **({"NORVELTL_TEST_NEXT_URL": next_url} if next_url else {})}
        by = by if by.endswith(".cti") else producer(by)
        return (run or self.done)("--cti", by, *(command or ("xml", "port:10001")), variables=variables)

    def refusal(self, url, **options):
        answer = self.from_url(url, run=self.run_tool, **options)
        self.assertEqual((answer.code, answer.out), (FAILED, ""))
        begin = f'norveltl: the XML at "{url}" cannot be read: '
        self.assertTrue(answer.err.startswith(begin), answer.err)
        return answer.err.removeprefix(begin).rstrip("\n")

    def url_of(self, content, name="Camera.zip", query=""):
        self.file.write_bytes(content)
        return f"Local:{name};{PLACE:x};{len(content):X}{query}"

    def file_url(self, path):
        path = native(path).replace("\\", "/")
        return "file:///" + path.removeprefix("/").replace(" ", "%20")


class Zipped(Stored):
    def test_in_the_camera(self):
        for name, method in (("Camera.xml", zipfile.ZIP_DEFLATED), ("folder/CAMERA.XML", zipfile.ZIP_STORED)):
            url = self.url_of(zipped(self.xml, name, method) + bytes(7))
            self.assertEqual(self.from_url(url).out, self.xml)
        url = self.url_of(zipped(self.xml), "CAMERA.ZIP", "?SchemaVersion=1.1.0").replace("Local:", "LOCAL:")
        self.assertEqual(self.from_url(url, "get", "-d", "10001", "Width").out, "640\n")

    def test_the_check_reads_it(self):
        url = self.url_of(zipped(self.xml))
        self.assertEqual(self.xml_findings(url), [])
        [finding] = self.xml_findings(self.url_of(zipped(self.xml)[:-30]))
        self.assertIn(DAMAGED[0], finding["answer"])

    def xml_findings(self, url):
        world = {"interfaces": [{"cameras": [{}]}]}
        findings = self.from_url(url, "check", "--json", run=lambda *a, **o: self.run_tool(*a, world=world, **o)).json()
        return [finding for finding in findings["findings"]
                if finding["check"] == "the XML at the URL of the camera" and finding["verdict"] != "passed"]

    def test_damaged_ones(self):
        whole = zipped(self.xml)
        self.assertEqual(self.refusal(self.url_of(whole[:100])), DAMAGED[0])
        self.assertEqual(self.refusal(self.url_of(whole[:200] + b"?" + whole[201:])), DAMAGED[1])
        for length in range(5, len(whole), len(whole) // 7):
            self.assertIn(self.refusal(self.url_of(whole[:length])), DAMAGED)

    def test_ones_that_would_fill_the_memory(self):
        bomb = zipped(bytes((64 << 20) + 1))
        self.assertLess(len(bomb), 100000)
        self.assertEqual(self.refusal(self.url_of(bomb)), "a length of 67108865 bytes, unpacked, is not plausible")

    def test_ones_without_xml(self):
        self.assertEqual(self.refusal(self.url_of(zipped("text", "readme.txt"))),
                         "no file in its zip archive is named .xml")


class Elsewhere(Stored):
    def test_a_file(self):
        place = self.folder / "with blanks"
        place.mkdir()
        (place / "Camera.xml").write_text(self.xml, newline="\n")
        (place / "Camera.zip").write_bytes(zipped(self.xml))
        for name in ("Camera.xml", "Camera.zip?SchemaVersion=1.1.0", "%43amera.xml"):
            url = self.file_url(place) + "/" + name
            for form in (url, url.replace("file:///", "FILE://LocalHost/"), url.replace("file:///", "File:/")):
                self.assertEqual(self.from_url(form).out, self.xml)
        if Setting.is_windows:
            self.assertEqual(self.from_url(self.file_url(place / "Camera.xml").replace("Z:", "z|")).out, self.xml)
            self.assertEqual(self.from_url("File:" + native(place / "Camera.xml")).out, self.xml)

    def test_a_file_beside_the_module(self):
        place = self.install("beside", Setting.producers / "forwarding.cti")
        (place / "Camera.xml").write_text(self.xml, newline="\n")
        by = native(place / "forwarding.cti")
        self.assertEqual(self.from_url("File:Camera.xml", by=by).out, self.xml)
        self.assertEqual(self.refusal("File:Other.xml", by=by), f"there is no file {native(place / 'Other.xml')}")

    def test_the_network(self):
        for url in ("http://norvel.example/Camera.xml", "HTTPS://norvel.example/Camera.zip?SchemaVersion=1.1.0"):
            self.assertEqual(self.refusal(url), "it is on the network, from which nothing is read")
        self.assertEqual(self.refusal("file://server/share/Camera.xml"),
                         "it is on another machine, from which nothing is read")

    def test_the_first_that_can_be_read(self):
        local = self.url_of(self.xml.encode(), "Camera.xml")
        web = "http://norvel.example/Camera.xml"
        self.assertEqual(self.from_url(web, next_url=local).out, self.xml)
        self.assertEqual(self.from_url(local, next_url=web).out, self.xml)
        self.assertEqual(self.refusal(web, next_url="File:None.xml"), "it is on the network, from which nothing is read")


class Standard(Stored):
    """The standard module, which tells an image's format by the camera's description, above one that hands on."""

    def setUp(self):
        super().setUp()
        place = self.install("first", Setting.producers / "forwarding.cti")
        (place / "forwarding.cti").rename(place / "NorvelTL40.cti")
        (place / "standard").mkdir()
        self.standard = shutil.copy(standard_module(), place / "standard")

    def images(self, url):
        out = self.folder / "images"
        answer = self.from_url(url, "grab", "10001", "-n", "1", "-o", native(out), by=native(self.standard), run=self.run_tool)
        self.assertIn("1 of 1", answer.out, answer.err)
        return sorted(path.suffix for path in out.glob("image_*"))

    def test_zipped(self):
        self.assertEqual(self.images(self.url_of(zipped(self.xml))), [".png"])

    def test_damaged(self):
        self.assertEqual(self.images(self.url_of(zipped(self.xml)[:-30])), [".raw"])
