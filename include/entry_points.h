/* Prototypes of all entry points, and the records that they take. A library that exports them defines against
 * these. */
#ifndef KILN_INCLUDE_ENTRY_POINTS_H_
#define KILN_INCLUDE_ENTRY_POINTS_H_

#include "elements.h"
#include "framebuffer.h"
#include "image.h"
#include "proxy.h"
#include "renderer.h"
#include "server.h"
#include "utilities.h"
#include "values.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KILN_ENTRY(family, result, name, parameters) result name parameters;
#include "entry_points.def"

#ifdef __cplusplus
}
#endif

#endif
