#include "tests/support/precompiled.h"

ZORVANE_TEST_INSTANCES()
