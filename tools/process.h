// One file from name to name: read, decode, denoise, encode, write.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "change.h"
#include "denoise_hdr.h"
#include "denoise_photo.h"
#include "jobs.h"

namespace tool {

struct Seconds {
  double read = 0, decode = 0, encode = 0, write = 0, total = 0;
};

struct Outcome {
  std::string input, output;
  std::string error;  // the rest is of no meaning when there is one
  Format inputFormat = Format::kPng, outputFormat = Format::kPng;
  int width = 0, height = 0;
  int bits = 8;
  int channels = 3;
  bool grey = false;
  std::string note;  // something that the user should know though all went well
  std::optional<PhotoResult> photo;
  std::optional<HdrResult> hdr;
  Change change;
  std::string whyUnchanged;
  Seconds seconds;

  double megapixels() const { return static_cast<double>(width) * height * 1e-6; }
  double denoiseSeconds() const { return photo ? photo->seconds : hdr ? hdr->seconds : 0; }
  double megapixelsPerSecond() const { return denoiseSeconds() > 0 ? megapixels() / denoiseSeconds() : 0; }
};

// The results of this run so far, by their full names: no two inputs may have the same.
using Written = std::set<std::string>;

// Never throws for what is wrong with one file; Outcome::error says it.
Outcome processFile(const Job& job, const Options& options, Written& written);

}  // namespace tool
