// Metadata in the four containers: for each what is taken out of a file and how it is put into another.
#pragma once

#include "pictures/metadata/metadata.h"

namespace tool::pictures {

std::vector<Bytes> jpegBlocks(const Bytes& file);
Bytes jpegWithMetadata(const Bytes& encoded, const Metadata& metadata);
std::vector<Bytes> pngBlocks(const Bytes& file);
Bytes pngIptc(const Bytes& file);
Bytes pngWithMetadata(const Bytes& encoded, const Metadata& metadata);
std::vector<Bytes> webpBlocks(const Bytes& file);
Bytes webpWithMetadata(const Bytes& encoded, const Metadata& metadata);
void readTiffMetadata(const Bytes& file, Metadata& metadata);
Bytes tiffWithMetadata(Bytes encoded, const Metadata& metadata);

// IPTC records of a Photoshop resource block, or as they are; and a resource block that holds nothing else.
Bytes iptcOfPhotoshopBlock(const std::uint8_t* block, std::size_t size);
Bytes photoshopBlockOfIptc(const Bytes& iptc);

}  // namespace tool::pictures
