# SPDX-License-Identifier: GPL-2.0-or-later
"""Random faults. Each is a context, the places that it is about (None where lines are done again when it is over), and its
name."""
import contextlib
import errno

from harness.places import Rule
from harness.store_faults import AWAY, COMMIT, MEDIA as MEDIA_STORE, PHOTO as PHOTO_STORE, store_fault

CODES = (errno.EACCES, errno.EIO, errno.ESTALE)


class RandomFaults:
    """Faults of a daemon and its file systems, of which `mounts` come and go."""

    def __init__(self, random, daemon, world, mounts):
        self.random, self.daemon, self.world, self.mounts = random, daemon, world, mounts

    def choose(self, disk):
        """The kind of a fault, and a fault."""
        kinds = {self.no_fault: 3, self.store_fault: 6, self.call_fault: 3, self.storage_fault: 3}
        kind = self.random.choices(list(kinds), list(kinds.values()))[0]
        return kind.__name__, *kind(disk)

    def no_fault(self, _):
        return contextlib.nullcontext(), [], "nothing fails"

    def store_fault(self, _):
        kind, key = self.random.choice((*AWAY, COMMIT)), self.random.choice((MEDIA_STORE, PHOTO_STORE))
        moment = self.random.randrange(1, 12)
        return store_fault(self.daemon, kind, key, moment), None, f"{key} {kind} {moment}"

    def call_fault(self, disk):
        place = self.random.choice(list(disk))
        calls = ["stat", "open"] if disk[place] == "file" else ["opendir", "readdir", "readdir", "stat"]
        rule = Rule(self.random.choice(calls), place, self.random.choice(CODES), self.random.choice((1, 1, 2, 3, 5)))
        return self.daemon.places.failing(rule), [place], f"{rule.call} {rule.first} {errno.errorcode[rule.action]} at {place}"

    def storage_fault(self, _):
        place = self.random.choice(self.mounts)

        @contextlib.contextmanager
        def away():
            self.world.unmount(place)
            try:
                yield
            finally:
                self.world.mount_again(place)
        return away(), [place], f"{place} is not mounted"
