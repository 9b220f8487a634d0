// orna::ipl::ImageWriter: writes one image as BMP, PNG or JPEG.
//
// Bit depth: BMP and JPEG hold 8 bits per channel; deeper samples are shifted down to their 8 most
// significant bits. PNG keeps 10 and 12-bit samples as 16-bit, shifted up so that full scale of the
// source is full scale of the file. Bayer images are written as their raw mosaic in grey. Alpha is kept
// by PNG and dropped by BMP and JPEG. Packed and YUV formats are refused: convert first (RGB10p32 to RGB10).
//
// The file appears atomically: the data goes to a temporary file in the same folder, which is flushed and
// then renamed over the target, so a crash never leaves a half-written image under the final name.
//
// Thread safety: stateless; callable from any thread, also for several files at once.
#pragma once

#include "orna/ipl/image.h"

#include <string>

namespace orna::ipl {

enum class ImageFileType : int
{
    JPEG = 0,
    BMP = 1,
    PNG = 2,
};

struct ImageWriterOptions
{
    int jpegQuality = 95; // percent, 1 to 100
};

class ImageWriter
{
public:
    // "jpg"/"jpeg" -> JPEG, "bmp" -> BMP, "png" -> PNG, by the lower-cased extension of the file name;
    // anything else raises InvalidArgumentException.
    static ImageFileType TypeFromFileName(const std::string& fileName);
    // Whether Write accepts the format for the type (it shifts deeper samples down for BMP and JPEG).
    static bool IsFormatWritable(uint32_t pixelFormat, ImageFileType type);

    // Raises ImageFormatNotSupportedException, InvalidArgumentException (name, quality) or IOException.
    static void Write(const Image& image, const std::string& fileName, const ImageWriterOptions& options = {});
};

} // namespace orna::ipl
