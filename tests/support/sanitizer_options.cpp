// What the sanitizers are told, whoever starts a test program and from wherever. The functions are
// called by the sanitizers' runtimes and by nobody else.

extern "C" {

const char * __asan_default_options() {
    return "allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1";
}

const char * __ubsan_default_options() {
    // Who handles faults is one of the things tested.
    return "halt_on_error=1:print_stacktrace=1:handle_segv=0:handle_sigbus=0";
}

const char * __tsan_default_options() {
    return "halt_on_error=1:allocator_may_return_null=1";
}
}
