/* Records of the side services: the plugin graph, scanned materials, the host check. */
#ifndef KILN_INCLUDE_UTILITIES_H_
#define KILN_INCLUDE_UTILITIES_H_

#include "abi.h"

/* One reference between two plugins. */
typedef struct PluginLink {
  KilnPluginId to;   /* the target of the reference */
  KilnPluginId from; /* the plugin that holds the property */
  int32_t output_index;
  int32_t property_index;
} PluginLink;
KILN_SIZE(PluginLink, 24);
KILN_AT(PluginLink, to, 0);
KILN_AT(PluginLink, from, 8);
KILN_AT(PluginLink, output_index, 16);
KILN_AT(PluginLink, property_index, 20);

/* 55 words; the SDK writes the defaults. */
typedef struct ScannedMaterialParams {
  int32_t plain;
  float invgamma;
  float saturation;
  float depthMul;
  int32_t disablewmap;
  float filter[3];
  float uvtrans[12];
  int32_t usemap;
  float bumpmul;
  float bumpstart;
  int32_t nsamples;
  float cutoff;
  int32_t mapChannel;
  int32_t dome;
  float multdirect;
  float multrefl;
  float multgi;
  int32_t traceDepth;
  float scrambleSize;
  float sceneScale;
  float ccior;
  int32_t cchlight;
  float ccbump;
  int32_t unfRefl;
  int32_t twoside;
  int32_t displace;
  int32_t noPrimGI;
  float retrace;
  int32_t noTransp;
  float transpMul;
  int32_t mapChBitmask;
  float paintStrength;
  float fltStrength;
  int32_t clrSpace;
  int32_t noCachedGI;
  float ccmetalrefl;
  float ccmul;
  int32_t triplanar;
  int32_t fasttrans;
  int32_t BWforGI;
  float ccglossy;
  float ccglossyvar;
} ScannedMaterialParams;
KILN_SIZE(ScannedMaterialParams, 220);
KILN_AT(ScannedMaterialParams, plain, 0);
KILN_AT(ScannedMaterialParams, invgamma, 4);
KILN_AT(ScannedMaterialParams, saturation, 8);
KILN_AT(ScannedMaterialParams, depthMul, 12);
KILN_AT(ScannedMaterialParams, disablewmap, 16);
KILN_AT(ScannedMaterialParams, filter, 20);
KILN_AT(ScannedMaterialParams, uvtrans, 32);
KILN_AT(ScannedMaterialParams, usemap, 80);
KILN_AT(ScannedMaterialParams, bumpmul, 84);
KILN_AT(ScannedMaterialParams, bumpstart, 88);
KILN_AT(ScannedMaterialParams, nsamples, 92);
KILN_AT(ScannedMaterialParams, cutoff, 96);
KILN_AT(ScannedMaterialParams, mapChannel, 100);
KILN_AT(ScannedMaterialParams, dome, 104);
KILN_AT(ScannedMaterialParams, multdirect, 108);
KILN_AT(ScannedMaterialParams, multrefl, 112);
KILN_AT(ScannedMaterialParams, multgi, 116);
KILN_AT(ScannedMaterialParams, traceDepth, 120);
KILN_AT(ScannedMaterialParams, scrambleSize, 124);
KILN_AT(ScannedMaterialParams, sceneScale, 128);
KILN_AT(ScannedMaterialParams, ccior, 132);
KILN_AT(ScannedMaterialParams, cchlight, 136);
KILN_AT(ScannedMaterialParams, ccbump, 140);
KILN_AT(ScannedMaterialParams, unfRefl, 144);
KILN_AT(ScannedMaterialParams, twoside, 148);
KILN_AT(ScannedMaterialParams, displace, 152);
KILN_AT(ScannedMaterialParams, noPrimGI, 156);
KILN_AT(ScannedMaterialParams, retrace, 160);
KILN_AT(ScannedMaterialParams, noTransp, 164);
KILN_AT(ScannedMaterialParams, transpMul, 168);
KILN_AT(ScannedMaterialParams, mapChBitmask, 172);
KILN_AT(ScannedMaterialParams, paintStrength, 176);
KILN_AT(ScannedMaterialParams, fltStrength, 180);
KILN_AT(ScannedMaterialParams, clrSpace, 184);
KILN_AT(ScannedMaterialParams, noCachedGI, 188);
KILN_AT(ScannedMaterialParams, ccmetalrefl, 192);
KILN_AT(ScannedMaterialParams, ccmul, 196);
KILN_AT(ScannedMaterialParams, triplanar, 200);
KILN_AT(ScannedMaterialParams, fasttrans, 204);
KILN_AT(ScannedMaterialParams, BWforGI, 208);
KILN_AT(ScannedMaterialParams, ccglossy, 212);
KILN_AT(ScannedMaterialParams, ccglossyvar, 216);

