// A random picture in any layout, measured and filtered in pieces.
#include <veskaronr.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "safety/call.h"
#include "support/compare.h"

namespace veskaro::test {
namespace {

template <class Function>
int ask(Call& call, const Function& function) {
  return call.ask(function, true, VNR_ERROR_MEMORY);
}

// ---- pictures

std::ptrdiff_t sampleBytes(const vnr_picture& p) {
  return p.type == VNR_UINT8 ? 1 : p.type == VNR_UINT16 ? 2 : 4;
}

vnr_rectangle rectangleOf(const vnr_picture& p) {
  return {p.x, p.x + p.width, p.y, p.y + p.height};
}

bool contains(const vnr_rectangle& a, const vnr_rectangle& b) {
  return a.x0 <= b.x0 && b.x1 <= a.x1 && a.y0 <= b.y0 && b.y1 <= a.y1;
}

vnr_rectangle randomRectangle(Choices& c, const vnr_rectangle& in) {
  const int x0 = c.number(in.x0, in.x1 - 1), y0 = c.number(in.y0, in.y1 - 1);
  return {x0, c.number(x0 + 1, in.x1), y0, c.number(y0 + 1, in.y1)};
}

// Calls visit(channel, x, y) for every sample of a rectangle.
template <class Visit>
void forEachSample(const vnr_picture& p, const vnr_rectangle& r, const Visit& visit) {
  for (int k = 0; k < p.channels; ++k) {
    for (int y = r.y0; y < r.y1; ++y) {
      for (int x = r.x0; x < r.x1; ++x) visit(k, x, y);
    }
  }
}

struct Memory {
  vnr_picture picture;
  unsigned char* bytes;
  std::size_t extent;

