// SPDX-License-Identifier: ISC
// A module in a page has no system below it: no environment, no stream for a last message. What
// cannot go on, such as want of memory, stops the module, and JavaScript catches that as a
// RuntimeError. These stand in for the libraries' functions, which would import a system's.
#include <cstddef>
#include <cstdlib>

extern "C" {
char* getenv(const char*) { return nullptr; }
_Noreturn void abort() { __builtin_trap(); }

// NOLINTBEGIN(bugprone-reserved-identifier,modernize-avoid-variadic-functions): their names

// The compiler's: for an exception that is thrown, and for a function that nothing overrides.
void* __cxa_allocate_exception(std::size_t) noexcept { __builtin_trap(); }
[[noreturn]] void __cxa_throw(void*, void*, void (*)(void*)) { __builtin_trap(); }
[[noreturn]] void __cxa_pure_virtual() { __builtin_trap(); }
[[noreturn]] void __abort_message(const char*, ...) { __builtin_trap(); }
}

// libc++'s, for a broken precondition.
_LIBCPP_BEGIN_NAMESPACE_STD
[[noreturn]] void __libcpp_verbose_abort(const char*, ...) noexcept { __builtin_trap(); }
_LIBCPP_END_NAMESPACE_STD
// NOLINTEND(bugprone-reserved-identifier,modernize-avoid-variadic-functions)
