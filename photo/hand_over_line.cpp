// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/hand_over_line.h"

#include <stdint.h>
#include <stdio.h>

namespace {

constexpr size_t kSumBegin = 1; // behind the sign
constexpr size_t kSumDigits = 8;
constexpr size_t kFieldsBegin = kSumBegin + kSumDigits + 1;

// FNV-1a: what is half written or has changed on the disk does not pass for what somebody typed.
uint32_t SumOf(std::string_view bytes) {
    uint32_t sum = 0x811C9DC5;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<uint8_t>(byte)) * 0x01000193;
    return sum;
}

std::string SumText(std::string_view bytes) {
    char digits[kSumDigits + 1];
    snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(SumOf(bytes)));
    return digits;
}

void FieldAdd(std::string *line, std::string_view field) {
    for (const char byte : field) {
        if (byte == '\\')
            *line += "\\\\";
        else if (byte == '\n')
            *line += "\\n";
        else if (byte == '\t')
            *line += "\\t";
        else
            *line += byte;
    }
}

// Takes the next field off the front of `rest`, with the tab behind it. False when it is not as it was written.
bool FieldTake(std::string_view *rest, std::string *field) {
    const std::string_view written = rest->substr(0, rest->find('\t'));
    rest->remove_prefix(written.size() < rest->size() ? written.size() + 1 : written.size());
    for (size_t i = 0; i < written.size(); ++i) {
        if (written[i] != '\\') {
            *field += written[i];
            continue;
        }
        const char letter = ++i < written.size() ? written[i] : '\0';
        if (letter != '\\' && letter != 'n' && letter != 't')
            return false;
        *field += letter == 'n' ? '\n' : letter == 't' ? '\t' : '\\';
    }
    return true;
}

} // namespace

std::string HandOverLineOf(const HandOverText &given) {
    std::string fields;
    FieldAdd(&fields, given.path);
    fields += '\t';
    FieldAdd(&fields, given.attribute);
    fields += '\t';
    FieldAdd(&fields, given.text);
    return kHandOverWanted + SumText(fields) + ' ' + fields + '\n';
}

bool HandOverLineRead(std::string_view line, HandOverText *out) {
    if (line.size() < kFieldsBegin || line[kFieldsBegin - 1] != ' ')
        return false;
    std::string_view rest = line.substr(kFieldsBegin);
    if (line.substr(kSumBegin, kSumDigits) != SumText(rest))
        return false;
    *out = {};
    return FieldTake(&rest, &out->path) && FieldTake(&rest, &out->attribute) &&
           FieldTake(&rest, &out->text) && rest.empty() && !out->path.empty() && !out->attribute.empty();
}
