#include "camera/imagebuffermanager.h"

#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <atomic>

ImageBufferManager::ImageBufferManager(QObject* parent) : QObject(parent)
{
    timer.start();
}

ImageBufferManager::~ImageBufferManager()
{
    Clear();
}

void ImageBufferManager::CollectUnused()
{
    for (auto it = images.begin(); it != images.end();)
    {
        // A null entry has no control block and stays; an entry we hold alone is erased.
        if (*it && it->use_count() == 1)
            it = images.erase(it);
        else
            ++it;
    }
}

std::shared_ptr<orna::ipl::Image> ImageBufferManager::AddImage(orna::ipl::Image&& image)
{
    CollectUnused();
    auto shared = std::make_shared<orna::ipl::Image>(std::move(image));
    images.push_back(shared);
    return shared;
}

std::shared_ptr<orna::ipl::Image> ImageBufferManager::GetLastImage() const
{
    return std::atomic_load(&lastImage);
}

void ImageBufferManager::SetLastImage(std::shared_ptr<orna::ipl::Image> image)
{
    std::atomic_store(&lastImage, std::move(image));
}

void ImageBufferManager::Clear()
{
    std::atomic_store(&lastImage, std::shared_ptr<orna::ipl::Image>());
    images.clear();
}

QImage::Format ImageBufferManager::GetQImageFormat(uint32_t pixelFormat)
{
    using orna::ipl::PixelFormat;
    switch (pixelFormat)
    {
    case orna::ipl::RGB8:
    case orna::ipl::BGR8:
    case orna::ipl::RGB10:
    case orna::ipl::BGR10:
    case orna::ipl::RGB12:
    case orna::ipl::BGR12:
        return QImage::Format_RGB888;
    case orna::ipl::RGB10p32:
        return QImage::Format_BGR30;
    default:
        break;
    }
    if (PixelFormat::IsKnown(pixelFormat) &&
        (PixelFormat::IsMono(pixelFormat) || PixelFormat::IsBayered(pixelFormat)) &&
        !PixelFormat::IsPacked(pixelFormat))
    {
        const int bits = PixelFormat::GetNumSignificantBitsPerChannel(pixelFormat);
        if (bits == 8 || bits == 10 || bits == 12)
            return QImage::Format_Grayscale8;
    }
    return QImage::Format_RGB32;
}
