/* zepCV: computer-vision image primitives for x86-64 processors with AVX-512.
 *
 * Every function is synchronous and reentrant, works on memory the caller owns,
 * never allocates, and returns a ZepStatus (except zepcvGetLibVersion).
 * Images are passed as a pointer to the first pixel of the region of interest
 * (ROI), a row step in bytes and the ROI size; channels are interleaved.
 * Arguments are checked in a fixed order: null pointers, ROI size, steps too
 * small, steps not a multiple of the element size, operation parameters, spec
 * identity, and in the _L functions the 32-bit overflow check. The first
 * failing check is returned and nothing is written.
 *
 * Sizes: every size query computes its byte counts in 64 bits. A size that
 * does not fit its output (INT32_MAX for int outputs, INT64_MAX for the 64-bit
 * outputs of the _L queries) is refused with zepStsSizeOverflow, after every
 * other check, and nothing is written: no size is ever reported wrapped. An
 * initialisation or operation given arguments whose sizes its query would
 * refuse refuses them the same way, last, before it touches any memory.
 */
#ifndef ZEPCV_H
#define ZEPCV_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define ZEPCV_API __attribute__((visibility("default")))
#else
#define ZEPCV_API
#endif

/* Status: 0 success, positive warnings (the result is delivered), negative errors. */
typedef int32_t ZepStatus;

enum {
    zepStsOk = 0,
    zepStsEmptyMask = 1,            /* masked extrema: the mask selects no pixel */
    zepStsZeroDenominator = 6,      /* relative norm: the second image's norm is 0 */
    zepStsOutputTruncated = 33,     /* more results than the caller's capacity */
    zepStsLengthOverflow = -2,      /* a sampled line's point count overflows */
    zepStsBadArg = -5,              /* a numeric parameter out of its range */
    zepStsBadSize = -6,             /* a width, height or other size below 1 */
    zepStsEmptyRange = -7,          /* a range whose lower end is not below its upper end */
    zepStsNullPointer = -8,         /* a required pointer is null */
    zepStsZeroDivisor = -10,        /* a divisor parameter is exactly 0 */
    zepStsOutOfRange = -11,         /* a point outside the image or a count out of range */
    zepStsBadDataType = -12,        /* a data-type code the function does not support */
    zepStsBadStep = -14,            /* a row step below the bytes of one row, or negative */
    zepStsBadContext = -17,         /* a spec without the identifier its Init wrote */
    zepStsBadThreshold = -18,       /* a threshold below 0 */
    zepStsBadMaskSize = -33,        /* a mask-size code other than 33 or 55 */
    zepStsBadAnchor = -34,          /* an anchor outside the kernel */
    zepStsBadChannel = -47,         /* an unsupported number of channels */
    zepStsBadChannelOfInterest = -52, /* a channel of interest outside 1..3 */
    zepStsBadChannelCount = -53,    /* a channel count other than 1 where only 1 is supported */
    zepStsBadMetric = -56,          /* a distance metric out of range */
    zepStsStepNotMultiple = -108,   /* a row step not a multiple of the element size */
    zepStsBadBorder = -225,         /* an unsupported border type */
    zepStsBadNormType = -229,       /* an unsupported norm-type code */
    zepStsBadFilterType = -230,     /* an unsupported derivative-kernel type */
    zepStsSizeOverflow = -232,      /* an _L size or step at or above 0x7fffffff, or a size past its output */
    zepStsInPlaceNotSupported = -9997, /* source and destination share memory */
    zepStsModeNotSupported = -9999  /* an unsupported mode or flag value */
};

/* Width and height of a region of interest. */
typedef struct ImageSize { int32_t width; int32_t height; } ImageSize;
/* The same with 64-bit members, for the functions whose names end in _L. */
typedef struct ImageSizeL { int64_t width; int64_t height; } ImageSizeL;
/* A pixel position relative to the ROI's first pixel. */
typedef struct ImagePoint { int32_t x; int32_t y; } ImagePoint;
/* A rectangle, passed by address. */
typedef struct ImageRect { int32_t x; int32_t y; int32_t width; int32_t height; } ImageRect;
/* The region record of the flood fills. */
typedef struct ConnectedComp {
    double area;     /* number of pixels filled */
    double value[3]; /* the new value per channel */
    ImageRect rect;  /* bounding rectangle of the region */
} ConnectedComp;

/* Data-type codes taken by size queries and initialisations. */
enum {
    zep1u = 0, zep8u = 1, zep16u = 5, zep16s = 7, zep32s = 11, zep32f = 13, zep64f = 19
};

/* Border types: a base type in the low four bits combined with in-memory flags.
 * zepBorderMirror reflects about the edge pixel without repeating it: the
 * pixels left of a row a b c d read b, c, d, ... (for x = -1, -2, -3).
 * A side whose flag is set reads the caller's memory beyond the ROI instead. */
enum {
    zepBorderRepl = 1,
    zepBorderMirror = 3,
    zepBorderDefault = 5,
    zepBorderConst = 6,
    zepBorderInMemTop = 0x10,
    zepBorderInMemBottom = 0x20,
    zepBorderInMemLeft = 0x40,
    zepBorderInMemRight = 0x80,
    zepBorderInMem = 0xF0
};

/* Mask-size codes. */
enum { zepMskSize3x3 = 33, zepMskSize5x5 = 55 };

/* Gradient-magnitude norms (edge detection) and connectivity norms (labelling). */
enum { zepNormL1 = 2, zepNormL2 = 4 };
enum { zepConnect8 = 0, zepConnect4 = 1 };

/* The library's version record; constant, never freed or modified by the caller. */
typedef struct LibraryVersion {
    int32_t versionMajor;
    int32_t versionMinor;
    int32_t versionUpdate;
    int32_t revision;
    char variantCode[4];
    const char* nameString;
    const char* versionString;
    const char* buildDateString;
} LibraryVersion;

/* The version record: the same pointer on every call. */
ZEPCV_API const LibraryVersion* zepcvGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#include "zepcv/arith.h"
#include "zepcv/norm.h"
#include "zepcv/stats.h"
#include "zepcv/filter.h"
#include "zepcv/integral.h"
#include "zepcv/distance.h"
#include "zepcv/motion.h"
#include "zepcv/geometry.h"

#endif /* ZEPCV_H */
