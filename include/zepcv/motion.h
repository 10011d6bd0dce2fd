/* zepCV image pyramids and motion history. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_MOTION_H
#define ZEPCV_MOTION_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_MOTION_H */
