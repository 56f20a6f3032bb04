// SPDX-License-Identifier: GPL-2.0-or-later
//
// Paths come from the disk, and a terminal has one line for them.
#include "tools/veluctl/duplicates/read_line.h"

#include "platform/clock.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/span_text.h"
#include "tools/veluctl/terminal.h"
#include "tools/veluctl/terminal_line.h"

namespace {

constexpr int64_t kPause = 100;      // milliseconds: often enough for the eye
constexpr int64_t kFirstPause = 500; // what is over at once needs no line
constexpr int64_t kRateFrom = 3'000; // before that, a rate says nothing
constexpr int64_t kSecond = 1'000;

std::string BytesText(uint64_t bytes) {
    return ValueShow(std::to_string(bytes), Type::bytes);
}

} // namespace

ReadLine::ReadLine(FILE *out)
    : out_(out), terminal_(IsTerminal(out)), begin_(MonotonicMilliseconds()), next_(begin_ + kFirstPause) {}

void ReadLine::Show(uint64_t done, uint64_t all, const std::string &path) {
    if (!terminal_)
        return;
    const int64_t now = MonotonicMilliseconds();
    if (now < next_)
        return;
    next_ = now + kPause;
    std::string text = "comparing: " + BytesText(done) + " of " + BytesText(all);
    if (now - begin_ >= kRateFrom && done > 0 && done < all) {
        const double rest = static_cast<double>(all - done) / static_cast<double>(done);
        text += ", " + SpanText(static_cast<int64_t>(rest * static_cast<double>(now - begin_)) / kSecond) +
                " left";
    }
    TerminalLineShow(out_, text, SafeText(path));
    shown_ = true;
}

void ReadLine::Clear() {
    if (shown_)
        fputs("\r\033[K", out_);
    shown_ = false;
}
