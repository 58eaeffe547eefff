// Settings of the sanitizers for the programs that work in a sandbox: it forbids what the search
// for leaks and the handling of signals need. A crash ends them by its signal, as it does without
// sanitizers; what a sanitizer finds itself ends them all the same.

extern "C" {
__attribute__((visibility("default"), used)) const char *__asan_default_options()
{
    return "detect_leaks=0:use_sigaltstack=0:handle_segv=0:handle_sigbus=0:handle_abort=0:"
           "handle_sigill=0:handle_sigfpe=0:allocator_may_return_null=1";
}

__attribute__((visibility("default"), used)) const char *__tsan_default_options()
{
    return "allocator_may_return_null=1:use_sigaltstack=0:handle_segv=0:handle_sigbus=0:"
           "handle_abort=0:handle_sigill=0:handle_sigfpe=0:die_after_fork=0";
}
}
