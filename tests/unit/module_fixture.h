// A test fixture with a fresh simulated switch and the module loaded.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"
#include "lldpv2host/testing.h"
#include "lldpv2host/trace.h"
#include "module_loader.h"
#include "mor_client.h"

namespace lldpv2test {

class ModuleTest : public ::testing::Test {
protected:
    void SetUp() override {
        lldpv2host::ClearFaults();
        lldpv2host::testing::ResetTesting();
        lldpv2host::ResetSwitch();
        lldpv2host::ResetLldp();
        lldpv2host::AddNode(1);
        module_ = std::make_unique<Module>();
    }
    void TearDown() override {
        module_.reset();
        lldpv2host::ClearFaults();
        lldpv2host::testing::ResetTesting();
    }

    Module &module() { return *module_; }

private:
    std::unique_ptr<Module> module_;
};

}  // namespace lldpv2test
