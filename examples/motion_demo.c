/* Motion on two consecutive video frames, with zepCV's public interface only.
 *
 *   motion_demo FRAME1.png FRAME2.png OUTPUT_DIR
 *
 * Writes, as PNG images:
 *   difference.png       |frame2 - frame1|                       (zepiAbsDiff_8u_C1R)
 *   motion_mask.png      the pixels whose difference exceeds 24
 *   background.png       a running average of the frames, updated only where nothing moved
 *                        (zepiAdd_8u32f_C1IR, zepiAddWeighted_8u32f_C1IMR)
 *   motion_overlay.png   frame2 with the moving pixels painted red
 */
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zepcv.h>

#include "processor_check.h"

static int save(const char* dir, const char* name, int w, int h, int channels, const uint8_t* pixels) {
    char path[4096];
    snprintf(path, sizeof path, "%s/%s", dir, name);
    if (!stbi_write_png(path, w, h, channels, pixels, w * channels)) {
        fprintf(stderr, "cannot write %s\n", path);
        return 0;
    }
    printf("wrote %s\n", path);
    return 1;
}

static void check(ZepStatus status, const char* what) {
    if (status != zepStsOk) {
        fprintf(stderr, "%s failed with status %d\n", what, (int)status);
        exit(1);
    }
}

int main(int argc, char** argv) {
    int w, h, w2, h2, n;
    uint8_t *f1, *f2, *diff, *mask, *still, *background, *overlay;
    float* average;
    ImageSize roi;
    int i;

#if !ZEPCV_EMULATE_AVX512
    if (!zepcvProcessorHasAvx512()) {
        fprintf(stderr,
                "this processor lacks AVX-512 F, CD, BW, DQ or VL, which libzepcv.so needs; "
                "build the emulated configuration (ZEPCV_EMULATE_AVX512=ON) to run it here\n");
        return 1;
    }
#endif
    if (argc != 4) {
        fprintf(stderr, "usage: %s FRAME1 FRAME2 OUTPUT_DIR\n", argv[0]);
        return 2;
    }
    f1 = stbi_load(argv[1], &w, &h, &n, 1);
    f2 = stbi_load(argv[2], &w2, &h2, &n, 1);
    if (!f1 || !f2 || w != w2 || h != h2) {
        fprintf(stderr, "cannot read two frames of the same size\n");
        return 1;
    }
    printf("%s\n", zepcvGetLibVersion()->nameString);
    roi.width = w;
    roi.height = h;
    diff = malloc((size_t)w * h);
    mask = malloc((size_t)w * h);
    still = malloc((size_t)w * h);
    background = malloc((size_t)w * h);
    overlay = malloc((size_t)w * h * 3);
    average = calloc((size_t)w * h, sizeof(float));

    check(zepiAbsDiff_8u_C1R(f1, w, f2, w, diff, w, roi), "zepiAbsDiff_8u_C1R");

    for (i = 0; i < w * h; ++i) {
        const int moving = diff[i] > 24;
        mask[i] = moving ? 255 : 0;
        still[i] = moving ? 0 : 1;
    }

    /* Background: start from frame 1, then blend frame 2 in where nothing moved. */
    check(zepiAdd_8u32f_C1IR(f1, w, average, w * (int)sizeof(float), roi), "zepiAdd_8u32f_C1IR");
    check(zepiAddWeighted_8u32f_C1IMR(f2, w, still, w, average, w * (int)sizeof(float), roi, 0.5f),
          "zepiAddWeighted_8u32f_C1IMR");
    for (i = 0; i < w * h; ++i) background[i] = (uint8_t)(average[i] + 0.5f);

    for (i = 0; i < w * h; ++i) {
        overlay[3 * i + 0] = mask[i] ? 255 : f2[i];
        overlay[3 * i + 1] = mask[i] ? 0 : f2[i];
        overlay[3 * i + 2] = mask[i] ? 0 : f2[i];
    }

    if (!save(argv[3], "difference.png", w, h, 1, diff) || !save(argv[3], "motion_mask.png", w, h, 1, mask) ||
        !save(argv[3], "background.png", w, h, 1, background) ||
        !save(argv[3], "motion_overlay.png", w, h, 3, overlay))
        return 1;

    stbi_image_free(f1);
    stbi_image_free(f2);
    free(diff);
    free(mask);
    free(still);
    free(background);
    free(overlay);
    free(average);
    return 0;
}
