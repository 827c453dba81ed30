// The per-environment record that every handler receives as its callback data.
#pragma once

#include <v8.h>

// Persistent V8 handles and nothing else, all empty at first. Whoever fills a field disposes of what it held.
// Owned by the environment's clean-up hook, which disposes of the handles in reverse order.
struct ModuleContext {
  v8::Global<v8::Function> stringifyFunction;
  v8::Global<v8::Object> listRootPrototype;
  v8::Global<v8::Object> intListPrototype;
  v8::Global<v8::Object> floatListPrototype;
  v8::Global<v8::Object> vectorListPrototype;
  v8::Global<v8::Object> colorListPrototype;
  v8::Global<v8::FunctionTemplate> rendererTemplate;
  v8::Global<v8::FunctionTemplate> serverTemplate;
  v8::Global<v8::FunctionTemplate> imageTemplate;
  v8::Global<v8::FunctionTemplate> renderElementTemplate;
  v8::Global<v8::ObjectTemplate> renderElementsTemplate;
  v8::Global<v8::FunctionTemplate> pluginTemplate;
  v8::Global<v8::FunctionTemplate> pluginRefTemplate;
  v8::Global<v8::ObjectTemplate> pluginsTemplate;
  v8::Global<v8::ObjectTemplate> pluginsIteratorTemplate;
  v8::Global<v8::Function> classFunction;
  v8::Global<v8::ObjectTemplate> classesTemplate;
  v8::Global<v8::ObjectTemplate> classesIteratorTemplate;
  v8::Global<v8::Function> categoryFunction;
  v8::Global<v8::FunctionTemplate> colorTemplate;
  v8::Global<v8::FunctionTemplate> acolorTemplate;
  v8::Global<v8::FunctionTemplate> vectorTemplate;
  v8::Global<v8::FunctionTemplate> matrixTemplate;
  v8::Global<v8::FunctionTemplate> transformTemplate;
  v8::Global<v8::FunctionTemplate> scannedMaterialInfoTemplate;
  v8::Global<v8::FunctionTemplate> binUserAttributesWriterTemplate;
};
