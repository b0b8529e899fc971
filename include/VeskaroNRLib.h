/** @file
 * VeskaroNRLib: image noise reduction for a host application.
 *
 * Two independent denoisers behind a flat C interface:
 *
 *   - denoise2: interleaved RGB, 8 or 16 bits per sample. Measures the noise, cuts the picture into overlapping tiles
 *     that several threads filter, blends luminance and chroma with the input.
 *   - denoise1: row-planar RGBE (high dynamic range). Smooths chromaticity, then log luminance. Single-threaded.
 *
 * The building blocks of both are declared here too, so that a host may use them on its own buffers.
 *
 * Conventions that hold for every function unless its comment says otherwise:
 *
 *   - Ownership: every buffer belongs to the caller. Nothing is kept after a call returns except the tuning variables
 *     below. Memory that the library takes is released before the call returns.
 *   - Errors: results are int codes (see nr_result). Nothing is printed, no exception leaves, the process is never
 *     ended.
 *   - Alignment: unsigned char buffers may start at any address, 16-bit pictures included. float and int buffers have
 *     their type's natural alignment, as C asks of any pointer.
 *   - Overlap: buffers must not overlap unless the comment allows it.
 *   - Environment: every function but those for a single pixel runs in the default floating-point environment and
 *     gives the caller's back on return.
 *   - Level image: w x h pixels of three interleaved floats (R, G, B), no row padding: sample s of pixel (x, y) is
 *     img[(y * w + x) * 3 + s]. Values are on the 8-bit scale 0..255 whatever the depth of the picture (16-bit samples
 *     are divided by 256); they may leave that range between the steps.
 *   - Rectangle: int[4] {first column, end column, first row, end row}; ends are exclusive.
 *
 * What hosts trip over:
 *
 *   - denoise2 rewrites nrParams. After a successful profile entry NR_NOISE_LEVEL holds the measured noise level, no
 *     longer the strength factor, so set the strength anew before each call.
 *   - nbProc 1 and nbProc >= 2 may cut different tiles and so give slightly different pictures; every nbProc >= 2
 *     gives the same bytes as every other.
 *   - One denoise2 at a time per process: the tuning variables are process-wide.
 */
#ifndef VESKARONRLIB_H
#define VESKARONRLIB_H

#include <stddef.h>

/** @{ */
/** Version of this header; within one major version the binary interface only grows. */
#define VESKARONR_VERSION_MAJOR 1
#define VESKARONR_VERSION_MINOR 1
#define VESKARONR_VERSION_PATCH 0
/** @} */

/** @cond */
#if defined(_WIN32) && defined(VESKARONR_STATIC) /* the library's own objects, or linked with them */
#define VESKARONR_API
#elif defined(_WIN32)
#define VESKARONR_API __declspec(dllimport)
#elif defined(__GNUC__)
#define VESKARONR_API __attribute__((visibility("default")))
#else
#define VESKARONR_API
#endif
/** @endcond */

