/* zepCV geometric sampling: pixels along digital lines. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_GEOMETRY_H
#define ZEPCV_GEOMETRY_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_GEOMETRY_H */
