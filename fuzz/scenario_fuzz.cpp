// Scenario text through the loader: every input is read and checked; one
// that moves no clock (no 'at' or 'clock') is loaded into the switch too.
#include <string>

#include "fuzz_common.h"
#include "lldpv2host/lldp.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // Large inputs are the size limit's business, not the reader's.
    lldpv2host::SetScenarioSizeLimit(64 * 1024);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const lldpv2host::ScenarioCheck check = lldpv2host::CheckScenarioText(text, "fuzz.yaml");
    if (check.errors.size() > lldpv2host::kMaxScenarioErrors) lldpv2fuzz::Fault("too many errors reported");
    for (const std::string &e : check.errors) {
        if (e.rfind("fuzz.yaml:", 0) != 0) lldpv2fuzz::Fault("error without its place: " + e);
    }
    if (text.find("at") == std::string::npos && text.find("clock") == std::string::npos) {
        std::string error;
        const bool loaded = lldpv2host::LoadScenarioText(text, &error, "fuzz.yaml");
        if (loaded && !check.errors.empty()) lldpv2fuzz::Fault("loaded a scenario the check refused");
    }
    return 0;
}
