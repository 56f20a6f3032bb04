// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/uri_text.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/letters.h"
#include "platform/veludb.h"

namespace {

constexpr char kHidden[] = "***";
constexpr std::string_view kAuthority = "://";

// Returns the text in small letters and with %XX decoded, as libpq reads the names of settings.
std::string Plain(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        unsigned byte = static_cast<unsigned char>(text.front());
        size_t length = 1;
        if (text.front() == '%' && text.size() > 2 &&
            std::from_chars(text.data() + 1, text.data() + 3, byte, 16).ptr == text.data() + 3)
            length = 3;
        text.remove_prefix(length);
        plain += Lower(static_cast<char>(byte));
    }
    return plain;
}

bool NamesPassword(std::string_view text) {
    return Plain(text).find("pass") != std::string::npos;
}

// Of the settings behind the question mark.
void SettingsHide(std::string *uri, size_t begin) {
    while (begin < uri->size()) {
        const size_t end = std::min(uri->find('&', begin), uri->size());
        const size_t equals = uri->find('=', begin);
        size_t next = end;
        if (equals < end && NamesPassword(std::string_view(*uri).substr(begin, equals - begin))) {
            uri->replace(equals + 1, end - equals - 1, kHidden);
            next = equals + sizeof kHidden;
        }
        begin = next + 1;
    }
}

} // namespace

std::string UriWithoutPassword(std::string uri) {
    if (VELUDBFileGet(uri.c_str()) != nullptr)
        return uri;
    const size_t authority = uri.find(kAuthority);
    const size_t at = uri.rfind('@');
    if (authority == std::string::npos)
        return at != std::string::npos || NamesPassword(uri) ? kHidden : uri;
    const size_t colon = uri.find(':', authority + kAuthority.size());
    const size_t settings = uri.find('?');
    // What stands in front of such an @ may be a user's password, and what stands behind it that of a setting.
    if (at != std::string::npos && settings < at)
        return uri.substr(0, std::min(colon, settings) + 1) + kHidden;
    if (settings != std::string::npos)
        SettingsHide(&uri, settings + 1);
    if (at != std::string::npos && colon < at)
        uri.replace(colon + 1, at - colon - 1, kHidden);
    return uri;
}
