// scengen: writes a generated scenario (see generator.h) for load and
// benchmark runs.
//
//   scengen [--nodes N] [--ports P] [--neighbours K] [--agents A] [--raw]
//           [--dcbx-every D] [--extra-tlvs] [--time-spread T] [--seed S] [-o FILE] [--check]
//
// --extra-tlvs gives every neighbour an unknown TLV and an organizationally
// defined TLV that no decoder knows, so that the remote unknown TLV and
// organizationally defined information tables have a row per neighbour.
//
// --check loads the generated scenario into the host platform and prints
// what it holds; the exit status tells whether it loaded.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "generator.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"

namespace {

int Usage() {
    std::fprintf(stderr,
                 "usage: scengen [--nodes N] [--ports P] [--neighbours K] [--agents A] [--raw]\n"
                 "               [--dcbx-every D] [--extra-tlvs] [--time-spread T] [--seed S] [-o FILE] [--check]\n");
    return 2;
}

bool Number(const char *text, uint32_t &out) {
    char *end = nullptr;
    const unsigned long v = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || v > 0xFFFFFFFFul) return false;
    out = static_cast<uint32_t>(v);
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    scengen::Options o;
    std::string output;
    bool check = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](uint32_t &field) {
            return i + 1 < argc && Number(argv[++i], field);
        };
        bool ok = true;
        if (arg == "--nodes") ok = value(o.nodes);
        else if (arg == "--ports") ok = value(o.portsPerNode);
        else if (arg == "--neighbours") ok = value(o.neighbours);
        else if (arg == "--agents") ok = value(o.agents);
        else if (arg == "--dcbx-every") ok = value(o.dcbxEvery);
        else if (arg == "--time-spread") ok = value(o.timeSpread);
        else if (arg == "--seed") ok = value(o.seed);
        else if (arg == "--raw") o.raw = true;
        else if (arg == "--extra-tlvs") o.extraTlvs = true;
        else if (arg == "--check") check = true;
        else if (arg == "-o" && i + 1 < argc) output = argv[++i];
        else ok = false;
        if (!ok) return Usage();
    }
    std::string error;
    const std::string yaml = scengen::Generate(o, &error);
    if (yaml.empty()) {
        std::fprintf(stderr, "scengen: %s\n", error.c_str());
        return 2;
    }
    if (!output.empty()) {
        std::ofstream out(output, std::ios::binary | std::ios::trunc);
        out << yaml;
        if (!out) {
            std::fprintf(stderr, "scengen: cannot write %s\n", output.c_str());
            return 1;
        }
    } else if (!check) {
        std::fwrite(yaml.data(), 1, yaml.size(), stdout);
    }
    if (check) {
        const auto start = std::chrono::steady_clock::now();
        if (!lldpv2host::LoadScenarioText(yaml, &error, output.empty() ? "<generated>" : output)) {
            std::fprintf(stderr, "scengen: the generated scenario does not load: %s\n", error.c_str());
            return 1;
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("loaded %zu neighbours in %.2f s\n", lldpv2host::NeighbourCount(), seconds);
        if (lldpv2host::NeighbourCount() != o.neighbours) {
            std::fprintf(stderr, "scengen: expected %u neighbours\n", o.neighbours);
            return 1;
        }
    }
    return 0;
}
