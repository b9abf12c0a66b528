// Registration of the IEEE 802.1 extension table processors. The family's tables are
// answered 0x61010041 (no processor) until their processors land.
#include "common/export.h"
#include "common/mibpub.h"

extern "C" LLDPV2_EXPORT void LLDPV2_DOT1_MIB_Init(void) {}
