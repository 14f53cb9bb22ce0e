#pragma once
/*
 * Compile-time checks of record layouts that the framework fixes.
 *
 * MRB_CHECK_OFFSET holds on every machine; MRB_CHECK_OFFSET_32 is for records
 * with pointers in them, whose layout is fixed where pointers have 32 bits.
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define MRB_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define MRB_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

#define MRB_CHECK_SIZE(type, size) MRB_STATIC_ASSERT(sizeof(type) == (size), #type " has another size")
#define MRB_CHECK_OFFSET(type, member, offset)                                                               \
    MRB_STATIC_ASSERT(offsetof(type, member) == (offset), #type "." #member " has another offset")

#if UINTPTR_MAX == 0xffffffffU
#define MRB_CHECK_SIZE_32(type, size) MRB_CHECK_SIZE(type, size)
#define MRB_CHECK_OFFSET_32(type, member, offset) MRB_CHECK_OFFSET(type, member, offset)
#else
#define MRB_CHECK_SIZE_32(type, size) MRB_STATIC_ASSERT(sizeof(type) >= (size), #type " lost a member")
#define MRB_CHECK_OFFSET_32(type, member, offset)                                                            \
    MRB_STATIC_ASSERT(offsetof(type, member) >= (offset), #type "." #member " has too low an offset")
#endif
