// orna::ipl::ImageTransformer: mirrors and quarter turns of an image, in place.
//
// Rotation angles turn counter-clockwise ("rotate left"): 90 moves the top-right corner to the top left. A
// quarter turn swaps width and height of the image over the same memory. A Bayer image is re-tagged with the
// pattern its top-left pixels have afterwards, which is only defined for even width and height: a Bayer image
// of odd size is refused. Packed and YUV formats are refused too (their pixels are not whole elements).
//
// A quarter turn copies the pixels aside into a scratch image that the transformer keeps and grows (no quarter
// turn of a non-square image can be done without one), then turns them back in one blocked pass; so
// a steady stream of one geometry allocates nothing after its first frame.
//
// Thread safety: one thread per transformer (the capture worker); the scratch image is not shared.
#pragma once

#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <cstdint>

namespace orna::ipl {

class ImageTransformer
{
public:
    ImageTransformer();
    ~ImageTransformer();
    ImageTransformer(const ImageTransformer&) = delete;
    ImageTransformer& operator=(const ImageTransformer&) = delete;

    void MirrorLeftRightInPlace(Image& image);
    void MirrorUpDownInPlace(Image& image);
    // Both mirrors: the same as a half turn.
    void MirrorUpDownLeftRightInPlace(Image& image);
    // angle in degrees: 0, 90, 180 or 270 (anything else raises OutOfRangeException).
    void RotateInPlace(Image& image, uint16_t angle);

    // The pattern of the top-left pixels after each operation on an image of even size (None stays None).
    static BayerPattern MirrorLeftRight(BayerPattern pattern);
    static BayerPattern MirrorUpDown(BayerPattern pattern);
    static BayerPattern Rotate(BayerPattern pattern, uint16_t angle);

private:
    // Raises for images the transformer cannot handle; returns the image's Bayer pattern (None without one).
    BayerPattern Check(const Image& image) const;
    static void Retag(Image& image, BayerPattern pattern);
    uint8_t* Scratch(size_t bytes);

    detail::ImageStorage* scratch_ = nullptr;
};

} // namespace orna::ipl
