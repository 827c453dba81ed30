// What the importer's process says to the engine: a result, and the scene as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/formats/loader.h"

namespace kiln::engine::formats {

struct ImportAnswer {
  LoadResult result;
  std::string_view scene;  // scene text; empty on an error
};

// The answer as bytes: a mark, the lengths of its parts, the parts, a mark.
std::string EncodeAnswer(const LoadResult& result, std::string_view scene);
// The answer that the bytes hold, as a view of them; nothing for anything but one whole answer.
std::optional<ImportAnswer> DecodeAnswer(std::string_view bytes);

}  // namespace kiln::engine::formats
