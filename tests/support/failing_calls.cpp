// Fault injection library, to be preloaded. Environment variables:
//   FAULT_write=3      makes the third write fail;
//   FAULT_write=3-     makes the third write and all later ones fail;
//   FAULT_COUNTS=FILE  writes one line with the blocks that were not released, and one line per
//                      kind of call: name, number of calls, errno of a fault.
// A seccomp filter traps every such call of the C library, including its streams, and a signal
// handler fails or performs it. Counting starts when the program is loaded.
#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

namespace {

struct Call {
    long number;
    std::array<long, 6> arguments;
};

constexpr int kShort = 0; // instead of an errno: processes half of the bytes

struct Kind {
    const char *name;
    int reason; // for errno
    std::initializer_list<long> calls;
    int flags = 0;    // only an openat with all of these
    long failing = 0; // 0: none
    bool later_ones_too = false;
    long count = 0;

    [[nodiscard]] bool includes(const Call &call) const {
        return std::ranges::find(calls, call.number) != calls.end() &&
               (call.arguments[2] & flags) == flags;
    }
    [[nodiscard]] bool strikes() const {
        return failing > 0 && (count == failing || (later_ones_too && count > failing));
    }
};

Kind kinds[] = {
    {"alloc", ENOMEM, {}},
#ifdef __x86_64__
    {"open", EACCES, {SYS_open, SYS_openat}},
    {"create", EACCES, {SYS_openat}, O_CREAT},
    {"nameless", EOPNOTSUPP, {SYS_openat}, O_TMPFILE},
    {"memory_file", EMFILE, {SYS_memfd_create}},
    {"read", EIO, {SYS_read, SYS_pread64, SYS_readv}},
    {"short_read", kShort, {SYS_read, SYS_pread64}},
    {"write", ENOSPC, {SYS_write, SYS_pwrite64, SYS_writev}},
    {"short_write", kShort, {SYS_write, SYS_pwrite64}},
    {"copy", EIO, {SYS_sendfile}},
    {"short_copy", kShort, {SYS_sendfile}},
    {"seek", ESPIPE, {SYS_lseek}},
    {"stat", EOVERFLOW, {SYS_newfstatat, SYS_fstat, SYS_stat, SYS_lstat, SYS_statx}},
    {"access", EACCES, {SYS_access, SYS_faccessat}},
    {"map", ENODEV, {SYS_mmap}},
    {"rights", EPERM, {SYS_fchmod, SYS_fchown}},
    {"allocate", ENOSPC, {SYS_fallocate}},
    {"truncate", EIO, {SYS_ftruncate}},
    {"sync", EIO, {SYS_fsync, SYS_fdatasync}},
    {"link", EPERM, {SYS_link, SYS_linkat}},
    {"rename", EBUSY, {SYS_rename, SYS_renameat, SYS_renameat2}},
    {"duplicate", EMFILE, {SYS_dup, SYS_dup2, SYS_dup3, SYS_fcntl}},
    {"close", EIO, {SYS_close}},
#endif
};

bool is_counting = false;

#ifdef __x86_64__

// Performs a call that the filter does not trap.
long make(const Call &call) {
    const auto [first, second, third, fourth, fifth, sixth] = call.arguments;
    register long r10 asm("r10") = fourth;
    register long r8 asm("r8") = fifth;
    register long r9 asm("r9") = sixth;
    long result = call.number;
    asm volatile("syscall"
                 : "+a"(result)
                 : "D"(first), "S"(second), "d"(third), "r"(r10), "r"(r8), "r"(r9)
                 : "rcx", "r11", "memory");
    return result;
}

// Returns whether the call counts: mappings without a file belong to malloc.
bool is_counted(const Call &call) {
    return is_counting && !(call.number == SYS_mmap && (call.arguments[3] & MAP_ANONYMOUS) != 0);
}

long make_unless_it_fails(Call call) {
    int reason = 0;
    for (Kind &kind : kinds) {
        if (!is_counted(call) || !kind.includes(call))
            continue;
        ++kind.count;
        if (!kind.strikes())
            continue;
        reason = kind.reason;
        long &bytes = call.arguments[call.number == SYS_sendfile ? 3 : 2];
        if (reason == kShort)
            bytes = (bytes + 1) / 2;
    }
    // A failing close still closes the descriptor.
    const long result = reason == 0 || call.number == SYS_close ? make(call) : 0;
    return reason == 0 ? result : -reason;
}

void on_call(int /*signal*/, siginfo_t *info, void *context) {
    greg_t *of = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
    of[REG_RAX] = make_unless_it_fails(
        {info->si_syscall,
         {of[REG_RDI], of[REG_RSI], of[REG_RDX], of[REG_R10], of[REG_R8], of[REG_R9]}});
}

// Traps calls of the C library by address. The lower half of an address suffices, because libraries
// are close together.
void stop_calls() {
    dl_find_object library{};
    _dl_find_object(reinterpret_cast<void *>(&getpid), &library);
    const auto start = reinterpret_cast<uintptr_t>(library.dlfo_map_start);
    const uintptr_t size = reinterpret_cast<uintptr_t>(library.dlfo_map_end) - start;
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, instruction_pointer)),
        BPF_STMT(BPF_ALU | BPF_SUB | BPF_K, static_cast<uint32_t>(start)),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, static_cast<uint32_t>(size), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const Kind &kind : kinds)
        for (const long call : kind.calls) {
            filter.push_back(
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
            filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
        }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));

    struct sigaction action {};
    action.sa_sigaction = on_call;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigaction(SIGSYS, &action, nullptr);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        perror("no filter for calls");
        _exit(127);
    }
}

#else
void stop_calls() {}
#endif

[[gnu::constructor]] void begin() {
    for (Kind &kind : kinds)
        if (const char *order = getenv((std::string{"FAULT_"} + kind.name).c_str())) {
            kind.failing = atol(order);
            kind.later_ones_too = strchr(order, '-') != nullptr;
        }
    stop_calls();
    is_counting = true;
    failing_malloc::arm(kinds[0].failing, kinds[0].later_ones_too);
}

[[gnu::destructor]] void store_counts() {
    is_counting = false;
    const failing_malloc::Tally tally = failing_malloc::disarm();
    kinds[0].count = tally.allocations;
    const char *path = getenv("FAULT_COUNTS");
    FILE *file = path == nullptr ? nullptr : fopen(path, "w");
    if (file == nullptr)
        return;
    fprintf(file, "%ld\n", tally.live);
    for (const Kind &kind : kinds)
        fprintf(file, "%s %ld %s\n", kind.name, kind.count, strerror(kind.reason));
}

} // namespace

// Keeps the trap signal unblocked if a program blocks all signals.
extern "C" [[gnu::visibility("default")]] int pthread_sigmask(int how, const sigset_t *set,
                                                              sigset_t *old) noexcept {
    static auto *const real = reinterpret_cast<int (*)(int, const sigset_t *, sigset_t *)>(
        dlsym(RTLD_NEXT, "pthread_sigmask"));
    sigset_t without = set == nullptr ? sigset_t{} : *set;
    if (how != SIG_UNBLOCK)
        sigdelset(&without, SIGSYS);
    return real(how, set == nullptr ? nullptr : &without, old);
}
