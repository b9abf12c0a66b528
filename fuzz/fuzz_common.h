// Shared by the fuzz targets: the module loaded as the agent loads it, a
// scenario with neighbours, and a reader that takes typed values from the
// fuzzer's bytes.
#pragma once

#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "lldpv2host/scenario.h"

namespace lldpv2fuzz {

// Loads the module once per process (its constructor registers trees and
// the MOR callback with the host platform).
inline void LoadModule() {
    static void *handle = [] {
        void *h = dlopen(LLDPV2_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
        if (h == nullptr) {
            std::fprintf(stderr, "dlopen: %s\n", dlerror());
            std::abort();
        }
        return h;
    }();
    (void)handle;
}

inline void LoadDefaultScenarioOrDie() {
    std::string error;
    if (!lldpv2host::LoadDefaultScenario(&error)) {
        std::fprintf(stderr, "default scenario: %s\n", error.c_str());
        std::abort();
    }
}

// Stops the run with a message: the fuzzer records the input as a crash.
[[noreturn]] inline void Fault(const std::string &what) {
    std::fprintf(stderr, "fault: %s\n", what.c_str());
    std::abort();
}

// Takes values from the front of the input; zeros once it runs out.
class Bytes {
public:
    Bytes(const uint8_t *data, size_t size) : data_(data, size) {}
    bool Empty() const { return pos_ >= data_.size(); }
    uint8_t U8() { return pos_ < data_.size() ? data_[pos_++] : 0; }
    uint16_t U16() { return static_cast<uint16_t>(U8() | (U8() << 8)); }
    uint32_t U32() { return U16() | (static_cast<uint32_t>(U16()) << 16); }
    std::span<const uint8_t> Take(size_t n) {
        n = std::min(n, data_.size() - std::min(pos_, data_.size()));
        std::span<const uint8_t> s = data_.subspan(pos_, n);
        pos_ += n;
        return s;
    }
    std::span<const uint8_t> Rest() { return Take(data_.size()); }

private:
    std::span<const uint8_t> data_;
    size_t pos_ = 0;
};

}  // namespace lldpv2fuzz
