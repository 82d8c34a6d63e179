# SPDX-License-Identifier: MIT
"""What the documents refer to is there: files, headings, settings."""
import pathlib
import re
import unittest
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = sorted([*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")])
LARGEST_PICTURE = 500_000  # bytes, of one that a page loads by itself


def prose(document):
    """The document without its blocks of code."""
    return re.sub(r"^```.*?^```", "", document.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)


def anchors(document):
    """The headings as links name them."""
    headings = re.findall(r"^#+ (.*)", prose(document), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def links(text):
    """The targets of links and pictures within the project."""
    found = re.findall(r"\]\(([^)\s]+)\)", text)
    return [urllib.parse.unquote(link) for link in found if not re.match(r"[a-z]+:", link)]


def broken_links(document):
    """Those of the document that lead nowhere."""
    broken = []
    for link in links(prose(document)):
        path, _, anchor = link.partition("#")
        target = document.parent / path if path else document
        if not target.exists() or anchor and anchor not in anchors(target):
            broken.append(link)
    return broken


class DocumentsTest(unittest.TestCase):
    def test_links_lead_somewhere(self):
        self.assertGreater(len(DOCUMENTS), 8)
        self.assertEqual({str(document.relative_to(ROOT)): broken_links(document) for document in DOCUMENTS
                          if broken_links(document)}, {})
        self.assertGreater(len(links(prose(ROOT / "README.md"))), 20)

    def test_pictures_are_small(self):
        for document in DOCUMENTS:
            for picture in re.findall(r"!\[[^\]]+\]\(([^)]+)\)", prose(document)):
                self.assertLess((document.parent / picture).stat().st_size, LARGEST_PICTURE, picture)

    def test_settings_of_the_readme_are_the_programs(self):
        table = (ROOT / "README.md").read_text(encoding="utf-8").split("\n## Settings\n")[1].split("\n## ")[0]
        named = set(re.findall(r"^\| `([^`]+)` \|", table, re.MULTILINE))
        sources = "".join(source.read_text(encoding="utf-8") for source in (ROOT / "src").rglob("*.*"))
        self.assertGreater(len(named), 10)
        self.assertEqual({name for name in named if f'"{name}"' not in sources}, set())

    def test_the_check_itself(self):
        self.assertEqual(links("[a](b.md#c-d) ![e](f%20g.png) [h](https://example.org/)"), ["b.md#c-d", "f g.png"])
        self.assertIn("the-first-five-minutes", anchors(ROOT / "README.md"))


if __name__ == "__main__":
    unittest.main()
