// SPDX-License-Identifier: ISC
// VST3's units: each channel is one, and the root unit has the list of programs.
#include "adapters/shared/program_list.h"
#include "adapters/vst3/vst3_plugin.h"
#include "adapters/vst3/wide_text.h"
#include "params/parameter_text.h"

namespace quellard {
namespace {

constexpr std::int32_t kNone = -1;

bool isProgram(std::int32_t list, std::int32_t program) {
  return list == kVst3ProgramList && isListedProgram(program);
}

std::int32_t getUnitCount(void*) { return kNumVst3Units; }

v3_result getUnit(void*, std::int32_t unit, v3_unit_info* info) {
  if (unit < 0 || unit >= kNumVst3Units || info == nullptr) return V3_INVALID_ARG;
  const bool isRoot = unit == kVst3RootUnit;
  info->id = unit;
  info->parent_unit_id = isRoot ? kNone : kVst3RootUnit;
  info->program_list_id = isRoot ? kVst3ProgramList : kNone;
  writeWide(info->name, isRoot ? "Quellard" : channelTitle(unit - vst3UnitOf(0)).data());
  return V3_OK;
}

std::int32_t getListCount(void*) { return 1; }

v3_result getList(void*, std::int32_t index, v3_program_list_info* info) {
  if (index != 0 || info == nullptr) return V3_INVALID_ARG;
  info->id = kVst3ProgramList;
  writeWide(info->name, "Factory bank");
  info->programCount = kNumListedPrograms;
  return V3_OK;
}

v3_result getProgramName(void*, std::int32_t list, std::int32_t program, v3_str_128 name) {
  if (!isProgram(list, program) || name == nullptr) return V3_INVALID_ARG;
  writeWide(name, listedProgramName(program));
  return V3_OK;
}

v3_result getProgramInfo(void*, std::int32_t, std::int32_t, const char*, v3_str_128) {
  return V3_FALSE;
}

v3_result hasPitchNames(void*, std::int32_t, std::int32_t) { return V3_FALSE; }

v3_result getPitchName(void*, std::int32_t, std::int32_t, std::int16_t, v3_str_128) {
  return V3_FALSE;
}

std::int32_t getSelected(void* self) { return Vst3Plugin::of(self).selectedUnit; }

v3_result select(void* self, std::int32_t unit) {
  if (unit < 0 || unit >= kNumVst3Units) return V3_INVALID_ARG;
  Vst3Plugin::of(self).selectedUnit = unit;
  return V3_OK;
}

// Both buses belong to the root unit, since every channel uses them.
v3_result getUnitOfBus(void*, std::int32_t media, std::int32_t direction, std::int32_t bus,
                       std::int32_t /*channel*/, std::int32_t* unit) {
  const bool isBus = media == V3_AUDIO && (direction == V3_INPUT || direction == V3_OUTPUT);
  if (!isBus || bus != 0 || unit == nullptr) return V3_FALSE;
  *unit = kVst3RootUnit;
  return V3_OK;
}

v3_result setProgramData(void*, std::int32_t, std::int32_t, v3_bstream**) {
  return V3_NOT_IMPLEMENTED;
}

}  // namespace

// In the order of v3_unit_information.
constexpr v3_unit_information_cpp kVst3Units = {
    kVst3Unknown<Vst3Plugin>,
    {getUnitCount, getUnit, getListCount, getList, getProgramName, getProgramInfo, hasPitchNames,
     getPitchName, getSelected, select, getUnitOfBus, setProgramData},
};

}  // namespace quellard
