/** @file
 * VeskaroNRLib's second interface: measure the noise, choose the settings, filter any piece of a picture.
 *
 * The filters are those of denoise2 (VeskaroNRLib.h), and so are the bytes. What is added: nothing process-wide, so
 * that any number of calls run at once with different settings; every setting free; a picture in pieces, exactly as if
 * it had been filtered whole; pictures as hosts hold them (8 and 16 bits, floats, any order of channels, planar,
 * bottom-up); progress, cancelling, and the host's own threads.
 *
 *     vnr_picture in = vnr_interleaved(VNR_UINT8, width, height, 3, samples, 3 * width);
 *     vnr_picture out = vnr_interleaved(VNR_UINT8, width, height, 3, result, 3 * width);
 *     vnr_denoise(&in, &out, NULL, NULL);                         the whole way, with the measured settings
 *
 *     vnr_measure(&in, NULL, &noise);                             or step by step:
 *     vnr_settings_best(&noise, 1.0f, &settings);                 what gains most; any of it may be changed
 *     vnr_settings_classic(&noise, 1.0f, &settings);              or what denoise2 would use
 *     vnr_plan_begin(width, height, &settings, &plan);
 *     vnr_plan_cover(plan, &wanted, &read, &write);               what has to be read for a piece
 *     vnr_plan_filter(plan, &in, &out, NULL);                     a piece, or the whole picture
 *     vnr_plan_end(plan);
 *
 * Conventions that hold for every function unless its comment says otherwise:
 *
 *   - Results: VNR_OK, or a negative vnr_result that says what is wrong; nothing has been written then unless the
 *     comment says so. Nothing is printed, no exception leaves, the process is never ended.
 *   - Structs that a host fills begin with struct_size, which the host sets to sizeof the struct. They may grow in
 *     later versions: a shorter one from an older header is taken, with defaults for what it lacks, a longer one is
 *     refused. Zero is the default of every other field that has one.
 *   - Ownership: buffers and structs belong to the host and are not kept after a call, but for callbacks and flags
 * while the call runs. Measurements and plans belong to the library until the host ends them.
 *   - Threads: functions may be called from any thread, and from many at once. One measurement is for one thread at a
 *     time (give every thread its own and merge them); a plan never changes and serves all threads.
 *   - Environment: computed in the default floating-point environment; the caller's is given back.
 *   - Rectangles are in pixels of the whole picture; ends are exclusive.
 */
#ifndef VESKARONR_H
#define VESKARONR_H

#include <stddef.h>
#include <stdint.h>

#include "VeskaroNRLib.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results. Negative: something is wrong, or the call was cancelled. */
enum vnr_result {
  VNR_OK = 0,
  VNR_ERROR_NULL = -1,   /**< a pointer that must not be null is */
  VNR_ERROR_STRUCT = -2, /**< a struct_size of no version, or of a later one */
  VNR_ERROR_FORMAT =
      -3,              /**< a sample type, number of channels, white or encoding that is none, or two that must agree */
  VNR_ERROR_SIZE = -4, /**< a width or height below 1 or above VNR_MOST_PIXELS */
  VNR_ERROR_STRIDE = -5,    /**< pixels or rows that would lie upon each other, or beyond the address space */
  VNR_ERROR_RECTANGLE = -6, /**< empty, outside the picture, or input that does not hold what has to be read */
  VNR_ERROR_OVERLAP = -7,   /**< output samples share bytes with input samples */
  VNR_ERROR_SETTINGS = -8,  /**< not a number, infinite, or outside its range */
  VNR_ERROR_SAMPLES = -9,   /**< a sample that was read is infinite or not a number; output is then unspecified */
  VNR_ERROR_STATE = -10,    /**< bytes that are no measurement, or measurements of different pictures */
  VNR_ERROR_MEMORY = -11,   /**< memory exhausted; output is then unspecified */
  VNR_ERROR_CONTROL = -12,  /**< a number of threads that is none, or a host's executor that did not run every job */
  VNR_CANCELLED = -13       /**< as the host wished; output is then unspecified */
};

