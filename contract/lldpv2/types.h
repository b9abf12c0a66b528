/* Basic types shared by every header of the switch platform contract. */
#ifndef LLDPV2_CONTRACT_TYPES_H
#define LLDPV2_CONTRACT_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define LLDPV2_EXTERN_C_BEGIN extern "C" {
#define LLDPV2_EXTERN_C_END }
#define LLDPV2_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define LLDPV2_EXTERN_C_BEGIN
#define LLDPV2_EXTERN_C_END
#define LLDPV2_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

/* Asserts the byte offset of a field inside a record. */
#define LLDPV2_ASSERT_OFFSET(type, field, off) \
    LLDPV2_STATIC_ASSERT(offsetof(type, field) == (off), #type "." #field " must lie at byte " #off)
/* Asserts the size of a record. */
#define LLDPV2_ASSERT_SIZE(type, size) \
    LLDPV2_STATIC_ASSERT(sizeof(type) == (size), #type " must be " #size " bytes")

#define LLDPV2_PACKED __attribute__((packed))

#endif
