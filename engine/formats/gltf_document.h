// A glTF document, checked and with its binary data at hand; nothing of it refers out of range.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "engine/formats/gltf_tinygltf.h"

namespace kiln::engine::formats {

struct GltfImage {
  std::string file;                  // relative to the scene's folder; empty for an embedded image
  std::span<const std::byte> bytes;  // the encoded image; empty for a file
  std::string label;                 // "images[3]", for messages
};

// Moves keep the spans valid: they point into the caller's bytes or into blocks on the heap.
struct GltfDocument {
  // The meshes are compressed in a way that this reader does not decode; everything else is empty then.
  bool needs_draco = false;
  tinygltf::Model model;  // without buffers and images
  std::vector<std::span<const std::byte>> buffers;
  std::vector<GltfImage> images;
  std::vector<std::vector<std::byte>> storage;

  // Bytes of a view; bounds were checked when the document was opened.
  std::span<const std::byte> View(int view) const;
};

// Reads JSON or GLB. `bytes` must outlive the document. Throws ImportFailure.
GltfDocument OpenGltf(std::span<const std::byte> bytes, const std::filesystem::path& base_dir);

}  // namespace kiln::engine::formats
