// libsmi's header names a parameter "class", which is a keyword in C++.
#pragma once

#define class smi_class_
#include <smi.h>
#undef class
