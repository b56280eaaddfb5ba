"""Documents as pages that a browser opens: README.md becomes README.html, and links lead from page to page."""
import html
import re

from markdown_it import MarkdownIt
from mdit_py_plugins.anchors import anchors_plugin

STYLE = """
body { font: 16px/1.5 "Segoe UI", system-ui, sans-serif; color: #1c1e21; background: #fff; margin: 0 auto;
       max-width: 60rem; padding: 1rem 1.5rem 4rem; }
nav { border-bottom: 1px solid #d0d4d9; padding-bottom: .5rem; }
nav a { margin-right: 1.5rem; }
a { color: #0a5ea8; }
h1, h2, h3 { line-height: 1.25; margin-top: 2rem; }
code, pre { font: .875em/1.45 Consolas, "Cascadia Mono", monospace; background: #f3f4f6; }
code { padding: .1em .3em; }
pre { padding: .8rem 1rem; overflow-x: auto; }
pre code { padding: 0; font-size: 1em; }
table { border-collapse: collapse; display: block; overflow-x: auto; }
th, td { border: 1px solid #d0d4d9; padding: .35rem .7rem; text-align: left; vertical-align: top; }
img { max-width: 100%; }
"""

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<style>{style}</style>
</head>
<body>
<nav><a href="{root}README.html">NorvelTL</a><a href="{root}docs/README.html">All documents</a></nav>
{body}</body>
</html>
"""


def link(target):
    """Where a link of a document leads between pages."""
    return re.sub(r"\.md(?=#|$)", ".html", target) if "://" not in target else target


def convert(text, root):
    """The page of a document; root leads from its folder to the uppermost, such as "../"."""
    parser = MarkdownIt("commonmark").enable("table").use(anchors_plugin, max_level=6)
    tokens = parser.parse(text)
    for token in tokens:
        for child in token.children or ():
            if child.type == "link_open":
                child.attrSet("href", link(child.attrGet("href")))
    title = next(tokens[i + 1].content for i, token in enumerate(tokens) if token.type == "heading_open")
    body = parser.renderer.render(tokens, parser.options, {})
    return PAGE.format(title=html.escape(title), style=STYLE, root=root, body=body)


def replace_documents(tree):
    """Each document below the folder by its page."""
    for document in sorted(tree.rglob("*.md")):
        root = "../" * (len(document.relative_to(tree).parts) - 1)
        page = convert(document.read_text(encoding="utf-8"), root)
        document.with_suffix(".html").write_text(page, encoding="utf-8", newline="\n")
        document.unlink()
