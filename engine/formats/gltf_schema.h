// The shape of a glTF document as data, and the check of a JSON document against it.
#pragma once

#include <nlohmann/json.hpp>

namespace kiln::engine::formats {

// Checks types, required members, lengths of fixed arrays, counts and every reference to another element, and
// throws ImportFailure for the first violation. On the way it drops what the importer has no use for (extras,
// animations, unknown extensions) and writes whole numbers such as 24.0 as integers.
void CheckGltfDocument(nlohmann::json& document);

}  // namespace kiln::engine::formats
