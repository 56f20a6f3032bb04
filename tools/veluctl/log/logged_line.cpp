// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/log/logged_line.h"

#include <stdlib.h>
#include <string.h>

#include "tools/veluctl/log/log_place.h"

namespace {

constexpr std::string_view kProgram = "veluindexd";
constexpr int64_t kDay = 86'400;

// Takes what stands in front of a blank.
std::string_view WordTake(std::string_view *rest) {
    const std::string_view word = rest->substr(0, rest->find(' '));
    rest->remove_prefix(word.size());
    rest->remove_prefix(
        rest->find_first_not_of(' ') == std::string_view::npos ? rest->size() : rest->find_first_not_of(' '));
    return word;
}

// What stands behind the time: host, program and process, text.
bool RestRead(std::string_view rest, LoggedLine *read) {
    WordTake(&rest);
    const std::string_view program = WordTake(&rest);
    if (!program.starts_with(kProgram) || program.size() == kProgram.size() ||
        (program[kProgram.size()] != '[' && program[kProgram.size()] != ':'))
        return false;
    read->text = LogWithoutPlace(rest);
    return true;
}

// With the year that makes it the latest moment before another.
time_t WithYear(struct tm moment, time_t now) {
    struct tm local = {};
    localtime_r(&now, &local);
    moment.tm_isdst = -1;
    moment.tm_year = local.tm_year;
    struct tm this_year = moment;
    const time_t time = mktime(&this_year);
    if (time <= now + kDay)
        return time;
    --moment.tm_year;
    return mktime(&moment);
}

} // namespace

bool LoggedLineOfJournal(std::string_view line, LoggedLine *read) {
    const std::string_view seconds = WordTake(&line);
    char *end = nullptr;
    const std::string text(seconds);
    read->time = strtoll(text.c_str(), &end, 10);
    return end != text.c_str() && (*end == '.' || *end == '\0') && RestRead(line, read);
}

bool LoggedLineOfFile(std::string_view line, time_t now, LoggedLine *read) {
    const std::string text(line);
    struct tm moment = {};
    if (const char *rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &moment); rest != nullptr) {
        rest += *rest == '.' ? 1 + strspn(rest + 1, "0123456789") : 0;
        rest = strptime(rest, "%z ", &moment);
        if (rest == nullptr)
            return false;
        const long offset = moment.tm_gmtoff;
        read->time = timegm(&moment) - offset;
        return RestRead(rest, read);
    }
    moment = {};
    const char *rest = strptime(text.c_str(), "%b %d %H:%M:%S ", &moment);
    if (rest == nullptr)
        return false;
    read->time = WithYear(moment, now);
    return RestRead(rest, read);
}
