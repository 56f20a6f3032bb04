// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl config: what holds of the configuration, where it comes from, and what is wrong with it.
#include <stdio.h>

#include <algorithm>
#include <functional>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/config_look.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/rules_hint.h"

namespace {

constexpr Column kColumns[] = {
    {"key", "KEY", Type::text},
    {"value", "VALUE", Type::text},
    {"source", "SOURCE", Type::text},
    {"problem", "PROBLEM", Type::text},
};

constexpr Column kBrief[] = {kColumns[0], kColumns[2], kColumns[1]}; // the value is the longest

void ProgramPrint(const std::vector<ConfigurationFinding> &findings, Form form) {
    RowWriter writer(form, kColumns, stdout);
    for (const ConfigurationFinding &one : findings)
        writer.Add({one.key, one.value, one.source, one.problem});
    writer.End();
}

void ValuesPrint(const std::vector<ConfigurationFinding> &findings) {
    RowWriter writer(Form::table, kBrief, stdout);
    for (const ConfigurationFinding &one : findings) {
        if (one.is_key)
            writer.Add({one.key, one.source, one.value});
    }
    writer.End();
}

void ProblemPrint(const ConfigurationFinding &finding) {
    std::string place = finding.source;
    if (finding.key)
        place += ": " + *finding.key;
    printf("%s: %s\n", SafeText(place).c_str(), SafeText(*finding.problem).c_str());
}

} // namespace

ExitCode ConfigCommand(const Options &options) {
    std::vector<ConfigurationFinding> findings = ConfigurationLook();
    const bool only_problems = !options.what.empty();
    const auto is_good = [](const ConfigurationFinding &one) { return !one.problem; };
    const auto problems = std::count_if(findings.begin(), findings.end(), std::not_fn(is_good));
    if (only_problems)
        std::erase_if(findings, is_good);
    if (options.form() != Form::table) {
        ProgramPrint(findings, options.form());
    } else {
        if (!only_problems) {
            ValuesPrint(findings);
            const bool hint = RulesHintPrint();
            printf("%s%s\n", problems == 0 && !hint ? "" : "\n",
                   problems == 0 ? "Nothing wrong was found." : (Counted(problems, "problem") + ":").c_str());
        }
        for (const ConfigurationFinding &one : findings) {
            if (one.problem)
                ProblemPrint(one);
        }
    }
    return problems == 0 ? kDone : kFound;
}
