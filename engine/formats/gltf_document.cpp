// A glTF document, checked and with its binary data at hand; nothing of it refers out of range.
#include "engine/formats/gltf_document.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "engine/formats/base64.h"
#include "engine/formats/gltf_schema.h"
#include "engine/formats/model_import_failure.h"
#include "engine/formats/model_import_files.h"

namespace kiln::engine::formats {
namespace {

using Json = nlohmann::json;
using Bytes = std::span<const std::byte>;

constexpr uint32_t kGlbMagic = 0x46546C67;
constexpr uint32_t kJsonChunk = 0x4E4F534A;
constexpr uint32_t kBinaryChunk = 0x004E4942;
// Deeper than any document needs; what reads extension data recurses, and must not run out of stack.
constexpr int kDepthLimit = 100;

constexpr std::array<std::string_view, 17> kSupportedExtensions = {
    "EXT_texture_webp",
    "KHR_lights_punctual",
    "KHR_materials_clearcoat",
    "KHR_materials_emissive_strength",
    "KHR_materials_ior",
    "KHR_materials_pbrSpecularGlossiness",
    "KHR_materials_sheen",
    "KHR_materials_specular",
    "KHR_materials_transmission",
    "KHR_materials_unlit",
    "KHR_materials_variants",
    "KHR_materials_volume",
    "KHR_mesh_quantization",
    "KHR_texture_basisu",
    "KHR_texture_transform",
    "KHR_xmp",
    "KHR_xmp_json_ld",
};

uint32_t ReadU32(Bytes bytes, size_t offset) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | std::to_integer<uint32_t>(bytes[offset + i]);
  return value;
}

struct Container {
  Bytes json;
  Bytes binary;  // the BIN chunk
  bool is_glb = false;
};

Container OpenContainer(Bytes bytes) {
  if (bytes.size() < 4 || ReadU32(bytes, 0) != kGlbMagic) return {bytes, {}, false};
  if (bytes.size() < 20) throw ImportFailure("the GLB file ends within its header");
  const uint32_t version = ReadU32(bytes, 4);
  if (version != 2) {
    throw ImportFailure(LoadError::kUnsupportedFeature,
                        fmt::format("GLB version {} is not supported", version));
  }
  const uint32_t length = ReadU32(bytes, 8);
  if (length > bytes.size() || length < 20) {
    throw ImportFailure(
        fmt::format("the GLB header promises {} bytes, but the file has {}", length, bytes.size()));
  }
  Container container{{}, {}, true};
  size_t offset = 12;
  for (int chunk = 0; length - offset >= 8; ++chunk) {
    const uint32_t chunk_length = ReadU32(bytes, offset);
    const uint32_t type = ReadU32(bytes, offset + 4);
    offset += 8;
    if (chunk_length > length - offset) {
      throw ImportFailure(fmt::format("chunk {} of the GLB file reads past its end", chunk));
    }
    const Bytes content = bytes.subspan(offset, chunk_length);
    if (chunk == 0) {
      if (type != kJsonChunk) throw ImportFailure("the first chunk of the GLB file is not JSON");
      container.json = content;
    } else if (type == kBinaryChunk && container.binary.empty()) {
      container.binary = content;
    }
    offset += chunk_length;
  }
  return container;
}

// "…parse error at line 3, column 5: syntax error while parsing value - invalid literal; last read: 'x'"
std::string Reason(const std::string& message) {
  size_t start = message.find("column ");
  start = start == std::string::npos ? message.find("] ") : message.find(": ", start);
  return start == std::string::npos ? message : message.substr(start + 2);
}

Json ParseJson(Bytes text) {
  const char* first = reinterpret_cast<const char*>(text.data());
  const Json::parser_callback_t limit_depth = [](int depth, Json::parse_event_t, Json&) {
    if (depth > kDepthLimit)
      throw ImportFailure(fmt::format("the JSON is nested more than {} deep", kDepthLimit));
    return true;
  };
  try {
    return Json::parse(first, first + text.size(), limit_depth);
  } catch (const Json::parse_error& error) {
    const size_t position = std::min<size_t>(error.byte, text.size());
    const auto line = static_cast<uint32_t>(1 + std::count(first, first + position, '\n'));
    throw ImportFailure(LoadError::kParser, "the JSON is malformed: " + Reason(error.what()), line);
  } catch (const Json::exception& error) {
    throw ImportFailure("the JSON can't be read: " + Reason(error.what()));
  }
}

constexpr std::string_view kDraco = "KHR_draco_mesh_compression";

bool Requires(const Json& document, std::string_view extension) {
  const auto required = document.find("extensionsRequired");
  return required != document.end() &&
         std::find(required->begin(), required->end(), extension) != required->end();
}

void RefuseUnsupported(const Json& document) {
  const auto& version = document.at("asset").at("version").get_ref<const std::string&>();
  if (!version.starts_with("2.")) {
    throw ImportFailure(LoadError::kUnsupportedFeature,
                        fmt::format("glTF version {} is not supported", version));
  }
  const auto required = document.find("extensionsRequired");
  if (required == document.end()) return;
  for (const Json& extension : *required) {
    const auto& name = extension.get_ref<const std::string&>();
    if (name == kDraco) continue;
    if (std::find(kSupportedExtensions.begin(), kSupportedExtensions.end(), name) ==
        kSupportedExtensions.end()) {
      throw ImportFailure(LoadError::kUnsupportedFeature,
                          fmt::format("the file requires the extension {}, which is not supported", name));
    }
  }
}

std::vector<std::byte> DecodeDataUri(std::string_view uri, const std::string& label) {
  const size_t comma = uri.find(',');
  if (comma == std::string_view::npos)
    throw ImportFailure(fmt::format("the data URI of {} has no data", label));
  if (uri.substr(0, comma).ends_with(";base64")) {
    std::optional<std::vector<std::byte>> bytes = DecodeBase64(uri.substr(comma + 1));
    if (!bytes) throw ImportFailure(fmt::format("the data URI of {} is not base64", label));
    return std::move(*bytes);
  }
  const std::string text = DecodeUri(uri.substr(comma + 1));
  const auto* data = reinterpret_cast<const std::byte*>(text.data());
  return {data, data + text.size()};
}

std::string NameOfAsset(const std::string& uri, const std::string& label) {
  const std::optional<std::string> name = NameInFolder(DecodeUri(uri));
  if (!name) {
    throw ImportFailure(
        LoadError::kMissingAsset,
        fmt::format("{} names '{}', which is not in the scene's folder", label, uri.substr(0, 200)));
  }
  return *name;
}

class DataReader {
 public:
  DataReader(GltfDocument& document, const Container& container, const std::filesystem::path& base_dir)
      : document_(document), container_(container), base_dir_(base_dir) {}

