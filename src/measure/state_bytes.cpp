#include "measure/state_bytes.h"

#include <cmath>
#include <cstring>

namespace veskaro::measure {
namespace {

struct Header {
  std::uint32_t magic;  // tells another byte order too
  std::uint32_t version;
  std::uint64_t check;  // of all that follows it
  std::int32_t width, height;
  std::int32_t encoding;
  std::int32_t begun;  // whether a piece has told the encoding
  std::int64_t blocks;
  std::int64_t fragments;
  std::int64_t haarBlocks;
  std::int64_t haarFragments;
  std::int64_t spectra;
};

constexpr std::uint32_t kMagic = 0x4d524e56;  // "VNRM"
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kUnchecked = offsetof(Header, width);

// 64-bit FNV-1a (Fowler, Noll, Vo), four bytes at a time.
std::uint64_t checkOf(const unsigned char* bytes, std::size_t size) {
  std::uint64_t check = 0xcbf29ce484222325u;
  for (std::size_t at = kUnchecked; at + 4 <= size; at += 4) {
    std::uint32_t word;
    std::memcpy(&word, bytes + at, sizeof(word));
    check = (check ^ word) * 0x100000001b3u;
  }
  return check;
}

bool isRight(const BlockRecord& r) {
  constexpr int kMostSparse = 36720;
  const bool known = r.flags <= (BlockRecord::kIsSeen | BlockRecord::kIsDense) && (r.isSeen() || r.flags == 0);
  return known && r.sparse <= kMostSparse && std::isfinite(r.root) && !std::isinf(r.dense) && !(r.dense < 0.0f);
}

bool isRight(const HaarRecord& r) {
  if (r.isSeen > 1) return false;
  const auto* const values = reinterpret_cast<const float*>(&r.block);
  for (std::size_t i = 0; i < sizeof(r.block) / sizeof(float); ++i) {
    if (!std::isfinite(values[i])) return false;
  }
  return r.block.clipped >= 0.0f && r.block.clipped <= 1.0f;
}

bool isRight(const SpectrumRecord& r, std::int64_t blocks) {
  if (r.block < 0 || r.block >= blocks || r.isMeasured > 1) return false;
  for (const auto& channel : r.spectrum.power) {
    for (const float power : channel) {
      if (!(power >= 0.0f && std::isfinite(power))) return false;
    }
  }
  return true;
}

template <int kSize>
bool isRight(const FragmentOf<kSize>& f, std::int64_t blocks) {
  if (f.block < 0 || f.block >= blocks || f.isFull()) return false;
  const float* const values = &f.values[0][0][0];
  for (int i = 0; i < 3 * kSize * kSize; ++i) {
    if (!std::isfinite(values[i])) return false;
  }
  return true;
}

// The parts of a state, one after the other.
class Reader {
 public:
  explicit Reader(const unsigned char* at) : at_(at) {}

  template <class Part>
  void read(Part* part) {
    std::memcpy(part, at_, sizeof(Part));
    at_ += sizeof(Part);
  }

 private:
  const unsigned char* at_;
};

class Writer {
 public:
  explicit Writer(unsigned char* at) : at_(at) {}

  template <class Part>
  void write(const Part& part) {
    std::memcpy(at_, &part, sizeof(Part));
    at_ += sizeof(Part);
  }
  unsigned char* end() const { return at_; }

