// How an importer gives up: thrown anywhere below ImportGltf or ImportModel and turned into a LoadResult
// there.
#pragma once

#include <exception>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "engine/formats/loader.h"

namespace kiln::engine::formats {

class ImportFailure : public std::exception {
 public:
  ImportFailure(LoadError error, std::string text, uint32_t line = 0)
      : error_(error), line_(line), text_(std::move(text)) {}
  // A malformed file; text is a sentence without a full stop.
  explicit ImportFailure(std::string text) : ImportFailure(LoadError::kParser, std::move(text)) {}

  LoadError error() const { return error_; }
  uint32_t line() const { return line_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  LoadError error_;
  uint32_t line_;
  std::string text_;
};

// Runs an import; no exception leaves it. `file_label` goes into the result of a malformed file.
template <class Body>
LoadResult GuardImport(const std::string& file_label, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const ImportFailure& failure) {
    return {failure.error(), failure.error() == LoadError::kParser ? file_label : std::string(),
            failure.line(), failure.what()};
  } catch (const std::bad_alloc&) {
    return {LoadError::kOutOfMemory, {}, 0, "there is not enough memory for the scene"};
  } catch (const std::exception& error) {
    return {LoadError::kParser, file_label, 0, error.what()};
  }
}

}  // namespace kiln::engine::formats
