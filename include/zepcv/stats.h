/* zepCV image statistics: means, standard deviations and extrema with positions. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_STATS_H
#define ZEPCV_STATS_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_STATS_H */
