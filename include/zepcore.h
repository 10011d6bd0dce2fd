/* zepcore: processor facts shared by the zepCV libraries. */
#ifndef ZEPCORE_H
#define ZEPCORE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define ZEPCORE_API __attribute__((visibility("default")))
#else
#define ZEPCORE_API
#endif

/* Statuses of zepcore: 0 success, -8 null pointer, -1 the processor and the
 * operating system tell no cache size (0 is written). */
enum { zepcoreStsOk = 0, zepcoreStsNoCacheInfo = -1, zepcoreStsNullPointer = -8 };

/* Writes the size in bytes of the processor's largest data (or unified) cache. */
ZEPCORE_API int32_t zepGetMaxCacheSizeB(int32_t* pSizeByte);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCORE_H */
