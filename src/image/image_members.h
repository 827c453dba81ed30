// What the files of the KilnImage class share.
#pragma once

#include <span>

#include "binding/members.h"
#include "image.h"

namespace KilnNodeWrapper {

// The receiver's handle; null after throwing that the image is closed. A member that converts arguments asks
// again behind the conversions, which may have run a close.
KilnImageHandle OpenImageOf(const Arguments& info);

// Four, or two, leading integers. False with the pending exception of a conversion that failed.
bool ReadInts(const Arguments& info, std::span<int32_t> values);

// An image kind by its name: bmp, png, jpg or jpeg, tif or tiff, exr.
enum class ImageKind { kNone = 0, kBmp = 1, kPng = 2, kJpeg = 3, kTiff = 4, kExr = 5 };
ImageKind ImageKindOf(std::string_view name);
// A decoder for bmp, png and jpeg.
KilnImageHandle DecodeImage(ImageKind kind, const void* data, uint64_t size, void* renderer);

// What a job takes from anywhere behind its own arguments: the last renderer and the last function win, all
// else is skipped.
struct JobArguments {
  KilnRendererHandle renderer = nullptr;
  v8::Local<v8::Object> renderer_object;  // to be kept alive while the job uses its handle
  v8::Local<v8::Function> callback;
};
JobArguments ScanJobArguments(const Arguments& info, int next);

// pixel_members.cpp
void GetGamma(v8::Local<v8::Name>, const GetterInfo& info);
void SetGamma(v8::Local<v8::Name>, v8::Local<v8::Value> value, const SetterInfo& info);
void GetCropped(const Arguments& info);
void Draw(const Arguments& info);
void AddColor(const Arguments& info);
void ChangeExposure(const Arguments& info);
void ChangeContrast(const Arguments& info);
void ChangeGamma(const Arguments& info);
void ChangeSRGB(const Arguments& info);
void MakeNegative(const Arguments& info);
void GetPixelData(const Arguments& info);
void ToBitmapData(const Arguments& info);
void ToIntList(const Arguments& info);
// encode_jobs.cpp
void Compress(const Arguments& info);
void CompressSync(const Arguments& info);
void Save(const Arguments& info);
void SaveSync(const Arguments& info);
// decode_jobs.cpp
void CreateFromBuffer(const Arguments& info);
void CreateFromBufferSync(const Arguments& info);
// resample_jobs.cpp
void GetDownscaled(const Arguments& info);
void GetDownscaledSync(const Arguments& info);
void GetDownscaledCropped(const Arguments& info);
void GetDownscaledCroppedSync(const Arguments& info);
void GetFitIn(const Arguments& info);
void GetFitInSync(const Arguments& info);
void GetFitOut(const Arguments& info);
void GetFitOutSync(const Arguments& info);
void GetCutIn(const Arguments& info);
void GetCutInSync(const Arguments& info);

}  // namespace KilnNodeWrapper
