// Internal: bilinear demosaicing of 8-bit mosaics straight to BGRA/RGBA (the display path), row by row.
//
// Each output row needs its mosaic row and the rows above and below; rows outside the image are mirrored
// (row -1 is row 1), as are columns. Interior pixels: a colour site keeps its value, takes green as the
// mean of its four direct neighbours and the other colour as the mean of its four diagonal neighbours; a
// green site takes the colour of its row from the left/right mean and the other colour from the up/down
// mean. Means are rounded averages of pairs (nested for four values).
//
// Thread safety: pure functions; callers split the rows into bands for several threads.
#pragma once

#include "orna/ipl/pixelformat.h"

#include <cstddef>
#include <cstdint>

namespace orna::ipl::detail {

// Whether the mosaic row y of a pattern holds red (else blue) and whether its colour sites are at even x.
void BayerRowKind(BayerPattern pattern, uint32_t y, bool& redRow, bool& colourAtEven);

// One output row of width w (w >= 4) from three mosaic rows; rgbOrder selects RGBA instead of BGRA.
void DemosaicRowBGRA8(const uint8_t* above, const uint8_t* row, const uint8_t* below, uint8_t* out, uint32_t w,
                      bool redRow, bool colourAtEven, bool rgbOrder);

// Drops the alpha byte of w four-byte pixels (BGRA to BGR, RGBA to RGB).
void CompactRow4To3(const uint8_t* in, uint8_t* out, uint32_t w);

} // namespace orna::ipl::detail
