// Symbols that the module exports to the agent process; everything else in
// the module stays hidden.
#pragma once

#define LLDPV2_EXPORT __attribute__((visibility("default")))
