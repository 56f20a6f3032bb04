// SPDX-License-Identifier: GPL-2.0-or-later
//
// Ctrl-C while something is waited for that goes on without this program.
#pragma once

#include <signal.h>

// Until its end SIGINT is noted instead of ending the process, unless whoever started it has it ignored. A second one ends the process
// as ever.
class InterruptScope {
public:
    InterruptScope();
    InterruptScope(const InterruptScope &) = delete;
    InterruptScope &operator=(const InterruptScope &) = delete;
    ~InterruptScope();

    [[nodiscard]] bool has_come() const;

    // Ends the process by the signal after all, so that a script ends with it, too.
    [[noreturn]] void End() const;

private:
    struct sigaction before_ = {};
};
