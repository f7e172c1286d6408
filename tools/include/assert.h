/* May be included again, with another setting of NDEBUG. */
#include <stdio.h>
#include <stdlib.h>
#undef assert
#ifdef NDEBUG
#define assert(c) ((void)0)
#else
#define assert(c) \
  ((c) ? (void)0 : (printf("%s:%d: assertion failed: %s\n", __FILE__, __LINE__, #c), abort()))
#endif
