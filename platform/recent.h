// SPDX-License-Identifier: GPL-2.0-or-later
//
// What was asked about last. A walk asks about one directory after another, and a queue about the same few over and
// over: a short list finds what a table would, and forgets by itself.
#pragma once

#include <stddef.h>

#include <algorithm>
#include <list>
#include <string>

// Returns the entry of that name, which comes to the front of the list. A new one is what `make` returns for the name;
// the one that was asked about longest ago goes for it when there are `most` of them.
template <class Entry, class Make>
Entry &RecentOf(std::list<Entry> *entries, std::string Entry::*name, const std::string &asked, size_t most,
                const Make &make) {
    const auto found = std::ranges::find(*entries, asked, name);
    if (found != entries->end()) {
        entries->splice(entries->begin(), *entries, found);
        return entries->front();
    }
    if (entries->size() >= most)
        entries->pop_back();
    return entries->emplace_front(make(asked));
}
