// SPDX-License-Identifier: GPL-2.0-or-later
//
// The end of all children of a process that the kernel has given its orphaned descendants to (PR_SET_CHILD_SUBREAPER).
#pragma once

// Kills and reaps all children of this process, and their children as they come to it, until none is left. One that may
// not be killed (a program of another user) is left alone. /proc is asked who they are.
void ChildProcessesEnd();
