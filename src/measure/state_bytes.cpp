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

bool isRight(const Fragment& f, std::int64_t blocks) {
  if (f.block < 0 || f.block >= blocks || f.isFull()) return false;
  const float* const values = &f.values[0][0][0];
  for (int i = 0; i < 3 * kBlockSize * kBlockSize; ++i) {
    if (!std::isfinite(values[i])) return false;
  }
  return true;
}

Result loadRecords(const unsigned char* bytes, Measurement* measurement) {
  for (std::int64_t block = 0; block < measurement->table().count(); ++block, bytes += sizeof(BlockRecord)) {
    BlockRecord record;
    std::memcpy(&record, bytes, sizeof(record));
    if (!isRight(record)) return Result::kOtherPicture;
    measurement->restore(block, record);
  }
  return Result::kDone;
}

}  // namespace

std::size_t stateBytes(const Measurement& m) {
  return sizeof(Header) + static_cast<std::size_t>(m.table().count()) * sizeof(BlockRecord) +
         m.fragments().count() * sizeof(Fragment);
}

void saveState(const Measurement& m, unsigned char* bytes) {
  unsigned char* to = bytes + sizeof(Header);
  for (std::int64_t block = 0; block < m.table().count(); ++block, to += sizeof(BlockRecord)) {
    BlockRecord record = m.table()[block];
    record.flags &= BlockRecord::kIsSeen | BlockRecord::kIsDense;
    std::memcpy(to, &record, sizeof(record));
  }
  for (std::size_t i = 0; i < m.fragments().count(); ++i, to += sizeof(Fragment)) {
    std::memcpy(to, &m.fragments()[i], sizeof(Fragment));
  }
  Header header = {kMagic,
                   kVersion,
                   0,
                   m.width(),
                   m.height(),
                   m.encoding() == pixels::Encoding::kLinear ? 1 : 0,
                   m.isBegun() ? 1 : 0,
                   m.table().count(),
                   static_cast<std::int64_t>(m.fragments().count())};
  std::memcpy(bytes, &header, sizeof(header));
  header.check = checkOf(bytes, static_cast<std::size_t>(to - bytes));
  std::memcpy(bytes, &header, sizeof(header));
}

bool readStateSize(const unsigned char* bytes, std::size_t size, StateSize* picture) {
  Header h;
  if (size < sizeof(h)) return false;
  std::memcpy(&h, bytes, sizeof(h));
  if (h.magic != kMagic || h.version != kVersion || h.width < 1 || h.height < 1 || h.blocks < 0 || h.fragments < 0) {
    return false;
  }
  if (h.blocks != blocksAlong(h.width) * blocksAlong(h.height) || h.fragments > h.blocks) return false;
  if (h.encoding < 0 || h.encoding > 1 || h.begun < 0 || h.begun > 1) return false;
  const auto blocks = static_cast<std::uint64_t>(h.blocks), fragments = static_cast<std::uint64_t>(h.fragments);
  if (blocks > size / sizeof(BlockRecord) || fragments > size / sizeof(Fragment)) return false;
  if (size != sizeof(h) + blocks * sizeof(BlockRecord) + fragments * sizeof(Fragment)) return false;
  *picture = {h.width, h.height};
  return h.check == checkOf(bytes, size);
}

Result loadState(const unsigned char* bytes, Measurement* measurement) {
  Header h;
  std::memcpy(&h, bytes, sizeof(h));
  if (h.begun != 0) measurement->begin(h.encoding == 1 ? pixels::Encoding::kLinear : pixels::Encoding::kDisplay);
  const unsigned char* at = bytes + sizeof(h);
  const Result records = loadRecords(at, measurement);
  if (records != Result::kDone) return records;
  at += static_cast<std::size_t>(h.blocks) * sizeof(BlockRecord);
  std::int64_t last = -1;
  for (std::int64_t i = 0; i < h.fragments; ++i, at += sizeof(Fragment)) {
    Fragment fragment;
    std::memcpy(&fragment, at, sizeof(fragment));
    if (!isRight(fragment, h.blocks) || fragment.block <= last) return Result::kOtherPicture;
    last = fragment.block;
    const Result restored = measurement->restore(fragment);
    if (restored != Result::kDone) return restored;
  }
  return Result::kDone;
}

}  // namespace veskaro::measure
