// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/record_print.h"

#include <string.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/json_text.h"

namespace {

constexpr size_t kNameWidth = 16; // the longest column's name and a gap; some facts have longer ones

// Fields that a record does not have hold zeros or nothing, and a person is not told of each.
bool SaysSomething(const Value &value) {
    return value && !value->empty() && *value != "0" && *value != "0.0";
}

// Beside the number that is stored, what it means.
std::string ValueExplain(const Value &value, Type type) {
    const std::string shown = ValueShow(value, type);
    return type == Type::bytes || type == Type::seconds ? *value + " (" + shown + ")" : shown;
}

void PartShow(const RecordPart &part, FILE *out) {
    fprintf(out, "%s\n", SafeText(part.name).c_str());
    size_t width = kNameWidth;
    for (const Column &column : part.columns)
        width = std::max(width, strlen(column.name));
    for (size_t at = 0; at < part.columns.size(); ++at) {
        if (SaysSomething(part.values[at]))
            fprintf(out, "  %-*s %s\n", static_cast<int>(width), part.columns[at].name,
                    ValueExplain(part.values[at], part.columns[at].type).c_str());
    }
    for (const std::string &sentence : part.said)
        fprintf(out, "  %s\n", SafeText(sentence).c_str());
}

} // namespace

void RecordPrint(const std::vector<RecordPart> &parts, bool json, FILE *out) {
    if (!json) {
        for (const RecordPart &part : parts) {
            if (&part != parts.data())
                fputc('\n', out);
            PartShow(part, out);
        }
        return;
    }
    Json all = Json::array();
    for (const RecordPart &part : parts) {
        Json object = Json::object();
        JsonTextPut(&object, "part", part.name);
        for (size_t at = 0; at < part.columns.size(); ++at)
            JsonValuePut(&object, part.columns[at], part.values[at]);
        if (!part.said.empty()) {
            Json said = Json::array();
            for (const std::string &sentence : part.said) {
                Json one = Json::object();
                JsonTextPut(&one, "text", sentence);
                said.push_back(one["text"]);
            }
            object["messages"] = said;
        }
        all.push_back(object);
    }
    JsonPrint(all, out);
}
