/* zepCV distance transforms. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_DISTANCE_H
#define ZEPCV_DISTANCE_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_DISTANCE_H */
