// Filling and reading the callers' buffers, which may lie at any address.
#pragma once

#include <cstdint>
#include <cstring>

#include "boardplatform/platform.h"
#include "cooling/configuration.h"

namespace bf::cooling {

// Copies a fact into the caller's buffer: 0, or -1 for a null.
template <typename Fact>
int32_t give(void *out, const Fact &fact) {
    if (out == nullptr) {
        return -1;
    }
    std::memcpy(out, &fact, sizeof(fact));
    return 0;
}

// Keeps what a caller's buffer holds: 0, or -1 for a null.
template <typename Fact>
int32_t take(Fact &kept, const void *in) {
    if (in == nullptr) {
        return -1;
    }
    std::memcpy(&kept, in, sizeof(kept));
    return 0;
}

// Gives after the platform's bounded clearing.
template <typename Fact>
int32_t give_cleared_s(void *out, const Fact &fact) {
    if (out == nullptr) {
        return -1;
    }
    vel_memset_s(out, sizeof(fact), 0, sizeof(fact));
    return give(out, fact);
}

// A family member's answer: the fact of the configuration. A null makes no look-up.
template <typename Fact>
int32_t give_chosen(void *out, const board::PerConfiguration<Fact> &fact,
                    const char *member = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    return out == nullptr ? -1 : give(out, choose(fact, member, line));
}

// What a wrapper does around its member: the caller's buffer starts cleared.
template <typename Buffer>
int32_t cleared(Buffer *out, std::size_t size, int32_t (*member)(Buffer *)) {
    if (out == nullptr) {
        return -1;
    }
    std::memset(out, 0, size);
    return member(out);
}

// The same with the platform's bounded clearing.
template <typename Buffer>
int32_t cleared_s(Buffer *out, std::size_t size, int32_t (*member)(Buffer *)) {
    if (out == nullptr) {
        return -1;
    }
    vel_memset_s(out, size, 0, size);
    return member(out);
}

}  // namespace bf::cooling
