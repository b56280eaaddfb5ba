"""The documents of the packages, as a browser sees them."""
import html.parser
import unittest
import urllib.parse

from packages import SOURCES, Made

RUNS_BESIDE_OTHERS = True


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places, self.tags, self.text = [], set(), [], ""
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.tags.append(tag)
        self.places.update(filter(None, [attributes.get("id")]))
        self.links += [attributes[name] for name in ("href", "src") if name in attributes]

    def handle_data(self, data):
        self.text += data


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = {path: Page(path) for path in sorted(Made.tree.rglob("*.html"))}

    def test_each_document_is_a_page(self):
        pages = {path.relative_to(Made.tree).with_suffix(".md").as_posix() for path in self.pages}
        documents = {path.relative_to(SOURCES).as_posix() for folder in ("docs", "examples", "licences")
                     for path in (SOURCES / folder).rglob("*.md")}
        self.assertEqual(pages, documents | {"README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md"})

    def test_no_link_is_dead(self):
        count = 0
        for path, page in self.pages.items():
            for link in page.links:
                target = urllib.parse.urlsplit(link)
                if target.scheme:
                    self.assertEqual(target.scheme, "https", link)
                    continue
                count += 1
                with self.subTest(page=path.name, link=link):
                    file = (path.parent / urllib.parse.unquote(target.path)).resolve() if target.path else path
                    self.assertTrue(file.is_relative_to(Made.tree.resolve()))
                    # A browser would show the folder, or nothing.
                    self.assertTrue(file.is_file())
                    if target.fragment:
                        self.assertIn(target.fragment, Page(file).places)
        self.assertGreater(count, 100)

    def test_what_is_written_is_shown(self):
        reference = self.pages[Made.tree / "docs/norveltl.html"]
        self.assertGreater(reference.tags.count("table"), 5)
        self.assertGreater(reference.tags.count("img"), 3)
        self.assertIn("$ norveltl list\n/opt/norveltl/NorvelTL40.cti\n", reference.text)
        for path, page in self.pages.items():
            with self.subTest(page=path.name):
                self.assertEqual(page.tags.count("title"), 1)
                self.assertIn("h1", page.tags)
                self.assertNotRegex(page.text, r"\]\(|^\|.*\|$|^```")
