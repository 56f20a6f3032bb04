// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture that a reader has left in a slot. The reader still has the slot and may change it at any time, so that the
// picture is copied first and looked at then.
#pragma once

#include <stdint.h>

#include "platform/handle.h"
#include "reader/protocol/message.h"

// Copies the first `bytes` of a slot into a memory file of our own. Empty when they cannot be had or are no picture of
// that format.
FdHandle SlotPictureTake(const FdHandle &slot, PictureFormat format, uint32_t bytes);

// Gives the memory of a slot back.
void SlotEmpty(const FdHandle &slot);
