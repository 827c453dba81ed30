// The denoiser on demand. Unlike an event, its end does not hold the SDK's thread: the completion leaves the
// image and wakes the loop.
#include <mutex>
#include <unordered_set>

#include "binding/error.h"
#include "binding/sdk_memory.h"
#include "image/kiln_image.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

class DenoiseCarrier;

// The requests that the SDK still has, so that a completion which comes twice, or after a refusal, finds
// nothing. Its mutex also guards what the two threads share of a carrier. It is never destroyed: the SDK's
// threads may outlive the destructors of the process.
struct Outstanding {
  std::mutex mutex;
  std::unordered_set<const KilnDenoiseRequest*> requests;
};
Outstanding& Requests() {
  static auto* const outstanding = new Outstanding;
  return *outstanding;
}

// Belongs to the SDK until the completion, and to the loop until its handle is closed; goes with the later of
// the two. The request stays where it is as long.
class DenoiseCarrier final : public Closable {
 public:
  DenoiseCarrier(const Arguments& info, v8::Local<v8::Function> callback, bool blocking)
      : environment_(EnvironmentOf(info)),
        callback_(info.GetIsolate(), callback),
        self_(info.GetIsolate(), info.This()) {
    request_.completion = OnComplete;
    request_.user = this;
    request_.blocking = blocking ? 1 : 0;
    uv_async_init(environment_.loop(), &async_, OnWake);
    async_.data = this;
    environment_.Hold();
    environment_.Add(this);
    const std::lock_guard lock(Requests().mutex);
    Requests().requests.insert(&request_);
  }

  // JavaScript thread. False when the SDK refused; then nobody is called.
  bool Start(KilnRendererHandle renderer) {
    request_.renderer = renderer;
    if (sdk.Kiln_KilnRenderer_denoiseNow(renderer, &request_) != 0) return true;
    {
      const std::lock_guard lock(Requests().mutex);
      if (Requests().requests.erase(&request_) != 0) owners_--;
    }
    Release();
    return false;
  }

  void Silence() override {}
  void Release() override {
    environment_.Remove(this);
    callback_.Reset();
    self_.Reset();
    KilnImageHandle image = nullptr;
    {
      const std::lock_guard lock(Requests().mutex);
      open_ = false;
      std::swap(image, image_);
    }
    ReleaseBlock(image);
    uv_close(reinterpret_cast<uv_handle_t*>(&async_), OnClosed);
  }

 private:
  ~DenoiseCarrier() = default;

  // Any thread.
  static void OnComplete(KilnImageHandle image, KilnDenoiseRequest* request) {
    std::unique_lock lock(Requests().mutex);
    auto* carrier =
        Requests().requests.erase(request) == 0 ? nullptr : static_cast<DenoiseCarrier*>(request->user);
    if (carrier && carrier->open_) {
      carrier->image_ = image;
      carrier->owners_--;
      uv_async_send(&carrier->async_);
      return;
    }
    const bool last = carrier && --carrier->owners_ == 0;
    lock.unlock();
    ReleaseBlock(image);
    if (last) delete carrier;
  }

  static void OnWake(uv_async_t* async) { static_cast<DenoiseCarrier*>(async->data)->Tell(); }

  static void OnClosed(uv_handle_t* handle) {
    auto* carrier = static_cast<DenoiseCarrier*>(handle->data);
    Environment& environment = carrier->environment_;
    std::unique_lock lock(Requests().mutex);
    const bool last = --carrier->owners_ == 0;
    lock.unlock();
    if (last) delete carrier;
    environment.Drop();
  }

  void Tell() {
    // No JavaScript any more; the environment takes the image with the carrier.
    if (environment_.ending()) return;
    v8::Isolate* isolate = environment_.isolate();
    v8::HandleScope scope(isolate);
    v8::Local<v8::Object> self = self_.Get(isolate);
    v8::Local<v8::Function> callback = callback_.Get(isolate);
    v8::Context::Scope context_scope(self->GetCreationContext().ToLocalChecked());
    v8::TryCatch try_catch(isolate);
    KilnImageHandle image = nullptr;
    {
      const std::lock_guard lock(Requests().mutex);
      std::swap(image, image_);
    }
    v8::Local<v8::Value> argument = v8::Null(isolate);
    v8::Local<v8::Object> object;
    const bool made = !image || wrapImageHandle(environment_, image, -1, -1, nullptr).ToLocal(&object);
    if (!object.IsEmpty()) argument = object;
    Environment& environment = environment_;
    environment.Hold();
    Release();
    if (made) {
      (void)node::MakeCallback(isolate, self, callback, 1, &argument, node::async_context{0, 0}).IsEmpty();
    }
    ReportCaught(isolate, try_catch);
    environment.Drop();
  }

  KilnDenoiseRequest request_{};
  uv_async_t async_;
  Environment& environment_;
  v8::Global<v8::Function> callback_;
  v8::Global<v8::Object> self_;
  KilnImageHandle image_ = nullptr;
  bool open_ = true;
  int owners_ = 2;
};

}  // namespace

void DenoiseNow(const Arguments& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() == 0) {
    KilnDenoiseRequest request{};
    request.renderer = RendererOf(info).renderer;
    request.blocking = 1;
    return info.GetReturnValue().Set(sdk.Kiln_KilnRenderer_denoiseNow(request.renderer, &request) != 0);
  }
  if (!info[0]->IsFunction()) return ThrowError(isolate, "First argument must be a function");
  const bool has_blocking = info.Length() > 1;
  if (has_blocking && !info[1]->IsBoolean()) return ThrowError(isolate, "Second argument must be boolean");
  auto* carrier = new DenoiseCarrier(info, info[0].As<v8::Function>(), !has_blocking || info[1]->IsTrue());
  info.GetReturnValue().Set(carrier->Start(RendererOf(info).renderer));
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
