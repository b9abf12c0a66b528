// The four views of lldpv2ctl: each reads what it shows with the table
// reader into one JSON document (the --json output) and formats that
// document as text.
#pragma once

#include <string>

#include "json.h"
#include "table_reader.h"

namespace lldpv2ctl {

// Whether the agent serves LLDP-V2-MIB: the first object after
// lldpV2Objects must lie inside it. ServesV1Only: it does not, but serves
// the LLDP-MIB of 2005.
enum class Support { Served, NotServed, ServesV1Only };
Support CheckSupport(TableReader &reader);

Json ReadNeighbors(TableReader &reader, bool detail);
Json ReadStatistics(TableReader &reader);
Json ReadLocal(TableReader &reader);
Json ReadConfig(TableReader &reader);

std::string NeighborsText(const Json &doc, bool detail);
std::string StatisticsText(const Json &doc);
std::string LocalText(const Json &doc);
std::string ConfigText(const Json &doc);

// Left-aligned columns separated by two spaces; columns marked numeric are
// right-aligned.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headers, std::vector<bool> numeric = {});
    void Add(std::vector<std::string> row);
    std::string Render() const;
    size_t Rows() const { return rows_.size(); }

private:
    std::vector<std::string> headers_;
    std::vector<bool> numeric_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace lldpv2ctl
