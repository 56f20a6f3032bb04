// SPDX-License-Identifier: GPL-2.0-or-later
//
// Looks a line up in a text file, in one pass and fixed memory.
#include "platform/sdk/bounded_text.h"
#include "platform/sdk/line_reader.h"
#include "platform/velusdk.h"

namespace {

// Where the current line stands against the wanted one.
enum class LineState {
    kSame,   // all bytes so far are equal
    kOther,  // it differs, or a longer one is known already
    kCopied, // it is the first longer one and goes to the caller
};

struct LineSearch {
    std::string_view wanted;
    BoundedText found;
    LineState state = LineState::kSame;
    size_t matched = 0; // bytes of the wanted line seen in the current one
    bool found_longer = false;
};

void BeginLine(LineSearch *search) {
    search->state = LineState::kSame;
    search->matched = 0;
}

void FeedLine(LineSearch *search, std::string_view text) {
    if (search->state == LineState::kSame) {
        const std::string_view expected = search->wanted.substr(search->matched, text.size());
        if (!text.starts_with(expected)) {
            search->state = LineState::kOther;
            return;
        }
        search->matched += expected.size();
        text.remove_prefix(expected.size());
        if (text.empty())
            return;
        // A NUL right behind the match (a block lost in a crash reads as zeros) would make the longer line
        // look like the wanted one to a caller that compares C strings.
        if (search->found_longer || text.front() == '\0') {
            search->state = LineState::kOther;
            return;
        }
        search->state = LineState::kCopied;
        search->found_longer = true;
        Append(&search->found, search->wanted);
    }
    if (search->state == LineState::kCopied)
        Append(&search->found, text);
}

bool IsWantedLine(const LineSearch &search) {
    return search.state == LineState::kSame && search.matched == search.wanted.size();
}

} // namespace

int KLIBFileGetLine(const char *file, const char *line, char *out, size_t size, int /*flags*/) {
    if (file == nullptr || line == nullptr || out == nullptr || size == 0)
        return -1;
    LineSearch search{.wanted = line, .found = BoundedText(out, size)};
    LineReader reader(file);
    LinePiece piece;
    int more = 0;
    while ((more = NextLinePiece(&reader, &piece)) > 0) {
        FeedLine(&search, piece.text);
        if (!piece.ends_line)
            continue;
        if (IsWantedLine(search)) {
            Shorten(&search.found, 0);
            Append(&search.found, search.wanted);
            return 1;
        }
        BeginLine(&search);
    }
    if (more < 0) {
        Shorten(&search.found, 0);
        return -1;
    }
    return search.found_longer ? 1 : 0;
}
