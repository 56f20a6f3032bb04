// SPDX-License-Identifier: GPL-2.0-or-later
//
// System call filters of processes that read hostile files. A call that no rule names ends the process with SIGSYS.
#pragma once

#include <seccomp.h>
#include <stdint.h>

#include <memory>

struct SyscallFilterRelease {
    void operator()(void *filter) const noexcept { seccomp_release(filter); }
};
using SyscallFilter = std::unique_ptr<void, SyscallFilterRelease>;

// Returns a filter with the rules that all such processes have: they may compute, take memory that is no code, tell the
// time, wait for a lock, have signals of their own (and send them to themselves alone) and end. What libraries try in
// passing, to open a file for reading and to start a thread, fails. Null when memory is short.
SyscallFilter SyscallFilterMake();

// Let a call through, or make it fail with `error`; where there are conditions, when all of them hold. A name that an
// architecture lacks (the 32-bit variants on 64-bit ones and the other way round) is a rule that never matches. False when the
// rule could not be added.
template <typename... Condition>
[[nodiscard]] bool SyscallAllow(const SyscallFilter &filter, int call, Condition... condition) {
    const scmp_arg_cmp conditions[] = {condition..., {}};
    return seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, sizeof...(condition), conditions) == 0;
}

template <typename... Condition>
[[nodiscard]] bool SyscallRefuse(const SyscallFilter &filter, int call, int error, Condition... condition) {
    const scmp_arg_cmp conditions[] = {condition..., {}};
    return seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(static_cast<uint32_t>(error)), call,
                                  sizeof...(condition), conditions) == 0;
}

// Conditions on an argument, counted from 0.
inline scmp_arg_cmp ArgumentIs(unsigned argument, uint64_t value) {
    return {argument, SCMP_CMP_EQ, value, 0};
}

// Of the bits of the mask it has those of `value`.
inline scmp_arg_cmp ArgumentHas(unsigned argument, uint64_t mask, uint64_t value) {
    return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}

inline scmp_arg_cmp ArgumentLacks(unsigned argument, uint64_t bits) {
    return ArgumentHas(argument, bits, 0);
}

// Puts the filter before this process for good. False when that could not be done.
[[nodiscard]] bool SyscallFilterLoad(const SyscallFilter &filter);
