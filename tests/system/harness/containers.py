# SPDX-License-Identifier: GPL-2.0-or-later
"""Names of containers, as the catalogue has them."""

# Begins of major brands. Any other one is MP4's.
BRANDS = {"qt": "mov", "M4A": "m4a", "M4B": "m4a", "3gp": "3gp", "3g2": "3g2", "mjp2": "mj2"}


def container_names(told):
    """The short names that a file may have, by the format that ffprobe tells: its own, or of the family of ISO files the one
    of the brand. ffprobe does not tell Matroska and WebM apart."""
    names = set(told["format_name"].split(","))
    if "mov" not in names:
        return names
    brand = told.get("tags", {}).get("major_brand", "qt")
    name = next((name for begin, name in BRANDS.items() if brand.startswith(begin)), "mp4")
    assert name in names
    return {name}
