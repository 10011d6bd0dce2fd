/* zepCV integral images and rectangle deviation. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_INTEGRAL_H
#define ZEPCV_INTEGRAL_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_INTEGRAL_H */
