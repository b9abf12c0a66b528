// mibgen: compiles the LLDP-V2 MIB modules into the module's node records.
//
//   mibgen <mib-directory> <output-directory>
//
// Loads LLDP-V2-MIB, LLDP-EXT-DOT1-V2-MIB, LLDP-EXT-DOT3-V2-MIB and what they
// import from <mib-directory>, and writes lldpv2_tree.cpp,
// lldpv2_dot1_tree.cpp, lldpv2_dot3_tree.cpp, mib_trees.h and mor_ids.h into
// <output-directory>. A file whose content is unchanged is not rewritten.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tree_model.h"
#include "tree_writer.h"

namespace {

const char kHeaderName[] = "mib_trees.h";
const char kMorIdsName[] = "mor_ids.h";

void WriteIfChanged(const std::filesystem::path &path, const std::string &content) {
    std::ifstream in(path, std::ios::binary);
    if (in) {
        std::ostringstream old;
        old << in.rdbuf();
        if (old.str() == content) return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <mib-directory> <output-directory>\n", argv[0]);
        return 2;
    }
    try {
        const std::vector<mibgen::Tree> trees = mibgen::BuildTrees(argv[1]);
        const std::filesystem::path outDir = argv[2];
        std::filesystem::create_directories(outDir);
        // The sources include the header by its path below the module directory.
        const std::string include = "mibtrees/" + std::string(kHeaderName);
        for (const mibgen::Tree &tree : trees) {
            WriteIfChanged(outDir / mibgen::TreeSourceName(tree), mibgen::WriteTreeSource(tree, include));
            size_t served = 0;
            for (const auto &entry : tree.nodes) served += entry.second.morId != 0 ? 1 : 0;
            std::printf("%s: %zu nodes, %zu leaves with a MOR id\n", tree.layout.prefix.c_str(), tree.nodes.size(),
                        served);
        }
        WriteIfChanged(outDir / kHeaderName, mibgen::WriteTreesHeader(trees));
        WriteIfChanged(outDir / kMorIdsName, mibgen::WriteMorIdsHeader(trees));
    } catch (const std::exception &e) {
        std::fprintf(stderr, "mibgen: %s\n", e.what());
        return 1;
    }
    return 0;
}