  unsigned char* at(int channel, int x, int y) const {
    return static_cast<unsigned char*>(picture.channel[channel]) + x * picture.pixel_stride + y * picture.row_stride;
  }
  float value(int channel, int x, int y) const {
    const unsigned char* from = at(channel, x, y);
    float real = *from;
    std::uint16_t whole;
    if (picture.type == VNR_UINT16) real = (std::memcpy(&whole, from, sizeof whole), whole);
    if (picture.type == VNR_FLOAT32) std::memcpy(&real, from, sizeof real);
    return real;
  }
  void set(int channel, int x, int y, float v) const {
    const float most = picture.type == VNR_UINT8 ? 255.0f : 65535.0f;
    const auto whole = static_cast<std::uint16_t>(picture.type == VNR_FLOAT32 ? 0.0f : std::clamp(v, 0.0f, most));
    const auto byte = static_cast<unsigned char>(whole);
    const void* from = picture.type == VNR_UINT8 ? static_cast<const void*>(&byte) : &whole;
    std::memcpy(at(channel, x, y), picture.type == VNR_FLOAT32 ? &v : from, sampleBytes(picture));
  }
};

vnr_picture randomFormat(Call& call) {
  Choices& c = call.c;
  const int type = c.number(1, 3), width = call.side(), height = call.side();
  const int wider = c.oneIn(2) ? 90 : 0, higher = c.oneIn(2) ? 70 : 0;
  vnr_picture p = vnr_interleaved(type, width + wider, height + higher, c.oneIn(4) ? 1 : 3, nullptr, 0);
  const bool isFloat = p.type == VNR_FLOAT32;
  if (isFloat && c.oneIn(3)) p.encoding = VNR_LINEAR;
  if (c.oneIn(3)) p.white = isFloat ? c.real(0.1f, 300.0f) : std::ldexp(1.0f, c.number(1, p.type == 1 ? 8 : 16)) - 1.0f;
  return p;
}

// Interleaved in any order or planar, by rows or columns, mirrored, with bytes between.
Memory layOut(Call& call, const vnr_picture& format) {
  static constexpr int kOrders[6][3] = {{0, 1, 2}, {2, 1, 0}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}};
  Choices& c = call.c;
  Memory m = {format, nullptr, 0};
  vnr_picture& p = m.picture;
  const bool isPlanar = c.oneIn(3), isByColumns = c.oneIn(6);
  const int lines = isByColumns ? p.width : p.height, inLine = isByColumns ? p.height : p.width;
  const std::ptrdiff_t samples = isPlanar ? sampleBytes(p) : p.channels * sampleBytes(p);
  const std::ptrdiff_t pixel = samples + (c.oneIn(3) ? c.number(0, 5) : 0);
  const std::ptrdiff_t line = inLine * pixel + (c.oneIn(2) ? c.number(1, 9) : 0);
  p.pixel_stride = isByColumns ? line : pixel;
  p.row_stride = isByColumns ? pixel : line;
  const std::ptrdiff_t last = (lines - 1) * line + (inLine - 1) * pixel + samples;
  m.extent = static_cast<std::size_t>((isPlanar ? p.channels - 1 : 0) * lines * line + last);
  unsigned char* first = m.bytes = call.bytes(m.extent);
  const auto mirror = [&](std::ptrdiff_t& stride, int count) { first += (count - 1) * stride, stride = -stride; };
  if (c.oneIn(3)) mirror(p.pixel_stride, p.width);
  if (c.oneIn(3)) mirror(p.row_stride, p.height);
  const int* order = kOrders[p.channels == 3 ? c.number(0, 5) : 0];
  for (int k = 0; k < p.channels; ++k) p.channel[k] = first + order[k] * (isPlanar ? lines * line : sampleBytes(p));
  return m;
}

// Whether all of them are numbers.
bool paint(Call& call, const Memory& m) {
  Choices& c = call.c;
  const vnr_picture& p = m.picture;
  const int kind = c.number(0, 3);
  const float around = c.real(0.0f, 255.0f), spread = c.real(0.0f, 30.0f), scale = c.real(1e-6f, 50.0f);
  const float white = p.white != 0.0f ? p.white : p.type == VNR_UINT8 ? 255.0f : p.type == VNR_UINT16 ? 65535.0f : 1.0f;
  Choices contents = c.contents();
  forEachSample(p, rectangleOf(p), [&](int k, int x, int y) {
    const float base = kind == 0 ? contents.real(-20.0f, 300.0f) : kind == 1 ? (x + y) * 255.0f / 200.0f : around;
    const float v = (base + (kind == 2 ? 0.0f : contents.real(-spread, spread))) / 255.0f;
    m.set(k, x, y, p.encoding == VNR_LINEAR ? v * std::fabs(v) * scale : v * white);
  });
  if (p.type != VNR_FLOAT32 || !c.oneIn(8)) return true;
  static constexpr float kNone[] = {kNaN, kInf, -kInf};
  const int channel = c.number(0, p.channels - 1), x = c.number(0, p.width - 1), y = c.number(0, p.height - 1);
  m.set(channel, x, y, kNone[c.number(0, 2)]);
  return false;
}

// ---- how to run

struct Host {
  std::int64_t told = 0, cancelAt = -1;
  bool inOrder = true;
};

int runOnThreads(void*, std::int32_t count, void (*job)(void*, std::int32_t), void* argument) {
  std::vector<std::thread> threads;
  for (int k = 1; k < count; ++k) threads.emplace_back(job, argument, k);
  job(argument, 0);
  for (std::thread& t : threads) t.join();
  return 0;
}

int runLastFirst(void*, std::int32_t count, void (*job)(void*, std::int32_t), void* argument) {
  while (count > 0) job(argument, --count);
  return 0;
}

int runNothing(void*, std::int32_t, void (*)(void*, std::int32_t), void*) {
  return 0;
}

int hear(void* host, std::int64_t done, std::int64_t total) {
  Host& h = *static_cast<Host*>(host);
  h.inOrder = h.inOrder && done == ++h.told && done <= total;
  return done == h.cancelAt;
}

constexpr std::int32_t kCancel = 1;

vnr_control randomControl(Choices& c, Host* host) {
  vnr_control control = {sizeof(vnr_control), c.number(0, 5), nullptr, nullptr, nullptr, host};
  if (c.oneIn(3)) control.run = c.oneIn(8) ? runNothing : c.oneIn(2) ? runLastFirst : runOnThreads;
  if (c.oneIn(2)) control.progress = hear;
  if (c.oneIn(8)) control.cancel = &kCancel;
  if (c.oneIn(8)) host->cancelAt = c.number(1, 6);
  return control;
}

void expectRun(Call& call, int code, const vnr_control& control, const Host& host, bool numbers, const char* what) {
  call.expect(host.inOrder, "progress: a tile left out or told twice");
  if (control.run == runNothing) return call.expectCode(code, {VNR_ERROR_CONTROL}, what);
  if (control.cancel != nullptr) return call.expectCode(code, {VNR_CANCELLED}, what);
  const bool mayCancel = control.progress != nullptr && host.cancelAt > 0;
  call.expectCode(code, {VNR_OK, mayCancel ? VNR_CANCELLED : VNR_OK, numbers ? VNR_OK : VNR_ERROR_SAMPLES}, what);
}

// ---- measuring

using Measurement = std::unique_ptr<vnr_measurement, void (*)(vnr_measurement*)>;

Measurement begun(Call& call, const vnr_picture& p) {
  vnr_measurement* m = nullptr;
  call.expect(ask(call, [&] { return vnr_measure_begin(p.width, p.height, &m); }) == VNR_OK, "measure_begin: result");
  return {m, vnr_measure_end};
}

// Through plain bytes, which are refused when they come back damaged.
Measurement sent(Call& call, const Measurement& m) {
  Choices& c = call.c;
  std::size_t size = 0;
  vnr_measurement* loaded = nullptr;
  ask(call, [&] { return vnr_measure_save(m.get(), nullptr, 0, &size); });
  unsigned char* bytes = call.scratch(call.bytes(size));
  call.expect(ask(call, [&] { return vnr_measure_save(m.get(), bytes, size, &size); }) == VNR_OK,
              "measure_save: result");
  if (size > 0 && c.oneIn(3)) {
    const int byte = c.number(0, static_cast<int>(size) - 1), bit = 1 << c.number(0, 7);
    const std::size_t cut = c.oneIn(2) ? size : static_cast<std::size_t>(byte);
    bytes[byte] ^= static_cast<unsigned char>(bit);
    const int code = ask(call, [&] { return vnr_measure_load(bytes, cut, &loaded); });
    call.expect(code == VNR_ERROR_STATE && loaded == nullptr, "measure_load: took damaged bytes");
    bytes[byte] ^= static_cast<unsigned char>(bit);
  }
  call.expect(ask(call, [&] { return vnr_measure_load(bytes, size, &loaded); }) == VNR_OK, "measure_load: result");
  return {loaded, vnr_measure_end};
}

vnr_noise measuredInPieces(Call& call, const vnr_picture& p, bool numbers) {
  Choices& c = call.c;
  std::vector<Measurement> all;
  for (int k = c.number(1, 3); k > 0; --k) all.push_back(begun(call, p));
  std::vector<vnr_rectangle> pieces;
  for (int k = c.number(0, 3); k > 0; --k) pieces.push_back(randomRectangle(c, rectangleOf(p)));
  const int rows = c.number(1, 90), columns = c.number(1, 90);
  for (int y = 0; y < p.height; y += rows) {
    for (int x = 0; x < p.width; x += columns) {
      pieces.push_back({x, std::min(x + columns, p.width), y, std::min(y + rows, p.height)});
    }
  }
  for (std::size_t k = pieces.size(); k > 0; --k) {
    std::swap(pieces[k - 1], pieces[static_cast<std::size_t>(c.number(0, static_cast<int>(k) - 1))]);
    const vnr_picture piece = vnr_piece(p, pieces[k - 1]);
    vnr_measurement* const m = all[static_cast<std::size_t>(c.number(0, static_cast<int>(all.size()) - 1))].get();
    Host host;
    const vnr_control control = randomControl(c, &host);
    const int code = ask(call, [&] { return vnr_measure_add(m, &piece, &control); });
    if (code != VNR_CANCELLED && code != VNR_ERROR_CONTROL) {
      call.expectCode(code, {VNR_OK, numbers ? VNR_OK : VNR_ERROR_SAMPLES}, "measure_add: result");
    } else {  // for cause, and not for good
      call.expect(control.cancel != nullptr || control.run == runNothing, "measure_add: stopped");
      const int again = ask(call, [&] { return vnr_measure_add(m, &piece, nullptr); });
      call.expectCode(again, {VNR_OK, numbers ? VNR_OK : VNR_ERROR_SAMPLES}, "measure_add: result");
    }
  }
  for (std::size_t k = 1; k < all.size(); ++k) {
    const Measurement other = sent(call, all[k]);
    const int code = ask(call, [&] { return vnr_measure_merge(all[0].get(), other.get()); });
    call.expect(code == VNR_OK, "measure_merge: result");
  }
  vnr_noise noise = {};
  noise.struct_size = sizeof noise;
  const Measurement whole = sent(call, all[0]);
  const int code = ask(call, [&] { return vnr_measure_finish(whole.get(), &noise); });
  call.expect(code == VNR_OK, "measure_finish: result");
  std::size_t count = 0;
  const int tells = ask(call, [&] { return vnr_measure_blocks(whole.get(), nullptr, 0, &count); });
  call.expect(tells == VNR_OK && count == static_cast<std::size_t>(noise.blocks_seen), "measure_blocks: result");
  return noise;
}

vnr_noise measured(Call& call, const vnr_picture& p, bool numbers) {
  vnr_noise noise = {};
  noise.struct_size = sizeof noise;
  const int code = ask(call, [&] { return vnr_measure(&p, nullptr, &noise); });
  call.expectCode(code, {VNR_OK, numbers ? VNR_OK : VNR_ERROR_SAMPLES}, "measure: result");
  const vnr_noise other = measuredInPieces(call, p, numbers);
  const bool same = std::memcmp(&noise, &other, sizeof noise) == 0;
  call.expect(same || !numbers, "measuring: the cutting shows");
  call.note(numbers ? noise.statistic : 0.0f);
  return noise;
}

// ---- filtering

bool isRight(const vnr_settings& s) {
  bool right =
      s.tile >= 56 && s.tile <= 32768 && s.rounding >= 0 && s.rounding <= VNR_ROUND_FINEST && s.linear_scale > 0.0f;
  for (const float v : s.params) right = right && std::isfinite(v);
  const auto isPower = [](float v) { return std::isfinite(v) && v >= 0.0f; };
  for (const float v : {s.dots_luma, s.dots_chroma, s.shrink_luma, s.shrink_chroma}) right = right && isPower(v);
  for (const auto& channel : s.spectrum) right = right && std::all_of(channel, channel + 64, isPower);
  for (int k = 0; k < 8; ++k) {
    right = right && std::isfinite(s.residual_luma[k]) && std::isfinite(s.residual_chroma[k]);
  }
  return right && s.patch >= 0.0f && s.patch <= 1.0f && std::isfinite(s.recon_threshold) &&
         std::isfinite(s.recon_rolloff) && std::isfinite(s.linear_scale);
}

// Stages beyond denoise2's filters, each there or not.
void addStages(Call& call, vnr_settings* s) {
  Choices& c = call.c;
  const bool isExtreme = c.oneIn(6);
  const auto maybe = [&](float most) { return c.oneIn(2) ? 0.0f : isExtreme ? call.value(true) : c.real(0.0f, most); };
  s->patch = maybe(1.0f);
  s->dots_luma = maybe(30.0f), s->dots_chroma = maybe(30.0f);
  s->shrink_luma = maybe(2.0f), s->shrink_chroma = maybe(2.0f);
  for (int k = 0; k < 8; ++k) s->residual_luma[k] = maybe(1.0f), s->residual_chroma[k] = maybe(1.0f);
  Choices contents = c.contents();
  for (auto& channel : s->spectrum) {
    for (float& power : channel) power = contents.oneIn(isExtreme ? 9 : 1000) ? 1e30f : contents.real(0.0f, 200.0f);
  }
}

vnr_settings randomSettings(Call& call, const vnr_noise& noise) {
  Choices& c = call.c;
  vnr_settings s;
  s.struct_size = sizeof s;
  const bool isKnown = std::isfinite(noise.linear_scale) && noise.linear_scale > 0.0f;
  const float strength = c.real(0.4f, 1.6f);
  const int code = ask(call, [&] { return vnr_settings_classic(isKnown ? &noise : nullptr, strength, &s); });
  call.expect(code == VNR_OK && isRight(s), "settings_classic: result");
  for (const auto settingsOf : {vnr_settings_fast, vnr_settings_best}) {
    vnr_settings measuredOnes = {};
    measuredOnes.struct_size = sizeof s;
    if (ask(call, [&] { return settingsOf(&noise, strength, &measuredOnes); }) != VNR_OK) continue;
    for (const float v : measuredOnes.params) call.note(v);
  }
  vnr_noise none = noise;
  vnr_settings unchanged = s;
  (c.oneIn(2) ? none.level : none.linear_scale) = c.oneIn(2) ? kNaN : kInf;
  const int refused = ask(call, [&] { return vnr_settings_classic(&none, strength, &unchanged); });
  call.expect(refused == VNR_ERROR_SETTINGS && unchanged.tile == s.tile, "settings_classic: refusal");
  s.tile = c.oneIn(12) ? extremeInt(c) : c.number(56, 150);
  s.rounding = c.oneIn(12) ? c.number(-1, 6) : c.number(0, 2);
  if (c.oneIn(2)) addStages(call, &s);
  if (!c.oneIn(3)) return s;
  for (int k = c.number(1, 6); k > 0; --k) s.params[c.number(0, NR_PARAM_COUNT - 1)] = call.value(true);
  for (float* v : {&s.recon_threshold, &s.recon_rolloff, &s.linear_scale}) {
    if (c.oneIn(5)) *v = call.value(true);
  }
  return s;
}

// Makes a call wrong in one way and returns the code that says so.
int spoil(int way, const vnr_plan** plan, vnr_picture* in, vnr_picture* out, vnr_control* control) {
  switch (way) {
    case 1:
      return *plan = nullptr, VNR_ERROR_NULL;
    case 2:
      return in->channel[in->channels - 1] = nullptr, VNR_ERROR_NULL;
    case 3:
      return out->struct_size += 8, VNR_ERROR_STRUCT;
    case 4:
      return control->struct_size = 0, VNR_ERROR_STRUCT;
    case 5:
      return in->type = 4, VNR_ERROR_FORMAT;
    case 6:
      return out->channels = 4 - out->channels, out->channel[1] = out->channel[2] = out->channel[0], VNR_ERROR_FORMAT;
    case 7:
      return out->white = out->type == VNR_FLOAT32 ? kNaN : 6.0f, out->encoding = 0, VNR_ERROR_FORMAT;
    case 8:
      return out->width = 0, VNR_ERROR_SIZE;
    case 9:
      return out->x = -1, VNR_ERROR_RECTANGLE;
    case 10:
      return in->x += 1, VNR_ERROR_RECTANGLE;
    case 11:
      return *out = *in, VNR_ERROR_OVERLAP;
    case 12:
      return in->width = 2, in->pixel_stride = sampleBytes(*in) - 1, VNR_ERROR_STRIDE;
    case 13:
      return out->height = 3, out->row_stride = PTRDIFF_MIN, VNR_ERROR_STRIDE;
    default:
      return control->threads = -1, VNR_ERROR_CONTROL;
  }
}

void filterPiece(Call& call, const vnr_plan* plan, const Memory& in, const Memory& out, const Memory* whole,
                 bool numbers) {
  Choices& c = call.c;
  const vnr_rectangle all = rectangleOf(in.picture), wanted = randomRectangle(c, all);
  vnr_rectangle read = {}, write = {};
  const int covers = ask(call, [&] { return vnr_plan_cover(plan, &wanted, &read, &write); });
  call.expect(covers == VNR_OK && contains(all, read) && contains(read, write) && contains(write, wanted),
              "plan_cover: result");
  const vnr_rectangle written = randomRectangle(c, write);
  ask(call, [&] { return vnr_plan_cover(plan, &written, &read, nullptr); });
  vnr_picture from = vnr_piece(in.picture, c.oneIn(2) ? read : all), to = vnr_piece(out.picture, written);
  Host host;
  vnr_control control = randomControl(c, &host);
  const int refusal = c.oneIn(3) ? spoil(c.number(1, 14), &plan, &from, &to, &control) : 0;
  std::vector<unsigned char> expected(out.bytes, out.bytes + out.extent);
  const int code = ask(call, [&] { return vnr_plan_filter(plan, &from, &to, &control); });
  if (refusal != 0) {
    call.expect(code == refusal, "plan_filter: refusal");
  } else {
    expectRun(call, code, control, host, numbers, "plan_filter: result");
    forEachSample(out.picture, written, [&](int k, int x, int y) {
      const unsigned char* at = out.at(k, x, y);
      std::memcpy(&expected[static_cast<std::size_t>(at - out.bytes)], at, sampleBytes(out.picture));
      if (code == VNR_OK && whole != nullptr) {
        call.expect(isSame(whole->value(k, x, y), out.value(k, x, y)), "plan_filter: the cutting shows");
      }
    });
  }
  call.expect(std::equal(expected.begin(), expected.end(), out.bytes), "plan_filter: wrote what it should not");
}

}  // namespace

