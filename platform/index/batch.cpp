// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes packed one behind the other: request, statement number, number of values, then each value's type and content.
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

void PutWrite(std::string *bytes, uint64_t request, int statement, const VELUDBValue *values, size_t count) {
    Put(bytes, request);
    Put(bytes, statement);
    Put(bytes, count);
    for (size_t i = 0; i < count; ++i) {
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
    const size_t end = batch->bytes.size();
    try {
        PutWrite(&batch->bytes, request, statement, values, count);
    } catch (...) {
        batch->bytes.resize(end); // half a write would be taken for the begin of the next one
        throw;
    }
    ++batch->rows;
}

bool BatchNext(const Batch &batch, size_t *position, uint64_t *request, int *statement,
               std::vector<VELUDBValue> *values) {
    if (*position >= batch.bytes.size())
        return false;
    *request = Get<uint64_t>(batch.bytes, position);
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
