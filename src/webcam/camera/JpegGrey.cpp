// SPDX-License-Identifier: MIT
#include "webcam/camera/JpegGrey.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

namespace lightpen::webcam {

namespace {

// The library tells of failures by calling these, which must not return: the way back is this jump. Nothing
// that has a destructor may live in the functions that it leaves.
struct Failures {
    jpeg_error_mgr manager{}; // first, so that the library's pointer to it is one to all
    std::jmp_buf back{};
};

[[noreturn]] void leave(j_common_ptr decoder) {
    std::longjmp(reinterpret_cast<Failures*>(decoder->err)->back, 1);
}

// What cameras do all the time and no pixel suffers from. A picture without its end alone is whole: one that
// lacks pixels is told of by another warning.
bool isHarmless(int warning) {
    return warning == JWRN_EXTRANEOUS_DATA || warning == JWRN_JPEG_EOF || warning == JWRN_TOO_MUCH_DATA ||
           warning == JWRN_JFIF_MAJOR || warning == JWRN_ADOBE_XFORM;
}

void hearMessage(j_common_ptr decoder, int level) {
    if (level < 0 && !isHarmless(decoder->err->msg_code))
        leave(decoder);
}

// Cameras send none of these kinds, and a few bytes of one could cost seconds, or memory for all of it at
// once.
bool isOfACamera(jpeg_decompress_struct& decoder) {
    return !decoder.progressive_mode && !decoder.arith_code && !jpeg_has_multiple_scans(&decoder);
}

bool decode(jpeg_decompress_struct& decoder, std::span<const std::uint8_t> bytes, int width, int height,
            std::uint8_t* grey) {
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&decoder, TRUE);
    if (decoder.image_width != static_cast<JDIMENSION>(width) ||
        decoder.image_height != static_cast<JDIMENSION>(height) || !isOfACamera(decoder))
        return false;
    decoder.out_color_space = JCS_GRAYSCALE;
    jpeg_start_decompress(&decoder);
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW row = grey + std::size_t{decoder.output_scanline} * decoder.output_width;
        jpeg_read_scanlines(&decoder, &row, 1);
    }
    return true;
}

} // namespace

bool decodeJpegGrey(std::span<const std::uint8_t> bytes, int width, int height,
                    std::span<std::uint8_t> grey) {
    if (bytes.empty() || width < 1 || height < 1 ||
        grey.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        return false;
    Failures failures;
    jpeg_decompress_struct decoder{};
    decoder.err = jpeg_std_error(&failures.manager);
    failures.manager.error_exit = leave;
    failures.manager.emit_message = hearMessage;
    volatile bool whole = false;
    if (setjmp(failures.back) == 0) // NOLINT(cert-err52-cpp): the library offers no other way
        whole = decode(decoder, bytes, width, height, grey.data());
    jpeg_destroy_decompress(&decoder);
    return whole;
}

} // namespace lightpen::webcam
