// RAII guards for what the platform hands out, so that nothing leaks on any
// path of a request.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "lldpv2/platform.h"

namespace lldpv2 {

// A TLV list filled by the TLV list manager; its nodes are freed on scope exit.
class TlvList {
public:
    TlvList() = default;
    ~TlvList() { LLDP_tlvmng_FreeNbTLVNode(&list_); }
    TlvList(const TlvList &) = delete;
    TlvList &operator=(const TlvList &) = delete;
    LLDP_TLV_LIST_S *get() { return &list_; }

private:
    LLDP_TLV_LIST_S list_{};
};

// The node array of DEV_GetAllNodes, freed with free() on scope exit.
class NodeArray {
public:
    NodeArray() { nodes_ = DEV_GetAllNodes(&count_); }
    ~NodeArray() { std::free(nodes_); }
    NodeArray(const NodeArray &) = delete;
    NodeArray &operator=(const NodeArray &) = delete;
    bool valid() const { return nodes_ != nullptr; }
    uint32_t size() const { return nodes_ == nullptr ? 0 : count_; }
    const uint16_t *begin() const { return nodes_; }
    const uint16_t *end() const { return nodes_ + size(); }

private:
    uint32_t count_ = 0;
    uint16_t *nodes_ = nullptr;
};

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

// A decoded list freed by a library function on scope exit.
template <typename T, void (*FreeFn)(T *)>
class Owned {
public:
    Owned() = default;
    explicit Owned(T *p) : p_(p) {}
    ~Owned() {
        if (p_ != nullptr) FreeFn(p_);
    }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    T *get() const { return p_; }
    T **out() { return &p_; }

private:
    T *p_ = nullptr;
};

}  // namespace lldpv2
