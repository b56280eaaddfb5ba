"""What is written about the command line keeps up with its --help."""
import re
import subprocess

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

    def complete(self, *words):
        """What bash offers for the last word."""
        script = f'source "{TOOL}/completions/norveltl.bash"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); ' \
                 '_norveltl; printf "%s\\n" "${COMPREPLY[@]}"'
        done = subprocess.run(["bash", "-c", script, "bash", "norveltl", *words], capture_output=True, text=True,
                              check=True, cwd=self.folder)
        self.assertEqual(done.stderr, "")
        return {line for line in done.stdout.splitlines() if line}

    def test_completion_in_bash(self):
        everything = self.everything()
        self.assertEqual(self.complete(""), everything.pop("") | set(everything))
        for command, options in everything.items():
            with self.subTest(command=command):
                offered = self.complete(command, "-")
                self.assertEqual(offered - {"--cti"}, options)
        self.assertEqual(self.complete("gr"), {"grab"})
        self.assertEqual(self.complete("--cti", "list", "gr"), {"grab"})
        self.assertEqual(self.complete("grab", "--format", "p"), {"png", "pgm"})
        self.assertEqual(self.complete("info", "s"), {"system", "stream"})
        (self.folder / "my.cti").write_text("")
        self.assertEqual(self.complete("--cti", "m"), {"my.cti"})
        self.assertEqual(self.complete("xml", "system", "-o", "m"), {"my.cti"})

    def test_completion_in_powershell(self):
        script = (TOOL / "completions/norveltl.ps1").read_text()
        types = set(re.findall(r"'(--\w+)'", re.search(r"\$types = (.*)", script)[1]))
        everything = self.everything()
        own = everything.pop("")
        rows = script.split("$commands = @{\n")[1].split("\n    }\n")[0]
        table = dict(re.findall(r"^        (\w+) += ((?:.*,\n)*.*)$", rows, re.M))
        self.assertEqual(set(table), set(everything))
        for command, options in everything.items():
            with self.subTest(command=command):
                given = set(re.findall(r"'(-[\w-]+)'", table[command]))
                self.assertEqual(given | (types if "$types" in table[command] else set()), options - {"-h", "--help"})
        self.assertEqual(set(re.findall(r"'(-[\w-]+)'", re.search(r"else \{ (.*) \}", script)[1])), own)