/** A short English sentence for a result; never null, static. */
VESKARONR_API const char* vnr_result_text(int result);

/** Version of the library: 10000 * major + 100 * minor + patch. */
VESKARONR_API int vnr_version(void);

/** @defgroup pictures Pictures as hosts have them
 * @{ */

/** What a sample is. */
enum vnr_type {
  VNR_UINT8 = 1,
  VNR_UINT16 = 2, /**< native byte order, any alignment */
  VNR_FLOAT32 = 3 /**< native byte order, any alignment */
};

/** How values relate to light. */
enum vnr_encoding {
  VNR_DISPLAY = 0, /**< values as they are displayed (sRGB and the like); filtered as they are */
  VNR_LINEAR = 1   /**< floats proportional to light; filtered as square roots, which evens out their noise */
};

#define VNR_MOST_PIXELS 0x3fffffff /**< along one side */

/** Samples in memory: a picture, or a piece of one. Sample (x, y) of channel c, both counted from the piece's first
 * pixel, lies at the byte address channel[c] + y * row_stride + x * pixel_stride. So interleaved and planar pictures,
 * any order of channels, bytes between (alpha, padding), mirrored and bottom-up pictures (negative strides) and windows
 * of bigger ones are all described. Bytes of an output that are no sample of it are never written.
 *
 * Inside, samples are on the 8-bit working scale: integers times 256 / (white + 1), floats times 255 / white; linear
 * ones sign(v) * sqrt(|v| / s) * 255 with the scale s of the settings. */
typedef struct vnr_picture {
  size_t struct_size; /**< sizeof(vnr_picture) */
  int32_t type;       /**< vnr_type */
  int32_t channels;   /**< 3: red, green, blue; 1: grey, filtered as three equal channels, of which green comes out */
  int32_t encoding;   /**< vnr_encoding; VNR_LINEAR for floats only */
  float white;        /**< largest value; 0: 255, 65535, or 1.0. Integers: 2^n - 1 (1023 for 10 bits in 16), and
                           samples above it count as it; floats: any positive number; not used when linear */
  int32_t x;          /**< column of the first pixel in the whole picture; 0 for a whole one */
  int32_t y;          /**< its row */
  int32_t width;      /**< of this piece, in pixels */
  int32_t height;     /**< likewise */
  void* channel[3];   /**< first samples of red, green and blue; grey: channel[0]. Only read in an input */
  ptrdiff_t pixel_stride; /**< bytes from a pixel to the one to its right; may be negative */
  ptrdiff_t row_stride;   /**< bytes from a row to the one below; may be negative */
} vnr_picture;

/** A part of a picture. */
typedef struct vnr_rectangle {
  int32_t x0; /**< first column */
  int32_t x1; /**< end column */
  int32_t y0; /**< first row */
  int32_t y1; /**< end row */
} vnr_rectangle;

/** A whole picture of pixels without gaps between them.
 *
 * @param channels samples a pixel: 1 grey, 3 red, green, blue, 4 red, green, blue and one that is neither read nor
 *     written
 * @param row_samples samples from a row to the one below */
static inline vnr_picture vnr_interleaved(int32_t type, int32_t width, int32_t height, int32_t channels,
                                          const void* samples, ptrdiff_t row_samples) {
  const ptrdiff_t bytes = type == VNR_FLOAT32 ? 4 : type == VNR_UINT16 ? 2 : 1;
  vnr_picture p;
  p.struct_size = sizeof(vnr_picture);
  p.type = type;
  p.channels = channels == 1 ? 1 : 3;
  p.encoding = VNR_DISPLAY;
  p.white = 0;
  p.x = p.y = 0;
  p.width = width;
  p.height = height;
  p.channel[0] = (char*)samples;
  p.channel[1] = (char*)samples + bytes;
  p.channel[2] = (char*)samples + 2 * bytes;
  p.pixel_stride = channels * bytes;
  p.row_stride = row_samples * bytes;
  return p;
}

/** The piece of a picture that a rectangle, given in whole-picture coordinates and inside the piece at hand, cuts out:
 * the same memory. */
