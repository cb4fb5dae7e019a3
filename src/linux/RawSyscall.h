#pragma once

#include <type_traits>

namespace torvo {

namespace detail {

inline long trap(long number, long first, long second, long third, long fourth, long fifth) {
#if defined(__x86_64__)
    register long r10 asm("r10") = fourth;
    register long r8 asm("r8") = fifth;
    long result = number;
    asm volatile("syscall"
                 : "+a"(result)
                 : "D"(first), "S"(second), "d"(third), "r"(r10), "r"(r8)
                 : "rcx", "r11", "memory");
    return result;
#elif defined(__aarch64__)
    register long x8 asm("x8") = number;
    register long x0 asm("x0") = first;
    register long x1 asm("x1") = second;
    register long x2 asm("x2") = third;
    register long x3 asm("x3") = fourth;
    register long x4 asm("x4") = fifth;
    asm volatile("svc 0" : "+r"(x0) : "r"(x8), "r"(x1), "r"(x2), "r"(x3), "r"(x4) : "memory");
    return x0;
#else
#error "No raw system calls for this processor yet."
#endif
}

template <typename Value>
long toRegister(Value value) {
    if constexpr (std::is_pointer_v<Value>)
        return reinterpret_cast<long>(value);
    else
        return static_cast<long>(value);
}

} // namespace detail

/// A system call without the C library around it: no errno, no cancellation point, no lock. Usable in a child that
/// still shares its parent's memory. Returns what the kernel returned: a negative error number on failure.
/// Register use: syscall(2), "Architecture calling conventions".
template <typename First, typename Second = int, typename Third = int, typename Fourth = int, typename Fifth = int>
long rawSyscall(long number, First first, Second second = 0, Third third = 0, Fourth fourth = 0, Fifth fifth = 0) {
    return detail::trap(number, detail::toRegister(first), detail::toRegister(second), detail::toRegister(third),
                        detail::toRegister(fourth), detail::toRegister(fifth));
}

} // namespace torvo
