// What the operating system says of this process.
#pragma once

double ResidentKibibytes();
unsigned NumThreads();
// Handles, or open files.
unsigned NumHandles();
