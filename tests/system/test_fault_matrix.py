# SPDX-License-Identifier: GPL-2.0-or-later
"""Every request under every fault (tests/faults/matrix.py): what exists is not forgotten, and when the fault is over, all is
as if it had never been. VELU_FAULTS=whole tries all of them instead of a selection."""
import contextlib
import os
import re
import sys
import time

import pytest

from harness.daemon import QUEUE, WORKING_COPY, wait_for
from harness.places import COUNT, Rule, kill_at
from harness.sandbox import TREE
from harness.store_faults import patience_of_tests, store_fault
from harness.world import FSTAB, KEPT, REMEMBERED, World, differences, forgotten

sys.path.insert(0, str(TREE / "tests/faults"))
import matrix  # noqa: E402 pylint: disable=wrong-import-position
from matrix_rules import RULES  # noqa: E402 pylint: disable=wrong-import-position

pytestmark = pytest.mark.tracing

SHARES = (matrix.MUSIC, matrix.VIDEO, matrix.PHOTO)
MOUNTS = (matrix.MUSIC, matrix.PHOTO, matrix.DISK, matrix.STICK)
GROUPS = 8  # of requests, so that several workers share them
# By the rules `complete` a few cases show that such tests go on to hold, unless all are asked for.
PARTS = [("appliance", group) for group in range(GROUPS)] + [("complete", group) for group in range(GROUPS if matrix.WHOLE else 1)]
KEEPING = re.compile(r"\b(kept|keeps|left alone|away)\b")
RECOVERY = 20
STEADY = 3


