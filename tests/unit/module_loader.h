// Loads the LLDP-V2 module into the test process the way the agent does
// (dlopen), so that its constructor registers trees and callback with the
// host platform, and unloads it again (dlclose runs the destructor).
#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace lldpv2test {

class Module {
public:
    Module() : handle_(dlopen(LLDPV2_MODULE_PATH, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) throw std::runtime_error(std::string("dlopen: ") + dlerror());
    }
    ~Module() { Unload(); }
    Module(const Module &) = delete;
    Module &operator=(const Module &) = delete;

    void Unload() {
        if (handle_ != nullptr) {
            dlclose(handle_);
            handle_ = nullptr;
        }
    }

    // Address of an exported symbol; throws when the module does not export it.
    template <typename T>
    T *Symbol(const char *name) const {
        void *p = dlsym(handle_, name);
        if (p == nullptr) throw std::runtime_error(std::string("missing symbol ") + name);
        return reinterpret_cast<T *>(p);
    }

    // An exported function, e.g. Function<uint32_t(uint32_t, uint16_t)>("LLDP_mibpub_CheckAgent").
    template <typename F>
    F *Function(const char *name) const {
        return Symbol<F>(name);
    }

private:
    void *handle_;
};

}  // namespace lldpv2test
