// Members without arguments that differ only in the entry point and in the sense of its result.
#pragma once

#include "binding/members.h"
#include "module/sdk_library.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// Which result of the SDK's means true.
enum class TrueIs : uint8_t { kZero, kNonZero };

inline void ReturnSense(const Arguments& info, TrueIs sense, int32_t result) {
  info.GetReturnValue().Set((result == 0) == (sense == TrueIs::kZero));
}

// A boolean. The entry point's further arguments are fixed.
template <auto kEntry, TrueIs kSense, int32_t... kArguments>
void AskRenderer(const Arguments& info) {
  ReturnSense(info, kSense, (sdk.*kEntry)(RendererOf(info).renderer, kArguments...));
}

// A 64-bit count as a Number.
template <auto kEntry, int32_t... kArguments>
void CountOfRenderer(const Arguments& info) {
  info.GetReturnValue().Set(NumberOf((sdk.*kEntry)(RendererOf(info).renderer, kArguments...)));
}

// Nothing.
template <auto kEntry>
void TellRenderer(const Arguments& info) {
  (sdk.*kEntry)(RendererOf(info).renderer);
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
