#include "safety/call_generator.h"

#include <VeskaroNRLib.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <thread>
#include <vector>

#include "safety/call.h"
#include "support/targets.h"

namespace veskaro::test {

std::uint64_t Choices::nextBits(int bytes) {
  if (bytes_ != nullptr) {
    std::uint64_t bits = 0;
    for (int k = 0; k < bytes && left_ > 0; ++k, ++bytes_, --left_) bits = bits << 8 | *bytes_;
    return bits;
  }
  // SplitMix64 (Steele, Lea, Flood, 2014).
  std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  return z ^ (z >> 31);
}

int Choices::number(int low, int high) {
  const std::uint64_t range = static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
  const int bytes = range <= 256 ? 1 : range <= 65536 ? 2 : 4;
  return static_cast<int>(low + static_cast<std::int64_t>(nextBits(bytes) % range));
}

float Choices::real(float low, float high) {
  return low + (high - low) * static_cast<float>(nextBits(3) % (1u << 24)) / static_cast<float>(1u << 24);
}

namespace {

std::size_t pixels(int w, int h) {
  return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}
std::size_t pyramidPixels(int w, int h) {
  return static_cast<std::size_t>(len_pyram(3, w, h));
}

// ---- denoise2 and its geometry

// A picture with noise to measure, on rows that are further apart than they are long.
struct Picture {
  int w, h, stride, sampleBytes;
  std::size_t extent() const { return (static_cast<std::size_t>(h - 1) * stride + 3 * w) * sampleBytes; }
  bool isSample(std::size_t byte) const { return byte / sampleBytes % stride < 3 * static_cast<std::size_t>(w); }
};

void paint(Call& call, const Picture& p, unsigned char* to) {
  const int kind = call.c.number(0, 4);
  if (kind == 0) return;  // noise, as it came
  const int around = call.c.number(0, 255), spread = call.c.number(0, 40);
  Choices contents = call.c.contents();
  for (std::size_t k = 0; k < p.extent(); ++k) {
    const int ramp = kind == 1 ? static_cast<int>(k / p.sampleBytes % p.stride / 3 * 200 / p.w) : around;
    const int noise = kind == 2 ? 0 : contents.number(-spread, spread);
    to[k] = static_cast<unsigned char>(std::clamp(ramp + noise, 0, 255));
  }
}

void callDenoise2(Call& call) {
  Choices& c = call.c;
  Picture p = {call.side(), call.side(), 0, c.number(1, 2)};
  if (c.oneIn(30)) p.w += 300;
  p.stride = 3 * p.w + (c.oneIn(2) ? 0 : c.number(1, 70));
  call.tuning();  // of which denoise2 reads the two variables of the reconstruction
  int threads = call.threads();
  const int tile = c.oneIn(8) ? c.number(44, 60) : c.oneIn(8) ? c.number(-1, 400) : c.number(56, 140);
  float* params = call.params();
  unsigned char* in = call.input(call.bytes(p.extent()));
  paint(call, p, in);
  unsigned char* out = call.bytes(p.extent());
  const int need = mem4denoise(p.w, p.h, tile, threads);
  unsigned char* work =
      need > 0 && need < (64 << 20) && c.oneIn(2) ? call.scratch(call.bytes(static_cast<std::size_t>(need))) : nullptr;

  int w = p.w, h = p.h, stride = p.stride, samples = 3, bits = 8 * p.sampleBytes;
  const int refuse = c.oneIn(8) ? c.number(1, 10) : 0;
  if (refuse == 1) samples = c.oneIn(2) ? 4 : extremeInt(c);
  if (refuse == 2) bits = c.oneIn(2) ? 12 : extremeInt(c);
  if (refuse == 3) w = c.oneIn(4) ? std::numeric_limits<int>::max() : -c.number(0, 99);
  if (refuse == 4) h = -c.number(0, 99);
  if (refuse == 5) stride = 3 * w - (c.oneIn(2) ? 1 : c.number(1, 40));
  if (refuse == 6) stride = std::numeric_limits<int>::max();
  const bool known = samples == 3 && (bits == 8 || bits == 16) && bits == 8 * p.sampleBytes;
  if (refuse == 2 && (bits == 8 || bits == 16)) return;
  const bool nothing = refuse >= 7 && refuse <= 9, tooMuch = refuse == 10;
  if (tooMuch) threads = 1 << 30, work = call.scratch(call.bytes(16));
  const int most = std::numeric_limits<int>::max();
  const bool rowsFit = h == 1 ? w <= most / 3 : stride >= 3LL * w && (h < 1 || stride <= most / h);
  const bool right =
      known && w >= 1 && h >= 1 && rowsFit && threads >= 1 && tile >= (threads == 1 ? 48 : 56) && !nothing;
  const int expected = !right ? NR_ERROR_ARGUMENT : tooMuch ? NR_ERROR_MEMORY : NR_OK;

  for (unsigned char* picture : {in, out}) Call::turnSamples(picture, p.extent(), p.sampleBytes);
  const std::vector<unsigned char> outBefore(out, out + p.extent());
  const auto run = [&] {
    return denoise2(w, h, samples, stride, bits, tile, threads, refuse == 7 ? nullptr : params, work,
                    refuse == 8 ? nullptr : in, refuse == 9 ? nullptr : out);
  };
  std::vector<float> unmeasured(NR_PARAM_COUNT);
  nr_def(unmeasured.data());
  if (params[NR_NOISE_LEVEL] >= 0.5f && params[NR_NOISE_LEVEL] <= 1.5f) unmeasured[0] *= params[NR_NOISE_LEVEL];
  call.expect(call.made(run, true) == expected, "denoise2: result code");
  // Short of memory it may go on without a measurement, and its parameters say so.
  if (call.isShortOfMemory() && std::equal(unmeasured.begin(), unmeasured.end(), params)) call.sayRanShort();
  for (std::size_t k = 0; k < p.extent(); ++k) {
    if (!p.isSample(k)) call.expect(out[k] == outBefore[k], "denoise2: wrote between the rows");
  }
  Call::turnSamples(out, p.extent(), p.sampleBytes);
}

void callGeometry(Call& call) {
  Choices& c = call.c;
  int a[6];
  for (int& v : a) v = c.oneIn(4) ? extremeInt(c) : c.number(-3, 4000);
  int out[8];
  getDenoiseTileInfo(a[0], a[1], a[2], a[3], a[4], a[5], &out[0], &out[1], &out[2], &out[3], &out[4], &out[5], &out[6],
                     c.oneIn(4) ? nullptr : &out[7]);
  const int need = mem4denoise(a[0], a[1], a[2], a[3]);
  const bool positive = a[0] > 0 && a[1] > 0 && a[2] > 0 && a[3] > 0;
  call.expect(positive ? need > 0 || need == NR_ERROR_MEMORY : need == NR_ERROR_ARGUMENT, "mem4denoise: result");
  len_pyram(c.oneIn(2) ? 3 : c.oneIn(2) ? extremeInt(c) : c.number(-2, 40), a[0], a[1]);
}

void callTile(Call& call) {
  const int workers = call.threads(), w = call.side(), h = call.side();
  call.tuning();
  int* area = call.rectangle(w, h);
  const std::size_t pyramid = 3 * pyramidPixels(w, h);
  float *differences = call.floats(pyramid), *tile = call.floats(pyramid);
  float *dest = call.scratch(call.image(w, h)), *temp = call.image(w, h);
  const int spp = !call.c.oneIn(8) ? 3 : call.c.oneIn(2) ? extremeInt(call.c) : call.c.number(0, 4);
  const auto run = [&] { return denoise_tile(w, h, area, spp, workers, differences, dest, temp, tile); };
  call.expect(call.made(run) == (spp == 3 ? 0 : NR_ERROR_ARGUMENT), "denoise_tile: result");
}

// ---- pyramid

void callPyramid(Call& call) {
  const int which = call.c.number(0, 3);
  const int w = call.side(), h = call.side(), wCoarse = (w + 1) / 2, hCoarse = (h + 1) / 2;
  call.tuning();
  float *fine = call.image(w, h), *other = call.image(w, h), *coarse = call.image(wCoarse, hCoarse);
  const int rows = call.made([&] {
    if (which == 0) return similarityLift(w, h, wCoarse, hCoarse, fine, coarse);
    if (which == 1) return similarityReconstruct(w, h, coarse, fine, other);
    return which == 2 ? differencePass(w, h, fine, other, other) : unDifferencePass(w, h, fine, other, fine);
  });
  const int expected = which == 0 ? hCoarse : which == 1 ? (w > 2 && h > 2 ? h - 1 : 0) : w * h;
  call.expect(rows == expected, "pyramid: result");
  const int w2 = extremeInt(call.c), h2 = -call.c.number(0, 9);
  call.expect(similarityLift(w2, h2, w2, h2, nullptr, nullptr) == 0, "similarityLift: nothing to do");
  if (w2 >= 0) {
    call.expect(differencePass(w2, h2, nullptr, nullptr, nullptr) == 0, "differencePass: nothing to do");
    call.expect(unDifferencePass(w2, h2, nullptr, nullptr, nullptr) == 0, "unDifferencePass: nothing to do");
  }
}

// ---- level filters

void callLevelFilter(Call& call) {
  const int which = call.c.number(0, 2), despeckle = call.c.number(-1, 2), workers = call.threads();
  const int w = call.side() + (call.c.oneIn(20) ? 520 : 0), h = call.side();  // now and then several strips
  call.tuning();
  int* area = call.rectangle(w, h);
  const int rang = call.level(), spp = call.c.oneIn(6) ? call.c.number(-1, 6) : 3;
  const std::size_t count = pixels(w, h) * static_cast<std::size_t>(std::max(spp, 3));
  float *level = call.floats(count), *a = call.floats(count), *b = call.floats(count), *records = call.floats(count);
  const int end = call.made([&] {
    if (which == 0) return noiseReduce_orig(rang, w, h, area, spp, despeckle, level, a, records, b);
    if (which == 1) return sharpen_orig(rang, w, h, area, spp, level, records, a);
    return noiseReduce_set(rang, w, h, area, spp, workers, despeckle, records, a, b, level);
  });
  call.expect((end == NR_ERROR_ARGUMENT) == (spp < 3), "level filter: result");
}

void callWorkerBody(Call& call) {
  const auto body = call.c.oneIn(2) ? nr_threaded : sharpen_threaded;
  const int w = call.side(), h = call.side(), workers = call.c.number(1, 9);
  call.tuning();
  nr_data job = {w,
                 h,
                 3,
                 call.rectangle(w, h),
                 call.level(),
                 0,
                 call.image(w, h),
                 call.image(w, h),
                 call.image(w, h),
                 call.image(w, h),
                 call.c.number(0, workers - 1),
                 workers,
                 0};
  // The body ends its thread itself, as those of pthread_create may.
  call.made([&] { return std::thread(body, &job).join(), 0; });
}

void callPixelHelpers(Call& call) {
  Choices& c = call.c;
  constexpr int kRow = 15, kCentre = 2 * kRow + 6;
  call.tuning();
  const bool extreme = c.oneIn(2);
  // Drawn before the calls: in which order arguments are evaluated differs between compilers.
  float v[11];
  int at[8];
  for (float& value : v) value = call.value(extreme);
  for (int& offset : at) offset = 3 * c.number(0, 24);
  float *window = call.image(5, 5), *other = call.image(5, 5), *sums = call.floats(4), *out = call.floats(3);
  reconDistanceSimilarity(v[0], v[1], v[2], v[3], v[4], v[5]);
  getDistance(at[0], at[1], window);
  NRgetSimilarity(v[0], v[1], v[2], v[3], v[4], v[5], sums, sums + 3, at[0], window, other, v[6]);
  sharpSimilarityFromSimPixel(v[2], v[3], v[4], v[5], sums, sums + 3, at[0], at[1], window, v[6], v[7], v[8], v[9]);
  noiseTransferFunction(v[0], v[1], v[2], v[7], v[8], out, out + 1);
  edgeSmoothCompareOpposingPoints(at[2], at[3], at[4], at[5], at[6], at[7], v[9], window);
  edgeSmoothInverseSimSum(3, kRow, window, v[9], kCentre, v[10]);
  RGBtoYCbCr(v[0], v[1], v[2], out, out + 1, out + 2);
  YCbCrToRGB(out, out + 1, out + 2, v[3], v[4], v[5]);
  call.expect(rgb2ybr(out, sums) == 1 && ybr2rgb(sums, out) == 1, "rgb2ybr, ybr2rgb: result");
}

// ---- profile and ranking

void callProfile(Call& call) {
  Choices& c = call.c;
  Picture p = {call.side() + (c.oneIn(2) ? 60 : 0), call.side() + (c.oneIn(2) ? 60 : 0), 0, 1};
  p.stride = 3 * p.w + c.number(0, 40);
  unsigned char* in = call.input(call.bytes(p.extent()));
  paint(call, p, in);
  unsigned char* work = call.scratch(call.bytes(48 * pixels(p.w / 32, p.h / 32) + 1280));
  float* params = call.params();
  const int code = call.made([&] { return auto_profile(p.w, p.h, p.stride, params, work, in); });
  call.expect(code >= 7 || code == NR_ERROR_ARGUMENT || code == NR_ERROR_STATISTICS, "auto_profile: result code");
  const int block = c.number(4, 36);
  if (block <= p.w && block <= p.h) {
    const int column = c.number(0, p.w - block), row = c.number(0, p.h - block);
    call.made([&] { return recalcDeviations(p.w, p.h, p.stride, block, 3 * column + p.stride * row, in); });
  }
}

void callRanking(Call& call) {
  Choices& c = call.c;
  const int count = c.oneIn(8) ? -c.number(0, 3) : c.number(1, c.oneIn(8) ? 4000 : 60);
  const std::size_t room = count > 0 ? static_cast<std::size_t>(count) : 0;
  int *order = call.ints(room), *keys = call.ints(room);
  float* reals = call.floats(room);
  const bool repeats = c.oneIn(2);
  Choices contents = c.contents();
  for (std::size_t k = 0; k < room; ++k) keys[k] = repeats ? contents.number(0, 5) : extremeInt(contents);
  const bool ints = c.oneIn(2);
  const auto rank = [&] {
    const float done =
        ints ? static_cast<float>(iclassement2(count, keys, order)) : fClassementCroissant2(count, reals, order);
    return done == 0.0f && count > 0 ? NR_ERROR_MEMORY : static_cast<int>(done);
  };
  const int ranked = call.made(rank, true);
  call.expect(ranked == (count > 0 ? count : 0), "ranking: result");
  std::vector<bool> seen(room);
  for (std::size_t k = 0; k < room; ++k) {
    const bool inside = order[k] >= 0 && order[k] < count;
    call.expect(inside && !seen[static_cast<std::size_t>(inside ? order[k] : 0)], "ranking: not a permutation");
    if (inside) seen[static_cast<std::size_t>(order[k])] = true;
  }
  if (room > 1) {
    call.expectCode(int_cmp(keys, keys + 1), {-1, 0, 1}, "int_cmp: result");
    call.expectCode(float_cmp(reals, reals + 1), {-1, 0, 1}, "float_cmp: result");
  }
}

// ---- high dynamic range

unsigned char* hdrPicture(Call& call, int w, int h) {
  unsigned char* picture = call.bytes(4 * pixels(w, h));
  const int kind = call.c.number(0, 3);
  if (kind == 0) return picture;  // every exponent there is
  Choices contents = call.c.contents();
  for (int y = 0; y < h; ++y) {
    unsigned char* exponents = picture + (4 * pixels(w, y) + 3 * static_cast<std::size_t>(w));
    for (int x = 0; x < w; ++x) {
      exponents[x] = static_cast<unsigned char>(kind == 1 ? contents.number(120, 136) : kind == 2 ? 128 : 0);
    }
  }
  return picture;
}

void callDenoise1(Call& call) {
  Choices& c = call.c;
  const bool small = c.oneIn(8);
  const int w = small ? call.side() : 31 + call.side(), h = small ? call.side() : 31 + call.side();
  unsigned char *in = hdrPicture(call, w, h), *out = call.bytes(4 * pixels(w, h));
  const int strength = c.oneIn(4) ? extremeInt(c) : c.number(48, 152);
  const bool nothing = c.oneIn(20), depth = !c.oneIn(20), huge = c.oneIn(20);
  const int width = huge ? 65536 : w, height = huge ? extremeInt(c) & 0x7fffffff : h,
            bits = depth ? 32 : c.number(-1, 31);
  const int stride = extremeInt(c), samples = extremeInt(c);
  const auto run = [&] {
    return denoise1(strength, width, height, stride, samples, bits, huge ? nullptr : in, nothing ? nullptr : out);
  };
  const int code = call.made(run, true);
  if (huge || nothing || w < 32 || h < 32) {
    call.expect(code == NR_ERROR_ARGUMENT, "denoise1: refusal");
  } else {
    call.expect(depth ? code == h || code == NR_ERROR_STATISTICS : code == NR_REFUSED || code == NR_ERROR_ARGUMENT,
                "denoise1: result code");
  }
}

void callHdrStages(Call& call) {
  Choices& c = call.c;
  const int which = c.number(0, 2);
  const bool large = c.oneIn(10);  // enough pixels for the statistics in vectors
  const int w = call.side() + (large ? 180 : 0), h = call.side() + (large ? 180 : 0), strength = c.number(-1, 2);
  const bool extreme = c.oneIn(3);
  const auto v = [&] { return extreme ? extremeValue(c) : c.real(-5.0f, 20.0f); };
  unsigned char *in = call.input(hdrPicture(call, w, h)), *out = call.bytes(4 * pixels(w, h));
  float *stats = call.floats(6), *work = call.scratch(call.floats(5 * pixels(w, h)));
  auto* scratch = reinterpret_cast<unsigned char*>(work);
  const float a = v(), b = v(), d = v(), e = v();
  const int width = which == 0 && c.oneIn(8) ? 0 : w;
  const int code = call.made([&] {
    if (which == 0) return hdr_stats(0, width, h, 0, 0, 0, a, in, stats);
    if (which == 1) return denoise_chroma(strength, a, w, h, 0, 0, 32, b, d, scratch, in, out);
    return denoise_lumin(strength, w, h, 0, 0, 32, a, b, d, e, scratch, in, out);
  });
  call.expectCode(code, {which == 0 ? NR_OK : h, which == 0 ? NR_ERROR_STATISTICS : h}, "HDR stages: result code");
  call.expect(denoise_chroma(strength, v(), w, h, 0, 0, 8, v(), v(), nullptr, nullptr, nullptr) == 0,
              "denoise_chroma: depth");
  call.expect(
      denoise_lumin(strength, w, h, 0, 0, 8, v(), v(), v(), v(), nullptr, nullptr, nullptr) == NR_ERROR_ARGUMENT,
      "denoise_lumin: depth");
}

void callHdrHelpers(Call& call) {
  Choices& c = call.c;
  const int size = c.number(1, 200), step = c.number(1, 3),
            spacing = c.oneIn(6) ? c.number(0, 900) : 1 << c.number(0, 4);
  float* line = call.floats(static_cast<std::size_t>(size - 1) * static_cast<std::size_t>(step) + 1);
  float* smooth = call.floats(static_cast<std::size_t>(size));
  call.made([&] { return smooth_line(smooth, line, step, size, spacing), 0; });
  smooth_line(nullptr, nullptr, step, -c.number(0, 3), spacing);
  const int bins = c.number(0, 99);
  int* histogram = call.ints(static_cast<std::size_t>(bins));
  for (int k = 0; k < bins; ++k) histogram[k] = c.oneIn(4) ? extremeInt(c) : c.number(0, 100);
  const float share = c.oneIn(4) ? extremeValue(c) : c.real(0.0f, 1.0f);
  const auto pixelCount = static_cast<std::size_t>(c.oneIn(4) ? extremeInt(c) & 0x7fffffff : c.number(0, 3000));
  const int length = c.oneIn(8) ? -1 : bins;
  const int bin = call.made([&] { return percentileD(share, pixelCount, length, histogram); });
  call.expect(bin >= 0 && bin <= bins, "percentileD: result");
}

}  // namespace

Outcome makeRandomCall(Choices choices, Surroundings&& around) {
  struct Kind {
    void (*make)(Call&);
    int share;
  };
  static constexpr Kind kinds[] = {{callDenoise2, 3},     {callGeometry, 3},   {callTile, 3},      {callPyramid, 4},
                                   {callLevelFilter, 5},  {callWorkerBody, 2}, {callProfile, 3},   {callRanking, 2},
                                   {callPixelHelpers, 4}, {callDenoise1, 2},   {callHdrStages, 3}, {callHdrHelpers, 2},
                                   {callPiecewise, 4}};
  constexpr int kShares = 40;
  int pick = choices.number(0, kShares - 1);
  const Kind* kind = kinds;
  while (pick >= kind->share) pick -= kind++->share;
  static const std::vector<Target> targets = runnableTargets();
  std::optional<ForcedTarget> forced;
  if (choices.oneIn(3))
    forced.emplace(targets[static_cast<std::size_t>(choices.number(0, static_cast<int>(targets.size()) - 1))]);
  Call call(choices, around);
  kind->make(call);
  return call.outcome();
}

}  // namespace veskaro::test
