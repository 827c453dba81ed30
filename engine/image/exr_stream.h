// Where the EXR writers put their bytes.
#pragma once

#include <ImfIO.h>

#include <cstring>

#include "engine/image/encode.h"

namespace kiln::engine::image {

class ExrOutput : public Imf::OStream {
 public:
  explicit ExrOutput(Bytes* bytes) : OStream("image"), bytes_(bytes) {}
  void write(const char data[], int size) override {
    const size_t end = position_ + static_cast<size_t>(size);
    if (end > bytes_->size()) bytes_->resize(end);
    std::memcpy(bytes_->data() + position_, data, static_cast<size_t>(size));
    position_ = end;
  }
  uint64_t tellp() override { return position_; }
  void seekp(uint64_t position) override { position_ = static_cast<size_t>(position); }

 private:
  Bytes* bytes_;
  size_t position_ = 0;
};

}  // namespace kiln::engine::image
