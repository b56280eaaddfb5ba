// What the library is, for whoever finds it in a process: a resource tells it on Windows.
extern "C" {

extern __attribute__((visibility("default"))) const char OptivoLibraryKind[];
extern __attribute__((visibility("default"))) const char OptivoLibraryVersion[];

const char OptivoLibraryKind[] = "simulated";
const char OptivoLibraryVersion[] = OPTIVO_LIBRARY_VERSION;

} // extern "C"
