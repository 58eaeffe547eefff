#include "confinement.h"

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <seccomp.h>
#include <sys/mman.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

// What libclamav and the C library use while a file is scanned. Paths are Landlock's business.
constexpr int kAllowed[] = {
    // files and folders
    SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(pwrite64),
    SCMP_SYS(lseek), SCMP_SYS(fstat), SCMP_SYS(newfstatat), SCMP_SYS(stat), SCMP_SYS(lstat),
    SCMP_SYS(statx), SCMP_SYS(close), SCMP_SYS(openat), SCMP_SYS(open), SCMP_SYS(unlink),
    SCMP_SYS(unlinkat), SCMP_SYS(rmdir), SCMP_SYS(mkdir), SCMP_SYS(mkdirat), SCMP_SYS(ftruncate),
    SCMP_SYS(getdents64), SCMP_SYS(fcntl), SCMP_SYS(dup), SCMP_SYS(access), SCMP_SYS(faccessat),
    SCMP_SYS(getcwd), SCMP_SYS(umask),
    // memory; mapping and protecting see below
    SCMP_SYS(brk), SCMP_SYS(mremap), SCMP_SYS(munmap), SCMP_SYS(madvise),
#ifdef __SANITIZE_ADDRESS__
    SCMP_SYS(sigaltstack), // of the sanitizer's, whenever an exception is thrown
#endif
    // the socket to the pool
    SCMP_SYS(recvmsg), SCMP_SYS(sendmsg),
    // the rest
    SCMP_SYS(futex), SCMP_SYS(clock_gettime), SCMP_SYS(gettimeofday), SCMP_SYS(time),
    SCMP_SYS(getrandom), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(sysinfo),
    SCMP_SYS(sched_yield), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigreturn),
    SCMP_SYS(restart_syscall), SCMP_SYS(getrusage), SCMP_SYS(exit), SCMP_SYS(exit_group)};

// Nothing that scans a file has a use for these: whoever calls one has taken the worker over.
// Every other call is merely refused, for libclamav may try it and do without.
constexpr int kFatal[] = {SCMP_SYS(execve),
                          SCMP_SYS(execveat),
                          SCMP_SYS(ptrace),
                          SCMP_SYS(process_vm_readv),
                          SCMP_SYS(process_vm_writev),
                          SCMP_SYS(bpf),
                          SCMP_SYS(io_uring_setup),
                          SCMP_SYS(io_uring_enter),
                          SCMP_SYS(io_uring_register),
                          SCMP_SYS(mount),
                          SCMP_SYS(umount2),
                          SCMP_SYS(pivot_root),
                          SCMP_SYS(chroot),
                          SCMP_SYS(fsopen),
                          SCMP_SYS(move_mount),
                          SCMP_SYS(open_tree),
                          SCMP_SYS(setns),
                          SCMP_SYS(unshare),
                          SCMP_SYS(init_module),
                          SCMP_SYS(finit_module),
                          SCMP_SYS(kexec_load),
                          SCMP_SYS(keyctl),
                          SCMP_SYS(add_key),
                          SCMP_SYS(userfaultfd),
                          SCMP_SYS(perf_event_open)};

int fill(scmp_filter_ctx filter)
{
    int error = 0;
    const auto add = [&error](int result) {
        if (error == 0)
            error = result;
    };
    for (const int call : kAllowed)
        add(seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0));
    for (const int call : kFatal)
        add(seccomp_rule_add(filter, SCMP_ACT_KILL_PROCESS, call, 0));
    // Data stays data.
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
        add(seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 1,
                             SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)));
    // abort() must be able to end this process, and no other.
    add(seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(tgkill), 1,
                         SCMP_A0(SCMP_CMP_EQ, static_cast<scmp_datum_t>(getpid()))));
    if (error == 0)
        error = seccomp_load(filter);
    return error;
}

} // namespace

std::string filterSystemCalls()
{
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (!filter)
        return "system calls cannot be filtered";
    const int error = fill(filter);
    seccomp_release(filter);
    if (error != 0)
        return std::string("system calls cannot be filtered: ") + std::strerror(-error);
    return {};
}

} // namespace talo::worker
