// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes packed one behind the other: request, whether the next one belongs to the same unit, statement number, number of
// values, then each value's type and content.
#include "platform/index/batch.h"

#include <string.h>

namespace {

template <typename T>
void Put(std::string *bytes, const T &value) {
    bytes->append(reinterpret_cast<const char *>(&value), sizeof value);
}

template <typename T>
T Get(const std::string &bytes, size_t *position) {
    T value;
    memcpy(&value, bytes.data() + *position, sizeof value);
    *position += sizeof value;
    return value;
}

void PutWrite(std::string *bytes, uint64_t request, bool more, const StoreWrite &write) {
    Put(bytes, request);
    Put(bytes, more);
    Put(bytes, write.statement);
    Put(bytes, write.count);
    const VELUDBValue *values = write.values;
    for (size_t i = 0; i < write.count; ++i) {
        Put(bytes, values[i].type);
        if (values[i].type == VELUDBValue::Type::integer)
            Put(bytes, values[i].integer);
        if (values[i].type == VELUDBValue::Type::real)
            Put(bytes, values[i].real);
        if (values[i].type != VELUDBValue::Type::text)
            continue;
        Put(bytes, values[i].length);
        bytes->append(values[i].text, values[i].length);
    }
}

} // namespace

void BatchAdd(Batch *batch, uint64_t request, int statement, const VELUDBValue *values, size_t count) {
    const StoreWrite write = {statement, values, count};
    BatchAddUnit(batch, request, {&write, 1});
}

void BatchAddUnit(Batch *batch, uint64_t request, std::span<const StoreWrite> writes) {
    const size_t end = batch->bytes.size();
    try {
        for (const StoreWrite &write : writes)
            PutWrite(&batch->bytes, request, &write != &writes.back(), write);
    } catch (...) {
        batch->bytes.resize(end); // half a write would be taken for the begin of the next one
        throw;
    }
    ++batch->rows;
}

bool BatchNext(const Batch &batch, size_t *position, uint64_t *request, int *statement,
               std::vector<VELUDBValue> *values, bool *more) {
    if (*position >= batch.bytes.size())
        return false;
    *request = Get<uint64_t>(batch.bytes, position);
    const bool goes_on = Get<bool>(batch.bytes, position);
    if (more != nullptr)
        *more = goes_on;
    *statement = Get<int>(batch.bytes, position);
    values->assign(Get<size_t>(batch.bytes, position), VELUDBValue());
    for (VELUDBValue &value : *values) {
        value.type = Get<VELUDBValue::Type>(batch.bytes, position);
        if (value.type == VELUDBValue::Type::integer)
            value.integer = Get<int64_t>(batch.bytes, position);
        if (value.type == VELUDBValue::Type::real)
            value.real = Get<double>(batch.bytes, position);
        if (value.type != VELUDBValue::Type::text)
            continue;
        value.length = Get<size_t>(batch.bytes, position);
        value.text = batch.bytes.data() + *position;
        *position += value.length;
    }
    return true;
}
