// The scene text: a TOML document with one table per plugin instance.
//
//   [spot]
//   class = "LightSpot"
//   intensity = 40
//   color = [1, 0.9, 0.8]
//   transform = { translate = [0, 3, 0], rotate = [-90, 0, 0] }
//
//   ["Floor@1"]                      # a name that is no bare TOML key is quoted
//   class = "GeomInstance"
//   geometry = "mesh"                # a reference by name, before or after its table
//   material = "wood::alpha"         # "name::output" where one output is meant
//
// Values follow the declared type of the property:
//   numbers, true and false, texts        as TOML has them
//   Vector, Color / AColor / Matrix       arrays of 3 / 3 or 4 / 9 numbers (a matrix by columns)
//   Transform                             12 numbers (the matrix by columns, then the offset), or a table
//   with
//                                         `translate`, `rotate` (degrees about X, then Y, then Z), `scale` (a
//                                         number or three), or `matrix` (9 numbers) and `translate`, or
//                                         `from`, `to` and `up` (the -Z axis looks from one point at the
//                                         other)
//   Plugin                                a reference; "" is none
//   Texture types                         a constant (for colours also a number, as grey) or a reference
//   lists                                 arrays; numbers of triples flat or as arrays of three; or a text
//                                         "base64:f32:<data>" or "base64:i32:<data>", little-endian words;
//                                         or "deflate:f32:<count>:<data>" and "deflate:i32:...", base64 of
//                                         the deflated words (RFC 1951) and how many they are
//   key frames, for any type              a table of times, { "0" = 1.5, "2.5" = 3 }
// In lists without element type, what TOML cannot say is a table of one entry: { vector = [1, 2, 3] }.
// File names are relative to the folder of the text.
//
//   include = ["materials.toml", "chair.glb"]
//
// in front of the tables reads other scenes first, looked for beside the text and then in the include paths;
// each once a load. References reach from text to text.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engine/formats/loader.h"
#include "engine/formats/scene_copy.h"

namespace kiln::engine::formats {

// Adds the text's instances to the scene, or nothing on an error: kParser with `label` (the file's name,
// empty for a text) and the line of the offending key. A reference that the text does not define may name an
// instance that the scene already has. Takes the scene's lock only for look-ups and the last step. Any
// thread.
LoadResult ReadSceneText(scene::Scene& scene, std::string_view text, const std::filesystem::path& folder,
                         const std::string& label, const scene::LoadFilter& filter = {});

struct TextOptions {
  bool binary_lists = true;  // lists above 32 numbers as base64, not as numbers
  bool compressed = false;   // these deflated, where that is shorter
  // Where the text is going to lie: names of files that are relative now are written relative to it, so that
  // they mean the same. None: as they are.
  std::optional<std::filesystem::path> folder{};
  // Of animations only these frames: key frames within, and at the ends what is between keys there.
  std::optional<std::pair<double, double>> frames{};
  // Animations as plain values, as they are at the frame.
  std::optional<double> frozen_at{};
};

// The scene as text: instances in order of creation, of each what somebody set, in declared order, with
// numbers as short as they read back exactly. Equal scenes give equal texts, and a text read from here writes
// the same text again. Only instances that `wanted` takes, when there is one.
std::string WriteText(const SceneCopy& scene, const TextOptions& options = {},
                      const std::function<bool(const scene::Instance&)>& wanted = {});
// Texts as a TOML string, with its quotes. Bytes that are no UTF-8, which TOML cannot hold, become U+FFFD.
std::string QuoteText(std::string_view text);

}  // namespace kiln::engine::formats
