#include "renderer/export_settings.h"

#include <array>

#include "binding/option_reader.h"
#include "binding/text.h"
#include "scene/plugin_wrappers.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

constexpr uint32_t kHexTransforms = 2;

void ReadFlag(OptionReader& keys, const char* key, uint32_t* field) {
  bool on = false;
  if (keys.Flag(key, &on)) *field = on ? 1 : 0;
}

}  // namespace

ExportSettings::ExportSettings() {
  record_.compressed = 1;
  record_.hexArraysAndTransforms = 1;
  record_.printHeader = 1;
  record_.kidataSmallBufferSizeLimit = 128;
}

void ExportSettings::Fill(Environment& environment, v8::Local<v8::Object> object) {
  v8::Isolate* isolate = environment.isolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  OptionReader keys(context, object);
  v8::Local<v8::Array> list;
  ReadFlag(keys, "appendFrameSuffix", &record_.appendFrameSuffix);
  ReadFlag(keys, "currentFrameOnly", &record_.currentFrameOnly);
  ReadFlag(keys, "incremental", &record_.incremental);
  keys.Number("leftInterval", &record_.leftInterval);
  keys.Number("rightInterval", &record_.rightInterval);
  ReadFlag(keys, "compressed", &record_.compressed);
  ReadFlag(keys, "hexArrays", &record_.hexArraysAndTransforms);
  keys.Bit("hexTransforms", kHexTransforms, &record_.hexArraysAndTransforms);
  ReadFlag(keys, "renderElementsSeparateFolders", &record_.renderElementsSeparateFolders);
  ReadFlag(keys, "printHeader", &record_.printHeader);
  if (keys.String("hostAppString", &host_app_)) record_.hostAppString = host_app_.c_str();
  if (keys.Array("pluginExportList", &list)) ReadPluginExportList(environment, list);
  if (keys.Array("additionalIncludeFiles", &list)) ReadIncludeFiles(isolate, list);
  // A list of sub-files that can't be used ends the reading.
  if (!ReadSubFileInfos(context, object)) return;
  ReadFlag(keys, "kidataExport", &record_.kidataExport);
  keys.Int("kidataSmallBufferSizeLimit", &record_.kidataSmallBufferSizeLimit);
  keys.Int("kidataFileSizeLimitMiB", &record_.kidataFileSizeLimitMiB);
}

// Plugins alone count: names are not looked up here.
void ExportSettings::ReadPluginExportList(Environment& environment, v8::Local<v8::Array> list) {
  v8::Local<v8::Context> context = environment.isolate()->GetCurrentContext();
  const uint32_t length = list->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> element;
    if (!list->Get(context, i).ToLocal(&element) || !isPlugin(environment, element)) continue;
    plugins_.push_back(pluginIdOf(environment, element));
  }
  if (plugins_.empty()) return;
  record_.pluginExportList = plugins_.data();
  record_.pluginExportListCount = static_cast<uint32_t>(plugins_.size());
}

// One behind the other, each with its NUL, and one NUL more at the end.
void ExportSettings::ReadIncludeFiles(v8::Isolate* isolate, v8::Local<v8::Array> list) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const uint32_t length = list->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> element;
    if (!list->Get(context, i).ToLocal(&element) || !element->IsString()) continue;
    // A text with a NUL inside ends there, and must not look like the end of the list.
    const std::string file = Text(isolate, element.As<v8::String>()).c_str();
    if (!file.empty()) include_files_.append(file).push_back('\0');
  }
  if (!include_files_.empty()) record_.additionalIncludeFiles = include_files_.c_str();
}

// False when the key is there and nothing can be made of it.
bool ExportSettings::ReadSubFileInfos(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  OptionReader key(context, object);
  v8::Local<v8::Value> value;
  if (!key.Value("subFileInfos").ToLocal(&value)) return !key.unreadable();
  if (!value->IsArray()) return false;
  v8::Local<v8::Array> list = value.As<v8::Array>();
  std::vector<v8::Local<v8::Object>> elements;
  const uint32_t length = list->Length();
  for (uint32_t i = 0; i < length; i++) {
    v8::Local<v8::Value> element;
    if (!list->Get(context, i).ToLocal(&element) || !element->IsObject()) continue;
    OptionReader keys(context, element.As<v8::Object>());
    if (keys.Has("type") && keys.Has("suffix")) elements.push_back(element.As<v8::Object>());
  }
  if (elements.empty()) return false;
  FillSubFileInfos(context, elements);
  return true;
}

void ExportSettings::FillSubFileInfos(v8::Local<v8::Context> context,
                                      const std::vector<v8::Local<v8::Object>>& elements) {
  sub_files_.reserve(elements.size());
  for (v8::Local<v8::Object> element : elements) {
    OptionReader keys(context, element, OptionReader::Lookup::kPlain);
    std::array<std::string, 2> texts;
    if (!keys.String("type", &texts[0]) || !keys.String("suffix", &texts[1])) continue;
    const char* type = sub_file_texts_.emplace_back(std::move(texts[0])).c_str();
    const char* suffix = sub_file_texts_.emplace_back(std::move(texts[1])).c_str();
    sub_files_.push_back({type, suffix});
  }
  record_.subFileInfos = sub_files_.data();
  record_.subFileInfosCount = static_cast<uint32_t>(sub_files_.size());
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
