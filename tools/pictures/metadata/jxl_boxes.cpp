// JPEG XL: a bare codestream, or boxes of length, type and data; read through libjxl, which also unpacks them.
#include <jxl/decode_cxx.h>

#include <cstring>

#include "pictures/metadata/containers.h"

namespace tool::pictures {
namespace {

constexpr std::size_t kLargestBlock = std::size_t{1} << 24;
constexpr std::size_t kOffset = 4;  // in front of EXIF, to where the TIFF structure begins

class Boxes {
 public:
  Boxes(const Bytes& file, int events) : decoder_(JxlDecoderMake(nullptr)) {
    JxlDecoderSubscribeEvents(decoder_.get(), events);
    JxlDecoderSetDecompressBoxes(decoder_.get(), JXL_TRUE);
    JxlDecoderSetInput(decoder_.get(), file.data(), file.size());
    JxlDecoderCloseInput(decoder_.get());
  }

  bool isLossy() {
    JxlBasicInfo info;
    return JxlDecoderProcessInput(decoder_.get()) == JXL_DEC_BASIC_INFO &&
           JxlDecoderGetBasicInfo(decoder_.get(), &info) == JXL_DEC_SUCCESS && info.uses_original_profile == JXL_FALSE;
  }

  // Calls visit(type, data) for each box.
  template <typename Visit>
  void forEach(Visit visit) {
    JxlBoxType type{};
    Bytes box;
    for (;;) {
      const JxlDecoderStatus status = JxlDecoderProcessInput(decoder_.get());
      if (status == JXL_DEC_BOX_NEED_MORE_OUTPUT && box.size() < kLargestBlock) {
        grow(box);
        continue;
      }
      if (!box.empty()) {
        box.resize(box.size() - JxlDecoderReleaseBoxBuffer(decoder_.get()));
        visit(std::string(type, sizeof type), box);
      }
      if (status != JXL_DEC_BOX || JxlDecoderGetBoxType(decoder_.get(), type, JXL_TRUE) != JXL_DEC_SUCCESS) return;
      box.assign(isWanted(type) ? kStart : 0, 0);
      if (!box.empty()) JxlDecoderSetBoxBuffer(decoder_.get(), box.data(), box.size());
    }
  }

 private:
  static constexpr std::size_t kStart = 4096;

  static bool isWanted(const char* type) {
    return std::memcmp(type, "Exif", 4) == 0 || std::memcmp(type, "xml ", 4) == 0;
  }

  void grow(Bytes& box) {
    const std::size_t filled = box.size() - JxlDecoderReleaseBoxBuffer(decoder_.get());
    box.resize(2 * box.size());
    JxlDecoderSetBoxBuffer(decoder_.get(), box.data() + filled, box.size() - filled);
  }

  JxlDecoderPtr decoder_;
};

void appendBox(Bytes& to, const char* type, const Bytes& data, std::size_t zeros = 0) {
  const std::size_t size = 8 + zeros + data.size();
  for (int shift = 24; shift >= 0; shift -= 8) to.push_back(static_cast<std::uint8_t>(size >> shift));
  to.insert(to.end(), type, type + 4);
  to.insert(to.end(), zeros, 0);
  to.insert(to.end(), data.begin(), data.end());
}

constexpr std::uint8_t kSignature[] = {0, 0, 0, 12, 'J', 'X', 'L', ' ', '\r', '\n', 0x87, '\n'};

bool isBare(const Bytes& file) {
  return file.size() > 1 && file[0] == 0xff && file[1] == 0x0a;
}

Bytes inBoxes(const Bytes& codestream) {
  Bytes file(std::begin(kSignature), std::end(kSignature));
  appendBox(file, "ftyp", {'j', 'x', 'l', ' ', 0, 0, 0, 0, 'j', 'x', 'l', ' '});
  appendBox(file, "jxlc", codestream);
  return file;
}

}  // namespace

void readJpegXlMetadata(const Bytes& file, Metadata& metadata) {
  Boxes(file, JXL_DEC_BOX).forEach([&](const std::string& type, const Bytes& data) {
    if (type == "xml " && metadata.xmp.empty()) metadata.xmp = data;
    if (type == "Exif" && metadata.exif.empty() && data.size() > kOffset)
      metadata.exif.assign(data.begin() + kOffset, data.end());
  });
}

// Bigger codestreams than a box's length can say stay bare, and without metadata.
Bytes jpegXlWithMetadata(Bytes encoded, const Metadata& metadata) {
  constexpr std::size_t kLargest = 0xfffffff0;
  if ((metadata.exif.empty() && metadata.xmp.empty()) || encoded.size() > kLargest) return encoded;
  if (isBare(encoded)) encoded = inBoxes(encoded);
  if (!metadata.exif.empty()) appendBox(encoded, "Exif", metadata.exif, kOffset);
  if (!metadata.xmp.empty()) appendBox(encoded, "xml ", metadata.xmp);
  return encoded;
}

bool jpegXlIsLossy(const Bytes& file) {
  return Boxes(file, JXL_DEC_BASIC_INFO).isLossy();
}

}  // namespace tool::pictures
