// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_line.h"

#include <algorithm>
#include <iterator>

namespace {

// Takes the next piece between colons off the front of `rest`; empty when there is none.
std::string_view TokenTake(std::string_view &rest) {
    const size_t start = rest.find_first_not_of(':');
    if (start == std::string_view::npos)
        return {};
    const size_t end = rest.find(':', start);
    const std::string_view token = rest.substr(start, end == std::string_view::npos ? end : end - start);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
    return token;
}

} // namespace

const QueueCommandRow *QueueCommandFind(char letter) {
    const auto *found = std::find_if(std::begin(kQueueCommands), std::end(kQueueCommands),
                                     [&](const QueueCommandRow &row) { return row.command == letter; });
    return found != std::end(kQueueCommands) ? found : nullptr;
}

bool QueueLineParse(std::string_view line, QueueRequest &request) {
    if (line.size() < 2 || line[1] != ':')
        return false;
    const QueueCommandRow *row = QueueCommandFind(line[0]);
    if (row == nullptr)
        return false;
    // A path cannot hold a zero byte: what stands before it is not what was asked.
    if (line.find('\0') != std::string_view::npos)
        return false;
    request.command = row->command;
    std::string_view rest = line.substr(2);
    if (row->argument != QueueArgument::two_paths) {
        request.argument = rest;
        request.old_path.clear();
        return true;
    }
    request.argument = TokenTake(rest);
    request.old_path = TokenTake(rest);
    return !request.argument.empty() && !request.old_path.empty();
}
