// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/resolution.h"

#include "platform/letters.h"

namespace {

// Sides of the whole picture of a class; it is named by the short one.
struct ResolutionClass {
    int lines;
    int long_side;
};
constexpr ResolutionClass kClasses[] = {{4320, 7680}, {2160, 3840}, {1440, 2560}, {1080, 1920},
                                        {720, 1280},  {576, 1024},  {480, 852},   {360, 640}};
constexpr int kLeastLines = 240; // of all that are smaller

// Encoders leave out lines and columns that blocks would not fill, and black edges.
constexpr int kEnoughPercent = 95;
constexpr int kPercent = 100;

struct ResolutionName {
    std::string_view name;
    ResolutionSpan lines;
};
constexpr ResolutionName kNames[] = {
    {"8k", {4320, 4320}},      {"4k", {2160, 2160}},    {"4320p", {4320, 4320}}, {"2160p", {2160, 2160}},
    {"1440p", {1440, 1440}},   {"1080p", {1080, 1080}}, {"720p", {720, 720}},    {"576p", {576, 576}},
    {"480p", {480, 480}},      {"360p", {360, 360}},    {"uhd", {2160, 4320}},   {"hd", {720, 1440}},
    {"sd", {kLeastLines, 576}}};

int Enough(int side) {
    return side * kEnoughPercent / kPercent;
}

} // namespace

std::optional<ResolutionSpan> ResolutionOf(std::string_view name) {
    for (const ResolutionName &known : kNames) {
        if (IsSame(known.name, name))
            return known.lines;
    }
    return {};
}

std::vector<std::string> ResolutionWords() {
    std::vector<std::string> words;
    for (const ResolutionName &known : kNames)
        words.emplace_back(known.name);
    return words;
}

std::string ResolutionNames() {
    std::string names;
    for (const std::string &word : ResolutionWords())
        names.append(names.empty() ? "" : ", ").append(word);
    return names;
}

std::string ResolutionSql(const std::string &width, const std::string &height) {
    std::string sql = "case ";
    for (const ResolutionClass &one : kClasses) {
        const std::string is_long = " >= " + std::to_string(Enough(one.long_side));
        const std::string is_short = " >= " + std::to_string(Enough(one.lines));
        sql.append("when ").append(width).append(is_long).append(" or ").append(height).append(is_long);
        sql.append(" or (").append(width).append(is_short).append(" and ").append(height).append(is_short);
        sql.append(") then ").append(std::to_string(one.lines)).append(" ");
    }
    return sql + "when " + width + " > 0 and " + height + " > 0 then " + std::to_string(kLeastLines) +
           " else 0 end";
}
