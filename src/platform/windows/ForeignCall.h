/* Calls into a library that another compiler built, on Windows. Visual C++ throws its exceptions as
   structured ones, which g++ neither catches nor survives: they end here.
   Plain C, because the file behind it is compiled by clang: g++ has no structured exception
   handling. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Runs call(context). Answers 0 when it returned, and 1 when an exception of Visual C++ ended it:
   then everything that the library had on the stack is destroyed, the exception too, and *message
   is its text if it is a std::runtime_error, to be given back with free, and null otherwise.
   Frames between the library and this function must have nothing to destroy. Exceptions of g++
   pass through; so do hardware faults, which end the process. Safe on any thread. */
int NorvelCallForeign(void (*call)(void* context), void* context, char** message);

#ifdef __cplusplus
}
#endif
