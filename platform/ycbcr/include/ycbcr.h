/* libycbcr: the host colour library that libcconvert imports.
 *
 * Our own build, with the names the converters import. It chooses the
 * colour matrix for a frame size; the full-size 4:2:2-to-RGB converters
 * join it with the 4:2:2 decoders.
 */
#ifndef YCBCR_H
#define YCBCR_H

#define YCBCR_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* A YCbCr colour matrix, by its luma weights of red and blue. */
typedef struct cycbcr_matrix {
    const char* name; /* "BT.601" or "BT.709" */
    double kr;
    double kb;
} cycbcr_matrix;

/* BT.709 for frames wider than 1279 or taller than 576 pixels, else BT.601.
 * The third argument is reserved and ignored. */
YCBCR_API const cycbcr_matrix* GetMatrixBySize(int width, int height, int reserved);

#ifdef __cplusplus
}
#endif

#endif
