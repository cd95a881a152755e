// SPDX-License-Identifier: ISC
// Sweeps from Python: the plan, its tasks as texts, and the list of results.
#pragma once

#include <pybind11/pybind11.h>

namespace quellard {

void defineSweeps(pybind11::module_& module);

}  // namespace quellard
