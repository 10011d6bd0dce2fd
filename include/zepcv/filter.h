/* zepCV linear filtering: pipeline row and column filters, Gaussian filter, Sobel kernels. Included by zepcv.h; do not include directly. */
#ifndef ZEPCV_FILTER_H
#define ZEPCV_FILTER_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_FILTER_H */
