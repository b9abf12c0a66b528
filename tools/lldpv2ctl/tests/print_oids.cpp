// Prints every OID lldpv2ctl has compiled in, one "NAME OID" a line, for
// check_oids.sh to compare with the MIB modules.
#include <cstdio>

#include "oids.h"

int main() {
    for (const auto &[name, oid] : lldpv2ctl::NamedOids()) std::printf("%s .%s\n", name.c_str(), lldpv2ctl::OidText(oid).c_str());
    return 0;
}
