// The pixel values of a small block of an image, read in the image's own format and bit depth.
//
// The magnifier and the position label show what the camera delivered: a 12-bit frame reads 0..4095, a colour
// frame three channels in R, G, B order, a Bayer frame the raw value of each photo site. Only the requested
// block is decoded (packed layouts are unpacked from the nearest group boundary on), so the cost does not grow
// with the image: the readout may run at every paint of a large live image.
//
// Thread safety: pure functions; the image must stay alive (hold its shared_ptr) while they read it.
#pragma once

#include "orna/ipl/image.h"

#include <QPoint>
#include <QRect>
#include <QString>

#include <array>
#include <vector>

struct PixelBlock
{
    QRect area;       // the requested block, in image coordinates (may reach outside the image)
    int channels = 0; // 1 (grey, raw Bayer) or 3 (R, G, B); 0 when the format cannot be read
    int bitDepth = 0; // significant bits per channel: values run from 0 to 2^bitDepth - 1
    // channels values per pixel, row by row over `area`; -1 for pixels outside the image.
    std::vector<int> values;

    bool IsValid() const { return channels > 0; }
    bool Contains(const QPoint& pixel) const;
    // The channel values at an image pixel; entries beyond `channels` are -1, all are -1 outside.
    std::array<int, 3> At(const QPoint& pixel) const;
};

namespace pixelreadout {

// Reads the block `area` of `image`. An empty image or a format without a readable layout gives a block with
// no channels.
PixelBlock Read(const orna::ipl::Image& image, const QRect& area);
// One pixel's values as the position label shows them: "4095" or "R: 12 G: 34 B: 56"; empty outside the image.
QString ValueText(const orna::ipl::Image& image, const QPoint& pixel);
QString ValueText(const PixelBlock& block, const QPoint& pixel);

} // namespace pixelreadout
