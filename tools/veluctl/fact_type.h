// SPDX-License-Identifier: GPL-2.0-or-later
//
// How a fact is shown.
#pragma once

#include "reader/protocol/fact_names.h"
#include "tools/veluctl/row.h"

constexpr Type ShownType(FactType type) {
    switch (type) {
    case FactType::text:
        return Type::text;
    case FactType::whole:
        return Type::integer;
    case FactType::number:
        break;
    }
    return Type::real;
}
