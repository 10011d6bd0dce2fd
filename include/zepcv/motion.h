/* zepCV image pyramids and motion history. Included by zepcv.h; do not include directly.
 *
 * Pyramid levels. Each level is smaller than the one before by the rate
 * (1 < rate <= 10, single precision). The down size of (w, h) starts from
 * trunc(h / rate + 0.5) and trunc(w / rate + 0.5) (at least 1) and is moved by
 * one until the source lies in the up range of the result; the up range of
 * (w, h) runs from max(trunc((w - 1) * rate) + 1, w + 1) (1 when w is 1) to
 * max(trunc(w * rate), w + 1), likewise for h, all products in single
 * precision. Sizes that would pass 2^31 - 1 are held at 2^31 - 1.
 *
 * Layer resampling (LayerDown, LayerUp). The caller's kernel K of n taps
 * (n odd, r = n / 2) is applied separably, rows first, then columns, and each
 * output is divided by the sum of the weights it uses:
 * - down: output x is centred on source coordinate c = x * rate; source pixel
 *   i weighs K(i - c);
 * - up: source pixel i sits at output coordinate i * rate; it weighs
 *   K(i * rate - x) in output x;
 * where K(t) interpolates the taps linearly, K(k - r) = K[k], and is 0 at
 * |t| >= r + 1. Up at a rate above r + 1, distances are first multiplied by
 * (r + 1) / rate, so that every output reaches a source pixel. Taps of weight 0 are skipped (an infinity there spreads no
 * NaN); a kernel whose weights sum to 0 is applied without division. The
 * weights are formed in double and rounded to single precision once; sums
 * run in single precision without fused multiply-adds, in tap order.
 * Borders: down mirrors the source about its edge pixels (x = -1 reads 1) on
 * every side; up mirrors about the first pixel and half a pixel past the last
 * (x = -1 reads 1, x = w reads w - 1), which is the mirror of the zero-filled
 * up-sampled image about its edges.
 * 8u and 16u results round to nearest with ties up and saturate. With rate 2
 * and the kernel 1 4 6 4 1 the results are the Gaussian pyramid step: exact
 * integers for 8u and 16u, and within rounding of a float sum for 32f.
 * A layer state holds the weight tables Init makes; the operations only read
 * it, so one state may serve concurrent calls. A state serves any source
 * up to the size it was made for; the destination must be the down size of
 * the source (LayerDown) or lie in its up range (LayerUp). The Init mode is
 * reserved: every value gives the resampling above.
 *
 * Motion history. A silhouette pixel that is nonzero sets the history to the
 * time stamp; elsewhere a history value strictly below time stamp - duration
 * (rounded once to single precision) becomes 0, and any other value, NaN
 * included, is kept. A float silhouette of -0 counts as zero, NaN as nonzero. */
#ifndef ZEPCV_MOTION_H
#define ZEPCV_MOTION_H

#ifdef __cplusplus
extern "C" {
#endif

/* The pyramid record that zepiPyramidInit lays out in the caller's memory;
 * arrays have level + 1 entries, level 0 being the base image. */
typedef struct Pyramid {
    void** pImage;     /* level images, null after Init: the caller fills them */
    ImageSize* pRoi;   /* level sizes */
    double* pRate;     /* rate^i */
    int32_t* pStep;    /* level row steps, 0 after Init: the caller fills them */
    void* pState;      /* the caller's layer state, null after Init */
    int32_t level;     /* levels above the base */
} Pyramid;

/* Opaque layer states, built by the LayerDown/LayerUp Init functions. */
typedef struct PyramidDownState PyramidDownState;
typedef struct PyramidUpState PyramidUpState;

/* The next smaller level of (w, h) at the rate. */
ZEPCV_API ZepStatus zepiGetPyramidDownROI(ImageSize srcRoi, ImageSize* pDstRoi, float rate);
/* The smallest and largest sizes that up-sampling (w, h) by the rate may give. */
ZEPCV_API ZepStatus zepiGetPyramidUpROI(ImageSize srcRoi, ImageSize* pDstRoiMin, ImageSize* pDstRoiMax,
                                        float rate);
/* Record bytes (52 * level + 152, level clamped to the natural count) and work bytes (8 * max(w, h)). */
ZEPCV_API ZepStatus zepiPyramidGetSize(int* pPyrSize, int* pBufSize, int level, ImageSize roi, float rate);
/* Lays out and fills the pyramid record in pPyrMem; stores its address in *ppPyr. */
ZEPCV_API ZepStatus zepiPyramidInit(Pyramid** ppPyr, int level, ImageSize roi, float rate, uint8_t* pPyrMem,
                                    uint8_t* pBuffer);

/* Bytes of a down-sampling state for sources up to srcRoi. */
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_8u_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_8u_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_16u_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_16u_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_32f_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerDownGetSize_32f_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);

