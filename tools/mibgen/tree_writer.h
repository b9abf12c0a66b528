// Writes compiled MIB trees as C++ sources of node records.
#pragma once

#include <string>
#include <vector>

#include "tree_model.h"

namespace mibgen {

// C++ source of one tree: every node as an exported record
// <prefix>_node_<name>, with its syntax, restriction and index data.
std::string WriteTreeSource(const Tree &tree, const std::string &headerName);

// Header that declares the roots and registered names of all trees.
std::string WriteTreesHeader(const std::vector<Tree> &trees);

// Header of named constants: the table id of every entry or scalar group
// and the MOR id of every served column and scalar.
std::string WriteMorIdsHeader(const std::vector<Tree> &trees);

// File name of a tree's source, e.g. "lldpv2_tree.cpp".
std::string TreeSourceName(const Tree &tree);

}  // namespace mibgen
