// Status codes, MOR ids and op types of the LLDP-V2 module.
#pragma once

#include <bit>
#include <cstdint>

#include "lldpv2/mor.h"
#include "mibtrees/mor_ids.h"

namespace lldpv2 {

// Module id of the module in the MOR layer: the upper half of its MOR ids.
inline constexpr uint32_t kModuleId = 0x2320000;
// Number of table-processor slots: table ids 0..81.
inline constexpr uint32_t kTableSlots = 82;

// Status codes.
inline constexpr uint32_t kOk = 0;
inline constexpr uint32_t kErrGeneral = 0x40010001;
inline constexpr uint32_t kErrNoProcessor = 0x61010041;
inline constexpr uint32_t kErrBadRowStatus = 0x61010048;
inline constexpr uint32_t kErrSetRefused = 0x61010049;
inline constexpr uint32_t kErrRowNotUsable = 0x6101004A;
inline constexpr uint32_t kErrRowTableFull = 0x6101004B;
inline constexpr uint32_t kErrRowConflict = 0x6101004C;
inline constexpr uint32_t kErrReadOnly = 0x6101004F;
inline constexpr uint32_t kErrRowMissing = 0x61010050;
inline constexpr uint32_t kErrStoppedGetNext = 0x61010051;
inline constexpr uint32_t kErrUnserved = 0x61010052;
inline constexpr uint32_t kErrStoppedGet = 0x61010057;
inline constexpr uint32_t kErrNoInstance = 0x61010058;
inline constexpr uint32_t kErrNoNext = 0x61010059;

// Stack buffers of the daemon's answers: local, configuration and admin data,
// and the stored LLDPDU information of a neighbour.
inline constexpr uint32_t kLocalBufferSize = 4096;
inline constexpr uint32_t kRemoteBufferSize = 8192;

// Parameter position meaning "the whole request".
inline constexpr uint32_t kWholeRequest = MOR_PARA_INDEX_ALL;

// MOR id of column (or scalar arc) col of table id table.
constexpr uint32_t MorId(uint32_t table, uint32_t col) { return 0x02320000u | (table << 8) | col; }
constexpr uint32_t TableOf(uint32_t morId) { return (morId >> 8) & 0xFFu; }
constexpr uint32_t ColumnOf(uint32_t morId) { return morId & 0xFFu; }

// How a processor treats an op type.
enum class Op { Get, Set, GetNext, Phase, Unserved };

constexpr Op ClassifyOp(uint32_t opType) {
    switch (opType) {
        case MOR_OP_GET: return Op::Get;
        case MOR_OP_SET: return Op::Set;
        case MOR_OP_GETNEXT: return Op::GetNext;
        default:
            return (opType >= MOR_OP_PHASE_FIRST && opType <= MOR_OP_PHASE_LAST) ? Op::Phase : Op::Unserved;
    }
}

// TruthValue as sent to the agent: true (1) only when the daemon's flag is exactly 1.
inline constexpr uint32_t kTrue = 1;
inline constexpr uint32_t kFalse = 2;
constexpr uint32_t TruthValue(uint32_t flag) { return flag == 1 ? kTrue : kFalse; }

// Network byte order conversions of the daemon's records.
constexpr uint32_t NetToHost32(uint32_t v) {
    return std::endian::native == std::endian::little ? __builtin_bswap32(v) : v;
}
constexpr uint16_t NetToHost16(uint16_t v) {
    return std::endian::native == std::endian::little ? __builtin_bswap16(v) : v;
}
constexpr uint32_t HostToNet32(uint32_t v) { return NetToHost32(v); }
constexpr uint16_t HostToNet16(uint16_t v) { return NetToHost16(v); }

}  // namespace lldpv2
