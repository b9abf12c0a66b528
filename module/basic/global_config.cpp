// lldpV2Configuration: the LLDP timers and counters of the whole switch
// (table id 2). A get answers one scalar; a set writes values one at a time
// and stops at the first write the daemon accepts.
#include <array>

#include "basic/basic_tables.h"
#include "common/export.h"
#include "common/reply.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kSetScope = 1;

struct Scalar {
    uint32_t morId;
    uint32_t LLDP_MIB_GLBCFG_S::*field;
    uint32_t daemonId;  // id of LLDP_mor_SetGlobalCfg
};

constexpr std::array<Scalar, 7> kScalars = {{
    {mib::lldpV2MessageTxInterval, &LLDP_MIB_GLBCFG_S::txInterval, LLDP_GLB_TX_INTERVAL},
    {mib::lldpV2MessageTxHoldMultiplier, &LLDP_MIB_GLBCFG_S::holdMultiplier, LLDP_GLB_HOLD_MULTIPLIER},
    {mib::lldpV2ReinitDelay, &LLDP_MIB_GLBCFG_S::reinitDelay, LLDP_GLB_REINIT_DELAY},
    {mib::lldpV2NotificationInterval, &LLDP_MIB_GLBCFG_S::notificationInterval, LLDP_GLB_NOTIFICATION_INTERVAL},
    {mib::lldpV2TxCreditMax, &LLDP_MIB_GLBCFG_S::txCreditMax, LLDP_GLB_TX_CREDIT_MAX},
    {mib::lldpV2MessageFastTx, &LLDP_MIB_GLBCFG_S::msgFastTx, LLDP_GLB_MSG_FAST_TX},
    {mib::lldpV2TxFastInit, &LLDP_MIB_GLBCFG_S::txFastInit, LLDP_GLB_TX_FAST_INIT},
}};

const Scalar *FindScalar(uint32_t morId) {
    for (const Scalar &s : kScalars)
        if (s.morId == morId) return &s;
    return nullptr;
}

uint32_t Get(MOR_MSG request, MOR_MSG reply) {
    LLDP_MIB_GLBCFG_S view{};
    const uint32_t rc = LLDP_mibpub_GetGlbCfg(&view);
    if (rc != kOk) return Fail(reply, rc);
    // An empty get is answered with a single placeholder parameter.
    if (HasNoParams(request)) return Written(reply, AppendUnsigned(reply, kWholeRequest, 0));

    // One get answers one scalar: the last one named.
    uint32_t morId = kWholeRequest;
    uint32_t value = 0;
    for (const Param &p : Params(request)) {
        const Scalar *s = FindScalar(p.morId);
        if (s == nullptr) return Fail(reply, kErrUnserved, p.position);
        morId = p.morId;
        value = view.*(s->field);
    }
    return Written(reply, AppendUnsigned(reply, morId, value));
}

uint32_t Set(MOR_MSG request, MOR_MSG reply) {
    // The first accepted write ends the request; nothing is rolled back.
    bool any = false;
    uint32_t last = kOk;
    for (const Param &p : Params(request)) {
        any = true;
        const Scalar *s = FindScalar(p.morId);
        if (s == nullptr) {
            last = kErrUnserved;
            continue;
        }
        last = LLDP_mor_SetGlobalCfg(kSetScope, s->daemonId, p.U32());
        if (last == kOk) return kOk;
    }
    if (!any) return kOk;
    return Fail(reply, last == kErrUnserved ? kErrUnserved : kErrSetRefused);
}

}  // namespace

uint32_t GlobalConfigProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeScalars(
        opType, reply, [&] { return Get(request, reply); }, [&] { return Set(request, reply); });
}

}  // namespace lldpv2

extern "C" LLDPV2_EXPORT uint32_t LLDP_mibpub_GetGlbCfg(LLDP_MIB_GLBCFG_S *view) {
    uint8_t buf[lldpv2::kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(0, 0, LLDP_ITEM_GLOBAL_CFG, sizeof(buf), buf, &len);
    if (rc != lldpv2::kOk) return rc;
    LLDP_GLOBAL_CFG_S cfg{};
    if (LLDP_util_CreateFromGBuf(buf, len, &cfg) != 0) return lldpv2::kErrNoInstance;
    view->txInterval = cfg.txInterval;
    view->holdMultiplier = cfg.holdMultiplier;
    view->reinitDelay = cfg.reinitDelay;
    view->txDelay = cfg.txDelay;
    view->notificationInterval = cfg.notificationInterval;
    view->txCreditMax = cfg.txCreditMax;
    view->msgFastTx = cfg.msgFastTx;
    view->txFastInit = cfg.txFastInit;
    return lldpv2::kOk;
}
