// How often this thread has thrown a C++ exception, or thrown it again, in the module too.
#pragma once

#include <cstdint>

uint64_t NumThrown();
