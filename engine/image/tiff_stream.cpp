// The callbacks between libtiff and a block of memory.
#include "engine/image/tiff_stream.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace kiln::engine::image {
namespace {

// More than any strip or tile of an image within our limits takes.
constexpr tmsize_t kLargestAllocation = tmsize_t{1} << 32;

TiffStream& Stream(thandle_t handle) {
  return *static_cast<TiffStream*>(handle);
}
size_t Size(const TiffStream& s) {
  return s.output ? s.output->size() : s.input.size();
}

tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
  TiffStream& s = Stream(handle);
  const std::byte* from = s.output ? s.output->data() : s.input.data();
  if (size <= 0 || s.position >= Size(s)) return 0;
  const size_t count = std::min(static_cast<size_t>(size), Size(s) - s.position);
  std::memcpy(to, from + s.position, count);
  s.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t Write(thandle_t handle, void* from, tmsize_t size) {
  TiffStream& s = Stream(handle);
  if (!s.output || size < 0) return -1;
  const size_t end = s.position + static_cast<size_t>(size);
  try {
    if (end > s.output->size()) s.output->resize(end);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  if (size > 0) std::memcpy(s.output->data() + s.position, from, static_cast<size_t>(size));
  s.position = end;
  return size;
}

toff_t Seek(thandle_t handle, toff_t offset, int whence) {
  TiffStream& s = Stream(handle);
  if (whence == SEEK_CUR) offset += s.position;
  if (whence == SEEK_END) offset += Size(s);
  // A hostile directory may point anywhere; a position that size_t cannot add to would wrap.
  if (offset > SIZE_MAX / 2) return static_cast<toff_t>(-1);
  s.position = static_cast<size_t>(offset);
  return offset;
}

int Close(thandle_t) {
  return 0;
}
toff_t FileSize(thandle_t handle) {
  return Size(Stream(handle));
}
int Map(thandle_t, void**, toff_t*) {
  return 0;
}
void Unmap(thandle_t, void*, toff_t) {}

int OnError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto* stream = static_cast<TiffStream*>(user);
  if (stream->message.empty()) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
      stream->message = text;
    } catch (const std::bad_alloc&) {
      return 1;
    }
    while (!stream->message.empty() && stream->message.back() == '.') stream->message.pop_back();
  }
  return 1;
}
int OnWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct OptionsDeleter {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

TiffPtr OpenTiff(TiffStream& stream) {
  const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &stream);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, &stream);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kLargestAllocation);
  return TiffPtr(TIFFClientOpenExt("image", stream.output ? "w" : "r", &stream, Read, Write, Seek, Close,
                                   FileSize, Map, Unmap, options.get()));
}

}  // namespace kiln::engine::image
