// What a script asks for when it exports a scene, as the record that the SDK reads.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "binding/environment.h"
#include "renderer.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

// Owns everything that its record points to, and stays where it is.
class ExportSettings {
 public:
  // What an export without settings has.
  ExportSettings();
  ExportSettings(const ExportSettings&) = delete;
  ExportSettings& operator=(const ExportSettings&) = delete;

  // JavaScript thread. What can't be read or converted leaves its field as it was; no exception stays.
  void Fill(Environment& environment, v8::Local<v8::Object> object);

  const KilnExportSettings* record() const { return &record_; }

 private:
  void ReadPluginExportList(Environment& environment, v8::Local<v8::Array> list);
  void ReadIncludeFiles(v8::Isolate* isolate, v8::Local<v8::Array> list);
  bool ReadSubFileInfos(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  void FillSubFileInfos(v8::Local<v8::Context> context, const std::vector<v8::Local<v8::Object>>& elements);

  KilnExportSettings record_{};
  std::string host_app_;
  std::vector<KilnPluginId> plugins_;
  std::string include_files_;
  std::deque<std::string> sub_file_texts_;  // a deque leaves its texts where they are
  std::vector<KilnSubFileInfo> sub_files_;
};

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