class Matrix:
    """One daemon, its world, and what comes of a request when nothing fails."""

    def __init__(self, make_placed, rules):
        self.rules = rules
        self.daemon = daemon = make_placed(**rules.speed)
        patience_of_tests(daemon, **rules.keys)
        self.world = World(daemon, MOUNTS, rules.files, rules.content)
        self.world.fill(SHARES)
        daemon.start()
        daemon.index("R:all", "R:photo")
        for path, (title, description) in matrix.TYPED.items():
            daemon.store("update photo_image set title = ?, description = ? where path = ?", title, description, path)
        daemon.store("update photo_share set title = 'typed', description = 'more', hits = 7, cover = "
                     "'/var/services/photo/' || sharename || '/x.jpg'")
        daemon.store("insert into photo_access_right select 5, shareid, 'then' from photo_share")
        for number, path in enumerate(daemon.paths("file_state")):
            daemon.catalogue.store("update file_state set added = ? where path = ?", (f"mark {number}", path), "file_state")
        self.world.keep()
        state = self.world.first
        assert {table: len(state[table]) for table in rules.first} == rules.first

    def begin(self, request):
        self.world.fill(SHARES)
        self.world.put_back()
        request.change(self.world)

    def undisturbed(self, request):
        """The state that a request leads to, and how many calls it makes."""
        self.begin(request)
        with self.daemon.places.failing(Rule("step", "*", COUNT)):
            self.daemon.index(*request.lines)
            steps = self.daemon.places.seen()
        last = self.world.state()
        assert self.requests_left() == []
        assert list(self.rules.torn(self.daemon)) == [] and list(self.not_added_when_they_were(request, last)) == []
        self.daemon.index(*request.lines)
        assert differences(self.world.state(), last) == [], f"{request.name}: done twice is done once"
        return last, steps

    def not_added_when_they_were(self, request, last):
        """Files that the request has left or renamed and the catalogue takes for added at another time."""
        names = matrix.renames(request)
        first, now = (state["file_state"] for state in (self.world.first, last))
        for path, row in first.items():
            for new, old in names:
                path = new + path[len(old):] if f"{path}/".startswith(f"{old}/") else path
            if path in now and now[path]["added"] != row["added"]:
                yield path

    def torn(self, request):
        """What is not of one file while a fault lasts, seen twice: the tables are read one behind the other, and what waits is tried
        again at any time."""
        end = time.monotonic() + STEADY
        moving = [new for new, _ in matrix.renames(request)]
        while (wrong := list(self.rules.torn(self.daemon, moving))) and time.monotonic() < end:
            time.sleep(0.1)
        return wrong

    def requests_left(self):
        return [name for name in (QUEUE, WORKING_COPY, KEPT) if self.daemon.exists(name)]

    def recover(self):
        self.daemon.places.clear()
        # The servers are told at the end of a run, behind its requests: a run that is waited for next would seem over at its begin.
        wait_for(lambda: not self.requests_left() and self.daemon.idle(), "the requests to be done", RECOVERY)

    # --- one case each; what is wrong comes back as text

    def call_fault(self, request, fault, last):
        place = {"top": request.top, "inner": request.inner, "file": request.file}[fault.where]
        with self.daemon.places.failing(Rule(fault.call, place, fault.code, fault.first)):
            lines = self.daemon.index(*request.lines)
            fired = self.daemon.places.seen() >= fault.first
        # A picture whose content cannot be read keeps what does not need it.
        unread = (("width", "height"), place) if fault.call == "open" else ()
        wrong = forgotten(self.world.state(), self.world.first, last, *unread) + self.torn(request)
        if fired and request.sweeps and fault.where != "file" and not any(
                KEEPING.search(line) and place in line for line in lines):
            wrong.append(f"no line names {place}")
        self.recover()
        self.daemon.index(*request.lines)
        return wrong + differences(self.world.state(), last, ("added",) if matrix.newly_added(request, fault) else ())

    def storage_fault(self, request, fault, last):
        share = request.share
        place = share
        if fault.known == "inside a share":
            place = {matrix.MUSIC: matrix.DISK, matrix.PHOTO: matrix.STICK}[share]
        if fault.known in ("fstab", "noauto"):
            self.daemon.write(FSTAB, f"/dev/sdx1 {place} ext4 {'noauto' if fault.known == 'noauto' else 'defaults'} 0 2\n")
            with contextlib.suppress(FileNotFoundError):
                self.daemon.remove(REMEMBERED)
        self.world.unmount(place)
        away = f"{share}.away"
        if fault.known == "dangling":
            os.rename(self.daemon.box.path(share), self.daemon.box.path(away))
        try:
            lines = self.daemon.index(*request.lines)
            wrong = forgotten(self.world.state(), self.world.first, last) + self.torn(request)
            if request.sweeps and not any(KEEPING.search(line) and place in line for line in lines):
                wrong.append(f"no line names {place}")
        finally:
            if fault.known == "dangling":
                os.rename(self.daemon.box.path(away), self.daemon.box.path(share))
            self.world.mount_again(place)
        self.recover()
        self.daemon.index(*request.lines)
        return wrong + differences(self.world.state(), last)

    def store_fault(self, request, fault, last):
        wrong = []
        with store_fault(self.daemon, fault.kind, fault.catalogue):
            self.daemon.index(*request.lines)
            if fault.kind != "stopped" or not self.daemon.catalogue.keys:
                now = self.world.state()
                wrong += forgotten(now, self.world.first, last) + self.torn(request)
                left = self.requests_left()
                if left not in ([], [KEPT]):
                    wrong.append(f"left over: {left}")
                if fault.kind not in ("broken", "row") and not left and differences(now, last):
                    wrong.append("neither done nor kept")
        self.recover()
        if fault.kind == "row":
            self.daemon.index(*request.lines)
        return wrong + differences(self.world.state(), last)

    def kill(self, request, fault, last, steps):
        kill_at(self.daemon, 1 + int(fault.moment * steps), *request.lines)
        self.recover()
        return differences(self.world.state(), last)

    def case(self, request, fault, last, steps):
        self.begin(request)
        if isinstance(fault, matrix.CallFault):
            return self.call_fault(request, fault, last)
        if isinstance(fault, matrix.StorageFault):
            return self.storage_fault(request, fault, last)
        if isinstance(fault, matrix.StoreFault):
            return self.store_fault(request, fault, last)
        return self.kill(request, fault, last, steps)


@pytest.mark.parametrize("rules, group", PARTS)
def test_what_exists_is_not_forgotten_whatever_fails(make_placed, samples, rules, group):
    groups = len([one for one, _ in PARTS if one == rules])
    rules = RULES[rules](samples)
    chosen = list(matrix.cases(rules.requests, few=rules.name == "complete").items())[group::groups]
    assert chosen
    cases = Matrix(make_placed, rules)
    wrong = []
    for request, faults in chosen:
        last, steps = cases.undisturbed(request)
        for fault in faults:
            try:
                found = cases.case(request, fault, last, steps)
            except AssertionError as problem:
                found = [str(problem)]
                cases.daemon.places.forget()
                if not cases.daemon.alive():
                    cases.daemon.start()
            wrong += [f"{request.name}, {fault}: {problem}" for problem in found[:4]]
    assert not wrong, f"{len(wrong)} of {sum(map(len, dict(chosen).values()))} cases:\n" + "\n".join(wrong)
