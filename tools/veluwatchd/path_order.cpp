// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/path_order.h"

#include <algorithm>

bool PathLess::operator()(std::string_view left, std::string_view right) const {
    const auto [at_left, at_right] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (at_left == left.end() || at_right == right.end())
        return left.size() < right.size();
    if (*at_left == '/' || *at_right == '/')
        return *at_left == '/';
    return static_cast<unsigned char>(*at_left) < static_cast<unsigned char>(*at_right);
}