/* Builds a down-sampling state in pStateMem from the caller's kernel; stores its address in *ppState. */
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_8u_C1R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                    const uint8_t* pKernel, int kerSize, int mode,
                                                    uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_8u_C3R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                    const uint8_t* pKernel, int kerSize, int mode,
                                                    uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_16u_C1R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                     const uint16_t* pKernel, int kerSize, int mode,
                                                     uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_16u_C3R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                     const uint16_t* pKernel, int kerSize, int mode,
                                                     uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_32f_C1R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                     const float* pKernel, int kerSize, int mode,
                                                     uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerDownInit_32f_C3R(PyramidDownState** ppState, ImageSize srcRoi, float rate,
                                                     const float* pKernel, int kerSize, int mode,
                                                     uint8_t* pStateMem);

/* Down-samples one layer: dstRoi must be the down size of srcRoi at the state's rate. */
ZEPCV_API ZepStatus zepiPyramidLayerDown_8u_C1R(const uint8_t* pSrc, int srcStep, ImageSize srcRoi, uint8_t* pDst,
                                                int dstStep, ImageSize dstRoi, PyramidDownState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerDown_8u_C3R(const uint8_t* pSrc, int srcStep, ImageSize srcRoi, uint8_t* pDst,
                                                int dstStep, ImageSize dstRoi, PyramidDownState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerDown_16u_C1R(const uint16_t* pSrc, int srcStep, ImageSize srcRoi,
                                                 uint16_t* pDst, int dstStep, ImageSize dstRoi,
                                                 PyramidDownState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerDown_16u_C3R(const uint16_t* pSrc, int srcStep, ImageSize srcRoi,
                                                 uint16_t* pDst, int dstStep, ImageSize dstRoi,
                                                 PyramidDownState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerDown_32f_C1R(const float* pSrc, int srcStep, ImageSize srcRoi, float* pDst,
                                                 int dstStep, ImageSize dstRoi, PyramidDownState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerDown_32f_C3R(const float* pSrc, int srcStep, ImageSize srcRoi, float* pDst,
                                                 int dstStep, ImageSize dstRoi, PyramidDownState* pState);

/* Bytes of an up-sampling state for sources up to srcRoi. */
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_8u_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_8u_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_16u_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_16u_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_32f_C1R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);
ZEPCV_API ZepStatus zepiPyramidLayerUpGetSize_32f_C3R(ImageSize srcRoi, float rate, int kerSize, int* pStateSize);

/* Builds an up-sampling state in pStateMem from the caller's kernel; stores its address in *ppState. */
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_8u_C1R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                  const uint8_t* pKernel, int kerSize, int mode,
                                                  uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_8u_C3R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                  const uint8_t* pKernel, int kerSize, int mode,
                                                  uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_16u_C1R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                   const uint16_t* pKernel, int kerSize, int mode,
                                                   uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_16u_C3R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                   const uint16_t* pKernel, int kerSize, int mode,
                                                   uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_32f_C1R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                   const float* pKernel, int kerSize, int mode,
                                                   uint8_t* pStateMem);
ZEPCV_API ZepStatus zepiPyramidLayerUpInit_32f_C3R(PyramidUpState** ppState, ImageSize srcRoi, float rate,
                                                   const float* pKernel, int kerSize, int mode,
                                                   uint8_t* pStateMem);

/* Up-samples one layer: dstRoi must lie in the up range of srcRoi at the state's rate. */
ZEPCV_API ZepStatus zepiPyramidLayerUp_8u_C1R(const uint8_t* pSrc, int srcStep, ImageSize srcRoi, uint8_t* pDst,
                                              int dstStep, ImageSize dstRoi, PyramidUpState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerUp_8u_C3R(const uint8_t* pSrc, int srcStep, ImageSize srcRoi, uint8_t* pDst,
                                              int dstStep, ImageSize dstRoi, PyramidUpState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerUp_16u_C1R(const uint16_t* pSrc, int srcStep, ImageSize srcRoi,
                                               uint16_t* pDst, int dstStep, ImageSize dstRoi,
                                               PyramidUpState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerUp_16u_C3R(const uint16_t* pSrc, int srcStep, ImageSize srcRoi,
                                               uint16_t* pDst, int dstStep, ImageSize dstRoi,
                                               PyramidUpState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerUp_32f_C1R(const float* pSrc, int srcStep, ImageSize srcRoi, float* pDst,
                                               int dstStep, ImageSize dstRoi, PyramidUpState* pState);
ZEPCV_API ZepStatus zepiPyramidLayerUp_32f_C3R(const float* pSrc, int srcStep, ImageSize srcRoi, float* pDst,
                                               int dstStep, ImageSize dstRoi, PyramidUpState* pState);

/* history = silhouette != 0 ? timestamp : (history < timestamp - duration ? 0 : history); duration >= 0. */
ZEPCV_API ZepStatus zepiUpdateMotionHistory_8u32f_C1IR(const uint8_t* pSilhouette, int silhStep, float* pMHI,
                                                       int mhiStep, ImageSize roiSize, float timestamp,
                                                       float duration);
ZEPCV_API ZepStatus zepiUpdateMotionHistory_16u32f_C1IR(const uint16_t* pSilhouette, int silhStep, float* pMHI,
                                                        int mhiStep, ImageSize roiSize, float timestamp,
                                                        float duration);
ZEPCV_API ZepStatus zepiUpdateMotionHistory_32f_C1IR(const float* pSilhouette, int silhStep, float* pMHI,
                                                     int mhiStep, ImageSize roiSize, float timestamp,
                                                     float duration);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_MOTION_H */
