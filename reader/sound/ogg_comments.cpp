// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/ogg_comments.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/letters.h"
#include "platform/limits.h"
#include "reader/sound/base64.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/sound_bytes.h"

namespace {

using namespace std::string_view_literals;

constexpr size_t kPageHeader = 27;
constexpr size_t kFlagsAt = 5;
constexpr uint8_t kContinued = 1; // the page begins with a packet's further part
constexpr size_t kSerialAt = 14;
constexpr size_t kSerialSize = 4;
constexpr size_t kSegmentsAt = 26;
constexpr uint8_t kFullSegment = 255; // after which the packet goes on
constexpr int64_t kNumber = 4;        // bytes of a length and of a count

constexpr std::string_view kPictureBlock = "metadata_block_picture="sv;
constexpr std::string_view kPicture = "coverart="sv;

// A page of the stream: its header, with the sizes of its segments, and where its content is.
struct Page {
    uint8_t header[kPageHeader + UINT8_MAX] = {};
    int64_t content = 0;

    size_t segments() const { return header[kSegmentsAt]; }
    uint8_t segment(size_t number) const { return header[kPageHeader + number]; }
    Bytes serial() const { return Bytes(header).subspan(kSerialAt, kSerialSize); }
};

std::optional<Page> PageRead(ReaderInput *input, int64_t offset) {
    Page page;
    const size_t got = SoundRead(input, offset, page.header);
    if (got < kPageHeader || !BeginsWith(page.header, "OggS") || got < kPageHeader + page.segments())
        return {};
    page.content = offset + static_cast<int64_t>(kPageHeader + page.segments());
    return page;
}

// Of the packet's bytes, going forward.
struct PacketCursor {
    ReaderInput *input;
    const std::vector<OggPiece> *packet;
    int64_t at = 0; // in the packet
    int64_t size = 0;

