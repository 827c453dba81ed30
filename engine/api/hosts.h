// What renderers and servers answer about hosts. The engine keeps the lists and connects to nobody.
#pragma once

#include "engine/utilities/host_list.h"
#include "entry_points.h"

namespace kiln::engine::api {

// What adding answers beside positive numbers, which mean a connection.
enum class AddHosts : int32_t { kNotConnected = 0, kInvalid = -1, kNoHost = -2 };
// What removing and putting others in their place answer.
enum class ChangeHosts : int32_t { kOk = 0, kRefused = 1, kInvalid = -1 };

int32_t AddTo(HostList& hosts, const char* text);
int32_t RemoveFrom(HostList& hosts, const char* text);
int32_t ResetTo(HostList& hosts, const char* text);
// A block; null for an empty list. Throws std::bad_alloc.
char* CopyText(const HostList& hosts);

}  // namespace kiln::engine::api
