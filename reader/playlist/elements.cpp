// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/playlist/elements.h"

#include <stdint.h>

#include <algorithm>
#include <charconv>

#include "platform/utf8.h"
#include "reader/playlist/lines.h"

namespace {

// What passes for a part of text without tags.
constexpr std::string_view kCharactersBegin = "<![CDATA[";
constexpr std::string_view kCharactersEnd = "]]>";
constexpr std::string_view kCommentBegin = "<!--";
constexpr std::string_view kCommentEnd = "-->";

// Longest entity that is looked for behind an ampersand: "&#1114111;" has ten.
constexpr size_t kEntityMax = 12;

struct Entity {
    std::string_view name;
    char character;
};
constexpr Entity kEntities[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

constexpr bool IsCharacter(uint32_t number) {
    return number > 0 && number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
}

// Appends what an entity's name stands for; false when it stands for nothing.
bool EntityAppend(std::string_view name, std::string *text) {
    for (const Entity &entity : kEntities) {
        if (name == entity.name) {
            text->push_back(entity.character);
            return true;
        }
    }
    if (!name.starts_with('#'))
        return false;
    const bool hex = name.starts_with("#x") || name.starts_with("#X");
    const char *begin = name.data() + (hex ? 2 : 1);
    const char *end = name.data() + name.size();
    uint32_t number = 0;
    const auto [behind, error] = std::from_chars(begin, end, number, hex ? 16 : 10);
    if (error != std::errc() || behind != end || !IsCharacter(number))
        return false;
    Utf8Append(text, number);
    return true;
}

void TextAppend(std::string_view written, std::string *text) {
    while (!written.empty()) {
        const size_t plain = std::min(written.find('&'), written.size());
        text->append(written.substr(0, plain));
        written.remove_prefix(plain);
        const size_t end = written.substr(0, kEntityMax).find(';');
        if (end != std::string_view::npos && EntityAppend(written.substr(1, end - 1), text)) {
            written.remove_prefix(end + 1);
        } else if (!written.empty()) { // an ampersand that is meant as one
            text->push_back('&');
            written.remove_prefix(1);
        }
    }
}

// Takes all up to a mark and the mark, or all there is.
std::string_view TakeTo(std::string_view *document, std::string_view mark) {
    const size_t end = document->find(mark);
    const std::string_view taken = document->substr(0, end);
    document->remove_prefix(end == std::string_view::npos ? document->size() : end + mark.size());
    return taken;
}

// Takes a tag off a document that begins with one: all up to its ">", which a value in quotes may hold as well.
std::string_view TagTake(std::string_view *document) {
    const std::string_view begin = *document;
    char quote = '\0';
    char before = '\0'; // the last character that was no blank
    for (size_t at = 1; at < begin.size(); ++at) {
        const char character = begin[at];
        if (quote != '\0') {
            quote = character == quote ? '\0' : quote;
        } else if ((character == '"' || character == '\'') && before == '=') {
            quote = character;
        } else if (character == '>') {
            document->remove_prefix(at + 1);
            return begin.substr(1, at - 1);
        }
        before = kWhite.find(character) == std::string_view::npos ? character : before;
    }
    document->remove_prefix(document->size());
    return {};
}

bool IsInstruction(std::string_view document) {
    return document.starts_with("<!") || document.starts_with("<?");
}

// Takes text up to the next tag.
std::string CharactersTake(std::string_view *document) {
    std::string text;
    for (;;) {
        const size_t tag = std::min(document->find('<'), document->size());
        TextAppend(document->substr(0, tag), &text);
        document->remove_prefix(tag);
        if (document->starts_with(kCharactersBegin)) {
            document->remove_prefix(kCharactersBegin.size());
            text.append(TakeTo(document, kCharactersEnd));
        } else if (document->starts_with(kCommentBegin)) {
            TakeTo(document, kCommentEnd);
        } else {
            return std::string(WithoutEnds(text, kWhite));
        }
    }
}

void TagSplit(std::string_view tag, Element *element) {
    element->ends = tag.starts_with('/');
    tag.remove_prefix(element->ends ? 1 : 0);
    const size_t end = std::min(tag.find_first_of(" \t\r\n/"), tag.size());
    element->name = tag.substr(0, end);
    element->name.remove_prefix(element->name.find(':') + 1);
    element->attributes = tag.substr(end);
}

// Takes a value, in quotes or without.
std::string_view ValueTake(std::string_view *rest) {
    *rest = WithoutFirst(*rest, kWhite);
    const char quote = rest->empty() ? '\0' : rest->front();
    if (quote == '"' || quote == '\'') {
        rest->remove_prefix(1);
        return TakeTo(rest, std::string_view(&quote, 1));
    }
    const size_t end = std::min(rest->find_first_of(kWhite), rest->size());
    const std::string_view value = rest->substr(0, end);
    rest->remove_prefix(end);
    return value;
}

} // namespace

bool ElementTake(std::string_view *document, Element *element) {
    for (;;) {
        document->remove_prefix(std::min(document->find('<'), document->size()));
        if (document->starts_with(kCommentBegin)) {
            TakeTo(document, kCommentEnd);
        } else if (IsInstruction(*document)) {
            TakeTo(document, ">");
        } else {
            break;
        }
    }
    if (document->empty())
        return false;
    TagSplit(TagTake(document), element);
    element->text = CharactersTake(document);
    return true;
}

std::string AttributeOf(const Element &element, std::string_view name) {
    std::string_view rest = element.attributes;
    while (!rest.empty()) {
        rest = WithoutFirst(rest, " \t\r\n/");
        const size_t end = std::min(rest.find_first_of("= \t\r\n"), rest.size());
        const std::string_view found = rest.substr(0, end);
        rest = WithoutFirst(rest.substr(end), kWhite);
        if (!rest.starts_with('='))
            continue;
        rest.remove_prefix(1);
        const std::string_view value = ValueTake(&rest);
        if (!IsSame(found, name))
            continue;
        std::string text;
        TextAppend(WithoutEnds(value, kWhite), &text);
        return text;
    }
    return {};
}

std::string_view DocumentEncoding(std::string_view document) {
    document = WithoutFirst(document, kWhite);
    if (!document.starts_with("<?"))
        return {};
    std::string_view line = TakeTo(&document, ">");
    TakeTo(&line, "encoding");
    line = WithoutFirst(line, kWhite);
    if (!line.starts_with('='))
        return {};
    line.remove_prefix(1);
    return ValueTake(&line);
}
