#include "gegl/noise_text.h"

#include <glib.h>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace plugin {
namespace {

struct Field {
  const char* name;
  std::size_t offset;
  int count;
  bool isWhole;  // int32_t, not float
};

#define FIELD(name, count, isWhole) \
  { #name, offsetof(vnr_noise, name), count, isWhole }
constexpr Field kFields[] = {
    FIELD(reason, 1, true),         FIELD(encoding, 1, true),      FIELD(level, 1, false),
    FIELD(statistic, 1, false),     FIELD(linear_scale, 1, false), FIELD(grain, 1, true),
    FIELD(sigma, 3, false),         FIELD(correlation, 1, false),  FIELD(blotches, 1, false),
    FIELD(luma, 1, false),          FIELD(chroma, 1, false),       FIELD(coarse_chroma, 1, false),
    FIELD(texture_guard, 1, false), FIELD(structure, 1, false),    FIELD(spectrum, 3 * 64, false),
};
#undef FIELD

double valueOf(const vnr_noise& noise, const Field& field, int n) {
  const char* at = reinterpret_cast<const char*>(&noise) + field.offset + 4 * static_cast<std::size_t>(n);
  std::int32_t whole;
  float real;
  std::memcpy(&whole, at, sizeof whole);
  std::memcpy(&real, at, sizeof real);
  return field.isWhole ? whole : static_cast<double>(real);
}

void setValue(vnr_noise* noise, const Field& field, int n, double value) {
  char* at = reinterpret_cast<char*>(noise) + field.offset + 4 * static_cast<std::size_t>(n);
  const auto whole = static_cast<std::int32_t>(value);
  const auto real = static_cast<float>(value);
  std::memcpy(at, field.isWhole ? static_cast<const void*>(&whole) : &real, 4);
}

bool isAllZero(const vnr_noise& noise, const Field& field) {
  for (int n = 0; n < field.count; ++n) {
    if (valueOf(noise, field, n) != 0.0) return false;
  }
  return true;
}

const Field* fieldNamed(const char* name, std::size_t length) {
  for (const Field& field : kFields) {
    if (std::strlen(field.name) == length && std::strncmp(field.name, name, length) == 0) return &field;
  }
  return nullptr;
}

// The numbers after a name's "="; returns what follows them, or null.
const char* readValues(const char* text, const Field& field, vnr_noise* noise) {
  for (int n = 0; n < field.count; ++n) {
    if (n > 0 && *text++ != ',') return nullptr;
    char* end;
    const double value = g_ascii_strtod(text, &end);
    if (end == text || !(std::fabs(value) < 1e9)) return nullptr;
    setValue(noise, field, n, value);
    text = end;
  }
  return *text == '\0' || *text == ' ' ? text : nullptr;
}

}  // namespace

std::string textOf(const vnr_noise& noise) {
  std::string text;
  char number[G_ASCII_DTOSTR_BUF_SIZE];
  for (const Field& field : kFields) {
    if (isAllZero(noise, field)) continue;
    text += text.empty() ? "" : " ";
    text += field.name;
    for (int n = 0; n < field.count; ++n) {
      text += n == 0 ? '=' : ',';
      text += g_ascii_formatd(number, sizeof number, "%.9g", valueOf(noise, field, n));
    }
  }
  return text;
}

bool noiseFrom(const char* text, vnr_noise* noise) {
  *noise = {};
  noise->struct_size = sizeof *noise;
  noise->reason = VNR_MEASURED;
  noise->grain = VNR_GRAIN_MEASURED;
  noise->linear_scale = noise->texture_guard = 1.0f;
  bool isAny = false;
  while (*(text += std::strspn(text, " ")) != '\0') {
    const std::size_t length = std::strcspn(text, "= ");
    const Field* field = fieldNamed(text, length);
    if (field == nullptr || text[length] != '=') return false;
    text = readValues(text + length + 1, *field, noise);
    if (text == nullptr) return false;
    isAny = true;
  }
  return isAny;
}

}  // namespace plugin
