// Client library calls of the global configuration: the global buffer
// (LLDP_ITEM_GLOBAL_CFG), its parser and LLDP_mor_SetGlobalCfg.
#include <cstring>

#include "lldp/daemon/daemon.h"
#include "lldp/daemon/wire.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {

// Layout: magic, version, then txInterval, txDelay, notificationInterval,
// reinitDelay (16 bits each, network order), txFastInit, holdMultiplier,
// txCreditMax, one reserved octet, msgFastTx (16 bits), two reserved octets.
std::vector<uint8_t> GlobalBuffer(const LldpGlobalConfig &c) {
    std::vector<uint8_t> out;
    out.push_back(kGlobalBufMagic);
    out.push_back(kBufVersion);
    Append16(out, c.txInterval);
    Append16(out, c.txDelay);
    Append16(out, c.notificationInterval);
    Append16(out, c.reinitDelay);
    out.push_back(c.txFastInit);
    out.push_back(c.holdMultiplier);
    out.push_back(c.txCreditMax);
    out.push_back(0);
    Append16(out, c.msgFastTx);
    out.push_back(0);
    out.push_back(0);
    return out;
}

}  // namespace lldpv2host::daemon

using namespace lldpv2host::daemon;

extern "C" uint32_t LLDP_util_CreateFromGBuf(const void *buf, uint16_t len, LLDP_GLOBAL_CFG_S *out) {
    if (buf == nullptr || out == nullptr || len < kGlobalBufLen) return LLDP_ERR_GENERAL;
    const auto *p = static_cast<const uint8_t *>(buf);
    if (p[0] != kGlobalBufMagic || p[1] != kBufVersion) return LLDP_ERR_GENERAL;
    LLDP_GLOBAL_CFG_S cfg;
    std::memset(&cfg, 0, sizeof cfg);
    cfg.txInterval = GetU16(p + 2);
    cfg.txDelay = GetU16(p + 4);
    cfg.notificationInterval = GetU16(p + 6);
    cfg.reinitDelay = GetU16(p + 8);
    cfg.txFastInit = p[10];
    cfg.holdMultiplier = p[11];
    cfg.txCreditMax = p[12];
    cfg.msgFastTx = GetU16(p + 14);
    std::memcpy(out, &cfg, sizeof cfg);
    return 0;
}

extern "C" uint32_t LLDP_mor_SetGlobalCfg(uint32_t scope, uint32_t id, uint32_t value) {
    // Scope 1 is the whole stack, the only scope the daemons know.
    if (scope != 1) return LLDP_ERR_BAD_VALUE;
    return lldpv2host::SetGlobalValue(id, value);
}
