// SPDX-License-Identifier: GPL-2.0-or-later
//
// Quotes one word for a POSIX shell (IEEE Std 1003.1, Shell Command Language, 2.2 Quoting).
#include "platform/sdk/bounded_text.h"
#include "platform/velusdk.h"

namespace {

// The bytes that mean themselves to every shell, at any place of a word; those above ASCII are among them.
constexpr std::string_view kPlainBytes = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "abcdefghijklmnopqrstuvwxyz"
                                         "0123456789/._-+,:@%";

// The bytes that keep a special meaning between double quotes.
constexpr std::string_view kSpecialInQuotes = "$`\"\\";

bool IsPlain(char byte) {
    return static_cast<unsigned char>(byte) > 0x7F || kPlainBytes.find(byte) != std::string_view::npos;
}

// Each byte becomes two at most.
void AppendEscaped(BoundedText *word, std::string_view text) {
    for (const char byte : text) {
        if (!IsPlain(byte))
            Append(word, '\\');
        Append(word, byte);
    }
}

// A newline stands for itself between quotes only: behind a backslash it joins two lines. The quotes cost
// two bytes; each newline saves one and so does the slash at the start of an absolute path.
void AppendQuoted(BoundedText *word, std::string_view text) {
    Append(word, '"');
    for (const char byte : text) {
        if (kSpecialInQuotes.find(byte) != std::string_view::npos)
            Append(word, '\\');
        Append(word, byte);
    }
    Append(word, '"');
}

} // namespace

int KLIBEncShParam(const char *in, char *out, size_t size) {
    if (out == nullptr || size == 0)
        return -1;
    BoundedText word(out, size);
    if (in == nullptr)
        return -1;
    const std::string_view text(in);
    if (text.empty() || text.find('\n') != std::string_view::npos)
        AppendQuoted(&word, text);
    else
        AppendEscaped(&word, text);
    if (!word.cut)
        return 0;
    Shorten(&word, 0);
    return -1;
}
