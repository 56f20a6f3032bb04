// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes packed one behind the other: statement number, number of values, then each value's type and content.
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

} // namespace

void BatchAdd(Batch *batch, int statement, const VELUDBValue *values, size_t count) {
    Put(&batch->bytes, statement);
    Put(&batch->bytes, count);
    for (size_t i = 0; i < count; ++i) {
        Put(&batch->bytes, values[i].type);
        if (values[i].type == VELUDBValue::Type::integer)
            Put(&batch->bytes, values[i].integer);
        if (values[i].type == VELUDBValue::Type::real)
            Put(&batch->bytes, values[i].real);
        if (values[i].type != VELUDBValue::Type::text)
            continue;
        Put(&batch->bytes, values[i].length);
        batch->bytes.append(values[i].text, values[i].length);
    }
    ++batch->rows;
}

bool BatchNext(const Batch &batch, size_t *position, int *statement, std::vector<VELUDBValue> *values) {
    if (*position >= batch.bytes.size())
        return false;
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
