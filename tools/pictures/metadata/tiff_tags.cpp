// TIFF: the tags of the first directory and what hangs on it, through Exiv2, which knows maker notes and nested
// directories. Exiv2 leaves the tags that describe the result's own pixels alone.
#include <exiv2/exiv2.hpp>
#include <mutex>

#include "base/failure.h"
#include "pictures/metadata/containers.h"

namespace tool::pictures {

struct TiffTags {
  Exiv2::ExifData exif;
  Exiv2::IptcData iptc;
};

namespace {

using ImagePtr = Exiv2::Image::AutoPtr;

ImagePtr open(const Bytes& file) {
  ImagePtr image = Exiv2::ImageFactory::open(file.data(), static_cast<long>(file.size()));
  image->readMetadata();
  return image;
}

// Tags of the first directory that describe how the file stores its pixels, or hold one of the other blocks.
bool describesStorage(const Exiv2::Exifdatum& datum) {
  static constexpr std::uint16_t kTags[] = {0x00fe, 0x00ff, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x010a,
                                            0x0111, 0x0115, 0x0116, 0x0117, 0x011c, 0x013d, 0x0140, 0x0142, 0x0143,
                                            0x0144, 0x0145, 0x014a, 0x0152, 0x0153, 0x0154, 0x0155, 0x015b, 0x0200,
                                            0x0201, 0x0202, 0x02bc, 0x83bb, 0x8649, 0x8773};
  const std::string group = datum.groupName();
  if (group.compare(0, 8, "SubImage") == 0) return true;
  if (group != "Image") return false;
  for (std::uint16_t tag : kTags) {
    if (datum.tag() == tag) return true;
  }
  return false;
}

Bytes toBytes(const Exiv2::DataBuf& buffer) {
  return Bytes(buffer.pData_, buffer.pData_ + buffer.size_);
}

// Adds what another format held to the tags that came with the pixels.
void mergeTags(Exiv2::Image& image, const Metadata& metadata) {
  if (!metadata.exif.empty()) {
    Exiv2::ExifData exif = image.exifData(), more;
    Exiv2::ExifParser::decode(more, metadata.exif.data(), static_cast<std::uint32_t>(metadata.exif.size()));
    Exiv2::ExifThumb(more).erase();
    for (const Exiv2::Exifdatum& datum : more) {
      if (!describesStorage(datum)) exif[datum.key()] = datum.value();
    }
    image.setExifData(exif);
  }
  if (!metadata.iptc.empty()) {
    Exiv2::IptcData iptc;
    Exiv2::IptcParser::decode(iptc, metadata.iptc.data(), static_cast<std::uint32_t>(metadata.iptc.size()));
    image.setIptcData(iptc);
  }
}

// Exiv2 words XMP anew when it writes a TIFF. This puts the packet itself in its place: at the end of the file, with
// the entry of the first directory pointing there.
void replaceXmp(Bytes& file, const Bytes& packet) {
  constexpr std::size_t kHeader = 8, kEntry = 12, kXmpTag = 0x02bc;
  const bool little = file.size() > kHeader && file[0] == 'I';
  const auto number = [&](std::size_t at, std::size_t size) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
      value |= static_cast<std::size_t>(file[at + i]) << 8 * (little ? i : size - 1 - i);
    return value;
  };
  const auto put = [&](std::size_t at, std::size_t value) {
    for (std::size_t i = 0; i < 4; ++i) file[at + i] = static_cast<std::uint8_t>(value >> 8 * (little ? i : 3 - i));
  };
  if (file.size() < kHeader || number(2, 2) != 42) return;
  const std::size_t directory = number(4, 4);
  if (directory + 2 > file.size()) return;
  const std::size_t entries = number(directory, 2);
  for (std::size_t at = directory + 2; at < directory + 2 + entries * kEntry && at + kEntry <= file.size();
       at += kEntry) {
    if (number(at, 2) != kXmpTag) continue;
    if (file.size() % 2 == 1) file.push_back(0);
    put(at + 4, packet.size());
    put(at + 8, file.size());
    file.insert(file.end(), packet.begin(), packet.end());
    return;
  }
}

// Tags that find room are written into the file itself; else there is a new file, and the old one goes before that is
// copied, as both may be big.
void takeWritten(Exiv2::BasicIo& io, std::size_t roomAfter, Bytes& file) {
  if (io.open() != 0) throw Failure("the tags cannot be written");
  const Exiv2::byte* const written = io.mmap();
  if (written != file.data()) {
    file = Bytes();
    file.reserve(static_cast<std::size_t>(io.size()) + roomAfter + 1);
    file.assign(written, written + io.size());
  }
  io.close();
}

// Only one thread at a time may word XMP.
void lockXmp(void* mutex, bool lock) {
  auto& xmp = *static_cast<std::mutex*>(mutex);
  lock ? xmp.lock() : xmp.unlock();
}

}  // namespace

