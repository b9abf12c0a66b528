/* Interface and device managers, and the local logical unit. */
#ifndef LLDPV2_CONTRACT_IFM_H
#define LLDPV2_CONTRACT_IFM_H

#include "lldpv2/types.h"

LLDPV2_EXTERN_C_BEGIN

/* Interface attributes readable with IF_GetDataByIfIndex (32-bit results). */
enum {
    IF_ATTR_TYPE = 18,      /* the platform's interface type code */
    IF_ATTR_LLDP_DATA = 31  /* non-zero when the interface carries a local LLDP port row */
};

/* Interface selection: filled by IF_Select_Init and the IF_Select*_Set calls,
 * kept by the caller on its stack for one call. */
#define IF_SELECT_MAX_TYPES 32
typedef struct IF_SELECT_S {
    uint32_t kind;
    uint32_t typeCount;
    uint32_t types[IF_SELECT_MAX_TYPES];
    uint32_t properties; /* bit n set: property n required */
    uint32_t conditions; /* bit n set: condition n required */
} IF_SELECT_S;

/* The selection the LLDP walks make: interfaces chosen by type, plain ports
 * only (valid, not temporary, not a sub-interface), on nodes that are up. */
enum {
    IF_SELECT_KIND_BY_TYPE = 5,
    IF_SELECT_PROPERTY_PLAIN_PORT = 8,
    IF_SELECT_CONDITION_NODE_UP = 10
};

typedef struct IF_ITERATOR_S *IF_ITERATOR;

uint32_t IF_GetDataByIfIndex(uint32_t ifIndex, uint32_t attribute, void *out);
uint16_t IF_IsValidIfIndex(uint32_t ifIndex);
uint16_t IF_IsSubIf(uint32_t ifIndex);
uint16_t IF_IsTempIf(uint32_t ifIndex);
uint16_t IF_IsNodeUp(uint16_t node);

void IF_Select_Init(uint32_t kind, IF_SELECT_S *selection);
void IF_SelectType_Set(uint32_t typeCode, IF_SELECT_S *selection);
void IF_SelectProperty_Set(uint32_t property, IF_SELECT_S *selection);
void IF_SelectCondition_Set(uint32_t condition, IF_SELECT_S *selection);
IF_ITERATOR IF_IteratorInitialize(uint32_t ifIndex, IF_SELECT_S *selection);
/* The next interface index after ifIndex that matches the selection, 0 if none. */
uint32_t IF_GetNextIfIndexByIfSelect(IF_SELECT_S *selection, IF_ITERATOR iterator, uint32_t ifIndex);
void IF_IteratorFinalize(IF_ITERATOR *iterator);

/* A heap array of the 16-bit ids of all member nodes; the caller frees it
 * with free(). Null when none can be given. */
uint16_t *DEV_GetAllNodes(uint32_t *count);

/* The local logical unit number. */
uint32_t LIP_GetLocalLip(void);

LLDPV2_EXTERN_C_END

#endif
