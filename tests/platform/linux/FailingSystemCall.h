// Makes one system call fail for the rest of a process, as a broken disk would.
//
// A seccomp filter, so that the code under test runs as it is, down to the kernel. Only in a child process:
// the filter can't be taken back.
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace test {

/// Which calls fail: those whose argument `index` has this `value` in its low 32 bits.
struct WithArgument {
    unsigned index;
    std::uint32_t value;
};

/// Those whose argument `index` has any of these `bits`.
struct WithBits {
    unsigned index;
    std::uint32_t bits;
};

namespace detail {

inline bool Install(sock_filter* rows, std::size_t count) {
    const sock_fprog program{static_cast<unsigned short>(count), rows};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

inline sock_filter Load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
inline sock_filter Otherwise(std::uint32_t wanted, unsigned char skip) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, wanted, 0, skip);
}
inline sock_filter WithoutBits(std::uint32_t bits, unsigned char skip) {
    return BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 0, skip);
}
inline sock_filter Answer(std::uint32_t answer) {
    return BPF_STMT(BPF_RET | BPF_K, answer);
}

inline bool FailWhere(long number, int error, unsigned index, const sock_filter& condition) {
    std::array rows = {
        Load(offsetof(seccomp_data, nr)),
        Otherwise(static_cast<std::uint32_t>(number), 3),
        Load(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t)),
        condition,
        Answer(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
        Answer(SECCOMP_RET_ALLOW),
    };
    return Install(rows.data(), rows.size());
}

}  // namespace detail

/// From now on `number` (__NR_...) ends with `error` (E...). False when the system takes no filter.
inline bool FailSystemCall(long number, int error) {
    std::array rows = {
        detail::Load(offsetof(seccomp_data, nr)),
        detail::Otherwise(static_cast<std::uint32_t>(number), 1),
        detail::Answer(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
        detail::Answer(SECCOMP_RET_ALLOW),
    };
    return detail::Install(rows.data(), rows.size());
}

inline bool FailSystemCall(long number, int error, WithArgument argument) {
    return detail::FailWhere(number, error, argument.index, detail::Otherwise(argument.value, 1));
}

inline bool FailSystemCall(long number, int error, WithBits argument) {
    return detail::FailWhere(number, error, argument.index, detail::WithoutBits(argument.bits, 1));
}

}  // namespace test