  void ReadBuffers(const Json& buffers) {
    for (size_t i = 0; i < buffers.size(); ++i) {
      const std::string label = fmt::format("buffers[{}]", i);
      const auto length = buffers[i].at("byteLength").get<uint64_t>();
      const Bytes data = BufferData(buffers[i], i, label);
      if (data.size() < length) {
        throw ImportFailure(
            fmt::format("{} promises {} bytes, but there are {}", label, length, data.size()));
      }
      document_.buffers.push_back(data.first(length));
    }
  }

  void ReadImages(const Json& images) {
    for (size_t i = 0; i < images.size(); ++i) {
      GltfImage image;
      image.label = fmt::format("images[{}]", i);
      const auto view = images[i].find("bufferView");
      const auto uri = images[i].find("uri");
      if (view != images[i].end()) {
        image.bytes = document_.View(view->get<int>());
      } else if (uri == images[i].end()) {
        throw ImportFailure(fmt::format("{} names neither a file nor a buffer view", image.label));
      } else if (const auto& text = uri->get_ref<const std::string&>(); text.starts_with("data:")) {
        image.bytes = Keep(DecodeDataUri(text, image.label));
      } else {
        image.file = NameOfAsset(text, image.label);
      }
      document_.images.push_back(std::move(image));
    }
  }

