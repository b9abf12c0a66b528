// Loading and unloading of the module: registration of the three MIB trees,
// the MOR callback, the table processors and the TLV codecs.
#include "common/export.h"
#include "common/mibpub.h"
#include "mibtrees/mib_trees.h"

namespace {

struct TreeHook {
    const char *name;
    const MIB_NODE_S *root;
};

constexpr uint32_t kTreeContext = 0;
constexpr uint32_t kTreeVersion = 1;

constexpr TreeHook kBaseTree{"LLDPV2-MIB", &lldpv2_tree_node_iso};
constexpr TreeHook kDot1Tree{"LLDPV2-EXT-DOT1-MIB", &lldpv2_dot1_tree_node_iso};
constexpr TreeHook kDot3Tree{"LLDPV2-EXT-DOT3-MIB", &lldpv2_dot3_tree_node_iso};

uint32_t AddTree(const TreeHook &tree) {
    return SNMP_RegisterMibTree(tree.name, kTreeContext, kTreeVersion, tree.root);
}
uint32_t DelTree(const TreeHook &tree) { return SNMP_DeregMibTree(tree.name, kTreeContext, kTreeVersion, tree.root); }

}  // namespace

extern "C" {

LLDPV2_EXPORT uint32_t SNMP_Add_MIB_lldpv2_tree(void) { return AddTree(kBaseTree); }
LLDPV2_EXPORT uint32_t SNMP_Add_MIB_lldpv2_dot1_tree(void) { return AddTree(kDot1Tree); }
LLDPV2_EXPORT uint32_t SNMP_Add_MIB_lldpv2_dot3_tree(void) { return AddTree(kDot3Tree); }
LLDPV2_EXPORT uint32_t SNMP_Del_MIB_lldpv2_tree(void) { return DelTree(kBaseTree); }
LLDPV2_EXPORT uint32_t SNMP_Del_MIB_lldpv2_dot1_tree(void) { return DelTree(kDot1Tree); }
LLDPV2_EXPORT uint32_t SNMP_Del_MIB_lldpv2_dot3_tree(void) { return DelTree(kDot3Tree); }

// Registers the four TLV codecs; every one is tried even after a failure.
LLDPV2_EXPORT uint32_t _mib_RegTLV(void) {
    uint32_t failed = 0;
    failed |= LLDP_libbasic_Reg();
    failed |= LLDP_libdot1_Reg();
    failed |= LLDP_libdot3_Reg();
    failed |= LLDP_libDcbx_Reg();
    return failed != 0 ? lldpv2::kErrGeneral : lldpv2::kOk;
}

// Unregisters the four TLV codecs; the result is that of the DCBX codec.
LLDPV2_EXPORT uint32_t _mib_UnRegTLV(void) {
    LLDP_libbasic_UnReg();
    LLDP_libdot1_UnReg();
    LLDP_libdot3_UnReg();
    return LLDP_libDcbx_UnReg();
}

}  // extern "C"

namespace {

// Neither routine reports to anybody: a failure inside simply leaves the
// module without trees, callback or codecs.
__attribute__((constructor)) void LoadModule() {
    SNMP_Add_MIB_lldpv2_tree();
    SNMP_Add_MIB_lldpv2_dot1_tree();
    SNMP_Add_MIB_lldpv2_dot3_tree();
    LLDP_mibpub_V2MibMorInit();
    LLDPV2_MIB_InitBasic();
    LLDPV2_DOT1_MIB_Init();
    LLDPV2_DOT3_MIB_Init();
    DCBX_MIB_Init();
    LLDP_tlvmng_Init();
    _mib_RegTLV();
}

__attribute__((destructor)) void UnloadModule() {
    SNMP_Del_MIB_lldpv2_dot3_tree();
    SNMP_Del_MIB_lldpv2_dot1_tree();
    SNMP_Del_MIB_lldpv2_tree();
    LLDP_mibpub_V2MibMorFini();
    LLDP_tlvmng_Exit();
    _mib_UnRegTLV();
}

}  // namespace