 private:
  unsigned char* at_;
};

Result loadRecords(Reader* from, Measurement* measurement) {
  for (std::int64_t block = 0; block < measurement->table().count(); ++block) {
    BlockRecord record;
    from->read(&record);
    if (!isRight(record)) return Result::kOtherPicture;
    measurement->restore(block, record);
  }
  return Result::kDone;
}

Result loadHaarRecords(Reader* from, Measurement* measurement) {
  for (std::int64_t block = 0; block < measurement->haarBlocks().grid().count(); ++block) {
    HaarRecord record;
    from->read(&record);
    if (!isRight(record)) return Result::kOtherPicture;
    measurement->restore(block, record);
  }
  return Result::kDone;
}

// Parts of blocks ascend.
template <class Part>
Result loadParts(Reader* from, std::int64_t count, std::int64_t blocks, Measurement* measurement) {
  std::int64_t last = -1;
  for (std::int64_t i = 0; i < count; ++i) {
    Part part;
    from->read(&part);
    if (!isRight(part, blocks) || part.block <= last) return Result::kOtherPicture;
    last = part.block;
    const Result restored = measurement->restore(part);
    if (restored != Result::kDone) return restored;
  }
  return Result::kDone;
}

// Whether the state has exactly the bytes that its header speaks of.
bool isOfSize(const Header& h, std::size_t size) {
  if (h.fragments < 0 || h.fragments > h.blocks || h.haarFragments < 0 || h.haarFragments > h.haarBlocks) return false;
  if (h.spectra < 0 || h.spectra > h.haarBlocks) return false;
  if (h.blocks != blocksAlong(h.width) * blocksAlong(h.height)) return false;
  if (h.haarBlocks != HaarGrid(h.width, h.height).count()) return false;
  const auto bytes = [size](std::int64_t count, std::size_t each) {
    const auto n = static_cast<std::uint64_t>(count);
    return n > size / each ? std::uint64_t{size} + 1 : n * each;
  };
  return size == sizeof(h) + bytes(h.blocks, sizeof(BlockRecord)) + bytes(h.fragments, sizeof(Fragment)) +
                     bytes(h.haarBlocks, sizeof(HaarRecord)) + bytes(h.haarFragments, sizeof(HaarFragment)) +
                     bytes(h.spectra, sizeof(SpectrumRecord));
}

}  // namespace

std::size_t stateBytes(const Measurement& m) {
  const HaarBlocks& haar = m.haarBlocks();
  return sizeof(Header) + static_cast<std::size_t>(m.table().count()) * sizeof(BlockRecord) +
         m.fragments().count() * sizeof(Fragment) + static_cast<std::size_t>(haar.grid().count()) * sizeof(HaarRecord) +
         haar.fragments().count() * sizeof(HaarFragment) + haar.spectra().count() * sizeof(SpectrumRecord);
}

void saveState(const Measurement& m, unsigned char* bytes) {
  const HaarBlocks& haar = m.haarBlocks();
  Writer to(bytes + sizeof(Header));
  for (std::int64_t block = 0; block < m.table().count(); ++block) {
    BlockRecord record = m.table()[block];
    record.flags &= BlockRecord::kIsSeen | BlockRecord::kIsDense;
    to.write(record);
  }
  for (std::size_t i = 0; i < m.fragments().count(); ++i) to.write(m.fragments()[i]);
  for (std::int64_t block = 0; block < haar.grid().count(); ++block) to.write(haar[block]);
  for (std::size_t i = 0; i < haar.fragments().count(); ++i) to.write(haar.fragments()[i]);
  for (std::size_t i = 0; i < haar.spectra().count(); ++i) to.write(haar.spectra()[i]);
  Header header = {kMagic,
                   kVersion,
                   0,
                   m.width(),
                   m.height(),
                   m.encoding() == pixels::Encoding::kLinear ? 1 : 0,
                   m.isBegun() ? 1 : 0,
                   m.table().count(),
                   static_cast<std::int64_t>(m.fragments().count()),
                   haar.grid().count(),
                   static_cast<std::int64_t>(haar.fragments().count()),
                   static_cast<std::int64_t>(haar.spectra().count())};
  std::memcpy(bytes, &header, sizeof(header));
  header.check = checkOf(bytes, static_cast<std::size_t>(to.end() - bytes));
  std::memcpy(bytes, &header, sizeof(header));
}

bool readStateSize(const unsigned char* bytes, std::size_t size, StateSize* picture) {
  Header h;
  if (size < sizeof(h)) return false;
  std::memcpy(&h, bytes, sizeof(h));
  if (h.magic != kMagic || h.version != kVersion || h.width < 1 || h.height < 1) return false;
  if (h.encoding < 0 || h.encoding > 1 || h.begun < 0 || h.begun > 1 || !isOfSize(h, size)) return false;
  *picture = {h.width, h.height};
  return h.check == checkOf(bytes, size);
}

Result loadState(const unsigned char* bytes, Measurement* measurement) {
  Header h;
  std::memcpy(&h, bytes, sizeof(h));
  if (h.begun != 0) measurement->begin(h.encoding == 1 ? pixels::Encoding::kLinear : pixels::Encoding::kDisplay);
  Reader from(bytes + sizeof(h));
  Result result = loadRecords(&from, measurement);
  if (result == Result::kDone) result = loadParts<Fragment>(&from, h.fragments, h.blocks, measurement);
  if (result == Result::kDone) result = loadHaarRecords(&from, measurement);
  if (result == Result::kDone) result = loadParts<HaarFragment>(&from, h.haarFragments, h.haarBlocks, measurement);
  if (result == Result::kDone) result = loadParts<SpectrumRecord>(&from, h.spectra, h.haarBlocks, measurement);
  return result;
}

}  // namespace veskaro::measure