void startTags() {
  static std::mutex xmp;
  Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
  Exiv2::XmpParser::initialize(lockXmp, &xmp);
}

Bytes iptcOfPhotoshopBlock(const std::uint8_t* block, std::size_t size) {
  static constexpr char kName[] = "Photoshop 3.0";
  if (size >= sizeof kName && std::equal(kName, kName + sizeof kName, block)) {
    block += sizeof kName;
    size -= sizeof kName;
  }
  if (size == 0) return {};
  constexpr std::uint8_t kRecord = 0x1c;
  if (block[0] == kRecord) return Bytes(block, block + size);
  const Exiv2::byte* record = nullptr;
  std::uint32_t header = 0, length = 0;
  if (Exiv2::Photoshop::locateIptcIrb(block, static_cast<long>(size), &record, &header, &length) != 0) return {};
  return Bytes(record + header, record + header + length);
}

Bytes photoshopBlockOfIptc(const Bytes& iptc) {
  Exiv2::IptcData data;
  if (Exiv2::IptcParser::decode(data, iptc.data(), static_cast<std::uint32_t>(iptc.size())) != 0) return {};
  return toBytes(Exiv2::Photoshop::setIptcIrb(nullptr, 0, data));
}

void readTiffMetadata(const Bytes& file, Metadata& metadata) try {
  const ImagePtr image = open(file);
  metadata.tiff = std::make_shared<TiffTags>(TiffTags{image->exifData(), image->iptcData()});
  Exiv2::ExifData exif = image->exifData();
  for (auto datum = exif.begin(); datum != exif.end();) {
    datum = describesStorage(*datum) ? exif.erase(datum) : std::next(datum);
  }
  Exiv2::Blob blob;
  if (!exif.empty()) Exiv2::ExifParser::encode(blob, image->byteOrder(), exif);
  metadata.exif.assign(blob.begin(), blob.end());
  metadata.iptc = toBytes(Exiv2::IptcParser::encode(image->iptcData()));
} catch (const Exiv2::Error&) {
  // Tags that cannot be read stay behind; the picture itself was readable.
}

Bytes tiffWithMetadata(Bytes encoded, const Metadata& metadata) try {
  const ImagePtr image = open(encoded);
  if (metadata.tiff != nullptr) {
    image->setExifData(metadata.tiff->exif);
    image->setIptcData(metadata.tiff->iptc);
  } else {
    mergeTags(*image, metadata);
  }
  if (!metadata.xmp.empty()) image->setXmpPacket(std::string(metadata.xmp.begin(), metadata.xmp.end()));
  if (!metadata.icc.empty()) {
    Exiv2::DataBuf profile(metadata.icc.data(), static_cast<long>(metadata.icc.size()));
    image->setIccProfile(profile, false);
  }
  image->writeMetadata();
  takeWritten(image->io(), metadata.xmp.size(), encoded);
  if (!metadata.xmp.empty()) replaceXmp(encoded, metadata.xmp);
  return encoded;
} catch (const Exiv2::Error& error) {
  throw Failure(std::string("the tags cannot be written: ") + error.what());
}

}  // namespace tool::pictures
