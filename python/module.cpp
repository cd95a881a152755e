// SPDX-License-Identifier: ISC
// quellard._core: what the package's Python files build on.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "params/parameter_values.h"
#include "python/player.h"
#include "python/sweeps.h"
#include "rig/value_text.h"
#include "tools/common/errors.h"
#include "tools/common/json_text.h"
#include "tools/settings/knobs.h"
#include "tools/settings/presets.h"
#include "tools/settings/settings_json.h"

namespace quellard {
namespace py = pybind11;
namespace {

py::dict textsDict(const HostedValues& values) {
  py::dict texts;
  for (int index = 1; index <= kNumHostedValues; ++index) {
    if (index == kBypassParameter) continue;
    const RigParameterInfo* const rig = rigParameterInfo(index);
    const char* const symbol = index == kTypeParameter ? "channel"
                               : rig != nullptr        ? rig->word
                                                       : parameterInfo(index).symbol;
    texts[symbol] = valueText(index, values[index]).data();
  }
  return texts;
}

py::list parameterRows() {
  py::list rows;
  for (int index = 1; index <= kNumHostedValues; ++index) {
    if (index == kBypassParameter) continue;
    const RigParameterInfo* const rig = rigParameterInfo(index);
    py::dict row;
    row["title"] = hostedTitle(index).data();
    if (index == kTypeParameter) {
      row["name"] = "channel";
      row["default"] = channelWord(channelFromSelect(kTypeDefault));
      py::list choices;
      for (int channel = 0; channel < kNumChannels; ++channel) choices.append(channelWord(channel));
      row["choices"] = py::tuple(choices);
    } else if (rig == nullptr) {
      row["name"] = parameterInfo(index).symbol;
      row["default"] = positionFromKnob(kKnobDefault);
      row["minimum"] = 0.0;
      row["maximum"] = kKnobScale;
    } else {
      const bool gate = index == kGateParameter;
      row["name"] = rig->word;
      row["default"] = gate ? py::object(py::str("off")) : py::float_(0.0);
      row["minimum"] = gate ? kLowestGate_dbfs : -kMostLevel_db;
      row["maximum"] = gate ? kHighestGate_dbfs : kMostLevel_db;
      row["unit"] = gate ? "dBFS" : "dB";
    }
    rows.append(row);
  }
  return rows;
}

py::dict presetRow(const Preset& preset) {
  py::dict row;
  row["name"] = preset.name;
  row["description"] = preset.description;
  row["own"] = !preset.isFactory;
  row["settings"] = amplifierAsJson(preset.values).dump();
  return row;
}

py::list presetRows() {
  py::list rows;
  for (const Preset& preset : listPresetFiles().presets) rows.append(presetRow(preset));
  return rows;
}

void defineErrors(py::module_& module) {
  py::register_exception<UsageError>(module, "UsageError", PyExc_ValueError);
  py::register_exception<FileError>(module, "FileError", PyExc_OSError);
  py::register_exception_translator([](std::exception_ptr error) {
    try {
      if (error) std::rethrow_exception(error);
    } catch (const Interrupted&) {
      PyErr_SetNone(PyExc_KeyboardInterrupt);
    }
  });
}

void defineAmplifier(py::module_& module) {
  const py::call_guard<py::gil_scoped_release> unlocked;
  py::class_<Automation>(module, "Automation")
      .def(py::init([](std::string file, std::string lines) {
             return Automation{std::move(file), std::move(lines)};
           }),
           py::arg("file"), py::arg("lines"));
  module.def("render", &render, py::arg("x"), py::arg("rate"), py::arg("settings"),
             py::arg("automation").none(true), py::arg("block"), py::arg("tail"), py::arg("out"));
  py::class_<StreamingAmp>(module, "StreamingAmp")
      .def(py::init<double, int, int>(), py::arg("rate"), py::arg("channels"), py::arg("block"))
      .def("set", &StreamingAmp::set, unlocked)
      .def("process", &StreamingAmp::process)
      .def("reset", &StreamingAmp::reset, unlocked)
      .def_property_readonly("rate", &StreamingAmp::rate)
      .def_property_readonly("channels", &StreamingAmp::channels)
      .def_property_readonly("block", &StreamingAmp::blockLength)
      .def(
          "settings",
          [](const StreamingAmp& amp) {
            const auto [values, cabinet] = amp.settings();
            return jsonText(settingsAsJson(values, cabinet));
          },
          unlocked)
      .def("texts", [](const StreamingAmp& amp) {
        StreamingAmp::Settings settings;
        {
          const py::gil_scoped_release waiting;
          settings = amp.settings();
        }
        return textsDict(settings.values);
      });
}

void defineLists(py::module_& module) {
  module.def("parameters", &parameterRows);
  module.def("presets", &presetRows);
  module.attr("version") = QUELLARD_VERSION;
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  defineErrors(module);
  defineAmplifier(module);
  defineLists(module);
  defineSweeps(module);
}

}  // namespace quellard
