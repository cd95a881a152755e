// SPDX-License-Identifier: ISC
// A function that JavaScript calls under this name.
#pragma once

#define QUELLARD_EXPORTED(name) extern "C" __attribute__((export_name(#name)))
