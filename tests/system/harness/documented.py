# SPDX-License-Identifier: GPL-2.0-or-later
"""Configuration as docs/operating.md has it, so that what is recommended there is what is tested."""
import re

from .sandbox import TREE

TEXT = (TREE / "docs/operating.md").read_text(encoding="utf-8")
BLOCK = re.compile(r"^```ini\n[;#] (?P<title>[^\n]*)\n(?P<text>.*?)^```$", re.MULTILINE | re.DOTALL)
BLOCKS = {found["title"]: found["text"] for found in BLOCK.finditer(TEXT)}


def documented(title, replacements):
    """The block with that title in its first line, with names and places of the test in those of the example."""
    text = BLOCKS[title]
    for old, new in replacements.items():
        assert old in text, f"docs/operating.md, {title}: no {old!r}"
        text = text.replace(old, new)
    return text
