// SPDX-License-Identifier: GPL-2.0-or-later
//
// How long no signal must come before the queue is taken over.
#pragma once

// Returns it in seconds, as configured by now; by the rules `appliance` it is always the same. A value that is none costs a log
// line.
unsigned QuietSeconds();
