// A library that has something else to offer.
extern "C" __declspec(dllexport) int GetSystems() {
    return 0;
}
