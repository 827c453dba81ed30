// Reads a model within this process, which a malformed file may abort or keep busy for ever: the engine calls
// it in a process of its own.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

#include "engine/formats/loader.h"

namespace kiln::engine::importer {

// As formats::ImportModel, save that no filter is asked. Notes are in the result's text.
formats::LoadResult ImportModelHere(scene::Scene& scene, std::span<const std::byte> bytes,
                                    const std::filesystem::path& file, std::string_view extension_hint);

}  // namespace kiln::engine::importer
