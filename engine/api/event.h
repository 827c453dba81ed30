// One event on its way to the host, and the call that hands it over.
#pragma once

#include <cstdint>
#include <string>

#include "engine/api/event_queue.h"
#include "engine/image/image.h"
#include "entry_points.h"

namespace kiln::engine::api {

struct Event {
  EventKind kind{};
  double time = 0;
  // States, the bucket's x, y, width and height, the image's size, a message's level, or progress.
  int32_t numbers[4] = {};
  uint64_t change_index = 0;
  int32_t extra = 0;
  std::string text;
  image::ImagePtr image;
};

// Calls the host with the record of the event. The image belongs to the host afterwards when `keep` is set,
// and is freed otherwise.
void Deliver(Event event, const CallbackDescriptor& callback, bool keep);

}  // namespace kiln::engine::api
