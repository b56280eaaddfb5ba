/* Loads the producer from the folder in GENICAM_GENTL64_PATH and prints the version it answers. */
#include <GenTL/GenTL.h>

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
    char path[4096];
    char version[64] = "";
    size_t size = sizeof version;
    INFO_DATATYPE type = 0;
    void* module;
    GC_ERROR (*init)(void);
    GC_ERROR (*info)(TL_INFO_CMD, INFO_DATATYPE*, void*, size_t*);

    snprintf(path, sizeof path, "%s/NorvelTL40.cti", getenv("GENICAM_GENTL64_PATH"));
    module = dlopen(path, RTLD_NOW);
    if (!module) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    *(void**)&init = dlsym(module, "GCInitLib");
    *(void**)&info = dlsym(module, "GCGetInfo");
    if (!init || !info || init() != GC_ERR_SUCCESS ||
        info(TL_INFO_VERSION, &type, version, &size) != GC_ERR_SUCCESS)
        return 2;
    puts(version);
    return 0;
}