#ifdef __cplusplus
extern "C" {
#endif

/** Result codes. Test the sign: negative is a failure. */
enum nr_result {
  NR_OK = 1,                /**< denoise2, hdr_stats: success */
  NR_REFUSED = 0,           /**< denoise1, denoise_chroma: depth not supported in chroma-only mode */
  NR_ERROR_ARGUMENT = -2,   /**< format, depth, size or pointer that cannot be right; auto_profile: no usable block */
  NR_ERROR_STATISTICS = -3, /**< hdr_stats: no spread; auto_profile: no shadow or no highlight block */
  NR_ERROR_MEMORY = -4      /**< memory exhausted, or an amount that does not fit an int */
};

/** Entries of the noise-reduction parameter vector, float nrParams[NR_PARAM_COUNT]. The comment gives the default that
 * nr_def writes. "measured" entries are overwritten by a successful noise profile inside denoise2. */
enum nr_param {
  NR_NOISE_LEVEL = 0,        /**< 46.4801   luminance noise level; on entry to denoise2 a value in [0.5, 1.5] is the
                                          strength factor; measured */
  NR_HIGHLIGHT_NOISE = 1,    /**< 0.2       noise at full white relative to noise at black, [0.01, 1] */
  NR_LEVEL0_NOISE = 2,       /**< 1.0       noise multiplier of level 0 (finest) */
  NR_LEVEL1_NOISE = 3,       /**< 1.0       of level 1 */
  NR_LEVEL2_NOISE = 4,       /**< 1.0       of level 2 */
  NR_LEVEL3_NOISE = 5,       /**< 1.0       of level 3 (coarsest) */
  NR_LUMA_KEEP = 6,          /**< 0.3       share of the input's luminance kept by the final blend */
  NR_CHROMA_KEEP = 7,        /**< -0.204229 share of the input's chroma kept; negative goes past the filtered
                                          chroma; measured */
  NR_LEVEL0_AMOUNT = 8,      /**< 1.0       noise-reduction amount of level 0 */
  NR_LEVEL1_AMOUNT = 9,      /**< 1.0       of level 1 */
  NR_LEVEL2_AMOUNT = 10,     /**< 1.0       of level 2 */
  NR_LEVEL3_AMOUNT = 11,     /**< 1.0       of level 3 */
  NR_SHARPENING = 12,        /**< 0.2       overall luminance sharpening */
  NR_LEVEL0_SHARPENING = 13, /**< 1.0       sharpening multiplier of level 0 */
  NR_LEVEL1_SHARPENING = 14, /**< 1.0       of level 1 */
  NR_LEVEL2_SHARPENING = 15, /**< 1.0       of level 2 */
  NR_LEVEL3_SHARPENING = 16, /**< 1.0       of level 3 */
  NR_HIGHLIGHT_START = 17,   /**< 100.0     luminance where luminance noise reduction starts to fade; measured */
  NR_HIGHLIGHT_WIDTH = 18,   /**< 137.96    width of that fade; measured */
  NR_CHROMA_SHARPENING = 19, /**< 0.2       chroma sharpening */
  NR_RESERVED = 20,          /**< 1.0       read by nothing */
  NR_PARAM_COUNT = 21
};

/** @defgroup tiled denoise2: interleaved RGB
 * @{ */

/** Denoises a picture. Not to be called from two threads at once.
 *
 * @param wOrig,hOrig width and height in pixels, >= 1
 * @param sppIn samples per pixel; 3 (red, green, blue)
 * @param rowStride samples (not bytes) from one row's start to the next, >= 3 * wOrig; not looked at when hOrig is 1.
 *     Samples beyond 3 * wOrig in a
 *     row are neither read nor written, so a picture may be a rectangle of a bigger one.
 * @param bps bits per sample, 8 or 16 (16: unsigned, native byte order)
 * @param BaseUnitTile nominal tile edge in pixels, >= 56 (>= 48 when nbProc is 1); 256 is a good choice
 * @param nbProc threads, >= 1
 * @param nrParams the parameter vector, NR_PARAM_COUNT floats, read and rewritten: with what the profile measured or,
 *     when the picture cannot be profiled, with the defaults. Entry NR_NOISE_LEVEL in [0.5, 1.5] on entry is the
 *     strength factor.
 * @param work at least mem4denoise(wOrig, hOrig, BaseUnitTile, nbProc) bytes, or null to let the call take and release
 *     it; contents unspecified afterwards
 * @param inImage the picture, only read; sample s of pixel (x, y) is sample y * rowStride + x * 3 + s
 * @param outImage the result, same geometry; must not overlap inImage
 * @return NR_OK; NR_ERROR_ARGUMENT for an argument outside the ranges above, a null inImage, outImage or nrParams, or
 *     hOrig * rowStride beyond an int, nothing written; NR_ERROR_MEMORY when memory is exhausted, or when work is
 *     given for a size whose amount does not fit an int; the samples of outImage are then unspecified. Noise that
 *     cannot be measured for want of memory gives the defaults, as any other that cannot. */
VESKARONR_API int denoise2(const int wOrig, const int hOrig, int sppIn, int rowStride, int bps, const int BaseUnitTile,
                           int nbProc, float* nrParams, unsigned char* work, unsigned char* inImage,
                           unsigned char* outImage);

/** Bytes of work memory that denoise2 needs for the same four arguments. NR_ERROR_ARGUMENT for an argument below 1,
 * NR_ERROR_MEMORY when the amount does not fit an int (pass a null work to denoise2 then). Thread-safe. */
VESKARONR_API int mem4denoise(int wOrig, int hOrig, int BaseUnitTile, int nbProc);

/** The tile grid of a picture: tiles per row and column, size of a unit tile, size of the largest tile with its
 * margins, size of the picture with its padding, all in pixels. denoise2 uses Padding 8 and Overlap 32. Arguments that
 * describe no grid (an extended size or BaseUnitTile below 1) give eight zeros. Null results are skipped. Thread-safe.
 */
VESKARONR_API void getDenoiseTileInfo(int wOrig, int hOrig, int BaseUnitTile, int nbProc, int Padding, int Overlap,
                                      int* outNumTileX, int* outNumTileY, int* outUnitTileX, int* outUnitTileY,
                                      int* outLargestTileX, int* outLargestTileY, int* outExtendedWImage,
                                      int* outExtendedHImage);

/** Pixels of a pyramid of LevelMax coarser levels over a wTile x hTile level 0, each level ((w+1)/2) x ((h+1)/2) of the
 * one before; the low 32 bits when the count does not fit an int. Thread-safe. */
VESKARONR_API int len_pyram(int LevelMax, int wTile, int hTile);

/** Filters one tile through the four-level pyramid, with the tuning variables as they stand. Thread-safe on distinct
 * buffers.
 *
 * @param wTile,hTile size of the tile in pixels
 * @param startCoord the rectangle to filter at level 0, at least two pixels inside the tile; overwritten
 * @param spp 3; with any other value nothing is done and the result is #NR_ERROR_ARGUMENT
 * @param nbProc worker threads for levels 0 and 1; below 2: the calling thread; above 32: 32
 * @param workDiff 3 * len_pyram(3, wTile, hTile) floats; receives the difference pyramid
 * @param workDest 3 * wTile * hTile floats, scratch
 * @param workTemp 3 * wTile * hTile floats; the predictions, its one-pixel frame 0
 * @param inOutTile 3 * len_pyram(3, wTile, hTile) floats; level 0 is the tile on entry and the result on return,
 *     levels 1 to 3 follow one after the other and hold the rebuilt pyramid
 * @return 0. */
VESKARONR_API int denoise_tile(int wTile, int hTile, int* startCoord, int spp, int nbProc, float* workDiff,
                               float* workDest, float* workTemp, float* inOutTile);

/** @} */

/** @defgroup pyramid Similarity pyramid (level images)
 * @{ */

/** Copies the pixels of even rows and columns of img (wFine x hFine) to returnImg (wCoarse x hCoarse), where wCoarse <=
 * (wFine + 1) / 2 and hCoarse <= (hFine + 1) / 2. Thread-safe.
 *
 * @return hCoarse, or 0 when it is below 1. */
VESKARONR_API int similarityLift(int wFine, int hFine, int wCoarse, int hCoarse, float* img, float* returnImg);

/** highPass = recon - original, sample by sample. highPass may be either input. Thread-safe.
 *
 * @return wFine * hFine, which two negative sizes make positive too, or 0 when that is not positive. */
VESKARONR_API int differencePass(int wFine, int hFine, float* original, float* recon, float* highPass);

/** composite = recon - highPass, sample by sample. composite may be either input. Thread-safe.
 *
 * @return wFine * hFine, which two negative sizes make positive too, or 0 when that is not positive. */
VESKARONR_API int unDifferencePass(int wFine, int hFine, float* recon, float* highPass, float* composite);

/** Predicts a fine level from the next coarser one. Each pixel is interpolated from its two or four coarse neighbours,
 * weighted by the colour similarity that the guide shows between the pixel and that neighbour. Thread-safe.
 *
 * @param wFine,hFine size of the fine level
 * @param lifted the coarse level, ((wFine+1)/2) x ((hFine+1)/2), only read
 * @param original the guide, wFine x hFine, only read
 * @param recon the prediction, wFine x hFine; its one-pixel frame is not written
 * @return the row count below the last row written, hFine - 1, or 0 when nothing is written. */
VESKARONR_API int similarityReconstruct(int wFine, int hFine, float* lifted, float* original, float* recon);

/** Similarity in [0, 1] of two colours: 1 up to the L1 distance reconSimilarityThreshold, falling linearly to 0 over
 * the next reconSimilarityRolloff. Thread-safe. */
VESKARONR_API float reconDistanceSimilarity(float aR, float aG, float aB, float bR, float bG, float bB);

/** L1 colour distance of the pixels whose red samples are img[positA] and img[positB]. Thread-safe. */
VESKARONR_API float getDistance(int positA, int positB, float* img);

/** @} */

/** @defgroup filters Level filters (level images)
 * @{ */

/** The job of one worker thread of noiseReduce_set. */
typedef struct nr_data {
  int width;         /**< pixels per row of the level */
  int height;        /**< rows of the level; not read by the workers */
  int spp;           /**< floats from pixel to pixel, at least 3; with fewer nothing is filtered */
  int* startCoord;   /**< rectangle of the whole level, shared by all workers */
  int rang;          /**< level, 0 (finest) to 3 */
  int doDespeckle;   /**< has no effect */
  float* inImage;    /**< what the phase reads */
  float* inYCbCr;    /**< Y, B - Y, R - Y of the level; nr_threaded only */
  float* nr_amounts; /**< three floats a pixel: mix fraction, similarity threshold, similarity rolloff */
  float* outImage;   /**< what the phase writes */
  int idxProc;       /**< index of this worker, 0 .. nbProc - 1 */
  int nbProc;        /**< number of workers */
  int retour;        /**< the filter's result, or #NR_ERROR_ARGUMENT for too small an spp; written by the worker */
} nr_data;

/** Filters a level in place: noise reduction from inImg into workDest, then sharpening from workDest into inImg.
 * Thread-safe on distinct buffers.
 *
 * @param rang level, 0 (finest) to 3; another value is taken as 0
 * @param wImage,hImage size of the level
 * @param startCoord rectangle to filter, at least two pixels inside the level, only read
 * @param spp floats from pixel to pixel, at least 3: pixel (x, y) starts at float (y * wImage + x) * spp of every
 * buffer with its three channels or results. What follows them is left alone, but for workDest, a copy of inImg at
 * first. With fewer nothing is done and the result is #NR_ERROR_ARGUMENT
 * @param nbProc worker threads; below 2: the calling thread; above 32: 32. The result does not depend on it.
 * @param doDespeckle has no effect
 * @param workDiff,workDest,workTemp wImage * hImage * spp floats each. On return workTemp holds Y, B - Y, R - Y of the
 *     level as it came; workDest the noise-reduced level, a copy of the input outside the rectangle; workDiff inside
 *     the rectangle the mix fraction, similarity threshold and similarity rolloff of each pixel, and is not written
 *     outside it
 * @param inImg the level; not written outside the rectangle
 * @return the end row of the last sharpening pass. */
VESKARONR_API int noiseReduce_set(int rang, int wImage, int hImage, int* startCoord, int spp, int nbProc,
                                  int doDespeckle, float* workDiff, float* workDest, float* workTemp, float* inImg);

/** Body of a noise-reduction worker, for pthread_create: filters the band of its nr_data, stores the result in retour
 * and ends its thread with pthread_exit (on Windows: ends the thread that calls it). */
VESKARONR_API void* nr_threaded(void* threadData);

/** Body of a sharpening worker, as nr_threaded. */
VESKARONR_API void* sharpen_threaded(void* threadData);

/** Edge-preserving noise reduction of a rectangle: every pixel moves towards the weighted mean of those of its 24
 * neighbours in a 5 x 5 window that resemble it. Thread-safe on disjoint rectangles.
 *
 * @param rang level, 0 (finest) to 3; another value is taken as 0
 * @param wImage width of the level
 * @param hImage not used
 * @param startCoord rectangle to filter, at least two pixels inside the level, only read
 * @param spp floats from pixel to pixel, at least 3; see noiseReduce_set. With fewer nothing is done and the result is
 *     #NR_ERROR_ARGUMENT
 * @param doDespeckle has no effect
 * @param img the level, read up to two pixels beyond the rectangle
 * @param YCbCr_img the same pixels as Y, B - Y, R - Y
 * @param NRamounts receives mix fraction, similarity threshold, similarity rolloff for each pixel of the rectangle
 * @param dest on entry a copy of img; each pixel of the rectangle is read and replaced
 * @return the end row, or the first row when the rectangle has none. */
VESKARONR_API int noiseReduce_orig(int rang, int wImage, int hImage, int* startCoord, int spp, int doDespeckle,
                                   float* img, float* YCbCr_img, float* NRamounts, float* dest);

/** Adds one neighbour, whose first sample is at index posit, to the sums cnv (three floats) and finalWeight, with
 * weight coef up to the distance simThreshold, falling linearly to 0 over the next simRolloff. Thread-safe. */
VESKARONR_API void NRgetSimilarity(float centerY, float centerBY, float centerRY, float simThreshold, float simRolloff,
                                   float simInverseRolloff, float* cnv, float* finalWeight, int posit, float* img_Ybr,
                                   float* img_rgb, float coef);

/** The noise model: scales threshold and rolloff by 1 at black down to 1 - highnoiseLevelReduce at white. Thread-safe.
 */
VESKARONR_API void noiseTransferFunction(float r, float g, float b, float inThreshold, float inRolloff,
                                         float* newThreshold, float* newRolloff);

/** How much more the middle pixels B and E differ than the pixels along the paths A, B, C and D, E, F; at least 0.
 * Arguments are indices of first samples. Thread-safe. */
VESKARONR_API float edgeSmoothCompareOpposingPoints(int positA, int positB, int positC, int positD, int positE,
                                                    int positF, float noiseSize, float* img);

/** The sum of that measure over the four directions through the pixel at posit, in an image of row floats a row;
 * edgeDthreshold is not used. Reads one pixel beyond posit in every direction. Thread-safe. */
VESKARONR_API float edgeSmoothInverseSimSum(int spp, int row, float* img, float edgeDthreshold, int posit,
                                            float noiseSize);

/** Sharpens a rectangle: luma and colour differences of every pixel are pushed away from the weighted mean of those of
 * its 24 neighbours that differ from it by about the local noise. Thread-safe on disjoint rectangles.
 *
 * @param rang level, 0 (finest) to 3; another value is taken as 0
 * @param wImage width of the level
 * @param hImage not used
 * @param startCoord rectangle to filter, at least two pixels inside the level, only read
 * @param spp floats from pixel to pixel, at least 3; see noiseReduce_set. With fewer nothing is done and the result is
 *     #NR_ERROR_ARGUMENT
 * @param img the noise-reduced level, read up to two pixels beyond the rectangle
 * @param NRamounts as noiseReduce_orig wrote them; the rolloff (third float) must be positive
 * @param dest receives the pixels of the rectangle
 * @return the end row, or the first row when the rectangle has none. */
VESKARONR_API int sharpen_orig(int rang, int wImage, int hImage, int* startCoord, int spp, float* img, float* NRamounts,
                               float* dest);

/** Adds the neighbour at index positCur to the sums convolution (three floats) and finalWeight: its weight rises from 0
 * at distance 0 to coef at simThreshold and falls over the next simRolloff. simInverseThreshold and simInverseRolloff
 * are not used. Thread-safe. */
VESKARONR_API void sharpSimilarityFromSimPixel(float simThreshold, float simRolloff, float simInverseThreshold,
                                               float simInverseRolloff, float* convolution, float* finalWeight,
                                               int positCenter, int positCur, float* img, float coef,
                                               float coefSimInverseThreshold, float coefSimInverseRolloff,
                                               float coefFULL_SIMILARITY);

/** Luma Y (BT.601 weights) and the unscaled colour differences Cb = B - Y, Cr = R - Y. Thread-safe. */
VESKARONR_API void RGBtoYCbCr(const float r, const float g, const float b, float* Y, float* Cb, float* Cr);

/** The way back. Thread-safe. */
VESKARONR_API void YCbCrToRGB(float* r, float* g, float* b, const float Y, const float Cb, const float Cr);

/** @} */

/** @defgroup params Parameters and noise profile
 * @{ */

/** Writes the default of every entry (see nr_param). Thread-safe on distinct vectors.
 *
 * @return 1. */
VESKARONR_API int nr_def(float* nrParams);

/** Derives the tuning variables from the vector, which is only read. denoise2 calls it itself. Not to be called while a
 * filter runs. */
VESKARONR_API void calcParams(float* nrParams);

/** Measures the noise of an 8-bit RGB picture from its smoothest 32 x 32 blocks. Thread-safe on distinct buffers.
 *
 * @param wImage,hImage size in pixels
 * @param rowStride bytes from one row's start to the next
 * @param nrParams entry NR_NOISE_LEVEL in [0.5, 1.5] on entry is the strength factor; on success the four measured
 *     entries are written, on failure none
 * @param work 48 * (wImage / 32) * (hImage / 32) + 1280 bytes of scratch
 * @param inImage the picture, only read; 32-bit byte offsets reach every block
 * @return the noise level, truncated (>= 7); NR_ERROR_ARGUMENT when no block is usable, NR_ERROR_STATISTICS when the
 *     blocks cannot be split into shadows and highlights, NR_ERROR_MEMORY. */
VESKARONR_API int auto_profile(int wImage, int hImage, int rowStride, float* nrParams, unsigned char* work,
                               unsigned char* inImage);

/** Mean neighbour difference of one block of blockSize x blockSize pixels (blockSize >= 4) whose first sample is at
 * byte positBlock, scaled by 6 * (blockSize - 1)^2; not a number when no pair of neighbours is usable. wImage and
 * hImage are not used. Thread-safe. */
VESKARONR_API float recalcDeviations(int wImage, int hImage, int rowStride, int blockSize, int positBlock,
                                     unsigned char* inImage);

/** Fills ordre with the indices 0 .. kMax - 1 in ascending order of their keys in moy, equal keys in ascending order of
 * index. Thread-safe.
 *
 * @return kMax, or 0 when kMax < 1 (nothing written) or memory is exhausted (ordre then counts 0 .. kMax - 1). */
VESKARONR_API int iclassement2(int kMax, int* moy, int* ordre);

/** As iclassement2, for float keys. */
VESKARONR_API float fClassementCroissant2(int kMax, float* moy, int* ordre);

/** Comparison for qsort over pairs that begin with an int key: -1, 0 or 1. Thread-safe. */
VESKARONR_API int int_cmp(const void* a, const void* b);

/** As int_cmp, for float keys; a key that is not a number compares equal to every key. */
VESKARONR_API int float_cmp(const void* a, const void* b);

/** @} */

/** @defgroup hdr denoise1: row-planar RGBE
 *
 * A picture of iMax x jMax pixels is 4 * iMax * jMax bytes. Row j starts at byte 4 * iMax * j and holds four runs of
 * iMax bytes: the red mantissas, the green, the blue, and the shared exponents. A pixel's value is
 * mantissa * 2^(exponent - 136), or black when the exponent byte is 0 (Ward, "Real Pixels", Graphics Gems II, 1991).
 * @{ */

/** Denoises a high-dynamic-range picture. Thread-safe on distinct buffers.
 *
 * @param denoisingStrength 50 to 99: chroma only; 100: nominal; 101 to 150: stronger, mid-tones included; any other
 *     value acts as 100
 * @param iMax,jMax pixels per row and rows, each >= 32, iMax * jMax * 8 < 2^31
 * @param rowStride,spp not used
 * @param bpsImage 32
 * @param pImage the picture; from strength 100 on overwritten with the chroma-denoised picture
 * @param resBuf 4 * iMax * jMax bytes, receives the result; must not overlap pImage
 * @return jMax; NR_REFUSED or NR_ERROR_ARGUMENT (chroma only or not) when bpsImage is not 32 and NR_ERROR_ARGUMENT for
 *     null pointers and sizes outside the range, nothing written; NR_ERROR_STATISTICS for a picture without spread
 *     (all black, say) or with values beyond the float range, nothing written; NR_ERROR_MEMORY when memory is
 *     exhausted, nothing written unless the second stage ran short. Reserves 20 bytes of memory a
 *     pixel, of which processors with vectors touch some 6 megabytes. */
VESKARONR_API int denoise1(int denoisingStrength, const int iMax, const int jMax, const int rowStride, const int spp,
                           const int bpsImage, unsigned char* pImage, unsigned char* resBuf);

/** Measures the picture. hdrStats receives six floats, the first five natural logarithms: colour-sum shadows level and
 * saturation level, luminance shadows level, median and 99th percentile, and the luminance threshold (99th percentile
 * - median) * 2 * initialSeuil * range. denoisingProc, rowStride, spp and bpsImage are not used. Thread-safe.
 *
 * @return NR_OK; NR_ERROR_STATISTICS when there are no pixels, no spread, or values beyond the float range;
 *     NR_ERROR_ARGUMENT for null pointers or 2^31 pixels; NR_ERROR_MEMORY. hdrStats is written on success only. */
VESKARONR_API int hdr_stats(int denoisingProc, int iMax, int jMax, int rowStride, int spp, int bpsImage,
                            float initialSeuil, unsigned char* pImage, float* hdrStats);

/** The first bin at which the running sum of histo (histoLen bins) exceeds perc * imageSize truncated, or histoLen when
 * none does (or perc is not a number); 0 when histoLen < 1. A negative perc acts as 0. Thread-safe. */
VESKARONR_API int percentileD(float perc, size_t imageSize, int histoLen, int* histo);

/** Full-range YCbCr (JFIF, BT.601 weights, no offset) of one pixel, three floats each. Returns 1. Thread-safe. */
VESKARONR_API int rgb2ybr(float* rgb, float* ybr);

/** The way back, with each of R, G, B at least 0. Returns 1. Thread-safe. */
VESKARONR_API int ybr2rgb(float* ybr, float* rgb);

/** Smooths the chromaticity of a picture; the first stage of denoise1. Thread-safe on distinct buffers.
 *
 * A pixel whose colour sum or result is beyond the float range keeps its bytes and does not reach its neighbours.
 *
 * @param reductionStrength above 0: pixels between shadowsLevel and satLevel are blended with their own colour;
 *     otherwise only pixels below shadowsLevel change
 * @param seuil threshold scale, 0.2 to 1
 * @param iMax,jMax pixels per row and rows, >= 1
 * @param rowStride,spp not used
 * @param bpsImage 32
 * @param shadowsLevel,satLevel linear colour sums R + G + B
 * @param work 5 * iMax * jMax floats of scratch, any alignment
 * @param pImage,resImage picture and result; resImage may start at any byte
 * @return jMax; 0 when bpsImage is not 32, nothing read or written; NR_ERROR_ARGUMENT for a size below 1 or a null
 *     pointer; NR_ERROR_MEMORY, resImage untouched. */
VESKARONR_API int denoise_chroma(int reductionStrength, float seuil, int iMax, int jMax, int rowStride, int spp,
                                 int bpsImage, float shadowsLevel, float satLevel, unsigned char* work,
                                 unsigned char* pImage, unsigned char* resImage);

/** Filters the line base[0], base[st], ... of size samples with the kernel [1, 2, 1] whose outer taps are sc samples
 * away, mirrored at the ends, into temp[0 .. size - 1]. The result is four times the mean (a trous algorithm,
 * Holschneider et al., 1989). A line shorter than 2 * sc is mirrored as often as it takes; size < 1 does nothing. temp
 * must not overlap base. Thread-safe. */
VESKARONR_API void smooth_line(float* temp, float* base, int st, int size, int sc);

/** Smooths the log luminance of a picture; the second stage of denoise1. Thread-safe on distinct buffers.
 *
 * Details above satY are widened, not shrunk: the threshold's line goes on below 0 there. Where two levels coincide,
 * the line between them is one point, which takes the threshold of its lower end; above a satY that equals medY the
 * threshold is 0. A pixel whose result is beyond the float range keeps its bytes.
 *
 * @param reductionStrength 0: shadows only; otherwise fading to nothing at satY
 * @param iMax,jMax pixels per row and rows, >= 1
 * @param rowStride,spp not used
 * @param bpsImage 32
 * @param shadowsLevel,medY,satY log luminances, ascending
 * @param seuil threshold of the details of the log luminance
 * @param work 3 * iMax * jMax floats of scratch, any alignment
 * @param pImage,resImage picture and result; resImage may start at any byte
 * @return jMax; NR_ERROR_ARGUMENT when bpsImage is not 32, for a size below 1 or a null pointer, nothing read or
 *     written; NR_ERROR_MEMORY, resImage untouched. */
VESKARONR_API int denoise_lumin(int reductionStrength, int iMax, int jMax, int rowStride, int spp, int bpsImage,
                                float shadowsLevel, float medY, float satY, float seuil, unsigned char* work,
                                unsigned char* pImage, unsigned char* resImage);

/** @} */

/** @defgroup tuning Tuning variables
 *
 * Process-wide, read by the filters at the start of each call. calcParams derives all but the first
 * three from nrParams; a host that drives the building blocks itself may also set them. Not to be written while a
 * filter runs.
 * @{ */

extern VESKARONR_API float reconSimilarityThreshold; /**< 10: colour distance up to which two pixels count as equal */
extern VESKARONR_API float reconSimilarityRolloff;   /**< 50: further distance over which the similarity falls to 0 */
extern VESKARONR_API float NR_AMOUNT_FULL;           /**< 1; read by nothing */

extern VESKARONR_API float NRsimilarityRolloff;      /**< noise level x 1.5; read by nothing else */
extern VESKARONR_API float highnoiseLevelReduce;     /**< how much less noise white has than black, [0, 0.99] */
extern VESKARONR_API float level0noiseLevel;         /**< similarity rolloff of the noise filter, by level */
extern VESKARONR_API float level1noiseLevel;         /**< of level 1 */
extern VESKARONR_API float level2noiseLevel;         /**< of level 2 */
extern VESKARONR_API float level3noiseLevel;         /**< of level 3 */
extern VESKARONR_API float level0NR;                 /**< noise-reduction amount, by level */
extern VESKARONR_API float level1NR;                 /**< of level 1 */
extern VESKARONR_API float level2NR;                 /**< of level 2 */
extern VESKARONR_API float level3NR;                 /**< of level 3 */
extern VESKARONR_API float sharpeningAmount;         /**< read by nothing else */
extern VESKARONR_API float level0SharpAmount;        /**< luma sharpening amount, by level */
extern VESKARONR_API float level1SharpAmount;        /**< of level 1 */
extern VESKARONR_API float level2SharpAmount;        /**< of level 2 */
extern VESKARONR_API float level3SharpAmount;        /**< of level 3 */
extern VESKARONR_API float chromaSharpeningAmount;   /**< chroma sharpening amount, all levels */
extern VESKARONR_API float level0ChromaSharpAmount;  /**< read by nothing */
extern VESKARONR_API float level1ChromaSharpAmount;  /**< read by nothing */
extern VESKARONR_API float level2ChromaSharpAmount;  /**< read by nothing */
extern VESKARONR_API float level3ChromaSharpAmount;  /**< read by nothing */
extern VESKARONR_API float lumaMix;                  /**< share of the filtered luminance in the final blend */
extern VESKARONR_API float chromaMix;                /**< share of the filtered chroma */
extern VESKARONR_API float highlightNRlowThreshold;  /**< luminance up to which the highlight factor is the one below */
extern VESKARONR_API float highlightNRhighThreshold; /**< luminance from which it is the one above */
extern VESKARONR_API float highlightNRslope;         /**< slope of the line between */
extern VESKARONR_API float highlightNRintercept;     /**< its value at luminance 0 */
extern VESKARONR_API float highlightNRbelowThreshold; /**< highlight factor below the ramp, 1 */
extern VESKARONR_API float highlightNRaboveThreshold; /**< highlight factor above it, 0 */
extern VESKARONR_API float overallSharpness;          /**< always 0, read by nothing */
extern VESKARONR_API float chromaSharpeningRatio;     /**< always 0, read by nothing */
extern VESKARONR_API float dSLRlikeness;              /**< always 0, read by nothing */
extern VESKARONR_API float OneMinusDSLRlikeness;      /**< always 0, read by nothing */

/** @} */

/** @defgroup constants Constants
 *
 * For a host that wants the library's own values.
 * @{ */

extern VESKARONR_API const float WHITE_LEVEL;           /**< 255 */
extern VESKARONR_API const float BLACK_LEVEL;           /**< 0 */
extern VESKARONR_API const float inHNL;                 /**< 0.2, default of NR_HIGHLIGHT_NOISE */
extern VESKARONR_API const float FULL_SIMILARITY;       /**< 1 */
extern VESKARONR_API const float NO_SIMILARITY;         /**< 0 */
extern VESKARONR_API const float NRsimilarityThreshold; /**< 0.00001, threshold of level 0; doubles with each level */
extern VESKARONR_API const float MINIMUM_ROLLOFF;       /**< 0.00001, lower bound of noise levels */
extern VESKARONR_API const float level0NoiseLevelScaleFactor;       /**< 1 */
extern VESKARONR_API const float level1NoiseLevelScaleFactor;       /**< 0.5 */
extern VESKARONR_API const float level2NoiseLevelScaleFactor;       /**< 0.25 */
extern VESKARONR_API const float level3NoiseLevelScaleFactor;       /**< 0.125 */
extern VESKARONR_API const float chromaSharpeningClamp;             /**< 1 */
extern VESKARONR_API const float HIGHLIGHT_NR_MAX;                  /**< 0 */
extern VESKARONR_API const float HIGHLIGHT_REDUCTION_THRESHOLD_MIN; /**< 0 */
extern VESKARONR_API const float HIGHLIGHT_REDUCTION_THRESHOLD_MAX; /**< 1 */

extern VESKARONR_API const float lumaCoefA; /**< -0.5; read by nothing */
extern VESKARONR_API const float lumaCoefB; /**< -0.3; read by nothing */
extern VESKARONR_API const float lcfsa;     /**< -0.5; read by nothing */
extern VESKARONR_API const float lcfsb;     /**< -0.3; read by nothing */

/* Weight classes of the 5 x 5 neighbourhoods. */
extern VESKARONR_API const float coefA; /**< 0.1 */
extern VESKARONR_API const float coefB; /**< 0.3 */
extern VESKARONR_API const float coefC; /**< 0.5 */
extern VESKARONR_API const float coefD; /**< 1 */
extern VESKARONR_API const float coefE; /**< 1 */
extern VESKARONR_API const float coefF; /**< 0.7 */
extern VESKARONR_API const float coefG; /**< 1 */
extern VESKARONR_API const float coefH; /**< 2; read by nothing */
extern VESKARONR_API const float coefI; /**< 2; read by nothing */
extern VESKARONR_API const float coefJ; /**< 2; read by nothing */
extern VESKARONR_API const float coefK; /**< 2; read by nothing */
extern VESKARONR_API const float coefL; /**< 2; read by nothing */
extern VESKARONR_API const float coefM; /**< 2; read by nothing */
extern VESKARONR_API const float coefN; /**< 2; read by nothing */

/* The same for the sharpening filter. */
extern VESKARONR_API const float cfsA; /**< 0.1 */
extern VESKARONR_API const float cfsB; /**< 0.3 */
extern VESKARONR_API const float cfsC; /**< 0.5 */
extern VESKARONR_API const float cfsD; /**< 1 */
extern VESKARONR_API const float cfsE; /**< 1 */
extern VESKARONR_API const float cfsF; /**< 0.7 */
extern VESKARONR_API const float cfsG; /**< 1 */

/* The luma weights of RGBtoYCbCr. */
extern VESKARONR_API const float lumR;    /**< 0.299 */
extern VESKARONR_API const float lumG;    /**< 0.587 */
extern VESKARONR_API const float lumB;    /**< 0.114 */
extern VESKARONR_API const float invLumG; /**< 1 / 0.587 */

/* A 3 x 3 kernel by rows A B C, D E F, G H I; read by nothing. */
extern VESKARONR_API const float simLA;         /**< 1/16 */
extern VESKARONR_API const float simLB;         /**< 1/8 */
extern VESKARONR_API const float simLC;         /**< 1/16 */
extern VESKARONR_API const float simLD;         /**< 1/8 */
extern VESKARONR_API const float simLE;         /**< 1/4 */
extern VESKARONR_API const float simLF;         /**< 1/8 */
extern VESKARONR_API const float simLG;         /**< 1/16 */
extern VESKARONR_API const float simLH;         /**< 1/8 */
extern VESKARONR_API const float simLI;         /**< 1/16 */
extern VESKARONR_API const float simLCoefScale; /**< 16 */

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* VESKARONRLIB_H */
