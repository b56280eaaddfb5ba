// A failed allocation is an answer that the tests ask for.
#if defined(__SANITIZE_THREAD__)

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();

extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

#endif
