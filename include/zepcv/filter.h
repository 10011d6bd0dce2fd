/* zepCV linear filtering: pipeline row and column filters, Gaussian filter, Sobel kernels. Included by zepcv.h; do not include directly.
 *
 * Pipeline filters split a separable filter into a row pass, which filters
 * each source row horizontally into a separately addressed destination row,
 * and a column pass, which filters an array of row pointers vertically into an
 * ordinary image. Taps are applied in the order given (a correlation). Integer
 * variants divide the weighted sum by the divisor, round to nearest with ties
 * to even and saturate to the destination type. The row pass synthesises the
 * columns outside the region by the border type (replicate, mirror without
 * repeating the edge pixel, constant) or reads them from memory where the
 * left/right in-memory flags say so; the column pass reads exactly the rows it
 * is given: source row y + j of output row y is ppSrc[y + j].
 * The column pass from 16s computes in single precision: each tap becomes
 * (tap * 2^-16) * (1 / divisor), each value value * 65536, the products are
 * summed in tap order, clamped to the destination range and rounded to nearest
 * even; kernels whose taps' absolute values sum to 65535 or more are computed
 * exactly in integers instead. Work buffers are sized by the GetBufferSize
 * queries and carry nothing between calls. */
#ifndef ZEPCV_FILTER_H
#define ZEPCV_FILTER_H

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Row pass: source region -> rows addressed by ppDst[0 .. height-1] ---- */

