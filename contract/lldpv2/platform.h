/* Everything the switch platform offers the LLDP management module. */
#ifndef LLDPV2_CONTRACT_PLATFORM_H
#define LLDPV2_CONTRACT_PLATFORM_H

#include "lldpv2/dcbx_lib.h"
#include "lldpv2/ifm.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2/mib_node.h"
#include "lldpv2/mor.h"
#include "lldpv2/snmp_agent.h"

#endif
