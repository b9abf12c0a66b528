// Registration of the DCBX table processors. The family's tables are
// answered 0x61010041 (no processor) until their processors land.
#include "common/export.h"
#include "common/mibpub.h"

extern "C" LLDPV2_EXPORT void DCBX_MIB_Init(void) {}
