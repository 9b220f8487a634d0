#include "orna/ipl/image.h"

#include "orna/ipl/exception.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace orna::ipl {

namespace detail {

ImageStorage* ImageStorage::Create(size_t bytes)
{
    constexpr size_t kAlignment = 64;
    const size_t rounded = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    void* memory = std::aligned_alloc(kAlignment, rounded == 0 ? kAlignment : rounded);
    if (!memory)
        Raise(ReturnCode::Error, "Could not allocate " + std::to_string(bytes) + " bytes for an image.");
    auto* storage = new (std::nothrow) ImageStorage;
    if (!storage)
    {
        std::free(memory);
        Raise(ReturnCode::Error, "Could not allocate an image.");
    }
    storage->data = static_cast<uint8_t*>(memory);
    storage->capacity = rounded;
    return storage;
}

void ImageStorage::Release()
{
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        std::free(data);
        delete this;
    }
}

} // namespace detail

Image::~Image()
{
    Reset();
}

Image::Image(Image&& other) noexcept
    : format_(other.format_), width_(other.width_), height_(other.height_), timestamp_(other.timestamp_),
      data_(other.data_), byteCount_(other.byteCount_), storage_(other.storage_)
{
    other.storage_ = nullptr;
    other.data_ = nullptr;
    other.byteCount_ = 0;
    other.format_ = other.width_ = other.height_ = 0;
    other.timestamp_ = 0;
}

Image& Image::operator=(Image&& other) noexcept
{
    if (this != &other)
    {
        Reset();
        format_ = other.format_;
        width_ = other.width_;
        height_ = other.height_;
        timestamp_ = other.timestamp_;
        data_ = other.data_;
        byteCount_ = other.byteCount_;
        storage_ = other.storage_;
        other.storage_ = nullptr;
        other.data_ = nullptr;
        other.byteCount_ = 0;
        other.format_ = other.width_ = other.height_ = 0;
        other.timestamp_ = 0;
    }
    return *this;
}

void Image::Reset()
{
    if (storage_)
        storage_->Release();
    storage_ = nullptr;
    data_ = nullptr;
    byteCount_ = 0;
}

Image Image::FromStorage(detail::ImageStorage* storage, uint32_t pixelFormat, uint32_t width, uint32_t height,
                         size_t byteCount)
{
    storage->Retain();
    Image image;
    image.storage_ = storage;
    image.data_ = storage->data;
    image.byteCount_ = byteCount;
    image.format_ = pixelFormat;
    image.width_ = width;
    image.height_ = height;
    return image;
}

Image Image::Construct(uint32_t pixelFormat, uint32_t width, uint32_t height)
{
    const uint64_t bytes = PixelFormat::CalculateImageSize(pixelFormat, width, height);
    detail::ImageStorage* storage = detail::ImageStorage::Create(bytes);
    Image image = FromStorage(storage, pixelFormat, width, height, bytes);
    storage->Release(); // the image holds the only reference now
    return image;
}

Image Image::ConstructFromBuffer(uint32_t pixelFormat, uint32_t width, uint32_t height, void* buffer, size_t bufferSize)
{
    if (!buffer)
        Raise(ReturnCode::InvalidArgument, "The given buffer is a nullptr!");
    const uint64_t bytes = PixelFormat::CalculateImageSize(pixelFormat, width, height);
    if (bufferSize < bytes)
        Raise(ReturnCode::BufferTooSmall, "The buffer of " + std::to_string(bufferSize) +
                                              " bytes is smaller than the " + std::to_string(bytes) + " bytes that " +
                                              PixelFormat::ToName(pixelFormat) + " needs for " + std::to_string(width) +
                                              "x" + std::to_string(height) + ".");
    Image image;
    image.data_ = static_cast<uint8_t*>(buffer);
    image.byteCount_ = bytes;
    image.format_ = pixelFormat;
    image.width_ = width;
    image.height_ = height;
    return image;
}

Image Image::ConstructFromBuffer(uint32_t pixelFormat, uint32_t width, uint32_t height, const void* buffer,
                                 size_t bufferSize)
{
    // The library never writes through a wrapped image unless the caller asks for an in-place operation.
    return ConstructFromBuffer(pixelFormat, width, height, const_cast<void*>(buffer), bufferSize);
}

Image Image::Clone() const
{
    if (IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    Image copy = Construct(format_, width_, height_);
    std::memcpy(copy.data_, data_, byteCount_);
    copy.timestamp_ = timestamp_;
    return copy;
}

Image Image::ConvertTo(uint32_t pixelFormat) const
{
    ImageConverter converter;
    return converter.Convert(*this, pixelFormat);
}

void Image::SetPixelFormat(uint32_t pixelFormat)
{
    if (IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    const uint64_t bytes = PixelFormat::CalculateImageSize(pixelFormat, width_, height_);
    if (bytes != byteCount_)
        Raise(ReturnCode::InvalidArgument, PixelFormat::ToName(pixelFormat) + " does not fit the " +
                                               std::to_string(byteCount_) + " bytes of a " +
                                               PixelFormat::ToName(format_) + " image.");
    format_ = pixelFormat;
}

} // namespace orna::ipl
