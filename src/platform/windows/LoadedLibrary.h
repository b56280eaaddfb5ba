// A library that is found and loaded while the program runs, so that what is wrong with it can be
// told. This file knows nothing of the rest of the producer.
#pragma once

namespace GenICam::Client::Platform {

// The function of that name in a library: the file beside this module, or else the one that Windows
// finds. It stays loaded until the process ends. Throws std::runtime_error, naming the file and
// what to do, when there is no such library or function. Safe on any thread.
void (*LibraryFunction(const wchar_t* file, const char* function))();

} // namespace GenICam::Client::Platform
