#include "proxy/create_options.h"

#include <variant>

#include "binding/text.h"
#include "proxy/mesh_columns.h"

namespace KilnNodeWrapper {
namespace {

using Params = ProxyCreateParams;

struct PreviewTypeField {};
struct PreviewFileField {};
// An index into the lists that are held.
struct ListField {
  size_t index;
};

struct CreateKey {
  const char* name;
  std::variant<int32_t Params::*, uint32_t Params::*, uint8_t Params::*, float Params::*, PreviewTypeField,
               PreviewFileField, ListField>
      field;
};

// In the order in which they are read.
constexpr CreateKey kCreateKeys[] = {
    {"voxelElements", &Params::voxelElements},
    {"numPreviewElements", &Params::numPreviewElements},
    {"previewType", PreviewTypeField{}},
    {"isAnimated", &Params::isAnimated},
    {"startFrame", &Params::startFrame},
    {"endFrame", &Params::endFrame},
    {"mergeVoxels", &Params::mergeVoxels},
    {"customPreviewFile", PreviewFileField{}},
    {"voxelInfoWireColor", ListField{0}},
    {"voxelInfoSmoothed", ListField{1}},
    {"voxelInfoFlipNormals", ListField{2}},
    {"exportPointCloud", &Params::exportPointCloud},
    {"pointSize", &Params::pointSize},
    {"previewHairs", &Params::previewHairs},
    {"previewParticles", &Params::previewParticles},
};

struct PreviewType {
  std::string_view name;
  int32_t value;
};
constexpr PreviewType kPreviewTypes[] = {{"face_sampling", 0}, {"clustering", 1}, {"edge_collapse", 2}};
constexpr int32_t kOtherPreviewType = 3;

int32_t PreviewTypeOf(std::string_view name) {
  for (const PreviewType& type : kPreviewTypes) {
    if (type.name == name) return type.value;
  }
  return kOtherPreviewType;
}

constexpr size_t kWireColor = 0;
constexpr size_t kSmoothed = 1;
constexpr size_t kFlipNormals = 2;

bool IsUsableList(v8::Local<v8::Value> value, size_t list) {
  return list == kWireColor ? value->IsFloat32Array() : value->IsInt32Array();
}

// Null unless there are enough elements.
template <class Number>
const Number* NumbersOf(v8::Isolate* isolate, const v8::Global<v8::TypedArray>& list, size_t elements) {
  v8::HandleScope scope(isolate);
  if (list.IsEmpty() || list.Get(isolate)->Length() < elements) return nullptr;
  return static_cast<const Number*>(MemoryOf(list.Get(isolate)));
}

}  // namespace

MeshCreateOptions::MeshCreateOptions(std::string path, size_t objects)
    : objects_(objects), path_(std::move(path)) {
  params_.version = 6;
  params_.numPreviewElements = 10000;
  params_.previewType = kOtherPreviewType;
  params_.pointSize = 2.2F;
  params_.previewHairs = 1000;
  params_.previewParticles = 20000;
}

void MeshCreateOptions::ReadCommon(OptionReader& keys) {
  for (size_t i = 0; i < std::size(kCreateKeys); i++) {
    if (!ReadCommonKey(keys, i)) return;
  }
}

// False ends the reading.
bool MeshCreateOptions::ReadCommonKey(OptionReader& keys, size_t key) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::Local<v8::Context> context = keys.context();
  v8::Local<v8::Value> value;
  if (!keys.Value(kCreateKeys[key].name).ToLocal(&value)) return !keys.unreadable();
  const auto read = [&](auto field) {
    using Field = decltype(field);
    if constexpr (std::is_same_v<Field, int32_t Params::*>) {
      return value->Int32Value(context).To(&(params_.*field));
    } else if constexpr (std::is_same_v<Field, float Params::*>) {
      double number = 0;
      if (!value->NumberValue(context).To(&number)) return false;
      params_.*field = static_cast<float>(number);
    } else if constexpr (std::is_same_v<Field, PreviewTypeField>) {
      Text name;
      if (value->IsNullOrUndefined() || !name.Read(context, value)) return false;
      params_.previewType = PreviewTypeOf(name.view());
    } else if constexpr (std::is_same_v<Field, PreviewFileField>) {
      if (value->IsNullOrUndefined()) return true;
      return has_preview_file_ = ReadString(context, value, &preview_file_);
    } else if constexpr (std::is_same_v<Field, ListField>) {
      if (IsUsableList(value, field.index)) lists_[field.index].Reset(isolate, value.As<v8::TypedArray>());
    } else {
      params_.*field = value->BooleanValue(isolate) ? 1 : 0;
    }
    return true;
  };
  return std::visit(read, kCreateKeys[key].field);
}

