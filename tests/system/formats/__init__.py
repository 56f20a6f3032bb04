# SPDX-License-Identifier: GPL-2.0-or-later
"""Real files of every format that the index knows, each with the row that its encoder's input promises."""
