// SPDX-License-Identifier: ISC
#include "python/sweeps.h"

#include <chrono>
#include <future>
#include <memory>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>
#include <stop_token>

#include "python/player.h"
#include "tools/host/progress.h"
#include "tools/sweep/sweep.h"

namespace quellard {
namespace py = pybind11;
namespace fs = std::filesystem;
namespace {

Axis axisFrom(const std::string& name, const py::object& values) {
  if (py::isinstance<py::str>(values)) return Axis::parse(name + '=' + values.cast<std::string>());
  return Axis::listing(name, values.cast<std::vector<std::string>>());
}

// Of each axis its name, and a text or a list of values.
using Grid = std::vector<std::pair<std::string, py::object>>;

SweepSettings settingsFrom(const Assignments& settings, const Grid& grid, const py::dict& options) {
  SweepSettings all;
  for (const auto& [name, value] : settings) assign(name, value, all.base);
  for (const auto& [name, values] : grid) all.axes.push_back(axisFrom(name, values));
  all.random = options["random"].cast<int>();
  all.seed = options["seed"].cast<int>();
  all.automation = options["automation"].cast<std::string>();
  all.mono = options["mono"].cast<bool>();
  all.tailSeconds = options["tail"].cast<double>();
  all.blockLength = options["block"].cast<int>();
  all.sampleFormat = options["format"].cast<std::string>();
  all.fileType = options["type"].cast<std::string>();
  return all;
}

// On a thread of its own, so that this one may listen for the keyboard's interrupt.
SweepResult run(const Sweep& sweep, int threads, bool showsProgress) {
  std::stop_source stop;
  Manifest manifest(sweep.folder());
  Progress progress(showsProgress);
  auto running = std::async(std::launch::async, [&] {
    return runSweep(linkedAmplifier(), sweep, manifest, threads, progress, stop.get_token());
  });
  while (running.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() == 0) continue;
    stop.request_stop();
    throw py::error_already_set();  // once the last task has ended
  }
  return running.get();
}

std::string runTaskText(const std::string& text) {
  const py::gil_scoped_release unlocked;
  Progress silent(false);
  return runTask(linkedAmplifier(), text, silent).row;
}

}  // namespace

void defineSweeps(py::module_& module) {
  py::class_<SweepResult>(module, "SweepResult")
      .def_readonly("made", &SweepResult::made)
      .def_readonly("kept", &SweepResult::kept)
      .def_readonly("errors", &SweepResult::errors)
      .def_readonly("truncated", &SweepResult::truncated)
      .def_readonly("rows", &SweepResult::rows);
  py::class_<Sweep>(module, "Sweep")
      .def(py::init([](const std::vector<fs::path>& takes, const fs::path& folder,
                       const Assignments& settings, const Grid& grid, const py::dict& options) {
        const SweepSettings all = settingsFrom(settings, grid, options);
        const py::gil_scoped_release unlocked;
        return std::make_unique<Sweep>(takes, folder, all);
      }))
      .def("__len__", &Sweep::size)
      .def_property_readonly("errors", &Sweep::errors)
      .def("remove_leftovers", &Sweep::removeLeftovers)
      .def("outputs", &Sweep::outputs)
      .def("row", &Sweep::row)
      .def("task", &Sweep::task)
      .def_property_readonly("folder", &Sweep::folder)
      .def("run", &run, py::call_guard<py::gil_scoped_release>());
  py::class_<Manifest>(module, "Manifest")
      .def(py::init<const fs::path&>())
      .def("add", &Manifest::add)
      .def("finish", &Manifest::finish)
      .def("close", &Manifest::close);
  module.def("read_manifest", &readManifest);
  module.def("run_task", &runTaskText);
}

}  // namespace quellard
