# SPDX-License-Identifier: GPL-2.0-or-later
"""What a week that goes on another day has to know: how long it has lived, what it was, and how it looked."""
import dataclasses
import json
import pathlib

from figures import Figures

FILE = "week.json"


@dataclasses.dataclass
class Sitting:
    """`number`: from 1. `seconds`: of the sittings before. `base`: the root below the machine's layer. `names`: given to files so far."""
    seed: int
    rules: str
    engine: str
    base: str
    number: int = 1
    seconds: float = 0
    names: int = 0
    deeds: dict = dataclasses.field(default_factory=dict)
    mishaps: dict = dataclasses.field(default_factory=dict)
    looks: list = dataclasses.field(default_factory=list)

    def save(self, folder):
        (folder / FILE).write_text(json.dumps(dataclasses.asdict(self)), encoding="utf-8")


def take(folder):
    """The sitting that follows on those in `folder`, or None where there were none. One that breaks off cannot be followed."""
    file = folder / FILE
    if not folder.exists():
        return None
    if not file.exists():
        raise SystemExit(f"{folder}: no week that ended in order; take it away to begin anew")
    kept = Sitting(**json.loads(file.read_text(encoding="utf-8")))
    if not pathlib.Path(kept.base).is_dir():
        raise SystemExit(f"{kept.base}, of which {folder} is a layer, is gone")
    file.unlink()
    kept.looks = [Figures(**one) for one in kept.looks]
    kept.number += 1
    return kept