static inline vnr_picture vnr_piece(vnr_picture p, vnr_rectangle r) {
  const ptrdiff_t offset = (r.y0 - p.y) * p.row_stride + (r.x0 - p.x) * p.pixel_stride;
  int c;
  for (c = 0; c < p.channels; ++c) p.channel[c] = (char*)p.channel[c] + offset;
  p.x = r.x0;
  p.y = r.y0;
  p.width = r.x1 - r.x0;
  p.height = r.y1 - r.y0;
  return p;
}

/** @} */

/** @defgroup control How a call runs
 * @{ */

/** How a call runs; a null pointer to one takes the defaults. */
typedef struct vnr_control {
  size_t struct_size; /**< sizeof(vnr_control) */
  int32_t threads; /**< at most this many, the caller included; 0: one a processor that the process may use. The bytes
                        are the same whatever it is. */
  /** Runs job(argument, 0) to job(argument, count - 1), each once, on threads of the host's choosing, and returns 0
   * when all have returned. Null: the library's own threads, which sleep between calls. count is at most threads. */
  int (*run)(void* host, int32_t count, void (*job)(void* argument, int32_t index), void* argument);
  /** Told after every tile, by one thread at a time, how many of all tiles are done; a result other than 0 cancels. May
   * be null. Must not call back into a call that is running. */
  int (*progress)(void* host, int64_t done, int64_t total);
  const int32_t* cancel; /**< null, or looked at before every tile: cancels when not 0. Any thread may write it. */
  void* host;            /**< handed to the callbacks */
} vnr_control;

/** @} */

/** @defgroup noise Measuring the noise
 *
 * The noise profile of denoise2: the smoothest blocks of 32 x 32 pixels, among the darker and among the brighter half
 * of all, tell how much neighbouring pixels differ. It looks at working values cut off to whole numbers from 0 to 255.
 * The picture may come in pieces, in any order and of any size, overlapping or not: the result is the same. Blocks that
 * lie across pieces are put together from their parts.
 *
 * Linear pictures have a scale, s, which is measured with the noise: the level below which 99 % of the blocks' means
 * lie. Their blocks are measured as square roots, without cutting off.
 *
 * A second measurement goes along with it, for vnr_settings_best: the Haar transform of blocks of 16 x 16 pixels, in
 * luminance and chroma at three scales. The smoothest blocks, few of whose pixels are clipped, tell how strong the
 * noise is and whether it is white or smoothed, of luminance or colour. It looks at samples with all their bits. Of a
 * big picture it takes an even sample of at most 3072 blocks, the same however the picture is cut. For the stages that
 * vnr_settings_best adds, 8 x 8 cosine transforms of the smoothest 1 % (12 at least) tell how the noise's power is
 * spread over frequencies.
 * @{ */

/** What is known of a picture's blocks so far. */
typedef struct vnr_measurement vnr_measurement;

/** Whether the noise is known, or why not. */
enum vnr_reason {
  VNR_MEASURED = 0,
  VNR_NO_USABLE_BLOCK = 1, /**< below 32 x 32 pixels, or every block nearly black, nearly white, or flat */
  VNR_NO_CONTRAST = 2      /**< no two brightnesses to tell shadows from highlights */
};

/** How the second measurement went. */
enum vnr_grain {
  VNR_GRAIN_UNKNOWN = 0,  /**< below 16 x 16 pixels, or no block seen: no noise is assumed */
  VNR_GRAIN_MEASURED = 1, /**< from smooth blocks */
  VNR_GRAIN_TEXTURED = 2  /**< no smooth block among those that are hardly clipped: the smoothest of them read much more
                               than the smoothest of darker ones that are up to a quarter, or half, clipped, and more
                               luminance than chroma, as texture does. The milder reading, of the dark ones, was taken */
};

/** What was measured. */
typedef struct vnr_noise {
  size_t struct_size;    /**< sizeof(vnr_noise) */
  int32_t reason;        /**< vnr_reason; but for VNR_MEASURED the level is unknown and settings are the defaults */
  int32_t encoding;      /**< of the picture */
  float level;           /**< noise level that denoise2 works with at strength 1, >= 15; 0 when not measured */
  float statistic;       /**< mean difference of neighbours in the deciding blocks, evened out over brightness */
  float linear_scale;    /**< s of a linear picture; 1 otherwise */
  int64_t blocks;        /**< whole blocks that the picture has */
  int64_t blocks_seen;   /**< of these, added so far; when fewer than all, the result is that of the seen ones */
  int64_t blocks_usable; /**< of these, neither nearly black, nearly white, nor flat */
  int32_t grain;         /**< vnr_grain; what follows is of the second measurement, 0 when that is unknown */
  int32_t grain_blocks;  /**< blocks of 16 x 16 pixels that were seen */
  float sigma[3];        /**< standard deviation of the noise in red, green and blue at mid grey, on the working scale;
                              white noise reads what it is within 5 % */
  float correlation;     /**< 0: white, every pixel has its own noise; 1: smoothed, as demosaicing and JPEG leave it */
  float blotches;        /**< 0: none; 1: blotches of colour several pixels wide */
  float luma;            /**< deviation of fine luminance details that is taken for noise; this one and the next two as
                              black has it, when noise falls by 30 % towards white (linear: everywhere) */
  float chroma;          /**< of fine chroma details */
  float coarse_chroma;   /**< of coarse chroma details */
  float texture_guard;   /**< share of the luminance reading that luma is, 0 to 1; the rest was taken for texture */
  float structure; /**< deviation of middle luminance details in the median block, noise and picture: how much there
                        is to lose */
  float spectrum[3][64]; /**< power of the noise in Y, B - Y and R - Y by frequency, 8 * vertical + horizontal: mean
                              squares of an orthonormal 8 x 8 DCT's coefficients, as black has them; 0: not known */
} vnr_noise;

/** What a block was good for. */
enum vnr_role {
  VNR_BLOCK_UNUSABLE = 0,
  VNR_BLOCK_USABLE = 1,
  VNR_BLOCK_CANDIDATE = 2, /**< among the smoothest of its half */
  VNR_BLOCK_DECIDING = 3   /**< one of the few whose mean is the statistic */
};

/** One block as it was measured. */
typedef struct vnr_block {
  int32_t column;     /**< counted in blocks */
  int32_t row;        /**< likewise */
  int32_t brightness; /**< mean of its samples on the working scale, 0 to 255 */
  int32_t role;       /**< vnr_role */
  float deviation;    /**< mean difference of neighbours, evened out over brightness */
} vnr_block;

/** Measures a whole picture in one call.
 *
 * @param picture the picture, only read
 * @param control null, or how to run; progress is not told
 * @param noise receives the result; struct_size set by the host
 * @return VNR_OK also when nothing could be measured: noise->reason tells. */
VESKARONR_API int vnr_measure(const vnr_picture* picture, const vnr_control* control, vnr_noise* noise);

/** Begins a measurement of a picture of this size, to be ended with vnr_measure_end. It takes 12 bytes a block, 112 for
 * each of those of 16 x 16 pixels, 792 for each of these that may be among the smoothest (a few hundred at most, in an
 * odd picture all 3072), and 12 kB for every block that lies across pieces until it is whole: cuts at multiples of 32
 * are the cheapest. */
VESKARONR_API int vnr_measure_begin(int32_t width, int32_t height, vnr_measurement** measurement);

/** Adds a piece. A pixel may be given more than once. All pieces have one encoding. After VNR_ERROR_SAMPLES,
 * VNR_ERROR_MEMORY or VNR_CANCELLED blocks of the piece may be missing; it can be added again. */
VESKARONR_API int vnr_measure_add(vnr_measurement* measurement, const vnr_picture* piece, const vnr_control* control);

/** Adds what another measurement of pieces of the same picture has seen; from stays as it is. */
VESKARONR_API int vnr_measure_merge(vnr_measurement* into, const vnr_measurement* from);

/** The result for what has been added. The measurement stays open. */
VESKARONR_API int vnr_measure_finish(const vnr_measurement* measurement, vnr_noise* noise);

/** The blocks seen so far, row by row, with their roles.
 *
 * @param measurement what has been added
 * @param blocks receives the first of them; may be null with capacity 0
 * @param capacity how many it has room for
 * @param count receives how many there are */
VESKARONR_API int vnr_measure_blocks(const vnr_measurement* measurement, vnr_block* blocks, size_t capacity,
                                     size_t* count);

/** Writes a measurement as plain bytes, for another process on a machine of the same byte order.
 *
 * @param measurement what has been added
 * @param bytes receives them; may be null with capacity 0
 * @param capacity how many it has room for
 * @param size receives how many there are
 * @return VNR_OK; VNR_ERROR_SIZE when capacity is not 0 and does not suffice. */
VESKARONR_API int vnr_measure_save(const vnr_measurement* measurement, void* bytes, size_t capacity, size_t* size);

/** Begins a measurement from such bytes. Damaged or foreign ones give VNR_ERROR_STATE. */
VESKARONR_API int vnr_measure_load(const void* bytes, size_t size, vnr_measurement** measurement);

/** Ends a measurement; null does nothing. */
VESKARONR_API void vnr_measure_end(vnr_measurement* measurement);

/** @} */

/** @defgroup settings Settings
 * @{ */

/** How results become samples. */
enum vnr_rounding {
  VNR_ROUND_AUTO = 0,     /**< integers VNR_ROUND_TRUNCATE, floats VNR_ROUND_NONE */
  VNR_ROUND_TRUNCATE = 1, /**< as denoise2: cut off to whole samples before the final blend and after it; floats: to
                               whole working values. Clamped to 0..white both times */
  VNR_ROUND_NEAREST = 2,  /**< once, at the end, halves to even, clamped to 0..white; floats: to whole
                               working values */
  VNR_ROUND_NONE = 3,     /**< floats only; values outside 0..white pass */
  VNR_ROUND_FINEST = 4    /**< integers VNR_ROUND_NEAREST, floats VNR_ROUND_NONE */
};

/** All that decides what the filters do. */
typedef struct vnr_settings {
  size_t struct_size;           /**< sizeof(vnr_settings) */
  float params[NR_PARAM_COUNT]; /**< by nr_param of VeskaroNRLib.h, every entry in force as it stands: NR_NOISE_LEVEL is
                                     the noise level, never a strength, and nothing is measured or overwritten */
  float recon_threshold;        /**< colour distance up to which two pixels count as equal between levels; 10 */
  float recon_rolloff;          /**< further distance over which their similarity falls to 0; 50 */
  float linear_scale;           /**< s of linear pictures, > 0; not used for others */
  int32_t tile;                 /**< nominal edge of a tile in pixels, 56 to 32768; 256. It decides the bytes. */
  int32_t rounding;             /**< vnr_rounding */
  /* Stages beyond denoise2's filters, on the working scale. What is 0 does not run; an older, shorter struct has none
   * of them. Where one runs, the picture goes on beyond its edge as its mirror image, not as black.
   *
   * Shrinking: 8 x 8 cosine transforms N of the input and G of the filtered and blended picture without dots, in Y,
   * B - Y and R - Y, at every 4th row and column, give (G + residual (N - G)) G^2 / (G^2 + S), back in windows that
   * overlap. S = factor * spectrum * m^2, m = 1 - (1 - params[NR_HIGHLIGHT_NOISE]) Y / 255 by the block's mean Y: noise
   * as the filters see it. Yaroslavsky 1985; with a pilot estimate: Ghael, Sayeed, Baraniuk 1997; Dabov, Foi,
   * Katkovnik, Egiazarian 2007. */
  float patch;              /**< share, 0 to 1, of the finest level's distances that is the mean over the 3 x 3 pixels
                                 around both: pixels are alike where their surroundings are (non-local means; Buades,
                                 Coll, Morel 2005) */
  float dots_luma;          /**< isolated dots go where their 8 neighbours lie within this of each other, to their
                                 nearest value; what is 5 times this beyond them stays, as stars do. >= 0 */
  float dots_chroma;        /**< likewise, of B - Y and R - Y */
  float shrink_luma;        /**< factor on the spectrum of Y by which blocks are shrunk, >= 0; 0: Y stays as filtered */
  float shrink_chroma;      /**< likewise, of B - Y and R - Y */
  float residual_luma[8];   /**< share of what the filtered picture lacks that may come back from the input, by the
                                 larger of a coefficient's two frequencies */
  float residual_chroma[8]; /**< likewise, of B - Y and R - Y */
  float spectrum[3][64];    /**< power of the noise, as vnr_noise has it, >= 0 */
} vnr_settings;

