// Reading of the scene text: the document, its instances, and where an error lies.
#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "engine/formats/scene_text.h"
#include "engine/formats/scene_text_values.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {
namespace {

using scene::PluginClass;
using scene::Property;
using scene::SceneBatch;

constexpr std::string_view kClassKey = "class";
constexpr std::string_view kOutputSeparator = "::";

std::string Quoted(std::string_view name) {
  return "\"" + std::string(name) + "\"";
}

struct Entry {
  const toml::key* key;
  const toml::node* node;
  uint32_t line() const { return key->source().begin.line; }
};

// TOML tables are unordered to the parser; instances are created in the order of the text.
std::vector<Entry> InOrder(const toml::table& table) {
  std::vector<Entry> entries;
  entries.reserve(table.size());
  for (const auto& [key, node] : table) entries.push_back({&key, &node});
  std::ranges::stable_sort(entries, [](const Entry& a, const Entry& b) {
    const auto& left = a.key->source().begin;
    const auto& right = b.key->source().begin;
    return std::pair(left.line, left.column) < std::pair(right.line, right.column);
  });
  return entries;
}

class Reader {
 public:
  Reader(scene::Scene& scene, const std::filesystem::path& folder) : scene_(scene) {
    batch_.SetFolder(folder);
  }

  void Read(const toml::table& document) {
    const std::vector<Entry> entries = InOrder(document);
    // References point forwards and backwards, so all instances exist before the first value is read.
    for (const Entry& entry : entries) AddInstance(entry);
    for (size_t i = 0; i < entries.size(); ++i) SetProperties(i, *entries[i].node->as_table());
  }

  SceneBatch& batch() { return batch_; }

 private:
  void AddInstance(const Entry& entry) {
    const std::string name(entry.key->str());
    const toml::table* table = entry.node->as_table();
    if (table == nullptr) {
      throw SceneTextError(entry.line(), Quoted(name) + " is no table: an instance is written as [name]");
    }
    if (name.empty()) throw SceneTextError(entry.line(), "an instance has an empty name");
    if (!ValidName(name)) {
      throw SceneTextError(entry.line(),
                           "the name " + Quoted(name) + " has characters other than A-Z a-z 0-9 @ | _");
    }
    handles_.emplace(name, batch_.Add(ClassOf(entry, *table).name, name));
  }

  bool ValidName(std::string_view name) const {
    const std::shared_lock lock(scene_.mutex);
    return scene_.ValidName(name);
  }

  static const PluginClass& ClassOf(const Entry& entry, const toml::table& table) {
    const toml::node* node = table.get(kClassKey);
    if (node == nullptr) {
      throw SceneTextError(entry.line(), "the instance " + Quoted(entry.key->str()) + " has no class");
    }
    const uint32_t line = node->source().begin.line;
    const auto* name = node->as_string();
    if (name == nullptr) throw SceneTextError(line, "the class of an instance is not a text");
    const PluginClass* type = scene::FindClass(name->get());
    if (type != nullptr) return *type;
    std::vector<std::string_view> names;
    for (const PluginClass* known : scene::AllClasses()) names.push_back(known->name);
    throw SceneTextError(line,
                         "there is no plugin class " + Quoted(name->get()) + Suggestion(name->get(), names));
  }

  void SetProperties(SceneBatch::Handle handle, const toml::table& table) {
    const PluginClass& type = *batch_.TypeOf(handle);
    for (const Entry& entry : InOrder(table)) {
      if (entry.key->str() == kClassKey) continue;
      const Property* property = type.FindProperty(entry.key->str());
      if (property == nullptr) FailUnknownProperty(type, entry);
      SetProperty(handle, *property, entry);
    }
  }

  [[noreturn]] static void FailUnknownProperty(const PluginClass& type, const Entry& entry) {
    std::vector<std::string_view> names;
    for (const Property& property : type.properties) names.push_back(property.name);
    throw SceneTextError(entry.line(), std::string(type.name) + " has no property " +
                                           Quoted(entry.key->str()) + Suggestion(entry.key->str(), names));
  }

  void SetProperty(SceneBatch::Handle handle, const Property& property, const Entry& entry) {
    if (const auto frames = KeyFramesOf(*entry.node)) {
      for (const auto& [time, node] : *frames)
        SetValue(handle, property, *node, time, node->source().begin.line);
    } else {
      SetValue(handle, property, *entry.node, {}, entry.line());
    }
  }

  void SetValue(SceneBatch::Handle handle, const Property& property, const toml::node& node,
                std::optional<double> time, uint32_t line) {
    const auto lookup = [this](const std::string& text, uint32_t at) { return Lookup(text, at); };
    if (batch_.Set(handle, property.name, ReadValue(node, property.type, lookup), time)) return;
    std::string reason = Quoted(property.name) + " takes " + DescribeType(property.type);
    if (property.elements >= 0) reason += " with " + std::to_string(property.elements) + " elements";
    throw SceneTextError(line, reason);
  }

  // The text's own instances first, then those of the scene that it is added to.
  scene::PluginRef Lookup(const std::string& text, uint32_t line) {
    if (const auto own = handles_.find(text); own != handles_.end()) return StagedRef(own->second, 0);
    const size_t separator = text.rfind(kOutputSeparator);
    if (separator != std::string::npos) {
      const std::string_view output = std::string_view(text).substr(separator + kOutputSeparator.size());
      if (const auto own = handles_.find(text.substr(0, separator)); own != handles_.end()) {
        const PluginClass& type = *batch_.TypeOf(own->second);
        const int32_t index = type.OutputIndex(output);
        if (index >= 1) return StagedRef(own->second, static_cast<uint32_t>(index));
        std::vector<std::string_view> names;
        for (const scene::Output& known : type.outputs) names.push_back(known.name);
        throw SceneTextError(
            line, std::string(type.name) + " has no output " + Quoted(output) + Suggestion(output, names));
      }
    }
    {
      const std::shared_lock lock(scene_.mutex);
      if (const std::optional<scene::PluginRef> found = scene_.FindReference(text)) return *found;
    }
    std::vector<std::string_view> names;
    for (const auto& [name, handle] : handles_) names.push_back(name);
    std::ranges::sort(names);
    throw SceneTextError(line, "there is no instance " + Quoted(text) + Suggestion(text, names));
  }

  scene::PluginRef StagedRef(SceneBatch::Handle handle, uint32_t output) const {
    return *batch_.Ref(handle, output).As<scene::PluginRef>();
  }

  scene::Scene& scene_;
  SceneBatch batch_;
  std::unordered_map<std::string, SceneBatch::Handle> handles_;
};

// The parser's own words, as the part of a sentence that our message has room for.
std::string Reason(std::string_view description) {
  while (!description.empty() && (description.back() == '.' || description.back() == ' '))
    description.remove_suffix(1);
  return std::string(description);
}

}  // namespace

LoadResult ReadSceneText(scene::Scene& scene, std::string_view text, const std::filesystem::path& folder,
                         const std::string& label, const scene::LoadFilter& filter) {
  try {
    Reader reader(scene, folder);
    reader.Read(toml::parse(text));
    std::string why;
    if (!reader.batch().CommitTo(scene, &why, filter)) return {LoadError::kParser, label, 0, why};
    return {};
  } catch (const toml::parse_error& error) {
    return {LoadError::kParser, label, error.source().begin.line, Reason(error.description())};
  } catch (const SceneTextError& error) {
    return {LoadError::kParser, label, error.line, error.what()};
  }
}

}  // namespace kiln::engine::formats
