#include "orna/ipl/avifile.h"

#include "orna/ipl/exception.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <unistd.h>

namespace orna::ipl::detail {

namespace {

constexpr uint32_t FourCC(const char (&s)[5])
{
    return uint32_t(uint8_t(s[0])) | uint32_t(uint8_t(s[1])) << 8 | uint32_t(uint8_t(s[2])) << 16 |
           uint32_t(uint8_t(s[3])) << 24;
}

// Little-endian byte builder for headers.
struct Bytes
{
    std::vector<uint8_t> v;
    void U8(uint8_t x) { v.push_back(x); }
    void U16(uint16_t x) { U8(uint8_t(x)), U8(uint8_t(x >> 8)); }
    void U32(uint32_t x) { U16(uint16_t(x)), U16(uint16_t(x >> 16)); }
    void U64(uint64_t x) { U32(uint32_t(x)), U32(uint32_t(x >> 32)); }
    void Zeros(size_t n) { v.insert(v.end(), n, 0); }
    size_t Size() const { return v.size(); }
};

constexpr uint32_t kAvihSize = 56;
constexpr uint32_t kStrhSize = 56;
constexpr uint32_t kDmlhSize = 248;
constexpr uint32_t kIndexHeader = 24; // of both indx and ix00, after the chunk header
constexpr uint32_t AVIF_HASINDEX = 0x10;
constexpr uint32_t AVIIF_KEYFRAME = 0x10;

} // namespace

AviFile::~AviFile()
{
    if (file_)
        std::fclose(file_);
}

void AviFile::Fail(const char* what)
{
    Raise(ReturnCode::IOError, std::string(what) + " \"" + path_ + "\": " + std::strerror(errno));
}

void AviFile::Create(const std::string& path, uint64_t maxSegmentSize)
{
    path_ = path;
    maxSegmentSize_ = maxSegmentSize;
    file_ = std::fopen(path.c_str(), "wb");
    if (!file_)
        Fail("Could not create");
    // Large sequential writes; patches seek back only at segment ends and at the finish.
    std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
}

void AviFile::Write(const void* data, size_t size)
{
    if (size && std::fwrite(data, 1, size, file_) != size)
        Fail("Could not write");
    position_ += size;
}

void AviFile::WriteAt(uint64_t offset, const void* data, size_t size)
{
    if (fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0 || std::fwrite(data, 1, size, file_) != size ||
        fseeko(file_, static_cast<off_t>(position_), SEEK_SET) != 0)
        Fail("Could not write");
}

void AviFile::Begin(const Format& format)
{
    format_ = format;
    chunkId_ = format.mjpeg ? FourCC("00dc") : FourCC("00db");
    const bool palette = !format.mjpeg && format.grey;
    const uint32_t strfSize = 40 + (palette ? 1024 : 0);
    const uint32_t indxSize = kIndexHeader + 16 * kSuperIndexEntries;
    const uint32_t strlSize = 4 + (8 + kStrhSize) + (8 + strfSize) + (8 + indxSize);
    const uint32_t odmlSize = 4 + 8 + kDmlhSize;
    const uint32_t hdrlSize = 4 + (8 + kAvihSize) + (8 + strlSize) + (8 + odmlSize);
    const uint16_t bitCount = format.mjpeg ? 24 : (format.grey ? 8 : 24);
    const uint32_t rowBytes = (format.width * (bitCount / 8) + 3) & ~3u;
    const uint32_t imageSize = format.mjpeg ? format.width * format.height * 3 : rowBytes * format.height;

    Bytes b;
    b.U32(FourCC("RIFF")), b.U32(0), b.U32(FourCC("AVI "));
    b.U32(FourCC("LIST")), b.U32(hdrlSize), b.U32(FourCC("hdrl"));
    b.U32(FourCC("avih")), b.U32(kAvihSize);
    avihOffset_ = b.Size();
    b.U32(40000);         // dwMicroSecPerFrame (patched)
    b.U32(0);             // dwMaxBytesPerSec (patched)
    b.U32(0);             // dwPaddingGranularity
    b.U32(AVIF_HASINDEX); // dwFlags
    b.U32(0);             // dwTotalFrames of the first segment (patched)
    b.U32(0);             // dwInitialFrames
    b.U32(1);             // dwStreams
    b.U32(imageSize);     // dwSuggestedBufferSize (patched)
    b.U32(format.width), b.U32(format.height);
    b.Zeros(16);
    b.U32(FourCC("LIST")), b.U32(strlSize), b.U32(FourCC("strl"));
    b.U32(FourCC("strh")), b.U32(kStrhSize);
    strhOffset_ = b.Size();
    b.U32(FourCC("vids"));
    b.U32(format.mjpeg ? FourCC("MJPG") : 0);
    b.U32(0);                  // dwFlags
    b.U16(0), b.U16(0);        // wPriority, wLanguage
    b.U32(0);                  // dwInitialFrames
    b.U32(1000), b.U32(25000); // dwScale, dwRate (patched)
    b.U32(0);                  // dwStart
    b.U32(0);                  // dwLength (patched)
    b.U32(imageSize);          // dwSuggestedBufferSize (patched)
    b.U32(0xFFFFFFFF);         // dwQuality: default
    b.U32(0);                  // dwSampleSize
    b.U16(0), b.U16(0), b.U16(uint16_t(format.width)), b.U16(uint16_t(format.height));
    b.U32(FourCC("strf")), b.U32(strfSize);
    b.U32(40);
    b.U32(format.width);
    b.U32(format.height); // positive: bottom-up rows for the DIB
    b.U16(1);
    b.U16(bitCount);
    b.U32(format.mjpeg ? FourCC("MJPG") : 0);
    b.U32(imageSize);
    b.U32(0), b.U32(0);
    b.U32(palette ? 256 : 0), b.U32(0);
    if (palette)
        for (uint32_t i = 0; i < 256; ++i)
            b.U8(uint8_t(i)), b.U8(uint8_t(i)), b.U8(uint8_t(i)), b.U8(0);
    b.U32(FourCC("indx")), b.U32(indxSize);
    indxOffset_ = b.Size();
    b.U16(4), b.U8(0), b.U8(0); // wLongsPerEntry, bIndexSubType, bIndexType = index of indexes
    b.U32(0);                   // nEntriesInUse (patched)
    b.U32(chunkId_);
    b.Zeros(12);
    b.Zeros(16 * kSuperIndexEntries);
    b.U32(FourCC("LIST")), b.U32(odmlSize), b.U32(FourCC("odml"));
    b.U32(FourCC("dmlh")), b.U32(kDmlhSize);
    dmlhOffset_ = b.Size();
    b.Zeros(kDmlhSize);
    Write(b.v.data(), b.Size());

    // The first segment's RIFF header is at 0; its movi list follows.
    riffStart_ = 0;
    moviStart_ = position_;
    const uint32_t movi[3] = {FourCC("LIST"), 0, FourCC("movi")};
    Write(movi, sizeof(movi));
    segmentOpen_ = true;
    begun_ = true;
}

void AviFile::BeginSegment()
{
    riffStart_ = position_;
    const uint32_t head[6] = {FourCC("RIFF"), 0, FourCC("AVIX"), FourCC("LIST"), 0, FourCC("movi")};
    moviStart_ = position_ + 12;
    Write(head, sizeof(head));
    segmentOpen_ = true;
}

void AviFile::EndSegment()
{
    if (superIndex_.size() >= kSuperIndexEntries)
        Raise(ReturnCode::IOError, "The video \"" + path_ + "\" exceeds the largest size the index can hold.");
    // Standard index of this segment, inside its movi list.
    const uint32_t n = static_cast<uint32_t>(entries_.size());
    const uint32_t ixSize = kIndexHeader + 8 * n;
    Bytes ix;
    ix.U32(FourCC("ix00")), ix.U32(ixSize);
    ix.U16(2), ix.U8(0), ix.U8(1); // wLongsPerEntry, bIndexSubType, bIndexType = index of chunks
    ix.U32(n);
    ix.U32(chunkId_);
    ix.U64(moviStart_); // qwBaseOffset
    ix.U32(0);
    for (const Entry& e : entries_)
        ix.U32(e.offset), ix.U32(e.size); // all frames are key frames: bit 31 clear
    superIndex_.push_back({position_, 8 + ixSize, n});
    Write(ix.v.data(), ix.Size());
    Put32At(moviStart_ + 4, static_cast<uint32_t>(position_ - moviStart_ - 8));

    if (riffStart_ == 0)
    {
        Bytes idx;
        idx.U32(FourCC("idx1")), idx.U32(16 * static_cast<uint32_t>(idx1_.size()));
        for (const Entry& e : idx1_)
            idx.U32(chunkId_), idx.U32(AVIIF_KEYFRAME), idx.U32(e.offset), idx.U32(e.size);
        Write(idx.v.data(), idx.Size());
        firstSegmentFrames_ = n;
    }
    Put32At(riffStart_ + 4, static_cast<uint32_t>(position_ - riffStart_ - 8));
    entries_.clear();
    segmentOpen_ = false;
}

void AviFile::WriteFrame(const uint8_t* data, size_t size)
{
    if (size > 0x7FFFFFFF)
        Raise(ReturnCode::InvalidArgument, "A video frame of " + std::to_string(size) + " bytes is too large.");
    const uint64_t chunk = 8 + size + (size & 1);
    // What this segment would hold with the frame: its data, the standard index, and in the first
    // segment the legacy index too.
    const uint64_t indexes =
        kIndexHeader + 8 + 8 * (entries_.size() + 1) + (riffStart_ == 0 ? 8 + 16 * (idx1_.size() + 1) : 0);
    if (!entries_.empty() && position_ + chunk + indexes - riffStart_ > maxSegmentSize_)
    {
        EndSegment();
        BeginSegment();
    }
    const uint32_t header[2] = {chunkId_, static_cast<uint32_t>(size)};
    const uint64_t chunkStart = position_;
    Write(header, sizeof(header));
    Write(data, size);
    if (size & 1)
    {
        const uint8_t pad = 0;
        Write(&pad, 1);
    }
    entries_.push_back({static_cast<uint32_t>(chunkStart + 8 - moviStart_), static_cast<uint32_t>(size)});
    if (riffStart_ == 0)
        idx1_.push_back({static_cast<uint32_t>(chunkStart - (moviStart_ + 8)), static_cast<uint32_t>(size)});
    ++totalFrames_;
    if (size > largestChunk_)
        largestChunk_ = static_cast<uint32_t>(size);
}

void AviFile::Finish(double fps)
{
    if (!begun_)
        Begin(format_);
    if (segmentOpen_)
        EndSegment();
    const uint32_t rate = static_cast<uint32_t>(std::lround(fps * 1000.0));
    const uint32_t scale = 1000;
    Put32At(avihOffset_, static_cast<uint32_t>(std::lround(1e6 / fps)));
    Put32At(avihOffset_ + 4, static_cast<uint32_t>(std::min(4294967295.0, largestChunk_ * fps)));
    Put32At(avihOffset_ + 16, firstSegmentFrames_);
    if (largestChunk_)
    {
        Put32At(avihOffset_ + 28, largestChunk_ + 8);
        Put32At(strhOffset_ + 36, largestChunk_ + 8);
    }
    Put32At(strhOffset_ + 20, scale);
    Put32At(strhOffset_ + 24, rate);
    Put32At(strhOffset_ + 32, static_cast<uint32_t>(totalFrames_));
    Put32At(dmlhOffset_, static_cast<uint32_t>(totalFrames_));
    Put32At(indxOffset_ + 4, static_cast<uint32_t>(superIndex_.size()));
    Bytes entries;
    for (const SuperEntry& e : superIndex_)
        entries.U64(e.offset), entries.U32(e.size), entries.U32(e.duration);
    WriteAt(indxOffset_ + kIndexHeader, entries.v.data(), entries.Size());
    if (std::fflush(file_) != 0 || ::fsync(fileno(file_)) != 0)
        Fail("Could not write");
    const int result = std::fclose(file_);
    file_ = nullptr;
    if (result != 0)
        Fail("Could not write");
}

void AviFile::Abort()
{
    if (file_)
        std::fclose(file_);
    file_ = nullptr;
    ::unlink(path_.c_str());
}

} // namespace orna::ipl::detail
