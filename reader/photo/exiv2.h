// SPDX-License-Identifier: GPL-2.0-or-later
//
// The library's header, which compilers of today have something to say about.
#pragma once

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop
