// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/key_line_set.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include "platform/handle.h"
#include "platform/sdk/key_lines.h"
#include "tools/veluctl/report/page_file.h"

namespace {

// Returns the place of a file behind its links; the file itself where there is none.
std::string PlaceOf(const std::string &file) {
    const std::unique_ptr<char, CloseWith<free>> place(realpath(file.c_str(), nullptr));
    return place != nullptr ? place.get() : file;
}

// False when it cannot be read to its end.
bool TextRead(const std::string &file, std::string *text) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream all;
    if (in.peek() != std::ifstream::traits_type::eof())
        all << in.rdbuf();
    *text = all.str();
    return in.is_open() && !in.bad();
}

} // namespace

std::string LineSet(std::string_view text, size_t number, std::string_view line) {
    size_t begin = number == 0 ? text.size() : 0;
    for (size_t at = 1; at < number; ++at)
        begin = std::min(text.find('\n', begin), text.size() - 1) + 1;
    const size_t end = number == 0 ? begin : std::min(text.find('\n', begin), text.size());
    std::string result(text.substr(0, begin));
    if (!result.empty() && result.back() != '\n')
        result += '\n';
    result.append(line);
    if (number == 0 || end == text.size())
        return result + '\n';
    return result.append(text.substr(end));
}

std::string KeyLineSet(const std::string &file, std::string_view key, std::string_view value) {
    const std::string place = PlaceOf(file);
    std::vector<KeyFileLine> lines;
    std::string text;
    const int error = KeyFileLinesRead(place.c_str(), &lines);
    if (error != 0 && error != ENOENT)
        return strerror(error);
    if (error == 0 && !TextRead(place, &text))
        return "it cannot be read";
    const auto found =
        std::ranges::find_if(lines, [&](const KeyFileLine &line) { return line.is_pair && line.key == key; });
    std::string line(key);
    line.append("=\"").append(value).append("\"");
    return PageFileWrite(place, LineSet(text, found != lines.end() ? found->number : 0, line));
}
