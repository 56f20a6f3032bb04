// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/command_value.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace {

// Puts a value into its place. The text says what is wrong with it.
std::string Take(const CommandTarget &target, const std::string &name, const char *value) {
    if (const auto *flag = std::get_if<bool *>(&target)) {
        **flag = true;
    } else if (const auto *text = std::get_if<std::string *>(&target)) {
        **text = value;
    } else if (const auto *list = std::get_if<std::vector<std::string> *>(&target)) {
        (*list)->emplace_back(value);
    } else if (const auto *number = std::get_if<uint32_t *>(&target)) {
        const char *end = value + strlen(value);
        const auto [rest, error] = std::from_chars(value, end, **number);
        if (rest != end || error != std::errc())
            return name + ": \"" + value + "\" is no whole number from 0 to " + std::to_string(UINT32_MAX);
    } else if (const auto *range = std::get_if<SecondsTarget>(&target)) {
        char *end = nullptr;
        const double seconds = strtod(value, &end);
        if (end == value || *end != '\0' || !(seconds >= range->least && seconds <= range->most)) {
            char message[128];
            snprintf(message, sizeof message, "\" is no number of seconds from %g to %g", range->least,
                     range->most);
            return name + ": \"" + value + message;
        }
        *range->seconds = seconds;
    }
    return {};
}

} // namespace

bool TakesMany(const CommandTarget &target) {
    return std::holds_alternative<std::vector<std::string> *>(target);
}

std::string TypeText(const char *type, const std::vector<const char *> &words) {
    std::string text = type;
    for (const char *word : words)
        text.append(word == words.front() ? ":{" : ",").append(word);
    return words.empty() ? text : text + "}";
}

std::string ValueTake(const CommandTarget &target, const std::string &name, const char *value,
                      const std::vector<const char *> &words) {
    const std::string_view text = value;
    if (words.empty() || std::find(words.begin(), words.end(), text) != words.end())
        return Take(target, name, value);
    return name + ": " + value + " not in " + TypeText("", words).substr(1);
}
