// Byte-order helpers for the daemon's buffers and records.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace lldpv2host::daemon {

inline void PutU16(uint8_t *p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void PutU32(uint8_t *p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}
inline uint16_t GetU16(const uint8_t *p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t GetU32(const uint8_t *p) {
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | p[3];
}

// Host value to network order, in place in a host-typed field.
inline uint32_t Net32(uint32_t v) { return __builtin_bswap32(v); }
inline uint16_t Net16(uint16_t v) { return __builtin_bswap16(v); }
inline uint32_t Host32(uint32_t v) { return __builtin_bswap32(v); }
inline uint16_t Host16(uint16_t v) { return __builtin_bswap16(v); }

inline void Append16(std::vector<uint8_t> &out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v >> 8));
    out.push_back(static_cast<uint8_t>(v));
}
inline void Append32(std::vector<uint8_t> &out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}

}  // namespace lldpv2host::daemon
