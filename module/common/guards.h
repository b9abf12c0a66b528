// RAII guards for what the platform hands out, so that nothing leaks on any
// path of a request.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <utility>

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

// Runs a cleanup when the scope ends, on every path; for the platform's
// paired calls (begin/end, init/finalize) that have no object of their own.
template <typename F>
class [[nodiscard]] ScopeExit {
public:
    explicit ScopeExit(F f) : f_(std::move(f)) {}
    ~ScopeExit() { f_(); }
    ScopeExit(const ScopeExit &) = delete;
    ScopeExit &operator=(const ScopeExit &) = delete;

private:
    F f_;
};

// The single owner of what a library allocated, freed with FreeFn on scope
// exit. Move-only: a copy would free twice. release() hands the pointer on
// and leaves the owner empty.
template <typename T, auto FreeFn>
class Owned {
public:
    Owned() = default;
    explicit Owned(T *p) : p_(p) {}
    ~Owned() { reset(); }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    Owned(Owned &&other) noexcept : p_(other.release()) {}
    Owned &operator=(Owned &&other) noexcept {
        if (this != &other) {
            reset();
            p_ = other.release();
        }
        return *this;
    }
    T *get() const { return p_; }
    T **out() { return &p_; }
    [[nodiscard]] T *release() {
        T *p = p_;
        p_ = nullptr;
        return p;
    }
    void reset() {
        if (p_ != nullptr) FreeFn(p_);
        p_ = nullptr;
    }

private:
    T *p_ = nullptr;
};

}  // namespace lldpv2
