// Reading of the scene text: the document, its instances, and where an error lies.
#include <algorithm>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "engine/formats/load_stage.h"
#include "engine/formats/scene_text.h"
#include "engine/formats/scene_text_values.h"
#include "engine/scene/scene_batch.h"

namespace kiln::engine::formats {
namespace {

using scene::PluginClass;
using scene::Property;
using scene::SceneBatch;

constexpr std::string_view kClassKey = "class";
constexpr std::string_view kIncludeKey = "include";
constexpr std::string_view kOutputSeparator = "::";
// Of texts within texts; more is never meant.
constexpr size_t kMaxIncludeDepth = 64;

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

// The parser's own words, as the part of a sentence that our message has room for.
std::string Reason(std::string_view description) {
  while (!description.empty() && (description.back() == '.' || description.back() == ' '))
    description.remove_suffix(1);
  return std::string(description);
}

// A text and what it is to the others of its load.
struct Document {
  std::string label;  // in errors
  std::filesystem::path folder;
  toml::table table;
  std::vector<Entry> instances{};
  std::unordered_map<std::string, SceneBatch::Handle> handles{};
};

// What an included file that is no text ended with.
struct IncludeFailure {
  LoadResult result;
};

// Reads a text with all that it includes.
class Reader {
 public:
  explicit Reader(LoadStage& stage) : stage_(stage), batch_(stage.batch) {}

  void Read(std::string_view text, const std::filesystem::path& folder, const std::filesystem::path& file,
            const std::string& label) {
    Open(text, folder, file, label);
    // References point forwards and backwards and from text to text, so all instances exist before the first
    // value is read.
    first_ = batch_.size();
    for (Document& document : documents_) {
      label_ = document.label;
      batch_.SetFolder(document.folder);
      for (const Entry& entry : document.instances) AddInstance(document, entry);
    }
    SceneBatch::Handle handle = first_;
    for (const Document& document : documents_) {
      label_ = document.label;
      document_ = &document;
      for (const Entry& entry : document.instances) SetProperties(handle++, *entry.node->as_table());
    }
  }

  // Of the text in progress.
  const std::string& label() const { return label_; }
  std::string TakeNotes() { return std::move(notes_); }

 private:
  // Parses the text; those that it includes come first.
  void Open(std::string_view text, const std::filesystem::path& folder, const std::filesystem::path& file,
            const std::string& label) {
    label_ = label;
    Document document{label, folder, Parse(text)};
    document.instances = InOrder(document.table);
    open_.push_back(file.empty() ? file : std::filesystem::weakly_canonical(file));
    if (open_.size() > kMaxIncludeDepth) throw SceneTextError(1, "texts include each other too deep");
    for (const Entry& entry : document.instances) {
      if (!IsInclude(entry)) continue;
      for (const auto& [name, line] : IncludedNames(entry)) {
        label_ = label;
        Include(name, line, folder);
      }
    }
    open_.pop_back();
    std::erase_if(document.instances, IsInclude);
    documents_.push_back(std::move(document));
  }

  static toml::table Parse(std::string_view text) {
    try {
      return toml::parse(text);
    } catch (const toml::parse_error& error) {
      throw SceneTextError(error.source().begin.line, Reason(error.description()));
    }
  }

  static bool IsInclude(const Entry& entry) {
    return entry.key->str() == kIncludeKey && !entry.node->is_table();
  }

  static std::vector<std::pair<std::string, uint32_t>> IncludedNames(const Entry& entry) {
    if (const auto* one = entry.node->as_string()) return {{one->get(), entry.line()}};
    std::vector<std::pair<std::string, uint32_t>> names;
    const toml::array* list = entry.node->as_array();
    if (list == nullptr) throw SceneTextError(entry.line(), "\"include\" takes names of files");
    for (const toml::node& node : *list) {
      const uint32_t line = node.source().begin.line;
      if (!node.is_string()) throw SceneTextError(line, "\"include\" takes names of files");
      names.emplace_back(node.as_string()->get(), line);
    }
    return names;
  }

  void Include(const std::string& name, uint32_t line, const std::filesystem::path& folder) {
    const std::filesystem::path file = FindIncluded(name, folder);
    if (file.empty()) {
      throw SceneTextError(line, "the included file " + Quoted(name) + " was not found beside the text" +
                                     (stage_.include_paths.empty() ? "" : " or in the include paths"));
    }
    if (std::ranges::find(open_, file) != open_.end()) {
      throw SceneTextError(line, "the text includes itself through " + Quoted(name));
    }
    if (!stage_.included.insert(file).second) return;
    std::vector<std::byte> bytes;
    if (LoadResult read = ReadSceneFile(file, &bytes); !read.ok()) throw SceneTextError(line, read.text);
    const Format format = FormatOf(file, bytes);
    if (format == Format::kText) {
      const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      return Open(text, file.parent_path(), file, file.string());
    }
    LoadResult staged = StageContent(stage_, format, bytes, file, file.string());
    if (!staged.ok()) throw IncludeFailure{std::move(staged)};
    if (!notes_.empty() && !staged.text.empty()) notes_ += '\n';
    notes_ += staged.text;
  }

