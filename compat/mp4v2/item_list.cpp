// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/item_list.h"
#include "platform/bytes.h"

namespace {

constexpr std::array<uint32_t, kItemCount> kItemTypes = {
    BoxType("\251nam"), BoxType("\251ART"), BoxType("\251alb"), BoxType("\251cmt"),
    BoxType("\251wrt"), BoxType("\251day"), BoxType("\251gen"), BoxType("gnre"),
    BoxType("trkn"),    BoxType("disk"),    BoxType("covr")};

constexpr size_t kValueHeadBytes = 8;          // type code, locale
constexpr uint32_t kTypeCodeMask = 0x00FFFFFF; // above it stands the kind of code, always 0

} // namespace

void ItemListRead(BoxFile *file, const Box &movie, ItemList *list) {
    const Box user_data = BoxFind(file, movie.start, movie.end, BoxType("udta"));
    const Box meta = BoxFind(file, user_data.start, user_data.end, BoxType("meta"));
    if (meta.PayloadSize() < kFullBoxBytes)
        return;
    const Box items = BoxFind(file, meta.start + kFullBoxBytes, meta.end, BoxType("ilst"));
    Box item;
    for (uint64_t pos = items.start; BoxNext(file, &pos, items.end, &item);) {
        for (size_t i = 0; i < kItemCount; ++i) {
            if (kItemTypes[i] == item.type && !list->items[i].Exists())
                list->items[i] = item;
        }
    }
}

bool ItemValueFind(BoxFile *file, const Box &item, uint32_t index, ItemValue *value) {
    const Box data = BoxFind(file, item.start, item.end, BoxType("data"), index);
    const uint8_t *head = data.Exists() ? BoxPayload(file, data, kValueHeadBytes) : nullptr;
    if (head == nullptr)
        return false;
    *value = {BigEndian32(head) & kTypeCodeMask, data.start + kValueHeadBytes,
              data.PayloadSize() - kValueHeadBytes};
    return true;
}
