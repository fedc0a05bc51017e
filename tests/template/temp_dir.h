// TempDirTest now lives with the other shared helpers.
#include "support/support.h"  // IWYU pragma: export
