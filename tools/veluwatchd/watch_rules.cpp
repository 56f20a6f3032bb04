// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/watch_rules.h"

#include <optional>
#include <utility>

#include "daemon/path_rules.h"
#include "daemon/walk_above.h"
#include "daemon/walk_rules.h"

namespace {

const DirectoryRules *RulesOf(const WatchRules &rules, NodeId node) {
    const auto found = rules.find(node);
    return found != rules.end() ? &found->second : nullptr;
}

// How many patterns hold for the entries of a directory.
size_t PatternsIn(const WatchRules &rules, const WatchTree &tree, NodeId directory) {
    size_t count = 0;
    for (NodeId node = directory; node != kNoNode; node = tree.Parent(node)) {
        if (const DirectoryRules *of = RulesOf(rules, node); of != nullptr)
            count += of->patterns.size() + of->above.patterns;
    }
    return count;
}

// The patterns of the deepest directory count first.
bool IsIgnoredEntry(const WatchRules &rules, const WatchTree &tree, NodeId directory, std::string_view name,
                    bool is_directory) {
    std::string below(name);
    for (NodeId node = directory; node != kNoNode; node = tree.Parent(node)) {
        if (const DirectoryRules *of = RulesOf(rules, node); of != nullptr) {
            if (const std::optional<bool> said = IgnoreVerdict(of->patterns, below, is_directory))
                return *said;
            if (!of->above.files.empty())
                return IsIgnored(of->above, tree.Path(node) + '/' + below, is_directory);
        }
        below.insert(0, std::string(tree.Name(node)) + '/');
    }
    return false;
}

} // namespace

bool DirectoryRulesRead(WatchRules *rules, const WatchTree &tree, NodeId node,
                        const DirectoryReader &reader) {
    const NameRules &names = ActiveWalkRules().index;
    const std::string path = tree.Path(node);
    DirectoryRules found;
    found.left_out = DirectoryIsMarked(reader);
    if (tree.Parent(node) == kNoNode && PathLeftOut(names, path, true, &found.above) != LeftOut::nothing)
        found.left_out = true;
    rules->erase(node);
    IgnoreRules own;
    own.patterns = found.above.patterns + (rules->empty() ? 0 : PatternsIn(*rules, tree, node));
    IgnoreEnter(&own, names.ignore, path);
    if (!own.files.empty())
        found.patterns = std::move(own.files.front().patterns);
    const bool goes_on = !found.left_out;
    if (found.left_out || !found.patterns.empty() || !found.above.files.empty())
        rules->emplace(node, std::move(found));
    return goes_on;
}

bool IsLeftOut(const WatchRules &rules, const WatchTree &tree, NodeId directory, const std::string &path,
               std::string_view name, bool is_directory) {
    if (IsNameLeftOut(ActiveWalkRules().index, name) ||
        IsRecyclePath((path + '/' + std::string(name)).c_str()) != 0)
        return true;
    return !rules.empty() &&
           (IsLeftOutWhole(rules, directory) || IsIgnoredEntry(rules, tree, directory, name, is_directory));
}

bool IsLeftOutWhole(const WatchRules &rules, NodeId directory) {
    const DirectoryRules *of = RulesOf(rules, directory);
    return of != nullptr && of->left_out;
}

bool HasPatterns(const WatchRules &rules, const WatchTree &tree, NodeId directory) {
    return !rules.empty() && PatternsIn(rules, tree, directory) > 0;
}

bool IsRuleName(std::string_view name) {
    const NameRules &rules = ActiveWalkRules().index;
    return (rules.marker != nullptr && name == rules.marker) ||
           (rules.ignore != nullptr && name == rules.ignore);
}
