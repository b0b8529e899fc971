#include "pictures/exr.h"

#include <Iex.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputPart.h>
#include <ImfMultiPartInputFile.h>
#include <ImfOutputFile.h>
#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "base/failure.h"
#include "pictures/memory_limit.h"

namespace tool::pictures {

struct ExrHeader {
  Imf::Header header;
};

namespace {

class Reader : public Imf::IStream {
 public:
  explicit Reader(const Bytes& bytes) : IStream("the file"), bytes_(bytes) {}

  bool read(char to[], int count) override {
    const std::size_t size = static_cast<std::size_t>(count);
    if (at_ > bytes_.size() || size > bytes_.size() - at_) throw Failure("the file ends too early");
    std::memcpy(to, bytes_.data() + at_, size);
    at_ += size;
    return at_ < bytes_.size();
  }
  std::uint64_t tellg() override { return at_; }
  void seekg(std::uint64_t at) override { at_ = at; }

 private:
  const Bytes& bytes_;
  std::size_t at_ = 0;
};

class Writer : public Imf::OStream {
 public:
  Writer() : OStream("the result") {}

  void write(const char from[], int count) override {
    const std::size_t size = static_cast<std::size_t>(count);
    if (bytes.size() < at_ + size) bytes.resize(at_ + size);
    std::memcpy(bytes.data() + at_, from, size);
    at_ += size;
  }
  std::uint64_t tellp() override { return at_; }
  void seekp(std::uint64_t at) override { at_ = at; }

  Bytes bytes;

 private:
  std::size_t at_ = 0;
};

// The pixels of a data window, which may begin anywhere, in planes and interleaved colour.
class Window {
 public:
  explicit Window(const Imf::Header& header) : box_(header.dataWindow()) {
    const std::int64_t width = std::int64_t{box_.max.x} - box_.min.x + 1,
                       height = std::int64_t{box_.max.y} - box_.min.y + 1;
    if (width < 1 || height < 1 || width > INT_MAX || height > INT_MAX)
      throw Failure("the picture has no sensible size");
    width_ = static_cast<int>(width);
    height_ = static_cast<int>(height);
  }

  int width() const { return width_; }
  int height() const { return height_; }
  std::size_t pixels() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_); }

  // For samples of so many bytes, one of each pixel that has `step` of them.
  Imf::Slice slice(Imf::PixelType type, const void* samples, std::size_t size, std::size_t step = 1) const {
    const std::size_t stride = size * step, row = stride * static_cast<std::size_t>(width_);
    return Imf::Slice::Make(type, samples, box_.min, width_, height_, stride, row);
  }

 private:
  Imath::Box2i box_;
  int width_, height_;
};

std::vector<std::string> colourNames(const Imf::ChannelList& channels) {
  if (channels.findChannel("R") && channels.findChannel("G") && channels.findChannel("B")) return {"R", "G", "B"};
  if (channels.findChannel("RY") || channels.findChannel("BY"))
    throw Failure(Kind::kUnsupported, "luminance with chroma of lower resolution is not supported; write it as RGB");
  if (channels.findChannel("Y")) return {"Y"};
  throw Failure(Kind::kUnsupported, "there are no channels R, G and B, nor Y");
}

void requireKept(const Imf::ChannelList& channels, const std::vector<std::string>& colours) {
  for (auto at = channels.begin(); at != channels.end(); ++at) {
    if (at.channel().xSampling != 1 || at.channel().ySampling != 1)
      throw Failure(Kind::kUnsupported, fmt::format("channel {} is subsampled, which is not supported", at.name()));
  }
  for (const std::string& name : colours) {
    const Imf::PixelType type = channels[name].type;
    if (type == Imf::UINT) throw Failure(Kind::kUnsupported, "colours of whole numbers are not supported");
    if (type != channels[colours[0]].type)
      throw Failure(Kind::kUnsupported, "colours of different types are not supported");
  }
}

constexpr SampleKind kindOf(Imf::PixelType type) {
  return type == Imf::HALF ? SampleKind::kHalf : type == Imf::UINT ? SampleKind::kUint : SampleKind::kFloat;
}

constexpr Imf::PixelType typeOf(SampleKind kind) {
  return kind == SampleKind::kHalf ? Imf::HALF : kind == SampleKind::kUint ? Imf::UINT : Imf::FLOAT;
}

constexpr std::size_t sizeOf(SampleKind kind) {
  return kind == SampleKind::kHalf ? 2 : 4;
}

bool isColour(const std::vector<std::string>& colours, const std::string& name) {
  return std::find(colours.begin(), colours.end(), name) != colours.end();
}

// Room for all channels, before any of it is decoded.
void makeRoom(const Window& window, const Imf::ChannelList& channels, const std::vector<std::string>& colours,
              LightPicture& picture) {
  std::size_t further = 0;
  for (auto at = channels.begin(); at != channels.end(); ++at)
    further += isColour(colours, at.name()) ? 0 : sizeOf(kindOf(at.channel().type));
  requireMemory(window.pixels() * (further + 4 * sizeof(float) * colours.size()));
  picture.light.width = window.width();
  picture.light.height = window.height();
  picture.light.channels = static_cast<int>(colours.size());
  picture.light.samples.resize(window.pixels() * colours.size());
  for (auto at = channels.begin(); at != channels.end(); ++at) {
    if (isColour(colours, at.name())) continue;
    const SampleKind kind = kindOf(at.channel().type);
    picture.further.push_back({at.name(), kind, Bytes(window.pixels() * sizeOf(kind))});
  }
}

