// orna::ipl::Image: one image, its pixel format, size and timestamp.
//
// An Image either owns its pixels (Construct, Clone, every conversion result) or wraps foreign memory
// without a copy (ConstructFromBuffer): a wrapped image is valid only while that memory is, e.g. until the
// device buffer is queued again. Images are move-only handles; the system passes them around as
// std::shared_ptr<orna::ipl::Image>. Clone() makes a deep, owning copy.
//
// Owned pixel memory is 64-byte aligned and reference counted, so that an ImageConverter can hand out
// buffers of its pre-allocated pool and reuse each once its image is gone (on whatever thread that was).
//
// Thread safety: one Image may be read from several threads at once; writing pixels while another thread
// reads them is the caller's business. Destroying an image is safe on any thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orna::ipl {

namespace detail {
// Reference-counted, aligned pixel storage. Holders: each Image that uses it, and a converter pool.
struct ImageStorage
{
    std::atomic<int> references{1};
    uint8_t* data = nullptr;
    size_t capacity = 0;

    static ImageStorage* Create(size_t bytes); // references = 1; raises BadAlloc-style on failure
    void Retain() { references.fetch_add(1, std::memory_order_relaxed); }
    void Release();
    // True when the calling holder is the only one left (acquire: every former user's access is visible).
    bool IsUnique() const { return references.load(std::memory_order_acquire) == 1; }
};
} // namespace detail

class Image
{
public:
    Image() = default; // an empty handle: IsEmpty() is true
    ~Image();
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // A new owning image with uninitialised pixels.
    static Image Construct(uint32_t pixelFormat, uint32_t width, uint32_t height);
    // Wraps bufferSize bytes at buffer without copying. Raises when the buffer is null or shorter than the
    // format needs for width x height; longer buffers are fine (the byte count is what the format needs).
    static Image ConstructFromBuffer(uint32_t pixelFormat, uint32_t width, uint32_t height, void* buffer,
                                     size_t bufferSize);
    static Image ConstructFromBuffer(uint32_t pixelFormat, uint32_t width, uint32_t height, const void* buffer,
                                     size_t bufferSize);

    Image Clone() const;
    // A new image in another format, converted with the default conversion mode (Fast).
    Image ConvertTo(uint32_t pixelFormat) const;

    bool IsEmpty() const { return data_ == nullptr; }
    bool OwnsData() const { return storage_ != nullptr; }
    uint8_t* GetData() const { return data_; }
    size_t GetByteCount() const { return byteCount_; }
    uint32_t GetWidth() const { return width_; }
    uint32_t GetHeight() const { return height_; }
    uint32_t GetPixelFormat() const { return format_; }
    uint64_t GetTimestamp() const { return timestamp_; }
    void SetTimestamp(uint64_t timestamp) { timestamp_ = timestamp; }

    // Re-tags the pixels with another format of the same byte count (a mirrored Bayer image changes its
    // pattern). Raises InvalidArgumentException when the sizes differ.
    void SetPixelFormat(uint32_t pixelFormat);

private:
    friend class ImageConverter;
    friend class ImageTransformer; // a quarter turn swaps width and height of the same pixels
    // Takes one reference to storage (the caller keeps its own).
    static Image FromStorage(detail::ImageStorage* storage, uint32_t pixelFormat, uint32_t width, uint32_t height,
                             size_t byteCount);
    void Reset();

    uint32_t format_ = 0;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    uint64_t timestamp_ = 0;
    uint8_t* data_ = nullptr;
    size_t byteCount_ = 0;
    detail::ImageStorage* storage_ = nullptr; // null for wrapped foreign memory
};

} // namespace orna::ipl
