// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/request_line.h"

#include <initializer_list>

#include "daemon/queue_reader.h"
#include "platform/media_record.h"

namespace {

constexpr size_t kCommandSize = 2; // the letter and its colon

// A record holds its path and a terminator; a longer path would be cut and name another file.
constexpr size_t kPathMax = kMediaPathSize - 1;

const char *Refusal(std::string_view argument) {
    if (argument.empty())
        return "it is empty";
    if (argument.find('\n') != std::string_view::npos)
        return "it has a newline, where a line of the queue ends";
    if (argument.find('\0') != std::string_view::npos)
        return "it has a zero byte, which no path can have";
    if (argument.size() > kPathMax)
        return "it is longer than the 4095 bytes that the catalogue holds";
    return nullptr;
}
static_assert(kPathMax == 4095, "the sentence names the number");
static_assert(kCommandSize + kPathMax + 1 <= kQueueLineMax, "every single path fits");

} // namespace

RequestLine RequestLineForm(QueueCommand command, std::string_view argument) {
    if (const char *refusal = Refusal(argument); refusal != nullptr)
        return {{}, refusal};
    std::string line{command, ':'};
    line.append(argument).push_back('\n');
    return {line, {}};
}

RequestLine RenameLineForm(std::string_view new_path, std::string_view old_path) {
    for (const std::string_view path : {new_path, old_path}) {
        if (const char *refusal = Refusal(path); refusal != nullptr)
            return {{}, refusal};
        if (path.find(':') != std::string_view::npos)
            return {{},
                    "it has a colon, which separates the two paths of a rename: remove the old path and add "
                    "the new"};
    }
    std::string line{kCommandRename, ':'};
    line.append(new_path).append(":").append(old_path).push_back('\n');
    if (line.size() > kQueueLineMax)
        return {{},
                "the two paths together are longer than a line of the queue: remove the old and add the new"};
    return {line, {}};
}
