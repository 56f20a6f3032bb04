// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/line_reader.h"

int NextLinePiece(LineReader *reader, LinePiece *piece) {
    if (!reader->fd)
        return -1;
    if (reader->rest.empty()) {
        const ssize_t got = FileReadSome(reader->fd, reader->block.data(), reader->block.size());
        if (got < 0)
            return -1;
        if (got == 0) {
            *piece = {.text = {}, .ends_line = true};
            return std::exchange(reader->in_line, false) ? 1 : 0;
        }
        reader->rest = {reader->block.data(), static_cast<size_t>(got)};
    }
    const size_t newline = reader->rest.find('\n');
    piece->ends_line = newline != std::string_view::npos;
    piece->text = reader->rest.substr(0, newline);
    reader->rest.remove_prefix(piece->text.size() + (piece->ends_line ? 1 : 0));
    reader->in_line = !piece->ends_line;
    return 1;
}
