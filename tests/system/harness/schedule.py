# SPDX-License-Identifier: GPL-2.0-or-later
"""How tests are dealt out to workers: in their order, one by one, to whoever has none to go on with. Where tests take from
a tenth of a second to a minute, a handful that is dealt out ahead leaves one worker busy when the others have finished."""
from xdist.scheduler import LoadScheduling

# The one that runs, and the next: a worker wants to know it to keep what both need.
AHEAD = 2


class OneByOne(LoadScheduling):
    """A scheduler of pytest-xdist."""

    def _send_tests(self, node, num):
        super()._send_tests(node, min(num, AHEAD - len(self.node2pending[node])))

    def check_schedule(self, node, duration=0):
        if node.shutting_down:
            return
        if self.pending:
            self._send_tests(node, AHEAD)
        else:
            node.shutdown()
