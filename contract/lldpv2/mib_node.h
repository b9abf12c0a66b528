/* Compiled MIB tree records, as the SNMP agent reads them. A module exports
 * one record per MIB object; the agent resolves variables by walking them. */
#ifndef LLDPV2_CONTRACT_MIB_NODE_H
#define LLDPV2_CONTRACT_MIB_NODE_H

#include "lldpv2/types.h"

LLDPV2_EXTERN_C_BEGIN

/* Node kinds. */
enum {
    MIB_KIND_TABLE = 0,
    MIB_KIND_ENTRY = 1,
    MIB_KIND_COLUMN = 2,
    MIB_KIND_SCALAR = 3,
    MIB_KIND_BRANCH = 4,
    MIB_KIND_NOTIFICATION = 5,
    MIB_KIND_SCALAR_GROUP = 6 /* branch that holds scalars directly */
};

/* Base syntax codes. */
enum {
    MIB_SYNTAX_INTEGER = 0,
    MIB_SYNTAX_INTEGER32 = 1,
    MIB_SYNTAX_ENUM = 2,
    MIB_SYNTAX_UNSIGNED32 = 3,
    MIB_SYNTAX_ZERO_BASED_COUNTER = 5,
    MIB_SYNTAX_COUNTER32 = 7,
    MIB_SYNTAX_TIMETICKS = 9,
    MIB_SYNTAX_OCTET_STRING = 10,
    MIB_SYNTAX_OID = 11,
    MIB_SYNTAX_BITS = 17
};

/* Access codes. */
enum {
    MIB_ACCESS_NOT_ACCESSIBLE = 0,
    MIB_ACCESS_READ_ONLY = 2,
    MIB_ACCESS_READ_WRITE = 3,
    MIB_ACCESS_READ_CREATE = 4,
    MIB_ACCESS_BRANCH = 6
};

/* Status codes. */
enum {
    MIB_NODE_STATUS_NONE = 0,
    MIB_NODE_STATUS_BORROWED = 1, /* objects of the interfaces group */
    MIB_NODE_STATUS_CURRENT = 5
};

/* Restriction kinds. */
enum { MIB_RESTRICT_NAMED = 0, MIB_RESTRICT_RANGES = 1 };

typedef struct MIB_RANGE_S {
    int32_t min;
    uint32_t max;
} MIB_RANGE_S;

typedef struct MIB_NAMED_VALUE_S {
    const char *label;
    uint64_t value; /* for BITS: the bit number */
} MIB_NAMED_VALUE_S;

typedef struct MIB_RESTRICTION_S {
    uint32_t kind;
    uint32_t reserved0;
    uint32_t count;
    uint32_t reserved1;
    const MIB_RANGE_S *const *ranges;   /* kind 1: count pointers to ranges */
    const MIB_NAMED_VALUE_S *named;     /* kind 0: count labels in MIB order */
} MIB_RESTRICTION_S;

typedef struct MIB_SYNTAX_S {
    uint32_t code;
    uint32_t reserved;
    const MIB_RESTRICTION_S *restriction; /* null when unrestricted */
} MIB_SYNTAX_S;

struct MIB_NODE_S;

typedef struct MIB_INDEX_LIST_S {
    uint64_t flags; /* always 0 */
    uint32_t count;
    const struct MIB_NODE_S *const *columns; /* index columns, in index order */
} MIB_INDEX_LIST_S;

typedef struct MIB_NODE_S {
    const char *name;
    uint32_t kind;
    const MIB_SYNTAX_S *syntax;
    const struct MIB_NODE_S *parent;
    const struct MIB_NODE_S *firstChild;
    const struct MIB_NODE_S *nextLeaf;
    uint32_t reserved0;
    uint32_t arc;
    const char *defaultValue; /* "" when none */
    uint32_t status;
    uint32_t access;
    const MIB_INDEX_LIST_S *indexList;
    uint32_t morId;
    const struct MIB_NODE_S *nextSibling;
    uint32_t notificationObjectCount;
    const char *const *notificationObjects;
    const void *reserved1;
} MIB_NODE_S;

LLDPV2_ASSERT_SIZE(MIB_RANGE_S, 8);
LLDPV2_ASSERT_SIZE(MIB_NAMED_VALUE_S, 16);
LLDPV2_ASSERT_SIZE(MIB_SYNTAX_S, 16);
LLDPV2_ASSERT_OFFSET(MIB_RESTRICTION_S, count, 8);
LLDPV2_ASSERT_OFFSET(MIB_RESTRICTION_S, ranges, 16);
LLDPV2_ASSERT_OFFSET(MIB_RESTRICTION_S, named, 24);
LLDPV2_ASSERT_OFFSET(MIB_INDEX_LIST_S, count, 8);
LLDPV2_ASSERT_OFFSET(MIB_INDEX_LIST_S, columns, 16);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, kind, 8);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, syntax, 16);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, parent, 24);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, firstChild, 32);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, nextLeaf, 40);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, arc, 52);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, defaultValue, 56);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, status, 64);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, access, 68);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, indexList, 72);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, morId, 80);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, nextSibling, 88);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, notificationObjectCount, 96);
LLDPV2_ASSERT_OFFSET(MIB_NODE_S, notificationObjects, 104);
LLDPV2_ASSERT_SIZE(MIB_NODE_S, 120);

LLDPV2_EXTERN_C_END

#endif
