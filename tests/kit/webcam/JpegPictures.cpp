// SPDX-License-Identifier: MIT
#include "kit/webcam/JpegPictures.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace lightpen::webcam {

namespace {

// Takes the segments out that hold Huffman tables.
std::vector<std::uint8_t> withoutTables(const std::vector<std::uint8_t>& jpeg) {
    std::vector<std::uint8_t> left(jpeg.begin(), jpeg.begin() + 2);
    std::size_t at = 2;
    while (at + 4 <= jpeg.size() && jpeg[at + 1] != 0xDA) {
        const std::size_t length = 2 + std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3];
        if (jpeg[at + 1] != 0xC4)
            left.insert(left.end(), jpeg.begin() + std::ptrdiff_t(at),
                        jpeg.begin() + std::ptrdiff_t(at + length));
        at += length;
    }
    left.insert(left.end(), jpeg.begin() + std::ptrdiff_t(at), jpeg.end());
    return left;
}

// Each bit of each frequency in a scan of its own, the highest bits first.
void addAllBits(std::vector<jpeg_scan_info>& scans, int colour) {
    constexpr int kHighestBit = 10; // that an encoder of eight bits takes
    constexpr int kFrequencies = 64;
    for (int frequency = 0; frequency < kFrequencies; ++frequency)
        for (int bit = kHighestBit; bit >= 0; --bit)
            scans.push_back({1, {colour}, frequency, frequency, bit == kHighestBit ? 0 : bit + 1, bit});
}

// The scans that the library has no name for; none where it has one.
std::vector<jpeg_scan_info> scansOf(const JpegKind& kind, int colours) {
    std::vector<jpeg_scan_info> scans;
    for (int colour = 0; colour < colours; ++colour) {
        if (kind.scans == JpegScans::eachColour)
            scans.push_back({1, {colour}, 0, 63, 0, 0});
        else if (kind.scans == JpegScans::most)
            addAllBits(scans, colour);
    }
    return scans;
}

} // namespace

std::vector<std::uint8_t> jpegOf(const std::vector<std::uint8_t>& grey, int width, int height,
                                 const JpegKind& kind) {
    jpeg_error_mgr errors{};
    jpeg_compress_struct encoder{};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&encoder, &bytes, &size);
    encoder.image_width = static_cast<JDIMENSION>(width);
    encoder.image_height = static_cast<JDIMENSION>(height);
    encoder.input_components = kind.grey ? 1 : 3;
    encoder.in_color_space = kind.grey ? JCS_GRAYSCALE : JCS_YCbCr;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, kind.quality, TRUE);
    if (!kind.grey)
        encoder.comp_info[0].v_samp_factor = 1;
    const auto scans = scansOf(kind, encoder.num_components);
    if (!scans.empty()) {
        encoder.scan_info = scans.data();
        encoder.num_scans = static_cast<int>(scans.size());
    } else if (kind.scans == JpegScans::several) {
        jpeg_simple_progression(&encoder);
    }
    jpeg_start_compress(&encoder, TRUE);
    std::vector<std::uint8_t> line(static_cast<std::size_t>(width * encoder.input_components), 100);
    while (encoder.next_scanline < encoder.image_height) {
        for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x)
            line[x * static_cast<std::size_t>(encoder.input_components)] =
                grey[std::size_t{encoder.next_scanline} * static_cast<std::size_t>(width) + x];
        JSAMPROW row = line.data();
        jpeg_write_scanlines(&encoder, &row, 1);
    }
    jpeg_finish_compress(&encoder);
    std::vector<std::uint8_t> jpeg(bytes, bytes + size);
    jpeg_destroy_compress(&encoder);
    std::free(bytes);
    return kind.tables ? jpeg : withoutTables(jpeg);
}

std::vector<std::uint8_t> slopes(int width, int height) {
    std::vector<std::uint8_t> grey;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool spot = std::abs(x - width / 3) < 4 && std::abs(y - height / 4) < 4;
            grey.push_back(static_cast<std::uint8_t>(spot ? 255 : x * 60 / width + y * 90 / height));
        }
    return grey;
}

} // namespace lightpen::webcam
