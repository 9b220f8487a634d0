// Internal: a RIFF/AVI file writer with OpenDML indexes, for one video stream.
//
// Layout written:
//   RIFF 'AVI '  LIST 'hdrl' (avih, LIST 'strl' (strh, strf, indx super index), LIST 'odml' (dmlh))
//                LIST 'movi' (frame chunks..., ix00 standard index)  idx1
//   RIFF 'AVIX'  LIST 'movi' (frame chunks..., ix00)                 (as many as needed)
// Sizes, frame counts, the frame rate and the super index are patched in by Finish().
//
// Used by the encoder thread of one VideoWriter only; not thread-safe. Failures raise IOException.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace orna::ipl::detail {

class AviFile
{
public:
    struct Format
    {
        uint32_t width = 0;
        uint32_t height = 0;
        bool mjpeg = true; // else uncompressed bottom-up DIB
        bool grey = false; // 8-bit with a grey palette (raw) or grey JPEG (mjpeg)
    };

    AviFile() = default;
    ~AviFile();
    AviFile(const AviFile&) = delete;
    AviFile& operator=(const AviFile&) = delete;
    void Create(const std::string& path, uint64_t maxSegmentSize);
    bool HasBegun() const { return begun_; }
    void Begin(const Format& format);
    void WriteFrame(const uint8_t* data, size_t size);
    void Finish(double framesPerSecond);
    void Abort(); // closes and removes the file
    uint64_t Size() const { return position_; }
    uint64_t Frames() const { return totalFrames_; }
    size_t Segments() const { return superIndex_.size() + (segmentOpen_ ? 1 : 0); }

private:
    struct Entry
    {
        uint32_t offset; // chunk data relative to the segment's movi LIST
        uint32_t size;
    };
    struct SuperEntry
    {
        uint64_t offset;
        uint32_t size;
        uint32_t duration;
    };
    static constexpr uint32_t kSuperIndexEntries = 256;

    void Write(const void* data, size_t size);
    void WriteAt(uint64_t offset, const void* data, size_t size);
    void Put32At(uint64_t offset, uint32_t value) { WriteAt(offset, &value, 4); }
    void BeginSegment();
    void EndSegment();
    [[noreturn]] void Fail(const char* what);

    std::FILE* file_ = nullptr;
    std::string path_;
    uint64_t maxSegmentSize_ = 0;
    uint64_t position_ = 0;
    Format format_;
    bool begun_ = false;
    bool segmentOpen_ = false;
    uint32_t chunkId_ = 0;
    // Offsets of the fields patched at the end.
    uint64_t avihOffset_ = 0, strhOffset_ = 0, indxOffset_ = 0, dmlhOffset_ = 0;
    uint64_t riffStart_ = 0, moviStart_ = 0;
    std::vector<Entry> entries_; // this segment
    std::vector<Entry> idx1_;    // first segment, relative to its 'movi' fourcc
    std::vector<SuperEntry> superIndex_;
    uint64_t totalFrames_ = 0;
    uint32_t firstSegmentFrames_ = 0;
    uint32_t largestChunk_ = 0;
};

} // namespace orna::ipl::detail
