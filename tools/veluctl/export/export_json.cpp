// SPDX-License-Identifier: GPL-2.0-or-later
//
// An export as lines of JSON, which a program reads one by one.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/veluctl/export/export_writer.h"
#include "tools/veluctl/fact_type.h"
#include "tools/veluctl/json_text.h"
#include "tools/veluctl/terminal.h"

namespace {

Json ValueOfFact(Type type, const std::string &value) {
    Json object;
    JsonValuePut(&object, {"value", "", type}, value);
    return object["value"];
}

// What has no kind of its own is a list of paths.
void FactPut(const std::string &name, const std::string &value, Json *facts) {
    const auto kind = std::ranges::find(kFacts, name, &FactKind::word);
    const bool several = kind == std::end(kFacts) || kind->several;
    const Json one = ValueOfFact(kind == std::end(kFacts) ? Type::text : ShownType(kind->type), value);
    if (several)
        (*facts)[name].push_back(one);
    else
        (*facts)[name] = one;
}

class JsonLines : public ExportWriter {
public:
    explicit JsonLines(FILE *out) : out_(out), terminal_(IsTerminal(out)) {}

    void Add(const CatalogueTable &table, const Row &row, const FileDetails *file) override {
        Json object = Json::object();
        object["kind"] = table.kind;
        for (size_t at = 0; at < table.columns.size(); ++at)
            JsonValuePut(&object, table.columns[at], row[at]);
        if (file != nullptr) {
            JsonTextPut(&object, "added", file->added);
            JsonTextPut(&object, "trouble", file->trouble);
            Json facts = Json::object();
            for (const auto &[name, value] : file->facts)
                FactPut(name, value, &facts);
            object["facts"] = std::move(facts);
        }
        fprintf(out_, "%s\n", JsonWrite(object, false, terminal_).c_str());
    }

private:
    FILE *out_;
    bool terminal_;
};

} // namespace

std::unique_ptr<ExportWriter> JsonLinesWriter(FILE *out) {
    return std::make_unique<JsonLines>(out);
}