 private:
  Bytes Keep(std::vector<std::byte> bytes) {
    document_.storage.push_back(std::move(bytes));
    return document_.storage.back();
  }

  Bytes BufferData(const Json& buffer, size_t index, const std::string& label) {
    const auto uri = buffer.find("uri");
    if (uri == buffer.end()) {
      if (index == 0 && container_.is_glb) return container_.binary;
      throw ImportFailure(fmt::format("{} names no data", label));
    }
    const auto& text = uri->get_ref<const std::string&>();
    if (text.starts_with("data:")) return Keep(DecodeDataUri(text, label));
    const std::string name = NameOfAsset(text, label);
    std::optional<std::vector<std::byte>> content;
    if (!base_dir_.empty()) content = ReadWholeFile(base_dir_ / name);
    if (!content) {
      throw ImportFailure(LoadError::kMissingAsset,
                          fmt::format("the file '{}' of {} can't be read", name, label));
    }
    return Keep(std::move(*content));
  }

  GltfDocument& document_;
  const Container& container_;
  const std::filesystem::path& base_dir_;
};

void CheckViews(const GltfDocument& document) {
  const auto& views = document.model.bufferViews;
  for (size_t i = 0; i < views.size(); ++i) {
    const size_t size = document.buffers[views[i].buffer].size();
    if (views[i].byteOffset > size || views[i].byteLength > size - views[i].byteOffset) {
      throw ImportFailure(
          fmt::format("bufferViews[{}] reads past the end of buffers[{}]", i, views[i].buffer));
    }
  }
}

// The last rules that the shape does not state, before tinygltf sees the views.
void CheckStrides(const Json& document) {
  const auto views = document.find("bufferViews");
  if (views == document.end()) return;
  for (size_t i = 0; i < views->size(); ++i) {
    const auto stride = (*views)[i].find("byteStride");
    if (stride == (*views)[i].end()) continue;
    const auto value = stride->get<uint64_t>();
    if (value > 252 || value % 4 != 0) {
      throw ImportFailure(
          fmt::format("bufferViews[{}].byteStride is {}, not a multiple of 4 up to 252", i, value));
    }
  }
}

tinygltf::Model ToStructs(const Json& document) {
  const std::string text = document.dump();
  if (text.size() > std::numeric_limits<uint32_t>::max()) throw ImportFailure("the JSON is larger than 4 GB");
  tinygltf::Model model;
  tinygltf::TinyGLTF reader;
  std::string error;
  std::string warning;
  if (!reader.LoadASCIIFromString(&model, &error, &warning, text.data(), static_cast<uint32_t>(text.size()),
                                  "")) {
    error = error.substr(0, error.find('\n'));
    while (!error.empty() && (error.back() == '.' || error.back() == ' ')) error.pop_back();
    throw ImportFailure(error.empty() ? "the document is malformed" : error);
  }
  return model;
}

}  // namespace

Bytes GltfDocument::View(int view) const {
  const tinygltf::BufferView& v = model.bufferViews[view];
  return buffers[v.buffer].subspan(v.byteOffset, v.byteLength);
}

GltfDocument OpenGltf(Bytes bytes, const std::filesystem::path& base_dir) {
  const Container container = OpenContainer(bytes);
  Json json = ParseJson(container.json);
  CheckGltfDocument(json);
  RefuseUnsupported(json);
  CheckStrides(json);
  GltfDocument document;
  document.needs_draco = Requires(json, kDraco);
  if (document.needs_draco) return document;

  // tinygltf would open files for buffers and images, and takes image bytes without looking at bounds.
  const Json buffers = json.contains("buffers") ? std::move(json["buffers"]) : Json::array();
  const Json images = json.contains("images") ? std::move(json["images"]) : Json::array();
  json.erase("buffers");
  json.erase("images");

  document.model = ToStructs(json);
  DataReader reader(document, container, base_dir);
  reader.ReadBuffers(buffers);
  CheckViews(document);
  reader.ReadImages(images);
  return document;
}

}  // namespace kiln::engine::formats
