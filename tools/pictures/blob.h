// libvips' reference-counted memory, released when it goes out of scope.
#pragma once

#include <memory>
#include <vips/vips8>

#include "pictures/bytes.h"

namespace tool::pictures {

struct ReleaseBlob {
  void operator()(VipsBlob* blob) const { vips_area_unref(VIPS_AREA(blob)); }
};

class Blob {
 public:
  explicit Blob(VipsBlob* owned) : blob_(owned) {}
  VipsBlob* get() const { return blob_.get(); }
  const std::uint8_t* data() const { return static_cast<const std::uint8_t*>(VIPS_AREA(get())->data); }
  std::size_t size() const { return VIPS_AREA(get())->length; }
  Bytes bytes() const { return Bytes(data(), data() + size()); }

 private:
  std::unique_ptr<VipsBlob, ReleaseBlob> blob_;
};

// The bytes stay the caller's and have to outlast the blob.
inline Blob blobOver(const Bytes& bytes) {
  return Blob(vips_blob_new(nullptr, bytes.data(), bytes.size()));
}

}  // namespace tool::pictures
