// Where the SDK's image lives behind a KilnImage: its memory block is the backing store of the array in the
// object's internal field, and the block's address is the handle. An image is closed exactly when the field
// holds no array.
//
// Where the host forbids external memory the block stays the SDK's, a record beside the array holds the
// handle, and pixel lists are copies.
#pragma once

#include "binding/environment.h"
#include "image.h"

namespace KilnNodeWrapper {

// Takes the handle over, also on failure, which leaves an exception pending or nothing.
bool StoreImage(Environment& environment, v8::Local<v8::Object> object, KilnImageHandle handle);
// Detaches the memory, which is given back to the SDK. Does nothing for a closed image.
void CloseImage(v8::Local<v8::Object> object);
// The floats of that many pixels from `pixels` on: a view on the image's memory, or a copy where there is
// none. Empty, with nothing pending, when they do not lie in the image's block.
v8::MaybeLocal<v8::Float32Array> PixelArray(Environment& environment, v8::Local<v8::Object> object,
                                            KilnImageHandle handle, void* pixels, uint64_t pixel_count);

}  // namespace KilnNodeWrapper
