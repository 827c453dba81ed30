// Finds the references in the properties of plugins.
#include "engine/api/plugin_links.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <unordered_set>

namespace kiln::engine::api {
namespace {

using scene::Instance;
using scene::PluginId;
using scene::PluginRef;
using scene::Scene;
using scene::Value;
using Links = std::vector<PluginLink>;

bool SameLink(const PluginLink& a, const PluginLink& b) {
  return a.to == b.to && a.output_index == b.output_index;
}

// Adds the references of one property of one plugin, from `first` on in the list.
class PropertyReferences {
 public:
  PropertyReferences(const Scene& scene, PluginLink form, Links& links)
      : scene_(scene), form_(form), links_(links), first_(static_cast<std::ptrdiff_t>(links.size())) {}

  void Add(const Value& value) {
    if (const auto* reference = value.As<PluginRef>()) {
      AddOne(*reference);
    } else if (const auto* list = value.As<scene::ValueArray>()) {
      for (const Value& element : *list) Add(element);
    }
  }

 private:
  void AddOne(const PluginRef& reference) {
    if (!reference || !scene_.Find(reference.id)) return;
    PluginLink link = form_;
    link.to = reference.id;
    link.output_index = static_cast<int32_t>(reference.output);
    // Long lists seldom name one plugin twice in a row of few others, so a set pays only for them.
    if (known_.empty() && links_.size() - static_cast<size_t>(first_) >= kFew) Index();
    if (!known_.empty()) {
      if (!known_[link.to].insert(reference.output).second) return;
    } else if (std::any_of(links_.begin() + first_, links_.end(),
                           [&](const PluginLink& other) { return SameLink(link, other); })) {
      return;
    }
    links_.push_back(link);
  }
  void Index() {
    for (auto link = links_.begin() + first_; link != links_.end(); ++link) {
      known_[link->to].insert(static_cast<uint32_t>(link->output_index));
    }
  }

  static constexpr size_t kFew = 16;
  const Scene& scene_;
  const PluginLink form_;
  Links& links_;
  const std::ptrdiff_t first_;
  std::unordered_map<PluginId, std::unordered_set<uint32_t>> known_;
};

void AddChildren(const Scene& scene, const Instance& holder, Links& links) {
  int32_t index = kFirstPropertyIndex;
  for (const scene::Property& property : holder.type->properties) {
    const auto found = holder.values.find(&property);
    if (found != holder.values.end() && scene::TakesReference(property.type)) {
      PropertyReferences references(
          scene, {.to = 0, .from = holder.id, .output_index = 0, .property_index = index}, links);
      references.Add(found->second.plain);
      for (const auto& [time, value] : found->second.keys) references.Add(value);
    }
    ++index;
  }
}

// The links of all plugins by what they lead to: finding parents one by one would look at everything each
// time.
std::unordered_map<PluginId, Links> AllParents(const Scene& scene) {
  std::unordered_map<PluginId, Links> parents;
  Links links;
  for (const PluginId id : scene.Ids()) {
    links.clear();
    AddChildren(scene, *scene.Find(id), links);
    for (const PluginLink& link : links) parents[link.to].push_back(link);
  }
  return parents;
}

template <class LinksOf, class FarEnd>
Links Walk(PluginId plugin, bool recursive, const LinksOf& links_of, const FarEnd& far_end) {
  Links links;
  std::unordered_set<PluginId> seen{plugin};
  std::deque<PluginId> next{plugin};
  while (!next.empty()) {
    const size_t before = links.size();
    links_of(next.front(), links);
    next.pop_front();
    for (size_t i = before; recursive && i < links.size(); ++i) {
      const PluginId other = far_end(links[i]);
      if (seen.insert(other).second) next.push_back(other);
    }
  }
  return links;
}

}  // namespace

std::string_view NameFromIndex(const scene::PluginClass& type, int32_t index) {
  if (index < 0) return {};
  if (index < kFirstPropertyIndex) return type.OutputName(static_cast<uint32_t>(index));
  const auto place = static_cast<size_t>(index - kFirstPropertyIndex);
  return place < type.properties.size() ? type.properties[place].name : std::string_view();
}

Links FindLinks(const Scene& scene, PluginId plugin, Toward toward, bool recursive) {
  if (!scene.Find(plugin)) return {};
  if (toward == Toward::kChildren) {
    const auto children = [&](PluginId id, Links& links) { AddChildren(scene, *scene.Find(id), links); };
    return Walk(plugin, recursive, children, [](const PluginLink& link) { return link.to; });
  }
  const auto all = AllParents(scene);
  const auto parents = [&](PluginId id, Links& links) {
    const auto found = all.find(id);
    if (found != all.end()) links.insert(links.end(), found->second.begin(), found->second.end());
  };
  return Walk(plugin, recursive, parents, [](const PluginLink& link) { return link.from; });
}

}  // namespace kiln::engine::api