/* 8u source, 16s rows, 16s taps, non-zero divisor. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_8u16s_C1R(const uint8_t* pSrc, int srcStep, int16_t** ppDst,
                                                          ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                          int xAnchor, uint32_t borderType, uint8_t borderValue,
                                                          int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_8u16s_C3R(const uint8_t* pSrc, int srcStep, int16_t** ppDst,
                                                          ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                          int xAnchor, uint32_t borderType,
                                                          const uint8_t borderValue[3], int divisor,
                                                          uint8_t* pBuffer);
/* 16s source and rows, 16s taps, non-zero (possibly negative) divisor. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_16s_C1R(const int16_t* pSrc, int srcStep, int16_t** ppDst,
                                                        ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType, int16_t borderValue,
                                                        int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_16s_C3R(const int16_t* pSrc, int srcStep, int16_t** ppDst,
                                                        ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType,
                                                        const int16_t borderValue[3], int divisor, uint8_t* pBuffer);
/* The same results as the 16s row pass, with a smaller work buffer. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_Low_16s_C1R(const int16_t* pSrc, int srcStep, int16_t** ppDst,
                                                            ImageSize roiSize, const int16_t* pKernel,
                                                            int kernelSize, int xAnchor, uint32_t borderType,
                                                            int16_t borderValue, int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_Low_16s_C3R(const int16_t* pSrc, int srcStep, int16_t** ppDst,
                                                            ImageSize roiSize, const int16_t* pKernel,
                                                            int kernelSize, int xAnchor, uint32_t borderType,
                                                            const int16_t borderValue[3], int divisor,
                                                            uint8_t* pBuffer);
/* 16u source and rows, 16s taps, divisor at least 1. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t** ppDst,
                                                        ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType, uint16_t borderValue,
                                                        int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_16u_C3R(const uint16_t* pSrc, int srcStep, uint16_t** ppDst,
                                                        ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType,
                                                        const uint16_t borderValue[3], int divisor,
                                                        uint8_t* pBuffer);
/* 32f source and rows: the products summed in tap order, no divisor. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_32f_C1R(const float* pSrc, int srcStep, float** ppDst,
                                                        ImageSize roiSize, const float* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType, float borderValue,
                                                        uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterRowBorderPipeline_32f_C3R(const float* pSrc, int srcStep, float** ppDst,
                                                        ImageSize roiSize, const float* pKernel, int kernelSize,
                                                        int xAnchor, uint32_t borderType, const float borderValue[3],
                                                        uint8_t* pBuffer);

/* Work-buffer sizes of the row pass: they depend on the kernel size alone. */
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(ImageSize roiSize, int kernelSize,
                                                                       int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(ImageSize roiSize, int kernelSize,
                                                                       int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_16s_C1R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_16s_C3R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R(ImageSize roiSize, int kernelSize,
                                                                         int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R(ImageSize roiSize, int kernelSize,
                                                                         int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_16u_C1R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_16u_C3R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_32f_C1R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterRowBorderPipelineGetBufferSize_32f_C3R(ImageSize roiSize, int kernelSize,
                                                                     int* pBufferSize);

/* ---- Column pass: rows ppSrc[0 .. height+kernelSize-2] -> destination image ---- */

/* 16s rows -> 16s, 8u or 8s, in single precision (see above). */
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s_C1R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s_C3R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s8u_C1R(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep,
                                                       ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s8u_C3R(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep,
                                                       ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s8s_C1R(const int16_t* const* ppSrc, int8_t* pDst, int dstStep,
                                                       ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16s8s_C3R(const int16_t* const* ppSrc, int8_t* pDst, int dstStep,
                                                       ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
/* The same results as the 16s column pass; the C3 form checks dstStep against 2 * width bytes only. */
ZEPCV_API ZepStatus zepiFilterColumnPipeline_Low_16s_C1R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                         ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                         int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_Low_16s_C3R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                         ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                         int divisor, uint8_t* pBuffer);
/* 16u rows -> 16u, 16s taps, computed exactly in integers. */
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16u_C1R(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_16u_C3R(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
/* 32f rows -> 32f: the products summed in tap order. */
ZEPCV_API ZepStatus zepiFilterColumnPipeline_32f_C1R(const float* const* ppSrc, float* pDst, int dstStep,
                                                     ImageSize roiSize, const float* pKernel, int kernelSize,
                                                     uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterColumnPipeline_32f_C3R(const float* const* ppSrc, float* pDst, int dstStep,
                                                     ImageSize roiSize, const float* pKernel, int kernelSize,
                                                     uint8_t* pBuffer);

/* Work-buffer sizes of the column pass. */
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s_C1R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s_C3R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s8u_C1R(ImageSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s8u_C3R(ImageSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s8s_C1R(ImageSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16s8s_C3R(ImageSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_Low_16s_C1R(ImageSize roiSize, int kernelSize,
                                                                      int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_Low_16s_C3R(ImageSize roiSize, int kernelSize,
                                                                      int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16u_C1R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_16u_C3R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_32f_C1R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
ZEPCV_API ZepStatus zepiFilterColumnPipelineGetBufferSize_32f_C3R(ImageSize roiSize, int kernelSize,
                                                                  int* pBufferSize);

/* ---- Gaussian filter ----
 * The spec holds the kernel size, data type, channel count, border type and
 * the taps: for r = kernelSize / 2 and i = -r .. r, g_i = exp(-i^2 / (2 sigma^2))
 * in single precision, normalised by their sum; 32f keeps the normalised
 * values, 8u and 16s store trunc(g * 4096 + 0.5) (16u: * 32768), not adjusted
 * to sum to exactly 4096 (32768). The filter runs the row pass (anchor r,
 * divisor 4096 / 32768 for the integer types) into a ring of rows in the work
 * buffer and the column pass (the same divisor) into the destination; the rows
 * above and below the image are replicated, mirrored, constant or, with the
 * top/bottom in-memory flags, read from memory. A spec whose kernel size is
 * below 3 or even is a no-op that returns zepStsOk. */
typedef struct FilterGaussianSpec FilterGaussianSpec;

/* Spec and work-buffer sizes; dataType 1, 5, 7 or 13 (8u, 16u, 16s, 32f), numChannels 1 or 3. */
ZEPCV_API ZepStatus zepiFilterGaussianGetBufferSize(ImageSize maxRoiSize, uint32_t kernelSize, int dataType,
                                                    int numChannels, int* pSpecSize, int* pBufferSize);
/* Builds the taps into the spec; pBuffer is the filter's work buffer. */
ZEPCV_API ZepStatus zepiFilterGaussianInit(ImageSize roiSize, uint32_t kernelSize, float sigma, uint32_t borderType,
                                           int dataType, int numChannels, FilterGaussianSpec* pSpec,
                                           uint8_t* pBuffer);
/* Gaussian filter of the region with the spec's border type and the given border value. */
ZEPCV_API ZepStatus zepiFilterGaussianBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                    ImageSize roiSize, uint8_t borderValue,
                                                    const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                                    ImageSize roiSize, const uint8_t borderValue[3],
                                                    const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                     ImageSize roiSize, uint16_t borderValue,
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_16u_C3R(const uint16_t* pSrc, int srcStep, uint16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const uint16_t borderValue[3],
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                                     ImageSize roiSize, int16_t borderValue,
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_16s_C3R(const int16_t* pSrc, int srcStep, int16_t* pDst, int dstStep,
                                                     ImageSize roiSize, const int16_t borderValue[3],
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                     ImageSize roiSize, float borderValue,
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussianBorder_32f_C3R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                     ImageSize roiSize, const float borderValue[3],
                                                     const FilterGaussianSpec* pSpec, uint8_t* pBuffer);

/* 64-bit-size forms: the same spec layout and results as the 32-bit family;
 * large outputs are processed in strips sized to the cache and written with
 * streaming stores. Sizes or steps at or above 0x7fffffff give zepStsSizeOverflow. */
ZEPCV_API ZepStatus zepiFilterGaussianGetSpecSize_L(uint32_t kernelSize, int dataType, int numChannels,
                                                    int64_t* pSpecSize);
ZEPCV_API ZepStatus zepiFilterGaussianGetBufferSize_L(ImageSizeL maxRoiSize, uint32_t kernelSize, int dataType,
                                                      int numChannels, int64_t* pBufferSize);
ZEPCV_API ZepStatus zepiFilterGaussianInit_L(ImageSizeL roiSize, uint32_t kernelSize, float sigma,
                                             uint32_t borderType, int dataType, int numChannels,
                                             FilterGaussianSpec* pSpec);
ZEPCV_API ZepStatus zepiFilterGaussian_8u_C1R_L(const uint8_t* pSrc, int64_t srcStep, uint8_t* pDst, int64_t dstStep,
                                                ImageSizeL roiSize, uint8_t borderValue,
                                                const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_8u_C3R_L(const uint8_t* pSrc, int64_t srcStep, uint8_t* pDst, int64_t dstStep,
                                                ImageSizeL roiSize, const uint8_t borderValue[3],
                                                const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_16u_C1R_L(const uint16_t* pSrc, int64_t srcStep, uint16_t* pDst,
                                                 int64_t dstStep, ImageSizeL roiSize, uint16_t borderValue,
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_16u_C3R_L(const uint16_t* pSrc, int64_t srcStep, uint16_t* pDst,
                                                 int64_t dstStep, ImageSizeL roiSize, const uint16_t borderValue[3],
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_16s_C1R_L(const int16_t* pSrc, int64_t srcStep, int16_t* pDst,
                                                 int64_t dstStep, ImageSizeL roiSize, int16_t borderValue,
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_16s_C3R_L(const int16_t* pSrc, int64_t srcStep, int16_t* pDst,
                                                 int64_t dstStep, ImageSizeL roiSize, const int16_t borderValue[3],
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_32f_C1R_L(const float* pSrc, int64_t srcStep, float* pDst, int64_t dstStep,
                                                 ImageSizeL roiSize, float borderValue,
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);
ZEPCV_API ZepStatus zepiFilterGaussian_32f_C3R_L(const float* pSrc, int64_t srcStep, float* pDst, int64_t dstStep,
                                                 ImageSizeL roiSize, const float borderValue[3],
                                                 const FilterGaussianSpec* pSpec, uint8_t* pBuffer);

/* ---- Sobel kernels ----
 * The binomial row C(n - order - 1, .) convolved order times with [1, -1];
 * negated when sign < 0. The 16s form wraps in 16 bits from kernel size 19 on. */
ZEPCV_API ZepStatus zepiGenSobelKernel_16s(int16_t* pDst, int kernelSize, int order, int sign);
ZEPCV_API ZepStatus zepiGenSobelKernel_32f(float* pDst, int kernelSize, int order, int sign);

#ifdef __cplusplus
}
#endif

#endif /* ZEPCV_FILTER_H */
