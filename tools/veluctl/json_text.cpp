// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/json_text.h"

#include <errno.h>
#include <stdlib.h>

#include <nlohmann/json.hpp>

#include "platform/utf8.h"
#include "tools/veluctl/terminal.h"

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr int kIndent = 2;
constexpr std::string_view kDelete = "\x7F";
constexpr std::string_view kDeleteEscaped = "\\u007f";

std::string Hex(std::string_view bytes) {
    std::string hex;
    for (const char byte : bytes) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        hex += digits;
    }
    return hex;
}

// What is no number after all stays a text.
Json NumberOf(const std::string &text, Type type) {
    char *end = nullptr;
    errno = 0;
    Json number;
    if (type == Type::real || type == Type::seconds)
        number = strtod(text.c_str(), &end);
    else
        number = strtoll(text.c_str(), &end, 10);
    return end != text.c_str() && *end == '\0' && errno == 0 ? number : Json(text);
}

} // namespace

void JsonTextPut(Json *object, const std::string &name, std::string_view bytes) {
    std::string text;
    bool valid = true;
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::string_view before = rest;
        char32_t character = 0;
        if (Utf8Take(&rest, &character) == Utf8::kCharacter) {
            text += before.substr(0, before.size() - rest.size());
        } else {
            valid = false;
            text += kReplacement;
            rest.remove_prefix(1);
        }
    }
    (*object)[name] = text;
    if (!valid)
        (*object)[name + "_hex"] = Hex(bytes);
}

void JsonValuePut(Json *object, const Column &column, const Value &value) {
    if (!value)
        (*object)[column.name] = nullptr;
    else if (TypeIsText(column.type))
        JsonTextPut(object, column.name, *value);
    else if (column.type == Type::boolean)
        (*object)[column.name] = *value == "t";
    else
        (*object)[column.name] = NumberOf(*value, column.type);
}

std::string JsonRow(std::span<const Column> columns, const Row &row, bool ascii) {
    Json object = Json::object();
    for (size_t at = 0; at < columns.size(); ++at)
        JsonValuePut(&object, columns[at], row[at]);
    return JsonWrite(object, false, ascii);
}

std::string JsonWrite(const Json &value, bool indented, bool ascii) {
    std::string text = value.dump(indented ? kIndent : -1, ' ', ascii);
    for (size_t at = 0; ascii && (at = text.find(kDelete, at)) != std::string::npos;)
        text.replace(at, kDelete.size(), kDeleteEscaped);
    return text;
}

void JsonPrint(const Json &value, FILE *out) {
    fprintf(out, "%s\n", JsonWrite(value, true, IsTerminal(out)).c_str());
}
