// The LLDPDUs the extension tables decode: the local LLDPDU a port sends
// (4-byte header, then TLVs) and the stored information of a neighbour
// (1-byte header, then TLVs), fetched into stack buffers and split into a
// TLV list that is freed on scope exit.
#pragma once

#include <cstdint>

#include "common/guards.h"
#include "common/mibpub.h"

namespace lldpv2 {

inline constexpr uint32_t kLocalHeaderLen = 4;
inline constexpr uint32_t kRemoteHeaderLen = 1;
// The agent whose LLDPDU the local tables read.
inline constexpr uint32_t kLocalDataAgent = 1;

// How the port's local-data attribute (31) is judged before the fetch.
enum class Presence {
    PresetZero,  // the value is preset to 0; 0 after the read means no row
    PresetOne,   // the value is preset to 1; only an explicit 0 means no row
    MustBeOne,   // the value must read exactly 1
};

class LocalLldpdu {
public:
    // Checks the port's local-data attribute and fetches its local LLDPDU.
    // kErrNoInstance when the port has no local row or the answer is shorter
    // than its header; the daemon's error as it stands.
    [[nodiscard]] uint32_t Fetch(uint32_t ifIndex, Presence presence) {
        uint32_t value = presence == Presence::PresetOne ? 1 : 0;
        IF_GetDataByIfIndex(ifIndex, IF_ATTR_LLDP_DATA, &value);
        if (presence == Presence::MustBeOne ? value != 1 : value == 0) return kErrNoInstance;
        const uint32_t rc = LLDP_mor_MibGet(ifIndex, kLocalDataAgent, LLDP_ITEM_LOC_PORT, sizeof(buf_), buf_, &len_);
        if (rc != kOk) return rc;
        return len_ < kLocalHeaderLen ? kErrNoInstance : kOk;
    }
    // Splits the TLVs after the header.
    LLDP_TLV_LIST_S *Split() {
        LLDP_tlvmng_SplitTLV(buf_ + kLocalHeaderLen, static_cast<uint16_t>(len_ - kLocalHeaderLen), list_.get());
        return list_.get();
    }
    uint8_t *data() { return buf_; }
    uint16_t &len() { return len_; }

private:
    uint8_t buf_[kLocalBufferSize];
    uint16_t len_ = 0;
    TlvList list_;
};

class RemoteLldpdu {
public:
    // The stored information of the neighbour named by tfai; the daemon's
    // error as it stands, kErrNoInstance for an answer without even the
    // header.
    [[nodiscard]] uint32_t Fetch(const LLDP_TFAI_S &tfai) {
        const uint32_t rc = LLDP_mor_GetRemTableByTFAI(&tfai, sizeof(buf_), buf_, &len_);
        if (rc != kOk) return rc;
        return len_ < kRemoteHeaderLen ? kErrNoInstance : kOk;
    }
    // Splits the TLVs after the 1-byte header; the list lives as long as this.
    LLDP_TLV_LIST_S *Split() {
        LLDP_mibpub_RemInfoToTLVList(buf_, len_, list_.get());
        return list_.get();
    }
    // Splits the TLVs into a list of its own, runs decode(list) and frees the
    // list at once; decode's result.
    template <typename Decode>
    auto DecodeOnce(Decode decode) {
        TlvList list;
        LLDP_mibpub_RemInfoToTLVList(buf_, len_, list.get());
        return decode(list.get());
    }
    uint8_t *data() { return buf_; }
    uint16_t len() const { return len_; }

private:
    uint8_t buf_[kRemoteBufferSize];
    uint16_t len_ = 0;
    TlvList list_;
};

}  // namespace lldpv2
