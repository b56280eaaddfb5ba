"""What is written about the command line keeps up with its --help."""
import re

from harness import SOURCES, HelpTest

TOOL = SOURCES / "tools/norveltl"


class Documents(HelpTest):
    def test_every_option_is_explained(self):
        for command in ("", *self.commands()):
            for line in self.help(*filter(None, [command])).splitlines():
                with self.subTest(command=command, line=line):
                    self.assertNotRegex(line, r"^  -\S+ *$")

    def test_the_manual_page(self):
        page = (TOOL / "norveltl.1").read_text().replace("\\-", "-")
        words = set(re.findall(r"(?<![\w-])--?\w[\w-]*", page))
        headings = re.findall(r"^\.SS (\w+)", page, re.M)
        everything = self.everything()
        self.assertEqual(headings, list(everything)[1:])
        self.assertEqual(words - {"-1", "-"}, set().union(*everything.values()))

    def test_the_reference(self):
        page = (SOURCES / "docs/norveltl.md").read_text()
        for command, options in self.everything().items():
            self.assertIn(f"norveltl {command}".strip(), page)
            for option in options - {"-h", "--help"}:
                with self.subTest(command=command, option=option):
                    self.assertRegex(page, rf"(?<![\w-]){option}(?![\w-])")

    def test_links_and_pictures_of_the_reference(self):
        page = SOURCES / "docs/norveltl.md"
        targets = re.findall(r"\]\(([^)#]+)\)", page.read_text())
        self.assertGreater(len(targets), 2)
        for target in targets:
            with self.subTest(target=target):
                self.assertTrue((page.parent / target).is_file())
                if target.endswith(".png"):
                    self.assertLess((page.parent / target).stat().st_size, 20_000)
