/* In place of a C library's, which a freestanding compilation lacks. */
#include <stddef.h>
