/* What every public header shares: export marks and size assertions. */
#ifndef BOARDFEATURES_ABI_H
#define BOARDFEATURES_ABI_H

#include <stdint.h>

#include "boardplatform/platform.h"

#if defined(__GNUC__)
#define BF_API __attribute__((visibility("default")))
#else
#define BF_API
#endif

/* A record whose pointer has the alignment of its other fields, so that its size is stated once. */
#if defined(__GNUC__)
#define BF_PACKED_4 __attribute__((packed, aligned(4)))
#else
#define BF_PACKED_4
#endif

#ifdef __cplusplus
#define BF_EXTERN_C_BEGIN extern "C" {
#define BF_EXTERN_C_END }
#else
#define BF_EXTERN_C_BEGIN
#define BF_EXTERN_C_END
#endif

/* BF_ASSERT_SIZE(tag, bytes) fails the compilation when struct tag has another size. */
#ifdef __cplusplus
#define BF_ASSERT_SIZE(tag, bytes) static_assert(sizeof(struct tag) == (bytes), #tag)
#else
#define BF_ASSERT_SIZE(tag, bytes) \
    typedef char bf_size_of_##tag[sizeof(struct tag) == (bytes) ? 1 : -1]
#endif

/* The same for a record that holds a pointer: its size is stated for the 32-bit target. */
#if UINTPTR_MAX == 0xFFFFFFFFu
#define BF_ASSERT_SIZE_32(tag, bytes) BF_ASSERT_SIZE(tag, bytes)
#else
#define BF_ASSERT_SIZE_32(tag, bytes) struct tag
#endif

BF_ASSERT_SIZE(I2cChipRoute, 32);

#endif