    int64_t left() const { return size - at; }
};

PacketCursor CursorOf(ReaderInput *input, const std::vector<OggPiece> &packet) {
    PacketCursor cursor = {input, &packet};
    for (const OggPiece &piece : packet)
        cursor.size += piece.size;
    return cursor;
}

bool PacketTake(PacketCursor *cursor, std::span<uint8_t> out) {
    int64_t begin = 0;
    for (const OggPiece &piece : *cursor->packet) {
        const int64_t inside = cursor->at - begin;
        begin += piece.size;
        if (inside >= piece.size)
            continue;
        const auto part = std::min(out.size(), static_cast<size_t>(piece.size - inside));
        if (SoundRead(cursor->input, piece.offset + inside, out.first(part)) != part)
            return false;
        cursor->at += static_cast<int64_t>(part);
        out = out.subspan(part);
        if (out.empty())
            return true;
    }
    return out.empty();
}

// Copies the next bytes behind others; false when there are not so many.
bool PacketCopy(PacketCursor *cursor, int64_t size, std::vector<uint8_t> *to) {
    if (size > cursor->left() || to->size() + static_cast<size_t>(size) > kSoundShownCommentsMax)
        return false;
    const size_t begin = to->size();
    to->resize(begin + static_cast<size_t>(size));
    return PacketTake(cursor, std::span(*to).subspan(begin));
}

// A number that goes along, of what it is worth.
bool NumberCopy(PacketCursor *cursor, std::vector<uint8_t> *to, int64_t *number) {
    if (!PacketCopy(cursor, kNumber, to))
        return false;
    *number = static_cast<int64_t>(BytesNumber(&to->back() + 1 - kNumber, kNumber, ByteOrder::kLittle));
    return true;
}

bool IsNamed(Bytes entry, std::string_view name) {
    return entry.size() >= name.size() &&
           std::equal(name.begin(), name.end(), entry.begin(),
                      [](char letter, uint8_t byte) { return letter == Lower(static_cast<char>(byte)); });
}

// Goes over an entry whose length has just been copied: takes that back when it is a picture.
bool EntryCopy(PacketCursor *cursor, int64_t size, std::vector<uint8_t> *to,
               std::vector<OggPicture> *pictures) {
    uint8_t begin[kPictureBlock.size()];
    const int64_t at = cursor->at;
    const auto looked = std::span(begin).first(static_cast<size_t>(std::min<int64_t>(size, sizeof begin)));
    if (size > cursor->left() || !PacketTake(cursor, looked))
        return false;
    for (const std::string_view name : {kPictureBlock, kPicture}) {
        if (!IsNamed(looked, name))
            continue;
        const auto value = static_cast<int64_t>(name.size());
        pictures->push_back({at + value, size - value, name == kPictureBlock});
        to->resize(to->size() - kNumber);
        cursor->at = at + size;
        return true;
    }
    cursor->at = at;
    return PacketCopy(cursor, size, to);
}

// Returns the packet without its pictures; nothing when it is not as it should be. What stands behind the comments marks their
// end, or fills the packet up.
std::vector<uint8_t> PacketShorten(ReaderInput *input, int64_t comments_at, OggComments *comments) {
    constexpr int64_t kBlockHeader = 4; // of FLAC's block: a kind, and its size
    PacketCursor cursor = CursorOf(input, comments->packet);
    std::vector<uint8_t> packet;
    int64_t size = 0;
    int64_t count = 0;
    if (!PacketCopy(&cursor, comments_at, &packet) || !NumberCopy(&cursor, &packet, &size) ||
        !PacketCopy(&cursor, size, &packet) || !NumberCopy(&cursor, &packet, &count) ||
        count > static_cast<int64_t>(kSoundItemsMax))
        return {};
    const size_t count_at = packet.size() - kNumber;
    for (int64_t i = 0; i < count; ++i) {
        if (!NumberCopy(&cursor, &packet, &size) || !EntryCopy(&cursor, size, &packet, &comments->pictures))
            return {};
    }
    BytesNumberPut(&packet[count_at], kNumber, static_cast<uint64_t>(count) - comments->pictures.size(),
                   ByteOrder::kLittle);
    if (comments_at == kBlockHeader)
        BytesNumberPut(&packet[1], kBlockHeader - 1, packet.size() - kBlockHeader, ByteOrder::kBig);
    return packet;
}

void PageAdd(std::vector<uint8_t> *to, const Page &like, uint8_t flags, Bytes segments) {
    const size_t begin = to->size();
    to->insert(to->end(), like.header, like.header + kPageHeader);
    (*to)[begin + kFlagsAt] = flags;
    (*to)[begin + kSegmentsAt] = static_cast<uint8_t>(segments.size());
    to->insert(to->end(), segments.begin(), segments.end());
}

// Puts a packet into pages of its own. TagLib looks at no checksum and no page's number.
void PacketAdd(std::vector<uint8_t> *to, const Page &like, Bytes packet) {
    std::vector<uint8_t> segments(packet.size() / kFullSegment + 1, kFullSegment);
    segments.back() = static_cast<uint8_t>(packet.size() % kFullSegment);
    for (size_t done = 0; done < segments.size();) {
        const size_t part = std::min<size_t>(segments.size() - done, UINT8_MAX);
        const size_t bytes = std::min(packet.size(), part * kFullSegment);
        PageAdd(to, like, done == 0 ? 0 : kContinued, Bytes(segments).subspan(done, part));
        to->insert(to->end(), packet.begin(), packet.begin() + static_cast<ptrdiff_t>(bytes));
        packet = packet.subspan(bytes);
        done += part;
    }
}

// The packet that begins with the page at `offset`, which ends in the page that is returned, behind so many of its segments.
std::optional<Page> PacketFind(ReaderInput *input, int64_t offset, Bytes serial,
                               std::vector<OggPiece> *packet, size_t *segments) {
    for (uint32_t i = 0; i < kSoundCommentPagesMax; ++i) {
        const std::optional<Page> page = PageRead(input, offset);
        const bool is_continued = page && (page->header[kFlagsAt] & kContinued) != 0;
        if (!page || is_continued != (i > 0) || !std::ranges::equal(page->serial(), serial))
            return {};
        int64_t size = 0;
        for (*segments = 0; *segments < page->segments();) {
            const uint8_t segment = page->segment((*segments)++);
            size += segment;
            if (segment == kFullSegment)
                continue;
            packet->push_back({page->content, size});
            return page;
        }
        packet->push_back({page->content, size});
        offset = page->content + size;
    }
    return {};
}

// The bytes of a picture, whose text has been decoded.
Bytes PictureOf(Bytes block) {
    constexpr uint64_t kSides = 16; // width, height, bits and colours
    Cursor cursor = {block};
    TakeBig(&cursor, 4);                // type
    Take(&cursor, TakeBig(&cursor, 4)); // kind
    Take(&cursor, TakeBig(&cursor, 4)); // description
    Take(&cursor, kSides);
    const Bytes picture = Take(&cursor, TakeBig(&cursor, 4));
    return cursor.cut ? Bytes() : picture;
}

unsigned TypeOf(ReaderInput *input, const OggComments &comments, const OggPicture &picture) {
    uint8_t text[8]; // of Base64: six bytes, the first four of which are the type
    PacketCursor cursor = CursorOf(input, comments.packet);
    cursor.at = picture.offset;
    if (!picture.is_block || picture.size < static_cast<int64_t>(sizeof text) || !PacketTake(&cursor, text))
        return 0;
    Cursor bytes = {Base64Decode(text)};
    return static_cast<unsigned>(TakeBig(&bytes, 4));
}

bool IsTaken(ReaderInput *input, const OggComments &comments, const OggPicture &picture, PictureSink *sink) {
    constexpr int64_t kTextMax = static_cast<int64_t>(kReaderPictureMax) * 3 / 2; // Base64 takes a third more
    if (picture.size > kTextMax)
        return false;
    PacketCursor cursor = CursorOf(input, comments.packet);
    cursor.at = picture.offset;
    std::vector<uint8_t> text(static_cast<size_t>(picture.size));
    if (!PacketTake(&cursor, text))
        return false;
    const Bytes bytes = Base64Decode(text);
    return PictureTake(sink, std::as_bytes(picture.is_block ? PictureOf(bytes) : bytes));
}

} // namespace

