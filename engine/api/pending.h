/* The entry points whose subject the engine does not have yet, a line each, with the documented failure that
   they answer. A line that goes away must be replaced by a definition, or the library does not link. */
#ifndef KILN_ENGINE_API_PENDING_H_
#define KILN_ENGINE_API_PENDING_H_

/* Material library. */
#define PENDING_KiMat_init ~, 0
#define PENDING_KiMat_unload ~,
#define PENDING_KiMat_getMaterialList ~, nullptr
#define PENDING_KiMat_getEncodedThumbnail ~, 0
#define PENDING_KiMat_getDecodedThumbnail ~, nullptr

#endif
