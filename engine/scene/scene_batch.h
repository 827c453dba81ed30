// Stages plugin instances away from a scene and adds them to it in one step: what every reader of a scene
// format makes, so that a malformed file changes nothing and a render in progress waits only for the last
// step.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/scene/scene.h"

namespace kiln::engine::scene {

// Decides about each instance before it is added, by its class and the name that it is going to have: no
// value leaves it out, another name renames it.
using LoadFilter =
    std::function<std::optional<std::string>(std::string_view class_name, std::string_view instance_name)>;

// How a commit ended.
struct CommitReport {
  // kDuplicateName and kInvalidName: of a name that the filter gave.
  CreateStatus status = CreateStatus::kOk;
  std::string why{};    // of a failure: the reason, a sentence without a full stop
  std::string notes{};  // what came out otherwise than it was staged, a line each
  bool ok() const { return why.empty(); }
};

// Single-threaded until CommitTo, which takes the scene's lock. The first Add or Set that fails is
// remembered, and CommitTo fails with its reason, so that a caller may stage a whole file and look once.
class SceneBatch {
 public:
  using Handle = size_t;
  static constexpr Handle kNoHandle = ~Handle{0};

  // Relative names in file properties of the instances that are added from now on start from here.
  void SetFolder(const std::filesystem::path& folder);

  // Stages an instance. The name is a wish: CommitTo replaces characters that the scene does not allow with
  // '_' and appends "_2", "_3", ... to a name that is taken; without a name the scene chooses "<Class>@<n>".
  // kNoHandle for a class that does not exist.
  Handle Add(std::string_view class_name, std::string_view name = {});
  // Coerces and stores a value, as a key frame when time is given; false for an unknown property or a value
  // that the declared type does not take, with the reason in *why when that is not null.
  bool Set(Handle instance, std::string_view property, Value value, std::optional<double> time = {},
           std::string* why = nullptr);
  // A reference to a staged instance, or one of its outputs, to use in Set, alone or within a list. It means
  // nothing outside this batch. Instances may be referred to before their own values are set.
  Value Ref(Handle instance, uint32_t output = 0) const;

  size_t size() const { return instances_.size(); }
  const PluginClass* TypeOf(Handle instance) const;
  // The name as wished; empty when the scene is to choose.
  const std::string& NameOf(Handle instance) const;

  // Adds everything to the scene under its lock, in the order of Add. Calls `filter`, where there is one, for
  // each instance without holding the lock. References to an instance that it left out are unset, with a
  // note; those to one that it renamed follow. Fails, and leaves the scene as it was, when an earlier Add or
  // Set failed, or when the filter gave a name that the scene does not allow or that another instance has.
  // The batch is empty afterwards.
  CommitReport CommitTo(Scene& scene, const LoadFilter& filter = {});

 private:
  struct Staged {
    const PluginClass* type = nullptr;
    std::string name;
    std::unordered_map<const Property*, PropertyState> values;
    std::shared_ptr<const std::filesystem::path> folder;
    bool kept = true;
    bool renamed = false;  // by the filter
  };
  void Fail(const std::string& reason);
  // Gives every instance the name that it gets in the scene as it is.
  void ChooseNames(Scene& scene);
  void Ask(const LoadFilter& filter);
  // Fails for a name of the filter's that can't be; under the scene's lock.
  CommitReport CheckRenamed(const Scene& scene) const;
  void Insert(Scene& scene, CommitReport* report);

  std::vector<Staged> instances_;
  std::shared_ptr<const std::filesystem::path> folder_;
  std::string failure_;
};

}  // namespace kiln::engine::scene
