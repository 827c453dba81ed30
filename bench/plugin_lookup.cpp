// The table of plugin objects against an ordered map, without the calls around it: look-ups of random IDs
// among many.
#include <node.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "scene/plugin_cache.h"

namespace {

using KilnNodeWrapper::PluginCache;

struct Tables {
  PluginCache cache;
  std::map<KilnPluginId, v8::Global<v8::Object>> map;
  std::vector<KilnPluginId> order;  // of the look-ups
  size_t at = 0;
  size_t met = 0;

  KilnPluginId Next() {
    if (at == order.size()) at = 0;
    return order[at++];
  }
};

Tables& TheTables() {
  // Its handles must not be reset when the isolate is gone.
  static auto* tables = new Tables;
  return *tables;
}

uint32_t CountOf(const v8::FunctionCallbackInfo<v8::Value>& info) {
  return info[0]->Uint32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(0);
}

// fill(objects): IDs are spaced as addresses are.
void Fill(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  auto objects = info[0].As<v8::Array>();
  Tables& tables = TheTables();
  tables.cache.Clear();
  tables.map.clear();
  tables.order.clear();
  tables.at = 0;
  for (uint32_t i = 0; i < objects->Length(); i++) {
    v8::HandleScope scope(isolate);
    v8::Local<v8::Value> object;
    if (!objects->Get(context, i).ToLocal(&object)) return;
    const KilnPluginId id = 0x100000 + KilnPluginId{i} * 48;
    tables.cache.Insert(isolate, id, 0, object.As<v8::Object>());
    tables.map[id].Reset(isolate, object.As<v8::Object>());
    tables.order.push_back(id);
  }
  std::shuffle(tables.order.begin(), tables.order.end(), std::mt19937_64(1));
}

void FindInCache(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Tables& tables = TheTables();
  for (uint32_t left = CountOf(info); left > 0; left--) {
    v8::HandleScope scope(info.GetIsolate());
    tables.met += tables.cache.Find(info.GetIsolate(), tables.Next(), 0).IsEmpty() ? 0 : 1;
  }
  info.GetReturnValue().Set(static_cast<double>(tables.met));
}

void FindInMap(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Tables& tables = TheTables();
  for (uint32_t left = CountOf(info); left > 0; left--) {
    v8::HandleScope scope(info.GetIsolate());
    const auto found = tables.map.find(tables.Next());
    if (found == tables.map.end()) continue;
    tables.met += found->second.Get(info.GetIsolate()).IsEmpty() ? 0 : 1;
  }
  info.GetReturnValue().Set(static_cast<double>(tables.met));
}

}  // namespace

NODE_MODULE_INIT(/* exports, module, context */) {
  (void)module;
  (void)context;
  NODE_SET_METHOD(exports, "fill", Fill);
  NODE_SET_METHOD(exports, "findInCache", FindInCache);
  NODE_SET_METHOD(exports, "findInMap", FindInMap);
}
