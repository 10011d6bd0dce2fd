/* zepCV norms of images, of their differences, and relative norms. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_NORM_H
#define ZEPCV_NORM_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_NORM_H */
