// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon and a reader say to each other: packets (SOCK_SEQPACKET) over a socket pair, in the byte order of the machine,
// since both are of one build. The reader is not believed: AnswerDecode checks every count, length, name, number and text.
//
//   reader -> daemon   Hello, once, when it is warm and confined
//   daemon -> reader   Request, with the file's descriptor and those of companions (SCM_RIGHTS)
//   reader -> daemon   Answer, one for each request, in their order, with a picture of at most kReaderSmallPictureMax bytes; a larger
//                      one, or a playlist's entries, lie in the request's slot
//
// Slots are sealed memory files (memfd) of kReaderPictureMax bytes that the daemon makes and the reader inherits, kReaderSlots
// of them: a request names the one its picture goes into, and the slot is the reader's until it has answered.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <span>
#include <string>
#include <vector>

#include "platform/limits.h"
#include "reader/protocol/entry_list.h"
#include "reader/protocol/fact_list.h"
#include "reader/protocol/picture_format.h"

// Raised with every change of the table of facts and of what readers find: files that an older revision has read are read again.
// A change of these messages alone raises the magic of Hello.
inline constexpr uint32_t kReaderRevision = 3;

enum class ReaderKind : uint32_t { sound_and_photos, films };

// The descriptors that a reader is started with.
inline constexpr int kReaderSocket = 3;
inline constexpr int kReaderFirstSlot = 4; // and the following ones

// Whom a reader that root has started becomes.
inline constexpr char kReaderUser[] = "velu-reader";

// How a reader ends by itself.
enum ReaderExit : int {
    kReaderEnded = 0,       // with its connection
    kReaderMisled = 2,      // what it was started with, or sent, is not as agreed
    kReaderUnconfined = 3,  // there is no system call filter, without which it reads nothing
    kReaderOutOfMemory = 4, // of what it may take
};

inline constexpr uint32_t kHelloMagic = 0x76726832;
inline constexpr uint32_t kRequestMagic = 0x76727131;
inline constexpr uint32_t kAnswerMagic = 0x76726131;

struct Hello {
    uint32_t magic = kHelloMagic;
    uint32_t revision = kReaderRevision;
    ReaderKind kind = ReaderKind::sound_and_photos;
};

// Longest extension that is handed over as a hint, terminator included.
inline constexpr size_t kReaderExtensionSize = 16;

// Longest name of a character set, terminator included.
inline constexpr size_t kReaderCharsetSize = 32;

enum ReaderWants : uint32_t { kWantsPicture = 1 };

struct Request {
    uint32_t magic = kRequestMagic;
    uint32_t number = 0;                       // of the request, in the answer again
    uint32_t slot = 0;                         // for its picture
    uint32_t wants = 0;                        // of ReaderWants
    int64_t size = 0;                          // bytes of the file; what it has grown since is not read
    char extension[kReaderExtensionSize] = {}; // as in the file's name, lower case; empty: none, or too long
    char charset[kReaderCharsetSize] = {}; // of tags in single bytes that are not UTF-8; empty: ISO-8859-1
};

enum class AnswerStatus : uint32_t {
    read,       // the facts are what there is
    failed,     // not readable as what it is: `facts` may hold something all the same
    unreadable, // its storage gave an error: likewise, and another time there may be more
    films,      // a file for the reader of films
    sound,      // a file for the reader of sound and photos
};

// What the content is, whatever the name says.
enum class ContentClass : uint32_t { unknown, sound, film, picture, playlist };

struct Answer {
    uint32_t number = 0;
    AnswerStatus status = AnswerStatus::failed;
    ContentClass content = ContentClass::unknown;
    PictureFormat picture = PictureFormat::none; // by its own first bytes
    uint32_t picture_bytes = 0;
    FactList facts;
    std::string reason;             // of a failure, for the log; at most kReaderReasonMax bytes
    uint32_t entries_bytes = 0;     // of a playlist that was read, an EntryList packed
    uint32_t entries_cut = 0;       // 1: it has more
    std::string small_picture = {}; // its bytes, where it is one
};

// A picture that comes within its answer.
inline bool IsSmallPicture(PictureFormat format, uint64_t bytes) {
    return format != PictureFormat::none && bytes <= kReaderSmallPictureMax;
}

// Hello and Request are sent as they lie in memory. Read from a packet; false when its size, its magic or a field is not as it
// has to be (a text has its terminator).
[[nodiscard]] bool HelloDecode(std::span<const std::byte> packet, Hello *hello);
[[nodiscard]] bool RequestDecode(std::span<const std::byte> packet, Request *request);

// The largest packet of an answer: what stands before its facts, each fact with its number or the length of its text, all
// texts, the reason and a small picture.
inline constexpr size_t kAnswerHeadSize = 40;
inline constexpr size_t kAnswerFactSize = 12;
inline constexpr size_t kReaderAnswerSize = kAnswerHeadSize + kReaderFactsMax * kAnswerFactSize +
                                            kReaderTextMax + kReaderReasonMax + kReaderSmallPictureMax;

// Writes an answer as a packet. One whose facts come from FactAddText and FactAddNumber is at most kReaderAnswerSize bytes. Of
// the reason, control characters become blanks, and what is too long is cut; where the status is neither failed nor unreadable it
// is left out.
void AnswerEncode(const Answer &answer, std::vector<std::byte> *packet);

// Reads a packet; false, and the answer is not to be used, when anything in it is not as AnswerEncode writes it: each fact
// has to be one that FactAddText or FactAddNumber takes as it is, behind those before it; an answer that sends the file to the
// other reader has none, nor a picture, only a playlist that was read has entries, and a small picture has the bytes that it is
// said to have. The number, whether the picture is one and the entries themselves are left to the caller.
[[nodiscard]] bool AnswerDecode(std::span<const std::byte> packet, Answer *answer);

// Send and receive a packet with at most kReaderDescriptorsMax descriptors, never with a signal. They return its bytes, 0 at
// the end of the connection, -1 with errno. `descriptors` (null: none are wanted) are closed by the receiver's caller; a packet
// that was cut, or has more of them than asked for, is EPROTO, and none stays open.
ssize_t PacketSend(int socket, std::span<const std::byte> packet, std::span<const int> descriptors,
                   int flags);
ssize_t PacketReceive(int socket, std::span<std::byte> packet, std::vector<int> *descriptors,
                      size_t descriptors_max, int flags);
