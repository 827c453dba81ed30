// The layers of the window applied to a picture.
#pragma once

#include "engine/image/image.h"
#include "engine/window/documents.h"

namespace kiln::engine::window {

// Changes the colours of a linear picture by the enabled layers, the first of the list first; alpha stays as
// it is. The document is one that MergeLayers made. Any thread.
void ApplyLayers(const Json& layers, image::Image& picture);

}  // namespace kiln::engine::window
