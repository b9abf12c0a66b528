// Table processors of the DCBX tables (table ids 44 to 74). Each serves a
// family of tables that differ only in constants, and finds the member it
// answers by the request's table id.
#pragma once

#include <cstdint>

#include "lldpv2/mor.h"

namespace lldpv2::dcbx {

// The transmit switches of the ETS configuration, ETS recommendation, PFC
// and application priority TLVs (44..47).
uint32_t TxEnableProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
// ETS and PFC basic tables, one row per port or neighbour (48, 54, 57, 63,
// 66, 72).
uint32_t BasicProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
// Tables of eight rows per port or neighbour: ETS traffic-class bandwidth
// and TSA (50..53, 59..62, 68..71), ETS priority assignment (49, 58, 67)
// and PFC enable (55, 64, 73).
uint32_t ClassPriorityProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
// Application priority tables (56, 65, 74).
uint32_t AppPriorityProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);

}  // namespace lldpv2::dcbx
