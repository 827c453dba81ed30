// Model files are read by a program of its own, kiln-import: a malformed one may abort or keep busy for ever
// whoever reads it, and that is then not the host.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

#include "engine/formats/importers.h"

namespace kiln::engine::formats {

struct ModelImporter {
  std::filesystem::path program;
  std::chrono::milliseconds time{};  // of the clock, and in whole seconds of the processor
  uint64_t memory_bytes = 0;
  uint64_t output_bytes = 0;
};

// The program beside this library, with limits that no model of the size comes near to.
ModelImporter DefaultModelImporter(uint64_t model_bytes);

// ImportModel with the importer given. kParser when the program crashes, exceeds a limit or answers nonsense.
LoadResult ImportModelWith(const ModelImporter& importer, scene::Scene& scene,
                           std::span<const std::byte> bytes, const std::filesystem::path& file,
                           std::string_view extension_hint, const scene::LoadFilter& filter = {});

}  // namespace kiln::engine::formats
