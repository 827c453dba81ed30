// Entry points of the plugin graph, of photometric files and of shader sources.
#include <cstring>
#include <limits>
#include <shared_mutex>
#include <string>
#include <vector>

#include "engine/api/blocks.h"
#include "engine/api/plugin_links.h"
#include "engine/api/registry.h"
#include "engine/api/renderer_object.h"
#include "engine/utilities/osl_declaration.h"
#include "engine/utilities/photometry.h"
#include "engine/utilities/text_file.h"

namespace kiln::engine::api {
namespace {

int32_t Links(KilnRendererHandle renderer, KilnPluginId plugin, Toward toward, bool recursive,
              PluginLink** block) {
  if (!block) return 0;
  *block = nullptr;
  return WithRenderer<int32_t>(renderer, 0, [&](const Renderer& r) {
    const std::shared_lock lock(r.scene.mutex);
    const std::vector<PluginLink> links = FindLinks(r.scene, plugin, toward, recursive);
    if (!links.empty()) *block = CopyToBlock(links);
    return static_cast<int32_t>(links.size());
  });
}

// The bytes of a description: words, and texts padded to words.
class Description {
 public:
  template <class Word>
  void Put(Word word) {
    static_assert(sizeof(Word) == 4);
    char bytes[4];
    std::memcpy(bytes, &word, sizeof(bytes));
    bytes_.insert(bytes_.end(), bytes, bytes + sizeof(bytes));
  }
  // The length, and the bytes with at least one NUL up to the next whole word.
  void PutText(const std::string& text) {
    Put(static_cast<int32_t>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    bytes_.resize(bytes_.size() + 4 - text.size() % 4);
  }
  const std::vector<char>& bytes() const { return bytes_; }

 private:
  std::vector<char> bytes_;
};

void PutDefault(const OslParameter& parameter, Description& description) {
  switch (parameter.type) {
    case OslType::kInt:
      return description.Put(parameter.integer);
    case OslType::kBoolean:
      return description.Put(static_cast<int32_t>(parameter.integer != 0));
    case OslType::kFloat:
      return description.Put(parameter.numbers[0]);
    case OslType::kString:
      return description.PutText(parameter.text);
    case OslType::kColor:
    case OslType::kVector:
      for (const float number : parameter.numbers) description.Put(number);
      return;
    default:
      return;
  }
}

std::vector<char> Describe(const std::vector<OslParameter>& parameters) {
  Description description;
  description.Put(static_cast<int32_t>(parameters.size()));
  for (const OslParameter& parameter : parameters) {
    description.PutText(parameter.name);
    description.Put(static_cast<int32_t>(parameter.type));
    PutDefault(parameter, description);
  }
  return description.bytes();
}

ApiError ErrorOf(OslError error) {
  return error == OslError::kNoShader ? ApiError::kNoShader : ApiError::kMalformedShader;
}

ApiError ReadShaderFile(const char* file, std::vector<OslParameter>* parameters) {
  const auto source = file ? ReadTextFile(file) : std::nullopt;
  if (!source) return ApiError::kShaderNotFound;
  const OslError error = ReadOslDeclaration(*source, parameters);
  return error == OslError::kNone ? ApiError::kNone : ErrorOf(error);
}

}  // namespace

extern "C" {

int32_t Util_getParentPlugins(KilnRendererHandle renderer, KilnPluginId plugin, int32_t recursive,
                              PluginLink** links) {
  return Links(renderer, plugin, Toward::kParents, recursive != 0, links);
}

int32_t Util_getChildPlugins(KilnRendererHandle renderer, KilnPluginId plugin, int32_t recursive,
                             PluginLink** links) {
  return Links(renderer, plugin, Toward::kChildren, recursive != 0, links);
}

// The luminous flux in lumens; see LuminousFlux. 0 for what is no photometric file.
float Util_getIESPrescribedIntensity(const char* file) {
  return Guarded<float>(0.0F, [&] {
    const double flux = file ? LuminousFluxOfFile(file) : 0;
    return flux <= std::numeric_limits<float>::max() ? static_cast<float>(flux) : 0.0F;
  });
}

int32_t Kiln_getOSLParameters(const char* file, void** description, uint64_t* size) {
  if (description) *description = nullptr;
  if (size) *size = 0;
  return Guarded(static_cast<int32_t>(ApiError::kNoMemory), [&] {
    std::vector<OslParameter> parameters;
    const ApiError error = ReadShaderFile(file, &parameters);
    if (error != ApiError::kNone || !description || !size) return static_cast<int32_t>(error);
    const std::vector<char> bytes = Describe(parameters);
    *description = CopyToBlock(bytes);
    *size = bytes.size();
    return 0;
  });
}

}  // extern "C"
}  // namespace kiln::engine::api
