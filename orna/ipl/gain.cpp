#include "orna/ipl/gain.h"

#include "orna/ipl/exception.h"
#include "orna/ipl/pixelformat.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace orna::ipl {

namespace {

enum Channel : int
{
    kRed = 0,
    kGreen = 1,
    kBlue = 2,
    kMasterOnly = 3,
};

// The channels of the 2x2 cell of a pattern: top left, top right, bottom left, bottom right.
std::array<int, 4> CellOf(BayerPattern pattern)
{
    switch (pattern)
    {
    case BayerPattern::RG:
        return {kRed, kGreen, kGreen, kBlue};
    case BayerPattern::GB:
        return {kGreen, kBlue, kRed, kGreen};
    case BayerPattern::GR:
        return {kGreen, kRed, kBlue, kGreen};
    case BayerPattern::BG:
        return {kBlue, kGreen, kGreen, kRed};
    default:
        return {kMasterOnly, kMasterOnly, kMasterOnly, kMasterOnly};
    }
}

template <typename T>
void ApplyBayer(Image& image, const std::array<std::vector<uint16_t>, 4>& tables, BayerPattern pattern)
{
    const auto cell = CellOf(pattern);
    const uint32_t width = image.GetWidth();
    const uint32_t height = image.GetHeight();
    T* data = reinterpret_cast<T*>(image.GetData());
    for (uint32_t y = 0; y < height; ++y)
    {
        T* row = data + size_t(y) * width;
        const uint16_t* even = tables[cell[(y & 1) * 2]].data();
        const uint16_t* odd = tables[cell[(y & 1) * 2 + 1]].data();
        uint32_t x = 0;
        for (; x + 1 < width; x += 2)
        {
            row[x] = T(even[row[x]]);
            row[x + 1] = T(odd[row[x + 1]]);
        }
        if (x < width)
            row[x] = T(even[row[x]]);
    }
}

template <typename T> void ApplyMono(Image& image, const std::vector<uint16_t>& table)
{
    T* data = reinterpret_cast<T*>(image.GetData());
    const size_t count = size_t(image.GetWidth()) * image.GetHeight();
    const uint16_t* lut = table.data();
    for (size_t i = 0; i < count; ++i)
        data[i] = T(lut[data[i]]);
}

template <typename T>
void ApplyInterleaved(Image& image, const std::array<std::vector<uint16_t>, 4>& tables, int channels, bool rgbOrder)
{
    // Alpha (the fourth sample) keeps its value: the identity is the master-free table below.
    const uint16_t* lut[3] = {tables[rgbOrder ? kRed : kBlue].data(), tables[kGreen].data(),
                              tables[rgbOrder ? kBlue : kRed].data()};
    T* data = reinterpret_cast<T*>(image.GetData());
    const size_t pixels = size_t(image.GetWidth()) * image.GetHeight();
    for (size_t i = 0; i < pixels; ++i)
    {
        T* p = data + i * size_t(channels);
        p[0] = T(lut[0][p[0]]);
        p[1] = T(lut[1][p[1]]);
        p[2] = T(lut[2][p[2]]);
    }
}

} // namespace

Gain::Gain() = default;

void Gain::Store(std::atomic<float>& factor, float value, float minimum, float maximum, const char* name)
{
    if (!(value >= minimum && value <= maximum))
        Raise(ReturnCode::OutOfRange, std::string(name) + " gain " + std::to_string(value) + " is outside " +
                                          std::to_string(minimum) + " .. " + std::to_string(maximum) + ".");
    factor.store(value);
    generation_.fetch_add(1);
}

void Gain::SetMasterGainValue(float value)
{
    Store(master_, value, kMasterMin, kMasterMax, "Master");
}

void Gain::SetRedGainValue(float value)
{
    Store(red_, value, kColorMin, kColorMax, "Red");
}

void Gain::SetGreenGainValue(float value)
{
    Store(green_, value, kColorMin, kColorMax, "Green");
}

void Gain::SetBlueGainValue(float value)
{
    Store(blue_, value, kColorMin, kColorMax, "Blue");
}

bool Gain::IsNeutral() const
{
    return master_.load() == 1.0f && red_.load() == 1.0f && green_.load() == 1.0f && blue_.load() == 1.0f;
}

bool Gain::IsPixelFormatSupported(uint32_t format)
{
    if (!PixelFormat::IsKnown(format) || PixelFormat::IsPacked(format) || PixelFormat::IsYUV(format))
        return false;
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    if (bits != 8 && bits != 10 && bits != 12)
        return false;
    return PixelFormat::IsMono(format) || PixelFormat::IsBayered(format) || PixelFormat::IsColor(format);
}

void Gain::RebuildIfNeeded(int bits)
{
    const uint64_t generation = generation_.load();
    if (generation == builtGeneration_ && bits == builtBits_)
        return;
    const double master = master_.load();
    const double factors[4] = {master * red_.load(), master * green_.load(), master * blue_.load(), master};
    const uint32_t entries = 1u << bits;
    const double top = entries - 1;
    for (int c = 0; c < 4; ++c)
    {
        auto& table = tables_[c];
        // 16-bit words get a full table: a sample above the format's full scale (bad data) still indexes it.
        table.resize(bits == 8 ? 256 : 65536);
        for (uint32_t i = 0; i < table.size(); ++i)
            table[i] = uint16_t(std::min(top, std::floor(std::min<double>(i, top) * factors[c] + 0.5)));
    }
    builtGeneration_ = generation;
    builtBits_ = bits;
    tableBuilds_.fetch_add(1);
}

void Gain::ProcessInPlace(Image& image)
{
    if (image.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    const uint32_t format = image.GetPixelFormat();
    if (!IsPixelFormatSupported(format))
        Raise(ReturnCode::ImageFormatNotSupported,
              "Gain does not support the pixel format " + PixelFormat::ToName(format) + ".");
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    std::lock_guard<std::mutex> lock(tableMutex_);
    RebuildIfNeeded(bits);
    const bool wide = bits > 8;
    if (PixelFormat::IsBayered(format))
    {
        if (wide)
            ApplyBayer<uint16_t>(image, tables_, PixelFormat::GetBayerPattern(format));
        else
            ApplyBayer<uint8_t>(image, tables_, PixelFormat::GetBayerPattern(format));
    }
    else if (PixelFormat::IsMono(format))
    {
        if (wide)
            ApplyMono<uint16_t>(image, tables_[kMasterOnly]);
        else
            ApplyMono<uint8_t>(image, tables_[kMasterOnly]);
    }
    else
    {
        const int channels = PixelFormat::GetNumChannels(format);
        const bool rgb = PixelFormat::IsRGBOrder(format);
        if (wide)
            ApplyInterleaved<uint16_t>(image, tables_, channels, rgb);
        else
            ApplyInterleaved<uint8_t>(image, tables_, channels, rgb);
    }
}

} // namespace orna::ipl
