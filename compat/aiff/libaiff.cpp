// SPDX-License-Identifier: GPL-2.0-or-later
#include "libaiff/libaiff.h"

#include "compat/aiff/comm_chunk.h"
#include "platform/bytes.h"
#include "platform/file.h"
#include "platform/limits.h"

#include <string.h>

#include <new>
#include <optional>

// The file is not needed any more once its format is known.
struct s_AIFF_Ref {
    CommChunk comm;
};

namespace {

constexpr size_t kChunkHeaderSize = 8; // four letters and a size
constexpr size_t kFormHeaderSize = 12; // and the form's type

struct ChunkHeader {
    char type[4];
    uint32_t size;
};

ChunkHeader ChunkHeaderDecode(const uint8_t *bytes) {
    ChunkHeader header = {};
    memcpy(header.type, bytes, sizeof header.type);
    header.size = BigEndian32(bytes + sizeof header.type);
    return header;
}

bool IsType(const char (&type)[4], const char *name) {
    return memcmp(type, name, sizeof type) == 0;
}

// Goes to the next chunk. Chunks are padded to an even size; that of the largest, odd, size is 32 bits wide
// everywhere else, so that it comes to nothing.
uint64_t NextChunk(uint64_t offset, uint32_t size) {
    return offset + kChunkHeaderSize + static_cast<uint32_t>(size + (size & 1));
}

// Finds the first COMM chunk behind the form's header. False when the file ends before.
bool FindComm(const FdHandle &file, uint64_t *offset, uint32_t *size) {
    *offset = kFormHeaderSize;
    for (int i = 0; i < kAiffChunksMax; i++) {
        uint8_t bytes[kChunkHeaderSize];
        if (!FileReadAt(file, *offset, bytes, sizeof bytes))
            return false;
        const ChunkHeader chunk = ChunkHeaderDecode(bytes);
        *size = chunk.size;
        if (IsType(chunk.type, "COMM"))
            return true;
        *offset = NextChunk(*offset, chunk.size);
    }
    return false;
}

std::optional<CommChunk> CommRead(const FdHandle &file) {
    uint8_t form_bytes[kFormHeaderSize];
    if (!FileReadAt(file, 0, form_bytes, sizeof form_bytes))
        return {};
    const ChunkHeader form = ChunkHeaderDecode(form_bytes);
    const bool compressed = memcmp(form_bytes + kChunkHeaderSize, "AIFC", 4) == 0;
    if (!IsType(form.type, "FORM") || form.size == 0 ||
        (!compressed && memcmp(form_bytes + kChunkHeaderSize, "AIFF", 4) != 0))
        return {};

    uint64_t offset = 0;
    uint32_t size = 0;
    if (!FindComm(file, &offset, &size) || size < kCommSize)
        return {};
    uint8_t bytes[kCommCompressedSize] = {};
    const bool has_compression = compressed && size >= kCommCompressedSize;
    if (!FileReadAt(file, offset + kChunkHeaderSize, bytes,
                    has_compression ? kCommCompressedSize : kCommSize))
        return {};
    return CommChunkDecode(bytes, has_compression);
}

template <typename T>
void Answer(T *out, T value) {
    if (out != nullptr)
        *out = value;
}

} // namespace

AIFF_Ref AIFF_OpenFile(const char *path, int flags) {
    if (path == nullptr || flags != F_RDONLY)
        return nullptr;
    const FdHandle file = RegularFileOpen(path, nullptr);
    if (!file)
        return nullptr;
    const std::optional<CommChunk> comm = CommRead(file);
    return comm ? new (std::nothrow) s_AIFF_Ref{*comm} : nullptr;
}

int AIFF_GetAudioFormat(AIFF_Ref ref, uint64_t *nSamples, int *channels, double *samplingRate,
                        int *bitsPerSample, int *segmentSize) {
    if (ref == nullptr)
        return -1;
    Answer(nSamples, ref->comm.sample_frames);
    Answer(channels, ref->comm.channels);
    Answer(samplingRate, ref->comm.rate);
    Answer(bitsPerSample, ref->comm.bits);
    Answer(segmentSize, ref->comm.segment_size);
    return 1;
}

int AIFF_CloseFile(AIFF_Ref ref) {
    if (ref == nullptr)
        return -1;
    delete ref;
    return 1;
}