void callPiecewise(Call& call) {
  Choices& c = call.c;
  const Memory in = layOut(call, randomFormat(call));
  call.input(in.bytes);
  const bool numbers = paint(call, in);
  const vnr_picture& p = in.picture;
  const vnr_noise noise = measured(call, p, numbers);
  const vnr_settings settings = randomSettings(call, noise);
  vnr_plan* begun = nullptr;
  const int begins = ask(call, [&] { return vnr_plan_begin(p.width, p.height, &settings, &begun); });
  const std::unique_ptr<vnr_plan, void (*)(vnr_plan*)> plan(begun, vnr_plan_end);
  call.expect(begins == (isRight(settings) ? VNR_OK : VNR_ERROR_SETTINGS), "plan_begin: result");
  if (!plan) return;
  const Memory whole = layOut(call, p);
  call.scratch(whole.bytes);
  const Memory out = layOut(call, p);
  call.scratch(out.bytes);
  const int code = ask(call, [&] { return vnr_plan_filter(plan.get(), &p, &whole.picture, nullptr); });
  if (settings.rounding == VNR_ROUND_NONE && p.type != VNR_FLOAT32) {
    return call.expectCode(code, {VNR_ERROR_SETTINGS}, "plan_filter: rounding");
  }
  // Beside a linear scale of the host's, values may become too large.
  const bool mayRefuse = !numbers || (p.encoding == VNR_LINEAR && settings.linear_scale != noise.linear_scale);
  call.expectCode(code, {VNR_OK, mayRefuse ? VNR_ERROR_SAMPLES : VNR_OK}, "plan_filter: whole");
  forEachSample(p, rectangleOf(p),
                [&](int k, int x, int y) { call.note(code == VNR_OK ? whole.value(k, x, y) : 0.0f); });
  for (int k = c.number(1, 4); k > 0; --k) {
    filterPiece(call, plan.get(), in, out, code == VNR_OK ? &whole : nullptr, code == VNR_OK);
  }
}

}  // namespace veskaro::test
