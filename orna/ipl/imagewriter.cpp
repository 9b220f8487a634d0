#include "orna/ipl/imagewriter.h"

#include "orna/ipl/cvview.h"
#include "orna/ipl/exception.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace orna::ipl {

namespace {

// Writes all bytes to a temporary sibling of fileName, flushes it to disk and renames it over fileName.
void WriteAtomically(const std::string& fileName, const std::vector<uint8_t>& bytes)
{
    std::string temp = fileName + ".XXXXXX.part";
    std::vector<char> pattern(temp.begin(), temp.end());
    pattern.push_back('\0');
    const int fd = mkstemps(pattern.data(), 5);
    if (fd < 0)
        Raise(ReturnCode::IOError, "Could not create a file next to \"" + fileName + "\": " + std::strerror(errno));
    temp = pattern.data();
    size_t written = 0;
    while (written < bytes.size())
    {
        const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            const int error = errno;
            ::close(fd);
            ::unlink(temp.c_str());
            Raise(ReturnCode::IOError, "Could not write \"" + fileName + "\": " + std::strerror(error));
        }
        written += static_cast<size_t>(n);
    }
    // mkstemp creates 0600; an image is an ordinary document. (Reading the umask would change it for
    // every thread of the process, so the common 0644 is used.)
    ::fchmod(fd, 0644);
    if (::fsync(fd) != 0 || ::close(fd) != 0)
    {
        const int error = errno;
        ::unlink(temp.c_str());
        Raise(ReturnCode::IOError, "Could not write \"" + fileName + "\": " + std::strerror(error));
    }
    if (std::rename(temp.c_str(), fileName.c_str()) != 0)
    {
        const int error = errno;
        ::unlink(temp.c_str());
        Raise(ReturnCode::IOError, "Could not write \"" + fileName + "\": " + std::strerror(error));
    }
}

} // namespace

ImageFileType ImageWriter::TypeFromFileName(const std::string& fileName)
{
    const size_t dot = fileName.find_last_of('.');
    const size_t slash = fileName.find_last_of('/');
    std::string ext = (dot == std::string::npos || (slash != std::string::npos && dot < slash))
                          ? std::string()
                          : fileName.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ext == "jpg" || ext == "jpeg")
        return ImageFileType::JPEG;
    if (ext == "bmp")
        return ImageFileType::BMP;
    if (ext == "png")
        return ImageFileType::PNG;
    Raise(ReturnCode::InvalidArgument, "The file type of \"" + fileName + "\" is not supported (bmp, jpg, png).");
}

bool ImageWriter::IsFormatWritable(uint32_t format, ImageFileType type)
{
    if (!PixelFormat::IsKnown(format) || PixelFormat::GetPacking(format) != Packing::None)
        return false;
    (void)type; // every type takes every unpacked mono, Bayer and colour format (with the depth rules)
    return true;
}

void ImageWriter::Write(const Image& image, const std::string& fileName, const ImageWriterOptions& options)
{
    if (image.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    if (fileName.empty())
        Raise(ReturnCode::InvalidArgument, "The file name is empty.");
    const ImageFileType type = TypeFromFileName(fileName);
    const uint32_t format = image.GetPixelFormat();
    if (!IsFormatWritable(format, type))
        Raise(ReturnCode::ImageFormatNotSupported,
              "Writing " + PixelFormat::ToName(format) + " images is not supported; convert them first.");
    if (type == ImageFileType::JPEG && (options.jpegQuality < 1 || options.jpegQuality > 100))
        Raise(ReturnCode::InvalidArgument,
              "JPEG quality " + std::to_string(options.jpegQuality) + " is out of range (1 to 100).");

    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    const int channels = PixelFormat::GetNumChannels(format);
    const bool rgb = PixelFormat::IsRGBOrder(format);
    const bool keepAlpha = type == ImageFileType::PNG && channels == 4;
    const cv::Mat view = detail::View(image);

    // Bit depth first (exact shifts), then channel order for OpenCV's BGR(A) writers.
    cv::Mat samples;
    if (bits == 8)
    {
        samples = view;
    }
    else if (type == ImageFileType::PNG)
    {
        samples.create(view.size(), view.type());
        const size_t n = view.total() * channels;
        const uint16_t* s = view.ptr<uint16_t>();
        uint16_t* d = samples.ptr<uint16_t>();
        const int shift = 16 - bits;
        for (size_t i = 0; i < n; ++i)
            d[i] = static_cast<uint16_t>(s[i] << shift);
    }
    else
    {
        samples.create(view.size(), CV_8UC(channels));
        const size_t n = view.total() * channels;
        const uint16_t* s = view.ptr<uint16_t>();
        uint8_t* d = samples.ptr<uint8_t>();
        const int shift = bits - 8;
        for (size_t i = 0; i < n; ++i)
            d[i] = static_cast<uint8_t>(std::min<uint32_t>(255, s[i] >> shift));
    }
    // A fresh Mat: samples may be the caller's pixels, which are never written.
    cv::Mat ordered;
    if (channels == 1 || (channels == 3 && !rgb) || (channels == 4 && keepAlpha && !rgb))
        ordered = samples;
    else if (channels == 3 && rgb)
        cv::cvtColor(samples, ordered, cv::COLOR_RGB2BGR);
    else if (channels == 4 && keepAlpha && rgb)
        cv::cvtColor(samples, ordered, cv::COLOR_RGBA2BGRA);
    else if (channels == 4 && !keepAlpha)
        cv::cvtColor(samples, ordered, rgb ? cv::COLOR_RGBA2BGR : cv::COLOR_BGRA2BGR);

    std::vector<uint8_t> bytes;
    const char* extension = type == ImageFileType::JPEG ? ".jpg" : type == ImageFileType::BMP ? ".bmp" : ".png";
    std::vector<int> params;
    if (type == ImageFileType::JPEG)
        params = {cv::IMWRITE_JPEG_QUALITY, options.jpegQuality};
    try
    {
        if (!cv::imencode(extension, ordered, bytes, params))
            Raise(ReturnCode::IOError, "Could not encode \"" + fileName + "\".");
    }
    catch (const cv::Exception& e)
    {
        Raise(ReturnCode::IOError, "Could not encode \"" + fileName + "\": " + e.what());
    }
    WriteAtomically(fileName, bytes);
}

} // namespace orna::ipl
