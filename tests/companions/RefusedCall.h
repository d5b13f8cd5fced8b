// Makes a system call fail, with a filter of seccomp(2).
//
// Unlike tests/files/SystemCalls.h, this includes calls that the C library and the C++ library make
// themselves, such as that of gethostname(3).
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

// Makes the call with this number (SYS_write) fail in this process. `arguments` has pairs of an
// index and a value: only calls with these arguments fail. Lasts until the process ends, so it
// should be called in an OtherProcess.
inline void RefuseCall(long number, int error,
                       std::vector<std::pair<std::size_t, int>> const& arguments = {}) {
    std::vector<sock_filter> filter;
    // The last two instructions refuse and allow the call.
    std::size_t const allowing = 2 * arguments.size() + 3;
    auto const require = [&](std::size_t offset, std::uint32_t value) {
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
        auto const skipped = static_cast<std::uint8_t>(allowing - filter.size() - 1);
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, skipped));
    };
    require(offsetof(seccomp_data, nr), static_cast<std::uint32_t>(number));
    // The lower half of each argument, which comes first.
    for (auto const& [index, value] : arguments)
        require(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t),
                static_cast<std::uint32_t>(value));
    filter.push_back(
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    sock_fprog const program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        throw std::runtime_error("cannot install a filter of system calls");
}
