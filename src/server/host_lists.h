// The members that change and list the hosts of a renderer or of a server: both name them in one text, with
// ';' between.
#pragma once

#include <span>
#include <string>

#include "binding/members.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {

// A renderer's or a server's; both are plain pointers to the SDK.
using HostsOwner = void*;
using ChangeHosts = int32_t (*SdkTable::*)(HostsOwner, const char* hosts);
using ListHosts = char* (*SdkTable::*)(HostsOwner, uint64_t* slot);

// A result that is a failure, and its text.
struct HostFailure {
  int32_t code;
  const char* text;
};
extern const std::span<const HostFailure> kAddHostsFailures;
extern const std::span<const HostFailure> kRemoveHostsFailures;
extern const std::span<const HostFailure> kResetHostsFailures;

// The strings of the arguments, those in arrays of any depth too, in one text; other values are skipped. The
// last function among the arguments is the callback, where one is asked for. False with an
// exception pending when an element can't be read.
bool ReadHosts(const Arguments& info, std::string* hosts, v8::Local<v8::Function>* callback);

// On the pool; the callback gets null or an Error.
void QueueHostChange(const Arguments& info, HostsOwner owner, ChangeHosts function,
                     std::span<const HostFailure> failures);
// On the pool; the callback of argument 0 gets an array. Throws without one.
void QueueHostList(const Arguments& info, HostsOwner owner, ListHosts function);
// The array as the member's result.
void ReturnHostList(const Arguments& info, HostsOwner owner, ListHosts function);

}  // namespace KilnNodeWrapper
