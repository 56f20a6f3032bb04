# SPDX-License-Identifier: GPL-2.0-or-later
"""A page of HTML, read strictly: what is not closed, or not where it belongs, is an error."""
import html.parser

VOID = {"meta", "link", "img", "br"}
NARROW_SPACE = "\u202f"


class Element:
    def __init__(self, tag, attributes):
        self.tag = tag
        self.attributes = dict(attributes)
        self.children = []  # elements and texts

    def all(self, tag):
        """The elements of that tag below this one, in the order of the page."""
        found = []
        for child in self.children:
            if isinstance(child, Element):
                found += [child] if child.tag == tag else []
                found += child.all(tag)
        return found

    @property
    def text(self):
        return "".join(child.text if isinstance(child, Element) else child for child in self.children)

    def walk(self):
        """This element and all below it."""
        yield self
        for child in self.children:
            if isinstance(child, Element):
                yield from child.walk()


class Page(html.parser.HTMLParser):
    """`root` holds the page's elements."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.root = Element("", [])
        self.open = [self.root]
        self.feed(text)
        self.close()
        assert [element.tag for element in self.open] == [""], "some elements are not closed"

    def handle_starttag(self, tag, attrs):
        assert len(dict(attrs)) == len(attrs), f"an attribute twice: {tag} {attrs}"
        element = Element(tag, attrs)
        self.open[-1].children.append(element)
        if tag not in VOID:
            self.open.append(element)

    def handle_startendtag(self, tag, attrs):
        self.open[-1].children.append(Element(tag, attrs))

    def handle_endtag(self, tag):
        assert self.open[-1].tag == tag, f"</{tag}> closes <{self.open[-1].tag}>"
        self.open.pop()

    def handle_data(self, data):
        self.open[-1].children.append(data)

    def card(self, heading):
        """The card of that heading, or None."""
        found = [card for card in self.root.all("article") for title in card.all("h3") if title.text == heading]
        return found[0] if found else None

    def table(self, heading):
        """The lines of a card's table: what stands in their cells, numbers as numbers. None without such a card."""
        card = self.card(heading)
        return card and [[value_of(cell.text) for cell in row.children if isinstance(cell, Element)]
                         for body in card.all("tbody") for row in body.all("tr")]


def value_of(text):
    """A cell's text, or the whole number that it is."""
    digits = text.strip().replace(NARROW_SPACE, "")
    return int(digits) if digits.isdigit() else text.strip()
