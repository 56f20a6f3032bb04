// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_start.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "platform/file.h"

namespace {

constexpr mode_t kNotedMode = 0644;

// The kernel's word has 37 bytes; a longer text is another's.
constexpr size_t kStartTextMax = 64;

std::string TextOf(const char *path) {
    char text[kStartTextMax];
    const FdHandle file = OpenForReading(path);
    return {text, file ? FileReadUpTo(file, 0, text, sizeof text) : 0};
}

} // namespace

MachineFiles machine_files;

void MachineStartNote() {
    const std::string now = TextOf(machine_files.now);
    if (now.empty() || now == TextOf(machine_files.noted))
        return;
    const FdHandle file(
        open(machine_files.noted, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kNotedMode));
    // What is not noted counts as another start.
    if (file)
        static_cast<void>(FileWriteAt(file, 0, now));
}

void MachineStartForget() {
    unlink(machine_files.noted);
}

bool MachineStartedSince() {
    const std::string now = TextOf(machine_files.now);
    return now.empty() || now != TextOf(machine_files.noted);
}
