// The TLV transmit configuration of a (port, agent): reading and parsing it,
// and building the request block of a transmit change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/codes.h"
#include "lldpv2/platform.h"

namespace lldpv2 {

// When a parsed TLV transmit configuration is released: in every case, a
// failed parse included, or only after a parse that succeeded.
enum class TlvCfgRelease { Always, OnlyParsed };

// A parsed TLV transmit configuration, released on scope exit as its owner
// says: every user states the rule it follows.
class TlvCfg {
public:
    explicit TlvCfg(TlvCfgRelease release) : release_(release) {}
    ~TlvCfg() {
        if (release_ == TlvCfgRelease::Always || parsed_) LLDP_util_ClearTLVCfg(&cfg_);
    }
    TlvCfg(const TlvCfg &) = delete;
    TlvCfg &operator=(const TlvCfg &) = delete;
    // Parses buf; non-zero when it does not parse.
    uint32_t Parse(const void *buf, uint16_t len) {
        uint32_t rc = LLDP_util_CreateFromTLVCfgBuf(buf, len, &cfg_);
        parsed_ = rc == 0;
        return rc;
    }
    const LLDP_TLV_CFG_S &get() const { return cfg_; }
    bool Enabled(uint32_t tlvBit) const { return cfg_.entry[tlvBit].enable == 1; }

private:
    TlvCfgRelease release_;
    LLDP_TLV_CFG_S cfg_{};
    bool parsed_ = false;
};

// Reads the TLV transmit configuration of (ifIndex, agent) and hands the
// parsed form to read(cfg). The daemon's error as it stands, kErrNoInstance
// when it does not parse.
template <typename Read>
[[nodiscard]] uint32_t ReadTlvCfg(uint32_t ifIndex, uint32_t agent, TlvCfgRelease release, Read read) {
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(ifIndex, agent, LLDP_ITEM_TLV_CFG, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    TlvCfg cfg(release);
    if (cfg.Parse(buf, len) != 0) return kErrNoInstance;
    read(cfg);
    return kOk;
}

// The two words of a transmit change that say which group of TLVs it
// concerns, as the daemon expects them.
struct TlvCfgScope {
    uint32_t word2;
    uint32_t word3;
};
inline constexpr TlvCfgScope kScopeBasicTlvs{3, 1};  // the four basic optional TLVs
inline constexpr TlvCfgScope kScopeManAddr{4, 6};    // one management address entry
inline constexpr TlvCfgScope kScopeSingleTlv{1, 6};  // one 802.1 or DCBX TLV
inline constexpr TlvCfgScope kScopeDot3Group{3, 3};  // the 802.3 TLVs as a group
inline constexpr TlvCfgScope kScopeLinkAgg{0, 6};    // the link aggregation TLV alone

// The request block of a transmit change of the TLVs in mask: its length is
// that of the header, data and dataLen stay empty.
[[nodiscard]] inline LLDP_TLV_CFG_REQ_S TlvCfgRequest(uint32_t mask, TlvCfgScope scope) {
    LLDP_TLV_CFG_REQ_S request;
    std::memset(&request, 0, sizeof(request));
    request.length = offsetof(LLDP_TLV_CFG_REQ_S, data);
    request.mask = mask;
    request.word2 = scope.word2;
    request.word3 = scope.word3;
    return request;
}

}  // namespace lldpv2
