// Transforms as tables in the scene text. Private to the scene text.
#pragma once

#include <toml++/toml.h>

#include "engine/utilities/math.h"

namespace kiln::engine::formats {

// A table of `translate`, `rotate` and `scale`, of `matrix` and `translate`, or of `from`, `to` and `up`; see
// scene_text.h. Throws SceneTextError for anything else in it.
Transform ReadTransform(const toml::table& table);

}  // namespace kiln::engine::formats
