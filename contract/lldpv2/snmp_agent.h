/* SNMP agent: registration of compiled MIB trees. */
#ifndef LLDPV2_CONTRACT_SNMP_AGENT_H
#define LLDPV2_CONTRACT_SNMP_AGENT_H

#include "lldpv2/mib_node.h"

LLDPV2_EXTERN_C_BEGIN

/* Adds (removes) the compiled tree whose root is given, under its registered
 * name. Modules pass context 0 and version 1. 0 on success. */
uint32_t SNMP_RegisterMibTree(const char *name, uint32_t context, uint32_t version, const MIB_NODE_S *root);
uint32_t SNMP_DeregMibTree(const char *name, uint32_t context, uint32_t version, const MIB_NODE_S *root);

LLDPV2_EXTERN_C_END

#endif
