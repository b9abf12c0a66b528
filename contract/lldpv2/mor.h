/* Managed-object request (MOR) layer: request and reply messages exchanged
 * between the SNMP agent and the management modules. */
#ifndef LLDPV2_CONTRACT_MOR_H
#define LLDPV2_CONTRACT_MOR_H

#include "lldpv2/types.h"

LLDPV2_EXTERN_C_BEGIN

/* Opaque handles. Messages are owned by the MOR layer; a parameter handle is
 * valid only while its message lives. */
typedef struct MOR_MSG_S *MOR_MSG;
typedef struct MOR_PARA_S *MOR_PARA;

/* A module callback: (request, reply) -> status. */
typedef uint32_t (*MOR_CALLBACK_PF)(MOR_MSG request, MOR_MSG reply);

/* Operation types carried by a request. */
enum {
    MOR_OP_GET = 1,
    MOR_OP_SET = 2,
    MOR_OP_GETNEXT = 3,
    MOR_OP_UNSERVED = 4,
    MOR_OP_PHASE_FIRST = 5, /* 5..9: phases with nothing to do for a module */
    MOR_OP_PHASE_LAST = 9
};

/* Type codes of reply parameters. */
enum {
    MOR_TYPE_ENUM = 0,     /* enumerations, TruthValue, RowStatus, interface indexes */
    MOR_TYPE_COUNTER = 1,  /* Counter32 */
    MOR_TYPE_UNSIGNED = 2, /* Unsigned32, Integer32, gauges, zero-based counters */
    MOR_TYPE_TIMEMARK = 3, /* TimeStamp / TimeFilter, hundredths of a second */
    MOR_TYPE_OCTETS = 5,   /* OCTET STRING and BITS: value is an address */
    MOR_TYPE_OID = 7       /* OBJECT IDENTIFIER: address of 32-bit sub-identifiers */
};

/* Parameter index meaning "the whole request". */
#define MOR_PARA_INDEX_ALL 0xFFFFFFFFu

uint32_t MOR_RegCallBack(uint32_t moduleId, MOR_CALLBACK_PF callback, void *context, uint32_t flags);
uint32_t MOR_DeregCallBack(uint32_t moduleId);

uint32_t MOR_GetMsgOpType(MOR_MSG msg);
uint32_t MOR_GetTableId(MOR_MSG msg);
uint32_t MOR_SetMsgError(MOR_MSG msg, uint32_t errorCode, uint32_t paraIndex);

/* Parameter walk: the MOR id of the returned parameter is written through
 * morId. Null when there is no (further) parameter. */
MOR_PARA MOR_GetFirstParaFromMsg(MOR_MSG msg, uint32_t reserved, uint32_t *morId);
MOR_PARA MOR_GetNextParaFromMsg(MOR_MSG msg, uint32_t reserved, uint32_t *morId);
MOR_PARA MOR_GetParaFromMsgByMOR(MOR_MSG msg, uint32_t reserved, uint32_t morId);

uint32_t MOR_GetData32(MOR_PARA para);
uint32_t MOR_GetParaLen(MOR_PARA para);
/* Copies at most capacity bytes of the value into dest; returns the count copied. */
uint32_t MOR_GetDataFromPara(MOR_PARA para, uint32_t capacity, void *dest);

/* Appends one parameter to msg, copying the value. For the integer type
 * codes value is the 32-bit number itself; for octets and object identifiers
 * it is the address of length bytes. */
uint32_t MOR_AppendPara2Msg(MOR_MSG msg, uint32_t reserved, uint32_t morId, uint32_t typeCode,
                            uintptr_t value, uint32_t length);

LLDPV2_EXTERN_C_END

#endif