int64_t OggCommentsAt(ReaderInput *input, int64_t first, int64_t second) {
    struct Mark {
        std::string_view text;
        int64_t size;
    };
    constexpr Mark kMarks[] = {{"\x03vorbis"sv, 7}, {"OpusTags"sv, 8}};
    uint8_t begin[8] = {};
    uint8_t coding[8] = {};
    SoundRead(input, first, coding);
    if (SoundRead(input, second, begin) < sizeof begin)
        return -1;
    for (const Mark &mark : kMarks) {
        if (BeginsWith(begin, mark.text))
            return mark.size;
    }
    return BeginsWith(coding, "Speex") ? 0 : 4; // Speex has no mark, FLAC a block
}

int64_t OggPageSkip(ReaderInput *input, int64_t page, int64_t *content) {
    const std::optional<Page> found = PageRead(input, page);
    if (!found)
        return -1;
    *content = found->content;
    int64_t next = *content;
    for (size_t i = 0; i < found->segments(); ++i)
        next += found->segment(i);
    return next;
}

OggComments OggCommentsFind(ReaderInput *input) {
    OggComments comments;
    const std::optional<Page> first = PageRead(input, 0);
    int64_t content = 0;
    const int64_t second = OggPageSkip(input, 0, &content);
    size_t segments = 0;
    const std::optional<Page> last =
        first && second > 0 ? PacketFind(input, second, first->serial(), &comments.packet, &segments)
                            : std::nullopt;
    if (!last || CursorOf(input, comments.packet).size < kSoundLargeComments)
        return {};
    const int64_t comments_at = OggCommentsAt(input, content, comments.packet.front().offset);
    const std::vector<uint8_t> packet =
        comments_at < 0 ? std::vector<uint8_t>() : PacketShorten(input, comments_at, &comments);
    if (packet.empty() || comments.pictures.empty())
        return {};
    comments.head.resize(static_cast<size_t>(second));
    if (SoundRead(input, 0, comments.head) != comments.head.size())
        return {};
    PacketAdd(&comments.head, *last, packet);
    comments.rest = last->content + comments.packet.back().size;
    if (segments < last->segments())
        PageAdd(&comments.head, *last, 0,
                Bytes(last->header).subspan(kPageHeader).subspan(segments, last->segments() - segments));
    return comments;
}

void OggPicturesTake(ReaderInput *input, const OggComments &comments, PictureSink *sink) {
    const std::span looked =
        std::span(comments.pictures).first(std::min(comments.pictures.size(), kSoundPicturesMax));
    for (const bool front : {true, false}) {
        for (const OggPicture &picture : looked) {
            if ((TypeOf(input, comments, picture) == kFrontCover) == front &&
                IsTaken(input, comments, picture, sink))
                return;
        }
    }
}
