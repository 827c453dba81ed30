// The devices that a renderer may compute on: what they are, and the choice among them.
#pragma once

#include "binding/members.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

using DeviceListEntry = KilnComputeDevice* (*SdkTable::*)(KilnRendererHandle, int32_t*, int32_t);
using DeviceChoiceEntry = int32_t (*SdkTable::*)(KilnRendererHandle, const int32_t*, int32_t);

// What an element of a choice may be: the denoiser knows no priorities.
enum class DeviceForm : uint8_t { kIndex, kIndexOrPair };

void ReturnDevices(const Arguments& info, DeviceListEntry entry);
void PassDevices(const Arguments& info, DeviceChoiceEntry entry, DeviceForm form);

template <DeviceListEntry kEntry>
void ListDevices(const Arguments& info) {
  ReturnDevices(info, kEntry);
}
template <DeviceChoiceEntry kEntry, DeviceForm kForm>
void ChooseDevices(const Arguments& info) {
  PassDevices(info, kEntry, kForm);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
