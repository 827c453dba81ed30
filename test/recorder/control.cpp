// The control module: `command(text)`, and a listener for what the recorder's threads have finished. It uses
// the stable interface of Node.js, so one build serves every version.
#include <node_api.h>

#include <cstring>
#include <string>

#include "boundary.h"

namespace {

// One for each environment that has loaded the module.
struct Instance {
  napi_threadsafe_function finished = nullptr;
};

bool Ok(napi_env env, napi_status status) {
  if (status == napi_ok) return true;
  bool pending = false;
  napi_is_exception_pending(env, &pending);
  if (!pending) napi_throw_error(env, nullptr, "recorder_control: a call of Node-API failed");
  return false;
}

napi_value RunCommand(napi_env env, napi_callback_info info) {
  size_t count = 1;
  napi_value argument;
  size_t size = 0;
  if (!Ok(env, napi_get_cb_info(env, info, &count, &argument, nullptr, nullptr))) return nullptr;
  if (!Ok(env, napi_get_value_string_utf8(env, argument, nullptr, 0, &size))) return nullptr;
  std::string text(size + 1, '\0');
  if (!Ok(env, napi_get_value_string_utf8(env, argument, text.data(), text.size(), &size))) return nullptr;
  char* const answer = recorder_command(text.data(), size);
  napi_value result = nullptr;
  Ok(env, napi_create_string_utf8(env, answer, NAPI_AUTO_LENGTH, &result));
  recorder_free_text(answer);
  return result;
}

// On a thread of the recorder.
void Finished(void* cookie, const char* text) {
  auto* const instance = static_cast<Instance*>(cookie);
  char* const copy = strdup(text);
  if (napi_call_threadsafe_function(instance->finished, copy, napi_tsfn_nonblocking) != napi_ok)
    std::free(copy);
}

// On the environment's thread; without an environment it is being torn down.
void Deliver(napi_env env, napi_value listener, void*, void* data) {
  char* const text = static_cast<char*>(data);
  if (env != nullptr) {
    napi_value argument;
    napi_value receiver;
    if (napi_create_string_utf8(env, text, NAPI_AUTO_LENGTH, &argument) == napi_ok &&
        napi_get_undefined(env, &receiver) == napi_ok) {
      napi_call_function(env, receiver, listener, 1, &argument, nullptr);
    }
  }
  std::free(text);
}

// listen(function): called with the text of everything finished. Once for each environment.
napi_value Listen(napi_env env, napi_callback_info info) {
  size_t count = 1;
  napi_value listener;
  napi_value name;
  Instance* instance = nullptr;
  if (!Ok(env, napi_get_cb_info(env, info, &count, &listener, nullptr, nullptr))) return nullptr;
  if (!Ok(env, napi_get_instance_data(env, reinterpret_cast<void**>(&instance)))) return nullptr;
  if (!Ok(env, napi_create_string_utf8(env, "recorder", NAPI_AUTO_LENGTH, &name))) return nullptr;
  if (!Ok(env, napi_create_threadsafe_function(env, listener, nullptr, name, 0, 1, nullptr, nullptr, nullptr,
                                               Deliver, &instance->finished))) {
    return nullptr;
  }
  napi_unref_threadsafe_function(env, instance->finished);
  recorder_add_listener(Finished, instance);
  return nullptr;
}

// hold(on): whether the environment's loop waits for what is not finished.
napi_value Hold(napi_env env, napi_callback_info info) {
  size_t count = 1;
  napi_value argument;
  bool on = false;
  Instance* instance = nullptr;
  if (!Ok(env, napi_get_cb_info(env, info, &count, &argument, nullptr, nullptr))) return nullptr;
  if (!Ok(env, napi_get_value_bool(env, argument, &on))) return nullptr;
  if (!Ok(env, napi_get_instance_data(env, reinterpret_cast<void**>(&instance)))) return nullptr;
  if (instance->finished == nullptr) return nullptr;
  if (on) {
    napi_ref_threadsafe_function(env, instance->finished);
  } else {
    napi_unref_threadsafe_function(env, instance->finished);
  }
  return nullptr;
}

// The recorder's threads outlive the environment, so they must stop using it before it goes.
void Forget(void* data) {
  recorder_remove_listener(data);
}

void Delete(napi_env, void* data, void*) {
  recorder_remove_listener(data);
  delete static_cast<Instance*>(data);
}

napi_value Init(napi_env env, napi_value exports) {
  auto* const instance = new Instance;
  if (!Ok(env, napi_set_instance_data(env, instance, Delete, nullptr))) return nullptr;
  if (!Ok(env, napi_add_env_cleanup_hook(env, Forget, instance))) return nullptr;
  const napi_property_descriptor properties[] = {
      {"command", nullptr, RunCommand, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"listen", nullptr, Listen, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"hold", nullptr, Hold, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
  };
  Ok(env, napi_define_properties(env, exports, std::size(properties), properties));
  return exports;
}

}  // namespace

NAPI_MODULE(recorder_control, Init)
