// Running a render and taking pictures of it. What blocks the JavaScript thread is each member's own
// decision: the forms with a callback never do.
#include "binding/async_job.h"
#include "binding/error.h"
#include "binding/option_reader.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

struct StartRender {
  KilnRendererHandle renderer;
  int32_t result = 0;
  void Run() { result = sdk.Kiln_KilnRenderer_startSync(renderer); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    return FinishWithStatus(environment, result == 0,
                            "The preparation for rendering failed; lastError of the renderer says why.",
                            arguments);
  }
};

struct StopRender {
  KilnRendererHandle renderer;
  void Run() { sdk.Kiln_KilnRenderer_stop(renderer); }
  int Finish(Environment&, v8::Local<v8::Value>*) { return 0; }
};

using WaitFunction = int32_t (*SdkTable::*)(KilnRendererHandle, int32_t);

struct WaitForEnd {
  static constexpr bool kWaitsForRender = true;
  KilnRendererHandle renderer;
  WaitFunction function;
  int32_t timeout;
  int32_t result = 0;
  void Run() { result = (sdk.*function)(renderer, timeout); }
  int Finish(Environment& environment, v8::Local<v8::Value>* arguments) {
    arguments[0] = v8::Boolean::New(environment.isolate(), result != 0);
    return 1;
  }
};

// The callback may stand in either place. The timeout is read from argument 0 whichever of the two is the
// number, so a timeout behind the callback reads as what a function converts to.
void WaitOnPool(const Arguments& info, WaitFunction function) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Function> callback = CallbackAt(info, info[0]->IsFunction() ? 0 : 1);
  if (callback.IsEmpty()) {
    return ThrowError(isolate, "Argument 0 or 1 must be a callback function and should be passed");
  }
  int32_t timeout = -1;
  if ((info[0]->IsNumber() || info[1]->IsNumber()) &&
      !info[0]->Int32Value(isolate->GetCurrentContext()).To(&timeout)) {
    return;
  }
  Queue(info, callback, WaitForEnd{RendererOf(info).renderer, function, timeout});
}

// getImage's options. A missing number counts as 0; a missing flag, and null, is off.
KilnImageOptions ReadImageOptions(OptionReader& keys) {
  KilnImageOptions options{};
  int32_t width = 0;
  int32_t height = 0;
  keys.Int("left", &options.left);
  keys.Int("top", &options.top);
  keys.Int("width", &width);
  keys.Int("height", &height);
  // Sums wrap as the SDK's own would; signed overflow must not be undefined here.
  if (width != 0) options.right = static_cast<int32_t>(static_cast<uint32_t>(options.left) + width);
  if (height != 0) options.bottom = static_cast<int32_t>(static_cast<uint32_t>(options.top) + height);
  const auto flag = [&keys](const char* key) {
    bool on = false;
    return keys.Flag(key, &on) && on ? 1 : 0;
  };
  options.doColorCorrect = flag("doColorCorrect");
  options.stripAlpha = flag("stripAlpha");
  options.flipImage = flag("flipImage");
  return options;
}

}  // namespace

void Start(const Arguments& info) {
  KilnRendererHandle renderer = RendererOf(info).renderer;
  v8::Local<v8::Function> callback = CallbackAt(info, 0);
  if (callback.IsEmpty()) {
    sdk.Kiln_KilnRenderer_render(renderer);
  } else {
    Queue(info, callback, StartRender{renderer});
  }
}

void StartSync(const Arguments& info) {
  info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_startSync(RendererOf(info).renderer));
}

void Stop(const Arguments& info) {
  KilnRendererHandle renderer = RendererOf(info).renderer;
  v8::Local<v8::Function> callback = CallbackAt(info, 0);
  if (callback.IsEmpty()) {
    sdk.Kiln_KilnRenderer_stop(renderer);
  } else {
    Queue(info, callback, StopRender{renderer});
  }
}

void WaitForRenderEnd(const Arguments& info) {
  WaitOnPool(info, &SdkTable::Kiln_KilnRenderer_waitRenderEnd);
}

void WaitForSequenceEnd(const Arguments& info) {
  WaitOnPool(info, &SdkTable::Kiln_KilnRenderer_waitSequenceEnd);
}

void BucketRenderNearest(const Arguments& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  int32_t x = 0;
  int32_t y = 0;
  if (!info[0]->IsNumber() || !info[1]->IsNumber()) {
    return ThrowError(info.GetIsolate(),
                      "Argument 0 and argument 1 (x,y coordinates: numbers) should be passed");
  }
  if (!info[0]->Int32Value(context).To(&x) || !info[1]->Int32Value(context).To(&y)) return;
  sdk.Kiln_KilnRenderer_bucketRenderNearest(RendererOf(info).renderer, x, y);
}

void GetImage(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  KilnImageHandle image = nullptr;
  if (info[0]->IsObject()) {
    // Every key is read, whatever another one threw.
    OptionReader keys(isolate->GetCurrentContext(), info[0].As<v8::Object>(), OptionReader::Lookup::kPlain);
    const KilnImageOptions options = ReadImageOptions(keys);
    if (keys.Rethrow()) return;
    // Only now: a getter may close the renderer.
    image = sdk.Kiln_KilnRenderer_getImage(RendererOf(info).renderer, &options);
  } else {
    image = sdk.Kiln_KilnRenderer_getImage(RendererOf(info).renderer, nullptr);
  }
  v8::Local<v8::Object> object;
  if (image && wrapImageHandle(EnvironmentOf(info), image, -1, -1, nullptr).ToLocal(&object)) {
    info.GetReturnValue().Set(object);
  }
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
