#include "PictureEncoder.h"

// jpeglib.h needs FILE.
#include <cstdio>

#include <jpeglib.h>
#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "terminal/Messages.h"

namespace Client {
namespace {

constexpr int kJpegQuality = 95;

/// The pixels of a bitmap, for as long as it lives.
class LockedPixels {
  public:
    explicit LockedPixels(Gdiplus::Bitmap& bitmap) : m_bitmap(bitmap) {
        if (bitmap.LockBits(nullptr, Gdiplus::ImageLockModeRead, bitmap.GetPixelFormat(), &m_data) !=
            Gdiplus::Ok)
            throw Failure("there is not enough memory for the thumbnail");
    }
    ~LockedPixels() { m_bitmap.UnlockBits(&m_data); }
    LockedPixels(const LockedPixels&) = delete;
    LockedPixels& operator=(const LockedPixels&) = delete;

    const Gdiplus::BitmapData& Data() const { return m_data; }

  private:
    Gdiplus::Bitmap& m_bitmap;
    Gdiplus::BitmapData m_data;
};

bool HasAlpha(const Gdiplus::BitmapData& pixels) {
    return pixels.PixelFormat == Gdiplus::PixelFormat32bppARGB;
}

std::vector<unsigned char> EncodePng(const Gdiplus::BitmapData& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = pixels.Width;
    image.height = pixels.Height;
    image.format = HasAlpha(pixels) ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
    png_alloc_size_t length = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<unsigned char> file(length);
    if (!png_image_write_to_memory(&image, file.data(), &length, 0, pixels.Scan0, pixels.Stride, nullptr))
        throw Failure(std::string("the PNG could not be made: ") + image.message);
    file.resize(length);
    return file;
}

/// One row without alpha, as B, G, R.
void ComposeRowOverWhite(const unsigned char* bgra, unsigned width, unsigned char* bgr) {
    for (unsigned x = 0; x < width; ++x, bgra += 4, bgr += 3) {
        const unsigned alpha = bgra[3];
        for (int channel = 0; channel < 3; ++channel) {
            const unsigned weighted = bgra[channel] * alpha + 255 * (255 - alpha);
            bgr[channel] = static_cast<unsigned char>((weighted + 127) / 255);
        }
    }
}

/// Errors of the codec come back through a jump, so nothing here may need a destructor.
struct JpegOutput {
    jpeg_error_mgr errors;  // first: the codec hands out its address
    std::jmp_buf onError;
    char message[JMSG_LENGTH_MAX];
    unsigned char* pFile;
    unsigned long length;
};

[[noreturn]] void LeaveCodec(j_common_ptr codec) {
    auto* output = reinterpret_cast<JpegOutput*>(codec->err);
    codec->err->format_message(codec, output->message);
    std::longjmp(output->onError, 1);
}

bool WriteJpeg(const Gdiplus::BitmapData& pixels, unsigned char* rowBuffer, JpegOutput* output) {
    jpeg_compress_struct codec{};
    codec.err = jpeg_std_error(&output->errors);
    output->errors.error_exit = LeaveCodec;
    if (setjmp(output->onError) != 0) {
        jpeg_destroy_compress(&codec);
        return false;
    }
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &output->pFile, &output->length);
    codec.image_width = pixels.Width;
    codec.image_height = pixels.Height;
    codec.input_components = 3;
    codec.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, kJpegQuality, TRUE);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        auto* row =
            static_cast<unsigned char*>(pixels.Scan0) + std::ptrdiff_t{pixels.Stride} * codec.next_scanline;
        if (HasAlpha(pixels)) ComposeRowOverWhite(row, pixels.Width, rowBuffer);
        JSAMPROW line = HasAlpha(pixels) ? rowBuffer : row;
        jpeg_write_scanlines(&codec, &line, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    return true;
}

std::vector<unsigned char> EncodeJpeg(const Gdiplus::BitmapData& pixels) {
    std::vector<unsigned char> rowBuffer(std::size_t{pixels.Width} * 3);
    JpegOutput output{};
    const bool written = WriteJpeg(pixels, rowBuffer.data(), &output);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(output.pFile, std::free);
    if (!written) throw Failure(std::string("the JPEG could not be made: ") + output.message);
    return {output.pFile, output.pFile + output.length};
}

}  // namespace

std::vector<unsigned char> EncodePicture(Gdiplus::Bitmap& bitmap, PictureFormat format) {
    const LockedPixels pixels(bitmap);
    return format == PictureFormat::Png ? EncodePng(pixels.Data()) : EncodeJpeg(pixels.Data());
}

}  // namespace Client
