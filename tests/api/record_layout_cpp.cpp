// The record layouts as a C++ host sees them.
#include "record_layout.h"
