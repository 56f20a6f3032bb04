// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/html_writer.h"

#include <math.h>
#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "tools/shared/safe_text.h"

namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kGroup = 3; // bytes that are written as four digits
constexpr unsigned kDigitBits = 6;
constexpr double kCoordinateMax = 1e6; // far outside of every drawing

std::string_view Escape(char byte) {
    switch (byte) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return {};
    }
}

} // namespace

HtmlWriter &HtmlWriter::Put(Literal markup) {
    text_ += markup.text;
    return *this;
}

HtmlWriter &HtmlWriter::Text(std::string_view bytes) {
    for (const char byte : SafePageText(bytes)) {
        const std::string_view escape = Escape(byte);
        if (escape.empty())
            text_ += byte;
        else
            text_ += escape;
    }
    return *this;
}

HtmlWriter &HtmlWriter::Coordinate(double value) {
    char text[32];
    snprintf(text, sizeof text, "%.2f",
             isfinite(value) ? std::clamp(value, -kCoordinateMax, kCoordinateMax) : 0.0);
    text_ += text;
    return *this;
}

HtmlWriter &HtmlWriter::Base64(std::string_view bytes) {
    text_.reserve(text_.size() + (bytes.size() / kGroup + 1) * (kGroup + 1));
    for (size_t at = 0; at < bytes.size(); at += kGroup) {
        const size_t count = std::min(kGroup, bytes.size() - at);
        uint32_t bits = 0;
        for (size_t byte = 0; byte < kGroup; ++byte)
            bits = bits << 8 | (byte < count ? static_cast<unsigned char>(bytes[at + byte]) : 0U);
        for (size_t digit = 0; digit <= kGroup; ++digit) {
            const unsigned shift = static_cast<unsigned>(kGroup - digit) * kDigitBits;
            text_ += digit <= count ? kDigits[bits >> shift & 0x3F] : '=';
        }
    }
    return *this;
}
