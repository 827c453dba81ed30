// State as bytes that a host keeps: a head that says what they are, and a checksum, so that bytes that are
// not whole are told from those that are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "engine/window/documents.h"

namespace kiln::engine::window {

enum class StateKind : int32_t { kMain = 1, kHistory = 2, kPersistent = 3 };

// Little-endian, on every machine: "KVWS", the version, the kind and the length of the text as 32 bits each,
// the FNV-1a checksum of the text and of what stands before it as 64, and the document as JSON text.
std::vector<std::byte> PackState(StateKind kind, const Json& document);

// The document; nothing for bytes that are damaged, of another kind, or of a version that is not known.
std::optional<Json> UnpackState(StateKind kind, std::span<const std::byte> bytes);

}  // namespace kiln::engine::window
