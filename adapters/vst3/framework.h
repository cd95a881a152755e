// SPDX-License-Identifier: ISC
// The framework, silent: it writes to the terminal whenever a host does what it did not expect, in
// every block where the host does not ask for the plug-in's own parameter changes.
#pragma once

#include <DistrhoUtils.hpp>

// The printing functions are defined by now; what uses them comes after.
#define d_stderr(...)
#define d_stderr2(...)
#define d_safe_assert(...)
#define d_safe_assert_int(...)
#define d_safe_assert_uint(...)
#define d_safe_assert_int2(...)
#define d_safe_assert_uint2(...)
#define d_custom_safe_assert(...)
#define d_safe_exception(...)

#include <DistrhoPlugin.hpp>
