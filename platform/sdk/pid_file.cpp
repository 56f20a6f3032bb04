// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/file.h"
#include "platform/sdk/ascii.h"
#include "platform/velusdk.h"

#include <errno.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace {

// Room for the longest id, blanks around it and a little more; a file with a longer first word holds no id.
constexpr size_t kPidTextSize = 64;

// The first word of `text` as a process id, or 0. `whole`: nothing of the file is missing in `text`.
pid_t ParsePid(std::string_view text, bool whole) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    const size_t word_end = text.find_first_of(kWhiteSpace);
    if (word_end == std::string_view::npos && !whole)
        return 0;
    const std::string_view word = text.substr(0, word_end);
    const char *end = word.data() + word.size();
    pid_t pid = 0;
    const auto [stop, error] = std::from_chars(word.data(), end, pid);
    return error == std::errc() && stop == end && pid >= 1 ? pid : 0;
}

// A process of another user runs too, although no signal can be sent to it.
bool Runs(pid_t pid) {
    return kill(pid, 0) == 0 || errno == EPERM;
}

} // namespace

pid_t KLIBReadPidFile(const char *pid_file) {
    if (pid_file == nullptr)
        return 0;
    const FdHandle fd = OpenForReading(pid_file);
    if (!fd)
        return 0;
    std::array<char, kPidTextSize> text;
    const ssize_t got = FileReadSome(fd, text.data(), text.size());
    if (got <= 0)
        return 0;
    const size_t length = static_cast<size_t>(got);
    const pid_t pid = ParsePid({text.data(), length}, length < text.size());
    return pid >= 1 && Runs(pid) ? pid : 0;
}
