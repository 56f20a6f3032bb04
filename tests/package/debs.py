# SPDX-License-Identifier: GPL-2.0-or-later
"""What packages say of themselves."""
import re
import subprocess


def field(package, name):
    return subprocess.run(["dpkg-deb", "-f", package, name], capture_output=True, text=True, check=True).stdout.strip()


def needed_beside(packages, names):
    """What these packages, which have these names, depend on beside each other, version or not."""
    depends = [part for package in packages for part in field(package, "Depends").split(",")]
    needed = [re.split(r"[ (|]", part.strip())[0] for part in depends]
    return [name for name in needed if name not in names]
