#include "view/pixelreadout.h"

#include "orna/ipl/pixelformat.h"
#include "orna/ipl/unpack.h"

#include <QStringList>

#include <algorithm>
#include <cstring>

using orna::ipl::Packing;
using orna::ipl::PixelFormat;

namespace {

int ReadLittle16(const uint8_t* p)
{
    return p[0] | (p[1] << 8);
}

uint32_t ReadLittle32(const uint8_t* p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

int Clamp8(double v)
{
    return std::clamp(static_cast<int>(v + 0.5), 0, 255);
}

// One row segment [x0, x0 + count) of a packed single-channel layout, decoded into out. The unpackers start
// at a multiple of 8 pixels; the few pixels before x0 are decoded and dropped.
void ReadPackedRow(const orna::ipl::Image& image, Packing packing, int y, int x0, int count, int* out)
{
    const uint64_t width = image.GetWidth();
    const uint64_t total = width * image.GetHeight();
    const uint64_t first = uint64_t(y) * width + uint64_t(x0);
    const uint64_t aligned = first - first % 8;
    const uint64_t wanted = std::min<uint64_t>(first + uint64_t(count) - aligned, total - aligned);
    const uint64_t offset = PixelFormat::CalculateStorageSizeOfPixels(image.GetPixelFormat(), aligned);
    const uint8_t* src = image.GetData() + offset;
    std::vector<uint16_t> decoded(wanted);
    switch (packing)
    {
    case Packing::P10:
        orna::ipl::unpack::P10To16(src, decoded.data(), wanted);
        break;
    case Packing::P12:
        orna::ipl::unpack::P12To16(src, decoded.data(), wanted);
        break;
    case Packing::G40:
        orna::ipl::unpack::G40To16(src, decoded.data(), wanted);
        break;
    case Packing::G24:
        orna::ipl::unpack::G24To16(src, decoded.data(), wanted);
        break;
    default:
        return;
    }
    for (int i = 0; i < count; ++i)
        out[i] = decoded[first - aligned + uint64_t(i)];
}

} // namespace

bool PixelBlock::Contains(const QPoint& pixel) const
{
    return area.contains(pixel);
}

std::array<int, 3> PixelBlock::At(const QPoint& pixel) const
{
    std::array<int, 3> result{-1, -1, -1};
    if (!IsValid() || !area.contains(pixel))
        return result;
    const size_t index =
        (size_t(pixel.y() - area.top()) * size_t(area.width()) + size_t(pixel.x() - area.left())) * size_t(channels);
    for (int c = 0; c < channels; ++c)
        result[size_t(c)] = values[index + size_t(c)];
    return result;
}

namespace pixelreadout {

PixelBlock Read(const orna::ipl::Image& image, const QRect& area)
{
    PixelBlock block;
    block.area = area;
    const uint32_t format = image.GetPixelFormat();
    if (image.IsEmpty() || area.isEmpty() || !PixelFormat::IsKnown(format))
        return block;

    const Packing packing = PixelFormat::GetPacking(format);
    const bool colour = PixelFormat::IsColor(format) || PixelFormat::IsYUV(format);
    block.channels = colour ? 3 : 1;
    block.bitDepth = PixelFormat::GetNumSignificantBitsPerChannel(format);
    block.values.assign(size_t(area.width()) * size_t(area.height()) * size_t(block.channels), -1);

    const int width = static_cast<int>(image.GetWidth());
    const int height = static_cast<int>(image.GetHeight());
    const QRect inside = area.intersected(QRect(0, 0, width, height));
    if (inside.isEmpty())
        return block;
    const uint8_t* data = image.GetData();
    const int storedChannels = PixelFormat::GetNumChannels(format);
    const int bytesPerPixel = PixelFormat::GetNumStorageBitsPerPixel(format) / 8;
    const bool rgbOrder = PixelFormat::IsRGBOrder(format);
    auto slot = [&](int x, int y) {
        return (size_t(y - area.top()) * size_t(area.width()) + size_t(x - area.left())) * size_t(block.channels);
    };

    std::vector<int> row(size_t(inside.width()));
    for (int y = inside.top(); y <= inside.bottom(); ++y)
    {
        if (packing == Packing::P10 || packing == Packing::P12 || packing == Packing::G40 || packing == Packing::G24)
        {
            ReadPackedRow(image, packing, y, inside.left(), inside.width(), row.data());
            for (int x = inside.left(); x <= inside.right(); ++x)
                block.values[slot(x, y)] = row[size_t(x - inside.left())];
            continue;
        }
        for (int x = inside.left(); x <= inside.right(); ++x)
        {
            int* target = &block.values[slot(x, y)];
            const size_t index = size_t(y) * size_t(width) + size_t(x);
            if (packing == Packing::YUV420SP)
            {
                // The display's conversion (video range BT.601), so that the texts match the colours shown.
                const bool vu = format == orna::ipl::YUV420_8_YY_VU_SemiplanarKVX;
                const uint8_t* chroma =
                    data + size_t(width) * size_t(height) + size_t(y / 2) * size_t(width) + size_t(x / 2) * 2;
                const double luma = 1.164 * (data[index] - 16);
                const double u = (vu ? chroma[1] : chroma[0]) - 128.0;
                const double v = (vu ? chroma[0] : chroma[1]) - 128.0;
                target[0] = Clamp8(luma + 1.596 * v);
                target[1] = Clamp8(luma - 0.813 * v - 0.391 * u);
                target[2] = Clamp8(luma + 2.018 * u);
                continue;
            }
            const uint8_t* p = data + index * size_t(bytesPerPixel);
            if (packing == Packing::P32)
            {
                const uint32_t word = ReadLittle32(p);
                const int first = int(word & 0x3FF);
                const int third = int((word >> 20) & 0x3FF);
                target[0] = rgbOrder ? first : third;
                target[1] = int((word >> 10) & 0x3FF);
                target[2] = rgbOrder ? third : first;
                continue;
            }
            // Interleaved channels of one or two bytes each; an alpha channel is not shown.
            const int bytesPerChannel = bytesPerPixel / storedChannels;
            auto channel = [&](int c) { return bytesPerChannel == 1 ? int(p[c]) : ReadLittle16(p + 2 * c); };
            if (!colour)
            {
                target[0] = channel(0);
                continue;
            }
            target[0] = rgbOrder ? channel(0) : channel(2);
            target[1] = channel(1);
            target[2] = rgbOrder ? channel(2) : channel(0);
        }
    }
    return block;
}

QString ValueText(const PixelBlock& block, const QPoint& pixel)
{
    const std::array<int, 3> v = block.At(pixel);
    if (v[0] < 0)
        return {};
    if (block.channels == 1)
        return QString::number(v[0]);
    return QStringLiteral("R: %1 G: %2 B: %3").arg(v[0]).arg(v[1]).arg(v[2]);
}

QString ValueText(const orna::ipl::Image& image, const QPoint& pixel)
{
    return ValueText(Read(image, QRect(pixel, QSize(1, 1))), pixel);
}

} // namespace pixelreadout
