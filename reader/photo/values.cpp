// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/values.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "reader/photo/text.h"

namespace {

void Add(const FactPlace &place, const std::string &text) {
    FactAddText(place.facts, place.name, FactSource::exiv2, text);
}

void Add(const FactPlace &place, double number) {
    FactAddNumber(place.facts, place.name, FactSource::exiv2, number);
}

void AddAll(const FactPlace &place, const std::vector<std::string> &texts) {
    for (const std::string &text : texts)
        Add(place, text);
}

std::string Utf16Text(const Exiv2::Value &value) {
    std::vector<uint8_t> bytes(static_cast<size_t>(value.size()));
    if (!bytes.empty())
        value.copy(bytes.data(), Exiv2::littleEndian);
    return TextFromUtf16(bytes, ByteOrder::kLittle);
}

bool Divided(double dividend, double divisor, double *number) {
    *number = divisor != 0 ? dividend / divisor : 0;
    return divisor != 0;
}

// "1/125", "5.6"
bool TextNumber(const std::string &text, double *number) {
    char *end = nullptr;
    const double dividend = strtod(text.c_str(), &end);
    if (end == text.c_str())
        return false;
    return Divided(dividend, *end == '/' ? strtod(end + 1, nullptr) : 1, number);
}

} // namespace

std::vector<std::string> ValueTexts(const Exiv2::Value &value, std::string_view charset) {
    std::vector<std::string> texts;
    if (const auto *languages = dynamic_cast<const Exiv2::LangAltValue *>(&value)) {
        const auto standard = languages->value_.find("x-default");
        const auto chosen = standard != languages->value_.end() ? standard : languages->value_.begin();
        if (chosen != languages->value_.end())
            texts.push_back(chosen->second);
    } else if (dynamic_cast<const Exiv2::XmpArrayValue *>(&value) != nullptr) {
        for (long i = 0; i < value.count(); ++i)
            texts.push_back(value.toString(i));
    } else {
        texts.push_back(TextFromBytes(value.toString(), charset));
    }
    return texts;
}

bool ValueNumber(const Exiv2::Value &value, long position, double *number) {
    if (position >= value.count())
        return false;
    switch (value.typeId()) {
    case Exiv2::unsignedRational: {
        const Exiv2::Rational ratio = value.toRational(position); // the library has them signed
        return Divided(static_cast<uint32_t>(ratio.first), static_cast<uint32_t>(ratio.second), number);
    }
    case Exiv2::signedRational: {
        const Exiv2::Rational ratio = value.toRational(position);
        return Divided(ratio.first, ratio.second, number);
    }
    case Exiv2::unsignedByte:
    case Exiv2::undefined:
    case Exiv2::unsignedShort:
    case Exiv2::signedByte:
    case Exiv2::signedShort:
    case Exiv2::signedLong:
        *number = static_cast<double>(value.toLong(position));
        return true;
    case Exiv2::unsignedLong:
        *number = static_cast<uint32_t>(value.toLong(position));
        return true;
    case Exiv2::tiffFloat:
    case Exiv2::tiffDouble:
        *number = static_cast<double>(value.toFloat(position));
        return true;
    case Exiv2::asciiString:
        return TextNumber(value.toString(), number);
    default:
        return TextNumber(value.toString(position), number);
    }
}

void ConvertText(const Exiv2::Value &value, const FactPlace &place) {
    AddAll(place, ValueTexts(value, place.charset));
}

void ConvertOneText(const Exiv2::Value &value, const FactPlace &place) {
    const std::vector<std::string> texts = ValueTexts(value, place.charset);
    if (!texts.empty() && FactFind(*place.facts, place.name) == nullptr)
        Add(place, texts.front());
}

void ConvertParts(const Exiv2::Value &value, const FactPlace &place) {
    AddAll(place, TextParts(TextFromBytes(value.toString(), place.charset)));
}

void ConvertUtf16(const Exiv2::Value &value, const FactPlace &place) {
    Add(place, Utf16Text(value));
}

void ConvertUtf16Parts(const Exiv2::Value &value, const FactPlace &place) {
    AddAll(place, TextParts(Utf16Text(value)));
}

void ConvertComment(const Exiv2::Value &value, const FactPlace &place) {
    const auto *comment = dynamic_cast<const Exiv2::CommentValue *>(&value);
    if (comment == nullptr) {
        ConvertText(value, place);
        return;
    }
    const ByteOrder order = comment->byteOrder_ == Exiv2::bigEndian ? ByteOrder::kBig : ByteOrder::kLittle;
    Add(place, TextFromUserComment(comment->value_, order, place.charset));
}

void ConvertNumber(const Exiv2::Value &value, const FactPlace &place) {
    double number = 0;
    if (ValueNumber(value, 0, &number))
        Add(place, number);
}

// These are the forms that libexif gives them, which programs that read the catalogue know.
void ConvertExposure(const Exiv2::Value &value, const FactPlace &place) {
    double seconds = 0;
    if (!ValueNumber(value, 0, &seconds) || seconds < 0)
        return;
    char text[64];
    if (seconds > 0 && seconds < 1)
        snprintf(text, sizeof text, "1/%.0f sec.", 1 / seconds);
    else
        snprintf(text, sizeof text, "%.0f sec.", seconds);
    Add(place, text);
}

void ConvertAperture(const Exiv2::Value &value, const FactPlace &place) {
    double number = 0;
    if (!ValueNumber(value, 0, &number) || number < 0)
        return;
    char text[64];
    snprintf(text, sizeof text, "f/%.01f", number);
    Add(place, text);
}

void ConvertIso(const Exiv2::Value &value, const FactPlace &place) {
    constexpr double kBeyondShort = 65535; // EXIF 2.3, table 8: the number stands in another tag
    double number = 0;
    if (ValueNumber(value, 0, &number) && number > 0 && number != kBeyondShort)
        Add(place, trunc(number));
}

void ConvertOrientation(const Exiv2::Value &value, const FactPlace &place) {
    double number = 0;
    if (ValueNumber(value, 0, &number) && number >= 1 && number <= 8)
        Add(place, trunc(number));
}
