// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/size.h"

#include <math.h>
#include <stdlib.h>

#include <array>
#include <string_view>

#include "platform/bytes.h"
#include "platform/image/image_formats.h"
#include "platform/limits.h"

namespace {

using namespace std::string_view_literals;

size_t ReadInput(void *input, uint64_t offset, uint8_t *out, size_t size) {
    if (offset > INT64_MAX)
        return 0;
    return InputRead(static_cast<ReaderInput *>(input), static_cast<int64_t>(offset),
                     std::as_writable_bytes(std::span(out, size)));
}

// CSS 2.1, section 4.3.2
struct Unit {
    std::string_view name;
    double pixels;
};

constexpr Unit kUnits[] = {{"px"sv, 1},  {"pt"sv, 96.0 / 72}, {"pc"sv, 16}, {"mm"sv, 96 / 25.4},
                           {"in"sv, 96}, {"cm"sv, 96 / 2.54}, {"em"sv, 16}};

// Returns the value of an attribute of an element's text, which begins with its name.
std::string_view Attribute(std::string_view element, std::string_view name) {
    for (size_t at = element.find(name); at != std::string_view::npos; at = element.find(name, at + 1)) {
        std::string_view rest = element.substr(at + name.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"sv), rest.size()));
        const bool begins = at > 0 && " \t\r\n\"'"sv.find(element[at - 1]) != std::string_view::npos;
        if (!begins || !rest.starts_with('='))
            continue;
        rest.remove_prefix(1);
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"sv), rest.size()));
        if (rest.empty() || (rest[0] != '"' && rest[0] != '\''))
            return {};
        return rest.substr(1, rest.find(rest[0], 1) - 1);
    }
    return {};
}

// A length in pixels; 0 when it is none, or a share of what is around it.
double Pixels(std::string_view text) {
    const std::string value(text);
    char *end = nullptr;
    const double number = strtod(value.c_str(), &end);
    if (end == value.c_str() || *end == '%')
        return 0;
    for (const Unit &unit : kUnits) {
        if (std::string_view(end).starts_with(unit.name))
            return number * unit.pixels;
    }
    return number;
}

uint64_t Side(double pixels) {
    return pixels >= 0.5 && pixels < INT32_MAX ? static_cast<uint64_t>(lround(pixels)) : 0;
}

} // namespace

PhotoSize PlainSize(ReaderInput *input) {
    int width = 0;
    int height = 0;
    if (PictureSizeRead({ReadInput, input}, &width, &height) != 0)
        return {};
    return {static_cast<uint64_t>(width), static_cast<uint64_t>(height)};
}

PhotoSize TargaSize(ReaderInput *input) {
    std::array<uint8_t, 16> head{}; // Targa 2.0: the sides are the last numbers of these
    if (InputRead(input, 0, std::as_writable_bytes(std::span(head))) != head.size())
        return {};
    return {LittleEndian16(head.data() + 12), LittleEndian16(head.data() + 14)};
}

PhotoSize SvgSize(ReaderInput *input) {
    std::string text(kPhotoDrawingHead, '\0');
    text.resize(InputRead(input, 0, std::as_writable_bytes(std::span(text))));
    size_t begin = text.find("<svg");
    if (begin == std::string::npos)
        begin = text.find(":svg");
    if (begin == std::string::npos)
        return {};
    const std::string_view element = std::string_view(text).substr(begin, text.find('>', begin) - begin);
    double width = Pixels(Attribute(element, "width"));
    double height = Pixels(Attribute(element, "height"));
    const std::string box(Attribute(element, "viewBox"));
    // left, top, width, height
    std::array<double, 4> sides{};
    const char *rest = box.c_str();
    for (double &side : sides) {
        char *end = nullptr;
        side = strtod(rest, &end);
        rest = *end == ',' ? end + 1 : end;
    }
    if (width == 0)
        width = height != 0 && sides[3] != 0 ? height * sides[2] / sides[3] : sides[2];
    if (height == 0)
        height = width != 0 && sides[2] != 0 ? width * sides[3] / sides[2] : sides[3];
    return {Side(width), Side(height)};
}