  // Empty when it is nowhere.
  std::filesystem::path FindIncluded(const std::string& name, const std::filesystem::path& folder) const {
    std::error_code error;
    const auto find = [&](const std::filesystem::path& in) {
      const std::filesystem::path file = in / name;
      return !name.empty() && std::filesystem::exists(file, error) ? std::filesystem::canonical(file, error)
                                                                   : std::filesystem::path();
    };
    std::filesystem::path found = find(folder);
    for (size_t i = 0; found.empty() && i < stage_.include_paths.size(); ++i) {
      found = find(stage_.include_paths[i]);
    }
    return found;
  }

  void AddInstance(Document& document, const Entry& entry) {
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
    const SceneBatch::Handle handle = batch_.Add(ClassOf(entry, *table).name, name);
    document.handles.emplace(name, handle);
    names_.emplace(name, handle);
  }

  bool ValidName(std::string_view name) const {
    const std::shared_lock lock(stage_.scene.mutex);
    return stage_.scene.ValidName(name);
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

  // The text's own instances first, then those of the load, and of the scene that it is added to.
  scene::PluginRef Lookup(const std::string& text, uint32_t line) {
    if (const auto own = FindStaged(text)) return StagedRef(*own, 0);
    const size_t separator = text.rfind(kOutputSeparator);
    if (separator != std::string::npos) {
      if (const auto own = FindStaged(text.substr(0, separator))) {
        return StagedOutput(*own, std::string_view(text).substr(separator + kOutputSeparator.size()), line);
      }
    }
    {
      const std::shared_lock lock(stage_.scene.mutex);
      if (const std::optional<scene::PluginRef> found = stage_.scene.FindReference(text)) return *found;
    }
    std::vector<std::string_view> names;
    for (const auto& [name, handle] : names_) names.push_back(name);
    std::ranges::sort(names);
    throw SceneTextError(line, "there is no instance " + Quoted(text) + Suggestion(text, names));
  }

  std::optional<SceneBatch::Handle> FindStaged(const std::string& name) {
    const auto find = [&name](const auto& handles) {
      const auto found = handles.find(name);
      return found != handles.end() ? std::optional(found->second) : std::nullopt;
    };
    if (const auto own = find(document_->handles)) return own;
    if (const auto other = find(names_)) return other;
    if (first_ > 0 && earlier_.empty()) {
      for (SceneBatch::Handle handle = 0; handle < first_; ++handle) {
        earlier_.emplace(batch_.NameOf(handle), handle);
      }
    }
    return find(earlier_);
  }

  scene::PluginRef StagedOutput(SceneBatch::Handle handle, std::string_view output, uint32_t line) const {
    const PluginClass& type = *batch_.TypeOf(handle);
    const int32_t index = type.OutputIndex(output);
    if (index >= 1) return StagedRef(handle, static_cast<uint32_t>(index));
    std::vector<std::string_view> names;
    for (const scene::Output& known : type.outputs) names.push_back(known.name);
    throw SceneTextError(
        line, std::string(type.name) + " has no output " + Quoted(output) + Suggestion(output, names));
  }

  scene::PluginRef StagedRef(SceneBatch::Handle handle, uint32_t output) const {
    return *batch_.Ref(handle, output).As<scene::PluginRef>();
  }

  LoadStage& stage_;
  SceneBatch& batch_;
  std::deque<Document> documents_;           // included ones before those that include them
  std::vector<std::filesystem::path> open_;  // the chain of includes
  const Document* document_ = nullptr;
  SceneBatch::Handle first_ = 0;
  std::unordered_map<std::string, SceneBatch::Handle> names_;    // of all texts, the first of a name
  std::unordered_map<std::string, SceneBatch::Handle> earlier_;  // of what was staged before the texts
  std::string label_;
  std::string notes_;
};

}  // namespace

LoadResult StageText(LoadStage& stage, std::string_view text, const std::filesystem::path& folder,
                     const std::filesystem::path& file, const std::string& label) {
  Reader reader(stage);
  try {
    reader.Read(text, folder, file, label);
    return {LoadError::kNone, {}, 0, reader.TakeNotes()};
  } catch (const SceneTextError& error) {
    return {LoadError::kParser, reader.label(), error.line, error.what()};
  } catch (const IncludeFailure& failure) {
    return failure.result;
  }
}

LoadResult ReadSceneText(scene::Scene& scene, std::string_view text, const std::filesystem::path& folder,
                         const std::string& label, const scene::LoadFilter& filter) {
  LoadStage stage{scene};
  LoadResult staged = StageText(stage, text, folder, {}, label);
  return staged.ok() ? CommitStage(stage, filter, std::move(staged)) : staged;
}

}  // namespace kiln::engine::formats
