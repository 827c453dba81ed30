/* How the records of the boundary are pinned: each states its size and its offsets right under its
 * definition. */
#ifndef KILN_INCLUDE_ABI_H_
#define KILN_INCLUDE_ABI_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define KILN_ASSERT_LAYOUT(condition, text) static_assert(condition, text)
#else
#define KILN_ASSERT_LAYOUT(condition, text) _Static_assert(condition, text)
#endif

#define KILN_SIZE(record, bytes) \
  KILN_ASSERT_LAYOUT(sizeof(record) == (bytes), #record " has " #bytes " bytes")
#define KILN_AT(record, field, offset) \
  KILN_ASSERT_LAYOUT(offsetof(record, field) == (offset), #record "." #field " stands at " #offset)

/* Opaque objects of the SDK. An image handle is also the address of one block of memory. */
typedef void* KilnRendererHandle;
typedef void* KilnServerHandle;
typedef void* KilnImageHandle;
typedef void* KilnScanHandle;
typedef void* KilnStringVector;
typedef const void* KilnPropertyDefinition;

/* A plugin instance. 0 and all ones are no plugin. */
typedef uint64_t KilnPluginId;
#define KILN_NO_PLUGIN UINT64_MAX

#endif