bool MeshCreateOptions::ReadForOne(v8::Local<v8::Context> context, v8::Local<v8::Object> options) {
  {
    OptionReader keys(context, options);
    ReadCommon(keys);
  }
  OptionReader keys(context, options);
  v8::Local<v8::Value> value;
  if (keys.Value("objectName").ToLocal(&value)) {
    if (value->IsNullOrUndefined() || !ReadString(context, value, &names_)) return false;
    has_names_ = true;
  }
  if (!keys.unreadable() && keys.Value("objectID").ToLocal(&value)) {
    ids_.resize(1);
    if (!value->Int32Value(context).To(&ids_[0])) return false;
  }
  if (!keys.unreadable() && keys.Value("animTransform").ToLocal(&value) && !value->IsNullOrUndefined()) {
    if (!tracks_.emplace_back().Read(context, value)) return false;
  }
  ProxyTransform transform;
  if (!keys.unreadable() && keys.Value("transform").ToLocal(&value) &&
      ReadProxyTransform(value, &transform)) {
    transforms_.push_back(transform);
  }
  return !keys.unreadable();
}

bool MeshCreateOptions::ReadForMany(v8::Local<v8::Context> context, v8::Local<v8::Object> options) {
  {
    OptionReader keys(context, options);
    ReadCommon(keys);
  }
  OptionReader keys(context, options);
  return ReadNames(keys) && ReadIds(keys) && ReadTransforms(keys) && ReadTracks(keys);
}

bool MeshCreateOptions::ArrayPerObject(OptionReader& keys, const char* key,
                                       v8::Local<v8::Array>* array) const {
  v8::Local<v8::Array> found;
  if (keys.Array(key, &found) && found->Length() == objects_) *array = found;
  return !keys.unreadable();
}

bool MeshCreateOptions::ReadNames(OptionReader& keys) {
  v8::Local<v8::Array> names;
  if (!ArrayPerObject(keys, "objectNames", &names)) return false;
  if (names.IsEmpty()) return true;
  has_names_ = true;
  return EachElement(keys.context(), names, static_cast<uint32_t>(objects_),
                     [&](uint32_t, v8::Local<v8::Value> element) {
                       Text name;
                       // An object without a name must not move the names behind it.
                       if (!element->IsNullOrUndefined() && !name.Read(keys.context(), element)) return false;
                       names_.append(name.c_str(), name.length() + 1);
                       return true;
                     });
}

bool MeshCreateOptions::ReadIds(OptionReader& keys) {
  v8::Local<v8::Array> ids;
  if (!ArrayPerObject(keys, "objectIDs", &ids)) return false;
  if (ids.IsEmpty()) return true;
  ids_.resize(objects_);
  return EachElement(keys.context(), ids, static_cast<uint32_t>(objects_),
                     [&](uint32_t i, v8::Local<v8::Value> element) {
                       return element->Int32Value(keys.context()).To(&ids_[i]);
                     });
}

bool MeshCreateOptions::ReadTransforms(OptionReader& keys) {
  v8::Local<v8::Array> transforms;
  if (!ArrayPerObject(keys, "transforms", &transforms)) return false;
  if (transforms.IsEmpty()) return true;
  transforms_.resize(objects_);
  return EachElement(keys.context(), transforms, static_cast<uint32_t>(objects_),
                     [&](uint32_t i, v8::Local<v8::Value> element) {
                       ReadProxyTransform(element, &transforms_[i]);
                       return true;
                     });
}

bool MeshCreateOptions::ReadTracks(OptionReader& keys) {
  v8::Local<v8::Array> tracks;
  if (!ArrayPerObject(keys, "animTransforms", &tracks)) return false;
  if (tracks.IsEmpty()) return true;
  tracks_.resize(objects_);
  return EachElement(keys.context(), tracks, static_cast<uint32_t>(objects_),
                     [&](uint32_t i, v8::Local<v8::Value> element) {
                       return element->IsNullOrUndefined() || tracks_[i].Read(keys.context(), element);
                     });
}

const ProxyCreateParams* MeshCreateOptions::Params(v8::Isolate* isolate) {
  params_.path = path_.c_str();
  params_.objectNames = has_names_ ? names_.c_str() : nullptr;
  params_.objectIDs = ids_.empty() ? nullptr : ids_.data();
  params_.customPreviewFile = has_preview_file_ ? preview_file_.c_str() : nullptr;
  params_.voxelInfoWireColor = NumbersOf<float>(isolate, lists_[kWireColor], objects_ * 3);
  params_.voxelInfoSmoothed = NumbersOf<int32_t>(isolate, lists_[kSmoothed], objects_);
  params_.voxelInfoFlipNormals = NumbersOf<int32_t>(isolate, lists_[kFlipNormals], objects_);
  return &params_;
}

const AnimatedTransforms* const* MeshCreateOptions::Animations() {
  blocks_.clear();
  for (TransformTrack& track : tracks_) blocks_.push_back(track.Block());
  return blocks_.empty() ? nullptr : blocks_.data();
}

}  // namespace KilnNodeWrapper
