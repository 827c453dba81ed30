// renderSequence: frames as numbers, as objects {start, end, step} and as arrays of these to any depth.
#include <vector>

#include "binding/error.h"
#include "binding/stack_guard.h"
#include "binding/text.h"
#include "module/sdk_library.h"
#include "renderer/kiln_renderer.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {
namespace {

// Gathers the runs of frames. Its functions return false with an exception pending.
class SequenceReader {
 public:
  explicit SequenceReader(Environment& environment)
      : environment_(environment), context_(environment.isolate()->GetCurrentContext()) {}

  bool Add(v8::Local<v8::Value> value) {
    if (value->IsArray()) return AddAll(value.As<v8::Array>());
    KilnSubSequence run{0, 0, 0};
    if (value->IsObject() ? !ReadRun(value.As<v8::Object>(), &run) : !ReadFrame(value, &run)) return false;
    runs_.push_back(run);
    return true;
  }

  const KilnSubSequence* runs() const { return runs_.empty() ? nullptr : runs_.data(); }
  int32_t count() const { return static_cast<int32_t>(runs_.size()); }

 private:
  bool AddAll(v8::Local<v8::Array> array) {
    if (!CheckStack(environment_)) return false;
    const uint32_t length = array->Length();
    for (uint32_t i = 0; i < length; i++) {
      const v8::HandleScope scope(environment_.isolate());
      v8::Local<v8::Value> element;
      if (!array->Get(context_, i).ToLocal(&element) || !Add(element)) return false;
    }
    return true;
  }

  bool ReadFrame(v8::Local<v8::Value> value, KilnSubSequence* run) {
    if (!value->Int32Value(context_).To(&run->start)) return false;
    run->end = run->start;
    return true;
  }

  // A step counts only behind both a start and an end. An object with neither is frame 0.
  bool ReadRun(v8::Local<v8::Object> object, KilnSubSequence* run) {
    bool has_start = false;
    bool has_end = false;
    if (!ReadKey(object, "start", &run->start, &has_start)) return false;
    run->end = run->start;
    if (!ReadKey(object, "end", &run->end, &has_end)) return false;
    if (!has_start) run->start = run->end;
    if (!has_start || !has_end) return true;
    run->step = 1;
    bool has_step = false;
    return ReadKey(object, "step", &run->step, &has_step);
  }

  // A key of the object's own.
  bool ReadKey(v8::Local<v8::Object> object, const char* key, int32_t* number, bool* has) {
    v8::Local<v8::String> name;
    v8::Local<v8::Value> value;
    if (!NewName(environment_.isolate(), key).ToLocal(&name) ||
        !object->HasRealNamedProperty(context_, name).To(has)) {
      return false;
    }
    return !*has || (object->Get(context_, name).ToLocal(&value) && value->Int32Value(context_).To(number));
  }

  Environment& environment_;
  v8::Local<v8::Context> context_;
  std::vector<KilnSubSequence> runs_;
};

}  // namespace

void RenderSequence(const Arguments& info) {
  SequenceReader sequence(EnvironmentOf(info));
  for (int i = 0; i < info.Length(); i++) {
    if (!sequence.Add(info[i])) return;
  }
  // Only now: a conversion may close the renderer.
  sdk.Kiln_KilnRenderer_renderSequence(RendererOf(info).renderer, sequence.runs(), sequence.count());
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