typedef struct KiScansPreset {
  float ccior;
  int32_t plain;
  float bumpmul;
  float bumpstart;
  float depthmul;
  float ccbump;
  float orggls;
  float orgglvar;
  uint8_t reserved0[16];
  float ccmul;
  float shdhmul;
  float shdmul;
  int32_t flakes;
  int32_t forcebrdf;
  float specbell;
  float specmul;
  uint32_t reserved1;
  float scratchdens;
  float fuzzy;
  float topvLs_A;
  uint32_t reserved2;
  int32_t keepflakesuv;
  float indmul;
  float ccmetalrefl;
  float thickness;
  int32_t triplanar;
  float transpf;
} KiScansPreset;
KILN_SIZE(KiScansPreset, 120);
KILN_AT(KiScansPreset, ccior, 0);
KILN_AT(KiScansPreset, plain, 4);
KILN_AT(KiScansPreset, bumpmul, 8);
KILN_AT(KiScansPreset, bumpstart, 12);
KILN_AT(KiScansPreset, depthmul, 16);
KILN_AT(KiScansPreset, ccbump, 20);
KILN_AT(KiScansPreset, orggls, 24);
KILN_AT(KiScansPreset, orgglvar, 28);
KILN_AT(KiScansPreset, ccmul, 48);
KILN_AT(KiScansPreset, shdhmul, 52);
KILN_AT(KiScansPreset, shdmul, 56);
KILN_AT(KiScansPreset, flakes, 60);
KILN_AT(KiScansPreset, forcebrdf, 64);
KILN_AT(KiScansPreset, specbell, 68);
KILN_AT(KiScansPreset, specmul, 72);
KILN_AT(KiScansPreset, scratchdens, 80);
KILN_AT(KiScansPreset, fuzzy, 84);
KILN_AT(KiScansPreset, topvLs_A, 88);
KILN_AT(KiScansPreset, keepflakesuv, 96);
KILN_AT(KiScansPreset, indmul, 100);
KILN_AT(KiScansPreset, ccmetalrefl, 104);
KILN_AT(KiScansPreset, thickness, 108);
KILN_AT(KiScansPreset, triplanar, 112);
KILN_AT(KiScansPreset, transpf, 116);

/* One block of the caller's, its texts inside. */
typedef struct HostCheckResult {
  int32_t status; /* -3 resolve, -2 connect, -1 timeout, 0 ready, 1 unknown, 2 error, 3 busy */
  uint32_t cpu_count;
  uint32_t version; /* major above 16, minor, patch */
  uint32_t reserved;
  const char* host_resolved;
  const char* host_connected_to;
  const char* revision_time;
} HostCheckResult;
KILN_SIZE(HostCheckResult, 40);
KILN_AT(HostCheckResult, status, 0);
KILN_AT(HostCheckResult, cpu_count, 4);
KILN_AT(HostCheckResult, version, 8);
KILN_AT(HostCheckResult, host_resolved, 16);
KILN_AT(HostCheckResult, host_connected_to, 24);
KILN_AT(HostCheckResult, revision_time, 32);

#endif
