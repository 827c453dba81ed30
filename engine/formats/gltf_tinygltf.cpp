// The one place that compiles tinygltf's body.
#include <fstream>

#define TINYGLTF_IMPLEMENTATION
#include "engine/formats/gltf_tinygltf.h"
