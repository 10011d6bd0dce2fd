/* The public header compiles as C99 and a C program links and calls through it. */
#include <zepcv.h>

int main(void) {
    const LibraryVersion* v = zepcvGetLibVersion();
    uint8_t a[4] = {1, 2, 3, 4}, b[4] = {4, 3, 2, 1}, d[4];
    ImageSize roi = {4, 1};
    if (v == 0 || v->versionMajor != 2017) return 1;
    if (zepiAbsDiff_8u_C1R(a, 4, b, 4, d, 4, roi) != zepStsOk) return 2;
    return d[0] == 3 && d[1] == 1 && d[2] == 1 && d[3] == 3 ? 0 : 3;
}
