// SPDX-License-Identifier: GPL-2.0-or-later
//
// An answer of a reader that some file has taken over. What is believed is what an honest reader would have sent.
#include "reader/protocol/message.h"

#include <stdlib.h>

#include <algorithm>

#include "tests/fuzz/fuzz_target.h"

static int Try(const uint8_t *data, size_t size) {
    const auto packet = std::as_bytes(std::span(data, size));
    Answer answer;
    if (!AnswerDecode(packet, &answer))
        return 0;
    std::vector<std::byte> again;
    AnswerEncode(answer, &again);
    if (again.size() > kReaderAnswerSize || !std::ranges::equal(again, packet))
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_reader_answer", Try);
