// The place of this header up to version 0.1; it goes with version 0.3.
#pragma once

#include "platform/osx/OperationFailure.h"  // IWYU pragma: export
