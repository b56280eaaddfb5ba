// What the operating system says of this process.
#pragma once

#include <cstddef>

double ResidentKibibytes();
// What is taken from the heaps of the process.
size_t AllocatedBytes();
// Of all threads, in user and system mode, since the process began.
double ProcessorSeconds();
unsigned NumThreads();
// Handles, or open files.
unsigned NumHandles();
