// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture that a reader has sent, or left in a slot, or the entries of a playlist. The reader still has the slot and may change
// it at any time, so that what lies there is copied first and looked at then, unless it is a picture that we have: an album has one
// cover.
#pragma once

#include <stdint.h>

#include <list>
#include <memory>
#include <string>

#include "platform/file_bytes.h"
#include "platform/handle.h"
#include "reader/protocol/message.h"

struct CoverStored;

// A picture of one or more files. What is in it does not change any more.
struct ReadPicture {
    FdHandle file;    // in memory; none where it is held
    std::string held; // its bytes, where it is small and there was room
    uint32_t bytes = 0;
    PictureFormat format = PictureFormat::none;
    std::shared_ptr<CoverStored> stored; // for whoever stores it to remember where; nothing here looks at it
};
using ReadPictureRef = std::shared_ptr<ReadPicture>;

inline BytesRef ReadPictureBytes(const ReadPicture &picture) {
    return {picture.bytes, picture.file.get(), picture.held};
}

// Those that were taken last, the last one first, at most kReaderPicturesMax of kReaderPicturesBytes together, of
// which kReaderHeldBytes are held.
struct RecentPictures {
    std::list<ReadPictureRef> pictures = {};
    size_t bytes = 0;
};

// Returns the picture that an answer has, or its slot: one of the recent ones (`had` is then true), or a new one, which is in a memory
// file of our own unless it is small and `waiting` bytes of answers leave room to hold it. The answer does not have it any more. Null, with errno 0, when that is no picture of the
// format that it is said to be; with its reason there when memory or descriptors of our own are wanting, for which the reader can do
// nothing.
ReadPictureRef AnswerPictureTake(const FdHandle &slot, Answer *answer, size_t waiting, RecentPictures *recent,
                                 bool *had);

// Takes the list of entries in the first `bytes` of a slot. False when they cannot be had or are none.
[[nodiscard]] bool SlotEntriesTake(const FdHandle &slot, uint32_t bytes, EntryList *entries);

// Gives the memory of a slot back.
void SlotEmpty(const FdHandle &slot);
