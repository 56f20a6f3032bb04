# SPDX-License-Identifier: GPL-2.0-or-later
"""The bounds of the headers, by name, so that tests follow them."""
import pathlib
import re

TREE = pathlib.Path(__file__).resolve().parents[3]
# Of the watcher's header, which has its times as well, those that are called bounds.
HEADERS = {"platform/limits.h": r"k\w+", "platform/playlist_bounds.h": r"k\w+", "catalogue/bounds.h": r"k\w+", "tools/veluwatchd/bounds.h": r"k\w+(Min|Max)",
           "tools/veluctl/search/bounds.h": r"k\w+"}
CONSTANT = re.compile(r"^inline constexpr \w+ (k\w+) =\s*([^;]+);", re.MULTILINE)


def read_limits(text):
    """The constants of the header and their values."""
    values = {"INT64_MAX": 2 ** 63 - 1}
    for name, expression in CONSTANT.findall(text):
        plain = re.sub(r"\b\w+_t\{(\w+)\}", r"\1", expression)
        plain = re.sub(r"(?<=\d)'(?=\d)", "", plain)
        plain = re.sub(r"\b(\d+)U\b", r"\1", plain).replace("/", "//")
        if not re.fullmatch(r"[\w\s.<*/]+", plain):
            raise ValueError(f"{name}: cannot read {expression}")
        values[name] = eval(plain, {"__builtins__": {}}, values)  # pylint: disable=eval-used
    del values["INT64_MAX"]
    return values


LIMITS = {name: value for header, names in HEADERS.items()
          for name, value in read_limits((TREE / header).read_text(encoding="utf-8")).items() if re.fullmatch(names, name)}
