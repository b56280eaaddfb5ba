// A failed allocation is an answer that the targets ask for, and short histories of allocations
// make them faster.
extern "C" const char* __asan_default_options();

extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:detect_leaks=1:detect_stack_use_after_return=1:"
           "malloc_context_size=10:quarantine_size_mb=64:strict_string_checks=1";
}
