// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/interrupt.h"

#include <stdio.h>
#include <stdlib.h>

namespace {

volatile sig_atomic_t interrupted = 0;

void Interrupted(int) {
    interrupted = 1;
}

} // namespace

InterruptScope::InterruptScope() {
    sigaction(SIGINT, nullptr, &before_);
    if (before_.sa_handler == SIG_IGN)
        return;
    struct sigaction noted = {};
    noted.sa_handler = Interrupted;
    noted.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &noted, nullptr);
}

InterruptScope::~InterruptScope() {
    sigaction(SIGINT, &before_, nullptr);
}

bool InterruptScope::has_come() const {
    return interrupted != 0;
}

void InterruptScope::End() const {
    fflush(nullptr);
    signal(SIGINT, SIG_DFL);
    raise(SIGINT);
    abort(); // the signal is blocked
}
