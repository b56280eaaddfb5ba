// Hosts one of Aravis' GigE Vision cameras until its input ends or it is killed:
// camera_host ADDRESS SERIAL_NUMBER [LOST_PACKETS], the last from 0 to 1. Runs only where the
// loopback device is the only one.
#include <arv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <net/if.h>

namespace {

bool IsAlone() {
    bool isAlone = true;
    struct if_nameindex* const all = if_nameindex();
    for (const struct if_nameindex* one = all; one != nullptr && one->if_index != 0; ++one) {
        isAlone = isAlone && std::strcmp(one->if_name, "lo") == 0;
    }
    if_freenameindex(all);
    return all != nullptr && isAlone;
}

} // namespace

int main(int argc, char** argv) {
    // Without this file the camera has a description of its own.
    arv_set_fake_camera_genicam_filename(std::getenv("CAMERA_DESCRIPTION"));
    if (argc < 3) {
        return 2;
    }
    if (!IsAlone()) {
        std::fputs("camera_host: there is a network device beside the loopback device\n", stderr);
        return 1;
    }
    ArvGvFakeCamera* const camera = arv_gv_fake_camera_new(argv[1], argv[2]);
    if (camera == nullptr || !arv_gv_fake_camera_is_running(camera)) {
        std::fputs("camera_host: the camera does not start\n", stderr);
        return 1;
    }
    if (argc > 3) {
        g_object_set(camera, "gvsp-lost-ratio", std::atof(argv[3]), nullptr);
    }
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    g_object_unref(camera);
    return 0;
}
