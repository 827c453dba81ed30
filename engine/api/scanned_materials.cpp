// Entry points of scanned materials: the parameters, their encoding, and scan files, of which there is no
// format that is public.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "entry_points.h"

namespace kiln::engine::api {
namespace {

constexpr int32_t kBadScanFile = 1;
constexpr int32_t kBadRecord = 1;
constexpr int32_t kDestinationTooSmall = 2;

// The first word of an encoding: which words follow it.
constexpr int32_t kEncodingVersion = 1;
constexpr int32_t kWords = sizeof(ScannedMaterialParams) / sizeof(int32_t);
constexpr int32_t kEncodedWords = 1 + kWords;

// One layer as it was scanned, lit in full: factors of 1, no switch but the maps' and the second side's.
constexpr ScannedMaterialParams kDefaultParams = {
    .plain = 0,
    .invgamma = 1,
    .saturation = 1,
    .depthMul = 1,
    .disablewmap = 0,
    .filter = {1, 1, 1},
    .uvtrans = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0},
    .usemap = 1,
    .bumpmul = 1,
    .bumpstart = 0,
    .nsamples = 8,
    .cutoff = 0.01F,
    .mapChannel = 1,
    .dome = 0,
    .multdirect = 1,
    .multrefl = 1,
    .multgi = 1,
    .traceDepth = 5,
    .scrambleSize = 1,
    .sceneScale = 1,
    .ccior = 1.5F,
    .cchlight = 0,
    .ccbump = 0,
    .unfRefl = 0,
    .twoside = 1,
    .displace = 0,
    .noPrimGI = 0,
    .retrace = 0,
    .noTransp = 0,
    .transpMul = 1,
    .mapChBitmask = 0,
    .paintStrength = 1,
    .fltStrength = 1,
    .clrSpace = 0,
    .noCachedGI = 0,
    .ccmetalrefl = 0,
    .ccmul = 1,
    .triplanar = 0,
    .fasttrans = 0,
    .BWforGI = 0,
    .ccglossy = 1,
    .ccglossyvar = 0,
};

constexpr KiScansPreset MakeDefaultPreset() {
  KiScansPreset preset{};
  preset.ccior = 1.5F;
  preset.bumpmul = 1;
  preset.depthmul = 1;
  preset.orggls = 1;
  preset.ccmul = 1;
  preset.shdhmul = 1;
  preset.shdmul = 1;
  preset.specbell = 1;
  preset.specmul = 1;
  preset.indmul = 1;
  preset.transpf = 1;
  return preset;
}
constexpr KiScansPreset kDefaultPreset = MakeDefaultPreset();

// As much of a record as the host has room for.
template <class Record>
void Write(Record* destination, int32_t size, const Record& source) {
  if (destination && size > 0) {
    std::memcpy(destination, &source, std::min(static_cast<size_t>(size), sizeof(Record)));
  }
}

// Which words are numbers with a fraction, made from the fields so that it follows the record.
struct FloatWords {
  FloatWords() {
    ScannedMaterialParams params{};
    const auto mark = [](auto&... fields) { ((fields = 1), ...); };
    mark(params.invgamma, params.saturation, params.depthMul, params.bumpmul, params.bumpstart, params.cutoff,
         params.multdirect, params.multrefl, params.multgi, params.scrambleSize, params.sceneScale,
         params.ccior, params.ccbump, params.retrace, params.transpMul, params.paintStrength,
         params.fltStrength, params.ccmetalrefl, params.ccmul, params.ccglossy, params.ccglossyvar);
    for (float& number : params.filter) number = 1;
    for (float& number : params.uvtrans) number = 1;
    std::memcpy(words, &params, sizeof(words));
  }
  bool operator[](int32_t word) const { return words[word] != 0; }

 private:
  int32_t words[kWords];
};

// Equal parameters give equal streams: there is one zero, and what is no number becomes the default.
int32_t CanonicalWord(int32_t word, int32_t default_word) {
  float number = 0;
  std::memcpy(&number, &word, sizeof(number));
  if (!std::isfinite(number)) return default_word;
  return number == 0 ? 0 : word;
}

void Encode(const ScannedMaterialParams& params, int32_t* destination) {
  static const FloatWords float_words;
  int32_t words[kWords];
  int32_t defaults[kWords];
  std::memcpy(words, &params, sizeof(words));
  std::memcpy(defaults, &kDefaultParams, sizeof(defaults));
  *destination++ = kEncodingVersion;
  for (int32_t i = 0; i < kWords; ++i) {
    *destination++ = float_words[i] ? CanonicalWord(words[i], defaults[i]) : words[i];
  }
}

}  // namespace

extern "C" {

void Kiln_BRDFScannedParams_initialize(ScannedMaterialParams* params, int32_t size) {
  Write(params, size, kDefaultParams);
}

void Kiln_KiScansPresets_reset(KiScansPreset* preset, int32_t size) {
  Write(preset, size, kDefaultPreset);
}

int32_t Kiln_encodeBRDFScannedParams(int32_t* destination, int32_t count, const ScannedMaterialParams* params,
                                     int32_t size, int32_t* error) {
  const auto refuse = [error](int32_t code) {
    if (error) *error = code;
    return 0;
  };
  if (!params || size != static_cast<int32_t>(sizeof(ScannedMaterialParams))) return refuse(kBadRecord);
  if (destination && count < kEncodedWords) return refuse(kDestinationTooSmall);
  if (destination) Encode(*params, destination);
  return kEncodedWords;
}

KilnScanHandle Kiln_KiScanInfo_create(const char*, int32_t* error) {
  if (error) *error = kBadScanFile;
  return nullptr;
}

// No file is ever open.
void Kiln_KiScanInfo_delete(KilnScanHandle) {}

int32_t Kiln_KiScanInfo_getInfoString(KilnScanHandle, const char*, char* destination, int32_t size) {
  if (destination && size > 0) *destination = 0;
  return 0;
}

int32_t Kiln_KiScanInfo_getPreset(KilnScanHandle, const char*, KiScansPreset*, int32_t) {
  return 0;
}

}  // extern "C"
}  // namespace kiln::engine::api