std::vector<std::string> namesOf(const Light& light) {
  return light.channels == 1 ? std::vector<std::string>{"Y"} : std::vector<std::string>{"R", "G", "B"};
}

template <typename Sample>
Imf::FrameBuffer bufferOver(const Window& window, const LightPicture& picture, Imf::PixelType type,
                            const Sample* colour) {
  Imf::FrameBuffer buffer;
  const std::vector<std::string> names = namesOf(picture.light);
  for (std::size_t c = 0; c < names.size(); ++c)
    buffer.insert(names[c], window.slice(type, colour + c, sizeof(Sample), names.size()));
  for (const FurtherChannel& channel : picture.further)
    buffer.insert(channel.name, window.slice(typeOf(channel.kind), channel.samples.data(), sizeOf(channel.kind)));
  return buffer;
}

LightPicture decode(const Bytes& file) {
  Reader reader(file);
  // One thread: several pictures are decoded side by side.
  Imf::MultiPartInputFile parts(reader, 0);
  if (parts.parts() != 1)
    throw Failure(Kind::kUnsupported,
                  fmt::format("the file has {} parts, and only a single one can be kept", parts.parts()));
  const Imf::Header& header = parts.header(0);
  if (header.hasType() && header.type().find("deep") == 0)
    throw Failure(Kind::kUnsupported, "deep pictures are not supported");
  const std::vector<std::string> colours = colourNames(header.channels());
  requireKept(header.channels(), colours);
  const Window window(header);
  const Imf::PixelType type = header.channels()[colours[0]].type;
  LightPicture picture;
  picture.exr = std::make_shared<ExrHeader>(ExrHeader{header});
  picture.bits = type == Imf::HALF ? 16 : 32;
  picture.metadata = std::make_shared<Metadata>();
  makeRoom(window, header.channels(), colours, picture);
  Imf::InputPart part(parts, 0);
  part.setFrameBuffer(bufferOver(window, picture, Imf::FLOAT, picture.light.samples.data()));
  part.readPixels(header.dataWindow().min.y, header.dataWindow().max.y);
  return picture;
}

Imf::Header plainHeader(const LightPicture& picture) {
  Imf::Header header(picture.light.width, picture.light.height);
  const Imf::PixelType type = picture.bits == 16 ? Imf::HALF : Imf::FLOAT;
  for (const std::string& name : namesOf(picture.light)) header.channels().insert(name, Imf::Channel(type));
  for (const FurtherChannel& channel : picture.further)
    header.channels().insert(channel.name, Imf::Channel(typeOf(channel.kind)));
  return header;
}

// Written in scan lines whatever the input was: tiles and smaller levels of it are not what was denoised.
Imf::Header headerFor(const LightPicture& picture) {
  if (picture.exr == nullptr) return plainHeader(picture);
  Imf::Header header = picture.exr->header;
  for (const char* name : {"tiles", "type", "chunkCount", "version", "preview"}) header.erase(name);
  if (header.lineOrder() == Imf::RANDOM_Y) header.lineOrder() = Imf::INCREASING_Y;
  return header;
}

// What no half float holds becomes the largest that one does.
std::vector<half> halvesOf(const Light& light) {
  std::vector<half> halves(light.samples.size());
  std::transform(light.samples.begin(), light.samples.end(), halves.begin(),
                 [](float v) { return half(std::isfinite(v) ? std::clamp<float>(v, -HALF_MAX, HALF_MAX) : v); });
  return halves;
}

Bytes encode(const LightPicture& picture) {
  const Imf::Header header = headerFor(picture);
  const Window window(header);
  const bool isHalf = picture.bits == 16;
  const std::vector<half> halves = isHalf ? halvesOf(picture.light) : std::vector<half>();
  Writer writer;
  {
    Imf::OutputFile file(writer, header, 0);
    file.setFrameBuffer(isHalf ? bufferOver(window, picture, Imf::HALF, halves.data())
                               : bufferOver(window, picture, Imf::FLOAT, picture.light.samples.data()));
    file.writePixels(window.height());
  }
  return std::move(writer.bytes);
}

// The library's failures as this program's.
template <typename Work>
auto translated(Work work) -> decltype(work()) {
  try {
    return work();
  } catch (const Iex::BaseExc& error) {
    const std::string reason = error.what();
    throw Failure(reason.substr(0, reason.find('\n')));
  }
}

}  // namespace

LightPicture decodeExr(const Bytes& file) {
  return translated([&] { return decode(file); });
}

Bytes encodeExr(const LightPicture& picture) {
  return translated([&] { return encode(picture); });
}

}  // namespace tool::pictures
