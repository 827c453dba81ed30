/* Building this file is the test: the records and rows of the boundary are C, and there are as many rows as
 * there should be. */
#include "entry_points.h"

static const char kOnePerRow[] = {
#define KILN_ENTRY(family, result, name, parameters) 1,
#include "entry_points.def"
};
KILN_ASSERT_LAYOUT(sizeof(kOnePerRow) == 341, "a complete library offers 341 entry points");

int KilnRecordsAreC(void);
int KilnRecordsAreC(void) {
  return kOnePerRow[0];
}
