"""Takes the documents apart: links, headings, code blocks, tables."""
import dataclasses
import re

from harness import SOURCES

OUTSIDE = {"build", "out", ".cache", ".git"}


def all_pages():
    """Every document of the project."""
    return [path for path in sorted(SOURCES.rglob("*.md"))
            if not OUTSIDE.intersection(path.relative_to(SOURCES).parts[:1])]


@dataclasses.dataclass
class Block:
    page: object
    line: int
    language: str  # "" for an indented block
    lines: list

    def text(self):
        return "".join(line + "\n" for line in self.lines)

    def __str__(self):
        return f"{self.page.relative_to(SOURCES)}:{self.line}"


def blocks(page):
    """Fenced and indented blocks. What is indented behind a list or in a table is text."""
    found, fence, indented = [], None, None
    before = ""
    for number, line in enumerate(page.read_text().splitlines(), 1):
        if fence is not None:
            if line.strip() == "```":
                fence = None
            else:
                fence.lines.append(line)
        elif line.startswith("```"):
            fence = Block(page, number, line[3:].strip(), [])
            found.append(fence)
            indented = None
        elif line.startswith("    ") and (indented is not None or before == ""):
            if indented is None:
                indented = Block(page, number, "", [])
                found.append(indented)
            indented.lines.append(line[4:])
        elif line.strip() == "" and indented is not None:
            indented.lines.append("")
        else:
            indented = None
        before = line.strip()
    return found


def prose(page):
    """The page without its blocks."""
    lines = page.read_text().splitlines()
    for block in blocks(page):
        for number in range(block.line - 1, block.line + len(block.lines)):
            lines[number] = ""
    return "\n".join(line for line in lines if not line.startswith("```"))


def anchors(page):
    """What a link may name behind a #, as forges make it of headings."""
    found = set()
    for heading in re.findall(r"^#+ +(.*)$", prose(page), re.M):
        text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "").strip().lower()
        slug = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
        number = 1
        while (slug if number == 1 else f"{slug}-{number - 1}") in found:
            number += 1
        found.add(slug if number == 1 else f"{slug}-{number - 1}")
    return found


def links(page):
    """Targets of links and pictures, code in backticks left out."""
    return re.findall(r"\]\(([^)\s]+)\)", re.sub(r"`[^`\n]*`", "", prose(page)))


def section(page, heading):
    """What stands below a heading, up to the next of its level or above."""
    text = page.read_text()
    start = re.search(rf"^(#+) {re.escape(heading)}$", text, re.M)
    level = len(start[1])
    end = re.search(rf"^#{{1,{level}}} ", text[start.end():], re.M)
    return text[start.end():start.end() + end.start()] if end else text[start.end():]


def rows(text):
    """The cells of the tables in a text, without headings."""
    lines = [line for line in text.splitlines() if line.startswith("|")]
    cells = [[cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]] for line in lines]
    return [row for i, row in enumerate(cells)
            if not set(row[0]) <= set("-: ") and (i + 1 == len(cells) or not lines[i + 1].startswith("|---"))]
