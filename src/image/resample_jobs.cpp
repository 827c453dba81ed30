// Making a smaller or cut image of an image, as a job and at once. The two forms of the fitting members
// differ on purpose: only the one that works at once tests the range.
#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "image/image_members.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"

namespace KilnNodeWrapper {
namespace {

using ResampleFunction = KilnImageHandle (*SdkTable::*)(KilnImageHandle, int32_t, int32_t);

constexpr char kNeedsCallback[] =
    "Argument 0 (imageWidth: Integer), argument 1 (imageHeight: Integer) and argument 2 (callback function) "
    "should be passed";
constexpr char kNeedsSize[] =
    "Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) should be passed";
constexpr char kNotDownscaled[] =
    "Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) must be greater than 0 but not "
    "greater than the source image";
constexpr char kNotPositive[] =
    "Argument 0 (imageWidth: Integer) and argument 1 (imageHeight: Integer) must be greater than 0";

// Jobs that make an image call back with it, or with null.
struct NewImage {
  KilnImageHandle result = nullptr;

  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    arguments[0] = v8::Null(environment.isolate());
    v8::Local<v8::Object> object;
    if (result) {
      if (!wrapImageHandle(environment, result, -1, -1, nullptr).ToLocal(&object)) return kNoCall;
      arguments[0] = object;
    }
    return 1;
  }
  void Abandon() { ReleaseBlock(result); }
  void Return(const Arguments& info) {
    v8::Local<v8::Object> object;
    if (result && wrapImageHandle(EnvironmentOf(info), result, -1, -1, nullptr).ToLocal(&object)) {
      info.GetReturnValue().Set(object);
    }
  }
};

struct ResampleJob : NewImage {
  ResampleFunction function;
  KilnImageHandle image;
  int32_t width;
  int32_t height;
  void Run() { result = (sdk.*function)(image, width, height); }
};

enum class Limit { kNone, kPositive, kSource };

// Null, or the text of the range that the size is outside of.
const char* RangeFault(Limit limit, const ResampleJob& job) {
  if (limit == Limit::kNone) return nullptr;
  const bool positive = job.width > 0 && job.height > 0;
  if (limit == Limit::kPositive) return positive ? nullptr : kNotPositive;
  int32_t width = 0;
  int32_t height = 0;
  sdk.KilnImage_getSize(job.image, &width, &height);
  return positive && job.width <= width && job.height <= height ? nullptr : kNotDownscaled;
}

bool ReadResample(const Arguments& info, Limit limit, ResampleJob* job) {
  int32_t size[2];
  if (!ReadInts(info, size)) return false;
  job->image = OpenImageOf(info);
  if (!job->image) return false;
  job->width = size[0];
  job->height = size[1];
  const char* fault = RangeFault(limit, *job);
  if (fault) ThrowTypeError(info.GetIsolate(), fault);
  return !fault;
}

void Resample(const Arguments& info, ResampleFunction function, Limit limit) {
  if (!OpenImageOf(info)) return;
  if (!info[2]->IsFunction()) return ThrowTypeError(info.GetIsolate(), kNeedsCallback);
  ResampleJob job{{}, function, nullptr, 0, 0};
  if (ReadResample(info, limit, &job)) Queue(info, CallbackAt(info, 2), job);
}

void ResampleSync(const Arguments& info, ResampleFunction function, Limit limit) {
  if (!OpenImageOf(info)) return;
  if (info.Length() < 2) return ThrowTypeError(info.GetIsolate(), kNeedsSize);
  ResampleJob job{{}, function, nullptr, 0, 0};
  if (!ReadResample(info, limit, &job)) return;
  job.Run();
  job.Return(info);
}

struct CropResampleJob : NewImage {
  KilnImageHandle image;
  int32_t x, y, width, height, new_width, new_height;

  // A destination as large as the whole image is a copy.
  void Run() {
    int32_t image_width = 0;
    int32_t image_height = 0;
    sdk.KilnImage_getSize(image, &image_width, &image_height);
    result = new_width >= image_width && new_height >= image_height
                 ? sdk.KilnImage_clone(image)
                 : sdk.KilnImage_crop_downscale(image, x, y, width, height, new_width, new_height);
  }
};

bool ReadCropResample(const Arguments& info, const char* message, CropResampleJob* job) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!OpenImageOf(info)) return false;
  int32_t v[6];
  if (info.Length() < 7 || !info[6]->IsFunction()) {
    ThrowTypeError(isolate, message);
    return false;
  }
  if (!ReadInts(info, v)) return false;
  job->image = OpenImageOf(info);
  if (!job->image) return false;
  int32_t image_width = 0;
  int32_t image_height = 0;
  sdk.KilnImage_getSize(job->image, &image_width, &image_height);
  const auto [x, y, width, height, new_width, new_height] = v;
  if (x < 0 || y < 0 || width <= 0 || height <= 0 || new_width <= 0 || new_height <= 0 ||
      int64_t{x} + width > image_width || int64_t{y} + height > image_height || new_width > width ||
      new_height > height) {
    ThrowTypeError(isolate, "Arguments out of range");
    return false;
  }
  *job = {{}, job->image, x, y, width, height, new_width, new_height};
  return true;
}

}  // namespace

void GetDownscaled(const Arguments& info) {
  Resample(info, &SdkTable::KilnImage_downscale, Limit::kSource);
}
void GetDownscaledSync(const Arguments& info) {
  ResampleSync(info, &SdkTable::KilnImage_downscale, Limit::kSource);
}
void GetFitIn(const Arguments& info) {
  Resample(info, &SdkTable::KilnImage_fitIn, Limit::kNone);
}
void GetFitInSync(const Arguments& info) {
  ResampleSync(info, &SdkTable::KilnImage_fitIn, Limit::kPositive);
}
void GetFitOut(const Arguments& info) {
  Resample(info, &SdkTable::KilnImage_fitOut, Limit::kNone);
}
void GetFitOutSync(const Arguments& info) {
  ResampleSync(info, &SdkTable::KilnImage_fitOut, Limit::kPositive);
}
void GetCutIn(const Arguments& info) {
  Resample(info, &SdkTable::KilnImage_cutIn, Limit::kNone);
}
void GetCutInSync(const Arguments& info) {
  ResampleSync(info, &SdkTable::KilnImage_cutIn, Limit::kPositive);
}

void GetDownscaledCropped(const Arguments& info) {
  CropResampleJob job{};
  if (ReadCropResample(
          info,
          "Source image region x, y, width and height, destination image desired width and height and a "
          "callback function should be passed",
          &job)) {
    Queue(info, CallbackAt(info, 6), job);
  }
}

// Asks for the function too, though it never calls it.
void GetDownscaledCroppedSync(const Arguments& info) {
  CropResampleJob job{};
  if (!ReadCropResample(
          info,
          "Source image region x, y, width and height, destination image desired width and height should "
          "be passed",
          &job)) {
    return;
  }
  job.Run();
  job.Return(info);
}

}  // namespace KilnNodeWrapper
