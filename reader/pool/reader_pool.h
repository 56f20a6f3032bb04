// SPDX-License-Identifier: GPL-2.0-or-later
//
// The readers of a run: files are handed over ahead, each to whichever reader of its kind has room, and what came of them is
// there for whoever asks, in any order. One thread serves all of them; nothing here waits for a reader alone.
//
// A file that ends its reader costs itself: those that were handed over behind it go to another. Since a reader may also be
// ended by somebody else, or by a file before that has taken it over, a file is blamed only when that happens again, in a reader
// that has read nothing else before.
#pragma once

#include <poll.h>
#include <stddef.h>
#include <stdint.h>

#include <deque>
#include <string>
#include <vector>

#include "platform/handle.h"
#include "platform/limits.h"
#include "reader/pool/reader_process.h"
#include "reader/pool/slot_picture.h"
#include "reader/protocol/message.h"

inline constexpr size_t kReaderKinds = 2;

struct FileToRead {
    FdHandle file;
    std::vector<FdHandle> companions = {}; // fewer than kReaderDescriptorsMax
    int64_t size = 0;
    ReaderKind kind = ReaderKind::sound_and_photos; // tried first
    std::string extension;                          // as Request has it
    std::string charset;
    bool wants_picture = false;
};

// How the reading of a file ended.
enum class ReadEnd : uint8_t {
    answered,
    crashed, // it ended its reader, or made it answer what is no answer
    killed,  // its reader was killed by somebody else, each time: the kernel does that when memory is short
    processor_time, // it used too much
    clock,          // it took too long
    memory,         // it took too much
    no_reader,      // none of its kind can be started
};

struct ReadResult {
    ReadEnd end = ReadEnd::crashed;
    ReaderKind kind = ReaderKind::sound_and_photos; // of the reader
    Answer answer;                                  // of one that answered
    ReadPictureRef picture;                         // of one that has one
    bool picture_had = false;                       // another file has it, too: it takes no more memory
    EntryList entries;                              // of a playlist
    std::string reason;                             // for people, when there is no answer
};

// Bounds that a test may narrow.
struct ReaderBounds {
    int64_t processor_milliseconds = kReaderProcessorMilliseconds;
    int64_t milliseconds = kReaderMilliseconds;
    int64_t resident_bytes = kReaderResidentMax;
    int64_t look_milliseconds = kReaderLookMilliseconds;
    int64_t start_milliseconds = kReaderStartMilliseconds;
    int files = kReaderFilesMax;
};

struct ReaderPool;
using ReadTicket = uint64_t; // 0 is none

// Hands a file over. What comes of it is there once ReaderPoolIsRead says so.
ReadTicket ReaderPoolHandOver(ReaderPool *pool, FileToRead file);
[[nodiscard]] bool ReaderPoolIsRead(const ReaderPool &pool, ReadTicket ticket);

// Takes what came of a file that is read.
ReadResult ReaderPoolTake(ReaderPool *pool, ReadTicket ticket);

// Gives a file up, read or not. A ticket that is no longer one does nothing.
void ReaderPoolForget(ReaderPool *pool, ReadTicket ticket);

// Takes what the readers have to say, looks after those that take long, and hands them what waits, to one that has nothing to do
// several files at a time. With `wait` it hands all of it over and waits until one has something to say or is to be looked at, if
// any is at work. When memory runs out in it, all readers are ended and all
// files given up.
void ReaderPoolServe(ReaderPool *pool, bool wait);

// The bytes of what came of files and is not taken yet.
size_t ReaderPoolBytes(const ReaderPool &pool);

// Ends all readers and gives all files up. The next file starts new ones. Waits for their ends at most `kReaderEndMilliseconds`.
void ReaderPoolEnd(ReaderPool *pool);

// Reaps those that were ended and are gone by now: one that hung in a file system that did not answer is gone when it does.
void ReaderPoolReap(ReaderPool *pool);

// What follows is the pool's own.

enum class PoolFileState : uint8_t { waits, handed_over, read };

struct PoolFile {
    ReadTicket ticket = 0;
    FileToRead file;
    PoolFileState state = PoolFileState::waits;
    int ended = 0;        // readers that ended while they were at it
    bool sent_on = false; // by a reader of the other kind
    ReadResult read = {};
    size_t bytes = 0; // of `read`
};

// A file that a reader has been handed and has not answered.
struct PoolHanded {
    ReadTicket ticket;
    uint32_t number; // of the request
    uint32_t slot;
};

struct PoolReader {
    ReaderProcess process;
    ReaderKind kind = ReaderKind::sound_and_photos;
    bool ready = false;     // it has said hello
    bool answered = false;  // anything
    bool gives_way = false; // to a reader of the other kind, or one that is fresh, once it has answered
    bool hung_up = false;   // its end of the connection is closed: it is ending
    PoolHanded handed[kReaderSlots] = {};
    int handed_count = 0;
    int files = 0;               // that it has been handed
    uint32_t last_number = 0;    // of the requests
    int64_t since = 0;           // when it began to start, or with the file that it is at
    int64_t processor_since = 0; // its processor time then
    int64_t next_look = 0;
};

struct PoolKind {
    std::string program;     // a path
    int failed_starts = 0;   // one after the other
    int killed_starts = 0;   // likewise, by somebody else
    std::string unavailable; // why none can be started; empty: one can
};

struct ReaderPool {
    PoolKind kinds[kReaderKinds];
    int readers_max = 1; // in all
    ReaderBounds bounds;

    std::deque<PoolFile> files; // in the order in which they were handed over
    std::vector<PoolReader> readers;
    std::vector<ReaderProcess> ending; // killed, and not gone yet
    ReadTicket last_ticket = 0;
    uint32_t last_number = 0; // of a request
    size_t bytes = 0;         // of what is read and not taken
    RecentPictures recent;
    std::vector<pollfd> asked; // of each look at the readers

    ReaderPool() = default;
    ReaderPool(const ReaderPool &) = delete;
    ReaderPool &operator=(const ReaderPool &) = delete;
    ~ReaderPool() { ReaderPoolEnd(this); }
};
