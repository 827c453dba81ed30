// The events of a renderer in the common frame.
#pragma once

#include <utility>

#include "binding/event_frame.h"
#include "renderer/renderer_wrapper.h"

namespace KilnNodeWrapper::KilnRendererNodeWrapper {

using EventScope = EventScopeOf<RendererWrapper>;

template <class Body, class CleanUp>
void HandleEvent(EventPort* port, Body&& body, CleanUp&& clean_up) {
  HandleEventOf<RendererWrapper>(port, std::forward<Body>(body), std::forward<CleanUp>(clean_up));
}

}  // namespace KilnNodeWrapper::KilnRendererNodeWrapper
