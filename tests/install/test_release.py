"""What stops a release, and the bill of materials that one has."""
import json
import re
import shutil

from commands import SOURCES, CommandTest

MOMENT = "1700000000"


class Refusing(CommandTest):
    def setUp(self):
        super().setUp()
        self.tree = self.folder / "tree"
        (self.tree / "scripts").mkdir(parents=True)
        shutil.copy(SOURCES / "scripts/release.sh", self.tree / "scripts")
        shutil.copy(SOURCES / "CMakeLists.txt", self.tree)
        (self.tree / "CHANGELOG.md").write_text("# Changelog\n\n## [5.0.0.1]\n\n## [4.0.1.0] - 2026-11-21\n")
        self.git("init", "-q")
        self.git("add", ".")
        self.git("commit", "-qm", "Begin")

    def git(self, *words):
        return self.done("git", "-c", "user.name=A", "-c", "user.email=a@norvel.example", *words, folder=self.tree)

    def refused(self, why, *words):
        run = self.run_command(self.tree / "scripts/release.sh", *words, folder=self.tree)
        self.assertEqual((run.returncode, run.stderr), (1, f"release: {why}\n"))
        self.assertEqual(self.git("log", "--format=%s"), "Begin\n")

    def test_a_version_of_another_form(self):
        for version in ("4.0.1", "v4.0.1.0", "4.0.1.0-rc1", "4.0.1.0.0"):
            self.refused("a version has four numbers, as 4.0.1.0 has", version)

    def test_a_tree_with_changes(self):
        (self.tree / "new").write_text("")
        self.refused("the tree has changes that are not committed", "4.0.1.0")

    def test_a_version_without_its_day_in_the_changelog(self):
        self.refused("CHANGELOG.md has no version 5.0.0.1 with its day", "5.0.0.1")
        self.refused("CHANGELOG.md has no version 4.0.1.1 with its day", "4.0.1.1")
        self.refused("CHANGELOG.md has no version 4.0.11.0 with its day", "4.0.11.0")


class Version(CommandTest):
    def test_the_project_has_a_version_of_the_changelog(self):
        version = re.search(r"^project\(NorvelTL VERSION (\S+) ", (SOURCES / "CMakeLists.txt").read_text(), re.M)[1]
        changelog = (SOURCES / "CHANGELOG.md").read_text()
        self.assertEqual(re.findall(r"^## \[([\d.]+)\] - \d{4}-\d\d-\d\d$", changelog, re.M)[0], version)


class BillOfMaterials(CommandTest):
    def bill(self, *names):
        files = [self.folder / name for name in names]
        for file in files:
            file.write_bytes(b"abc")
        self.done(SOURCES / "packaging/bill_of_materials.py", "4.0.1.0", self.folder / "bill", *files,
                  environment={"SOURCE_DATE_EPOCH": MOMENT})
        return json.loads((self.folder / "bill").read_text())

    def test_what_a_document_must_have(self):
        bill = self.bill("norveltl-4.0.1.0.zip")
        self.assertEqual({name: bill[name] for name in ("spdxVersion", "dataLicense", "SPDXID", "name")}, {
            "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": "norveltl-4.0.1.0"})
        self.assertRegex(bill["documentNamespace"], r"^https://spdx\.org/spdxdocs/norveltl-4\.0\.1\.0-[0-9a-f-]{36}$")
        self.assertEqual(bill["creationInfo"]["created"], "2023-11-14T22:13:20Z")
        for creator in bill["creationInfo"]["creators"]:
            self.assertRegex(creator, r"^(Person|Organization|Tool): \S")

    def test_every_package_and_file_is_complete(self):
        bill = self.bill("one.zip", "two_amd64.deb")
        names = [package["name"] for package in bill["packages"]]
        self.assertEqual(names, ["NorvelTL", "Boost", "GCC-runtime", "mingw-w64", "nlohmann-json", "CLI11", "stb",
                                 "libtiff", "cpp-httplib", "zlib", "Aravis", "GLib", "NSIS"])
        for package in bill["packages"]:
            for field in ("name", "versionInfo", "downloadLocation", "licenseConcluded", "licenseDeclared",
                          "copyrightText"):
                self.assertRegex(package[field], r"\S", package)
            self.assertIs(package["filesAnalyzed"], False)
        for file in bill["files"]:
            self.assertEqual(file["checksums"], [
                {"algorithm": "SHA1", "checksumValue": "a9993e364706816aba3e25717850c26c9cd0d89d"},
                {"algorithm": "SHA256",
                 "checksumValue": "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"}])
        self.assertEqual([file["fileName"] for file in bill["files"]], ["./one.zip", "./two_amd64.deb"])

    def test_every_element_is_related_once_named(self):
        bill = self.bill("one.zip", "two_amd64.deb")
        elements = [element["SPDXID"] for element in [bill, *bill["packages"], *bill["files"]]]
        self.assertEqual(len(elements), len(set(elements)))
        for name in elements:
            self.assertRegex(name, r"^SPDXRef-[A-Za-z0-9.-]+$")
        self.assertIn({"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                       "relatedSpdxElement": "SPDXRef-Package-NorvelTL"}, bill["relationships"])
        self.assertEqual({relation["relatedSpdxElement"] for relation in bill["relationships"]}, set(elements[1:]))
        for relation in bill["relationships"]:
            self.assertIn(relation["spdxElementId"], elements)

    def test_every_licence_named_has_its_text(self):
        shared = {"Aravis": "LGPL-2.1", "GLib": "LGPL-2.1"}
        texts = {path.stem for path in (SOURCES / "licences").glob("*.txt")}
        names = {package["name"] for package in self.bill()["packages"]} - {"NorvelTL"}
        self.assertEqual({shared.get(name, name) for name in names}, texts)
        for text in texts:
            self.assertGreater((SOURCES / f"licences/{text}.txt").stat().st_size, 900)

    def test_what_is_not_in_the_products_is_told_from_what_is(self):
        relations = {relation["relatedSpdxElement"].removeprefix("SPDXRef-Package-"): relation["relationshipType"]
                     for relation in self.bill()["relationships"]}
        self.assertEqual((relations["Aravis"], relations["GLib"], relations["Boost"]),
                         ("DYNAMIC_LINK", "DYNAMIC_LINK", "STATIC_LINK"))

    def test_the_same_files_make_the_same_bytes(self):
        self.assertEqual(self.bill("one.zip"), self.bill("one.zip"))