/** What denoise2 would use.
 *
 * @param noise a measurement's result; null, or one without a level, gives the defaults times the strength
 * @param strength factor, 0.5 to 1.5; another value counts as 1, as in denoise2
 * @param settings receives all fields; struct_size set by the host */
VESKARONR_API int vnr_settings_classic(const vnr_noise* noise, float strength, vnr_settings* settings);

/** What gains most over the noisy picture at the speed of the others: denoise2's filters alone. All entries follow from
 * the second measurement; none of what denoise2 measures has a say. Rounding is VNR_ROUND_FINEST.
 *
 * @param noise a measurement's result; one without grain gives settings that change nothing
 * @param strength factor on the differences that count as noise, 0.6 to 1.5; VNR_ERROR_SETTINGS outside
 * @param settings receives all fields; struct_size set by the host */
VESKARONR_API int vnr_settings_fast(const vnr_noise* noise, float strength, vnr_settings* settings);

/** What gains most over the noisy picture, with all stages. As vnr_settings_fast otherwise. */
VESKARONR_API int vnr_settings_best(const vnr_noise* noise, float strength, vnr_settings* settings);

/** @} */

/** @defgroup filtering Filtering
 *
 * A picture is filtered in tiles, whose grid follows from its size and the settings alone. A piece is made of the tiles
 * that it touches, so every piece has the bytes of the whole.
 * @{ */

/** How a picture is cut and what the filters are told. */
typedef struct vnr_plan vnr_plan;

/** Plans a picture of this size, to be ended with vnr_plan_end. The settings are copied. */
VESKARONR_API int vnr_plan_begin(int32_t width, int32_t height, const vnr_settings* settings, vnr_plan** plan);

/** What a wanted rectangle takes and what the tiles that it touches yield. Pieces cut as write is (or the picture's own
 * strips of tile rows) filter no tile twice.
 *
 * @param plan the plan
 * @param wanted what shall be written, inside the picture
 * @param read receives what the input has to hold: up to 32 pixels beyond those tiles
 * @param write receives what may be written with that input; it contains wanted. May be null. */
VESKARONR_API int vnr_plan_cover(const vnr_plan* plan, const vnr_rectangle* wanted, vnr_rectangle* read,
                                 vnr_rectangle* write);

/** Filters what the output piece covers.
 *
 * @param plan the plan
 * @param in holds at least what vnr_plan_cover tells for the output's rectangle
 * @param out receives its rectangle's pixels; type, channels, encoding and white as in. Must not share samples with in
 * @param control null, or how to run */
VESKARONR_API int vnr_plan_filter(const vnr_plan* plan, const vnr_picture* in, const vnr_picture* out,
                                  const vnr_control* control);

/** Ends a plan that no call uses any more; null does nothing. */
VESKARONR_API void vnr_plan_end(vnr_plan* plan);

/** Filters a whole picture in one call.
 *
 * @param in the picture, only read
 * @param out receives the result; of the same size, type, channels, encoding and white. Must not share samples with in
 * @param control null, or how to run; progress is told of the filtering
 * @param settings null: what is measured, at strength 1, as vnr_settings_classic gives it */
VESKARONR_API int vnr_denoise(const vnr_picture* in, const vnr_picture* out, const vnr_settings* settings,
                              const vnr_control* control);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* VESKARONR_H */
