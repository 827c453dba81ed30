// Defines the entry points that pending.h lists, straight from the rows of the boundary, and no others.
//
// How a row finds out whether it is listed: PENDING_<name> is a macro that expands to two arguments (a tilde
// and the failure) when the name is listed, and stays one meaningless word when it is not. Put in front of
// the arguments PENDING_DEFINE and PENDING_SKIP, it therefore moves either the first or the second of these
// to the third place:
//
//   listed:      (~, failure, PENDING_DEFINE, PENDING_SKIP, ~)           the third is PENDING_DEFINE
//   not listed:  (PENDING_<name>, PENDING_DEFINE, PENDING_SKIP, ~)       the third is PENDING_SKIP
//
// PENDING_THIRD picks the third, which is then called with the row. PENDING_CHOOSE only makes the
// preprocessor expand the list before it counts.
#include "engine/api/pending.h"

#include "entry_points.h"

// The parameters have the names of the rows, and a failure needs none of them.
#pragma GCC diagnostic ignored "-Wunused-parameter"

#define PENDING_SECOND(first, second, ...) second
#define PENDING_THIRD(first, second, third, ...) third
#define PENDING_CHOOSE(...) PENDING_THIRD(__VA_ARGS__)
#define PENDING_FAILURE(...) PENDING_SECOND(__VA_ARGS__, )

#define PENDING_DEFINE(result, name, parameters) \
  result name parameters {                       \
    return PENDING_FAILURE(PENDING_##name);      \
  }
#define PENDING_SKIP(result, name, parameters)

#define KILN_ENTRY(family, result, name, parameters) \
  PENDING_CHOOSE(PENDING_##name, PENDING_DEFINE, PENDING_SKIP, ~)(result, name, parameters)

extern "C" {
#include "entry_points.def"
}
