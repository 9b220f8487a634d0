// Chunk nodes of node maps we build ourselves: the chunk features of the simulated camera read the values of
// the buffer given to UpdateChunkNodes (streamed through the public API), and buffers without chunks or with
// a damaged trailer are refused with an exception, never read past their end.
#include "orna/core/buffer.h"
#include "orna/core/datastream.h"
#include "orna/core/detail/backend.h"
#include "orna/core/detail/chunkwindows.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

using namespace orna::core;
using namespace orna::core::nodes;

namespace {

// ---- A hand-made map and buffer: exact bytes, damaged trailers ----

const char* kChunkXml = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="ChunkFixture" VendorName="Orna" StandardNameSpace="None"
  SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
  SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard">
    <pFeature>Counter</pFeature>
    <pFeature>ChunkFrameID</pFeature>
    <pFeature>ChunkExposureTime</pFeature>
    <pFeature>ChunkOffsetY</pFeature>
  </Category>
  <IntReg Name="Counter" NameSpace="Custom">
    <Address>0x100</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="ChunkFrameID" NameSpace="Standard">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>FrameIdPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <FloatReg Name="ChunkExposureTime" NameSpace="Standard">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>ExposurePort</pPort>
    <Cachable>NoCache</Cachable><Endianess>LittleEndian</Endianess>
  </FloatReg>
  <Integer Name="ChunkOffsetY" NameSpace="Standard">
    <pValue>ChunkOffsetYReg</pValue>
  </Integer>
  <IntReg Name="ChunkOffsetYReg" NameSpace="Custom">
    <Address>4</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>RoiPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="EventTestTimestamp" NameSpace="Standard">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>EventTestPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="EventTestCode" NameSpace="Standard">
    <Address>8</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>EventTestPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="EventOtherTimestamp" NameSpace="Standard">
    <Address>0</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>EventOtherPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Port Name="EventTestPort" NameSpace="Custom"><EventID>9002</EventID></Port>
  <Port Name="EventOtherPort" NameSpace="Custom"><EventID>9001</EventID></Port>
  <Integer Name="RoiOffsetYAddress" NameSpace="Custom"><Value>4</Value></Integer>
  <IntReg Name="ChunkOffsetYComputed" NameSpace="Custom">
    <pAddress>RoiOffsetYAddress</pAddress><Length>4</Length><AccessMode>RO</AccessMode><pPort>RoiPort</pPort>
    <Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Port Name="FrameIdPort" NameSpace="Custom"><ChunkID>A5A50200</ChunkID></Port>
  <Port Name="ExposurePort" NameSpace="Custom"><ChunkID>A5A50201</ChunkID></Port>
  <Port Name="RoiPort" NameSpace="Custom"><ChunkID>0xA5A50202</ChunkID></Port>
  <Port Name="Device" NameSpace="Standard"/>
</RegisterDescription>
)";

class BytesBackend : public detail::BufferBackend
{
public:
    explicit BytesBackend(std::vector<uint8_t> bytes, bool chunks = true) : m_bytes(std::move(bytes)), m_chunks(chunks)
    {
    }
    uint8_t* BasePtr() override { return m_bytes.empty() ? nullptr : m_bytes.data(); }
    size_t Size() const override { return m_bytes.size(); }
    void* UserPtr() const override { return nullptr; }
    size_t ImageOffset() const override { return 0; }
    uint64_t Width() const override { return 0; }
    uint64_t Height() const override { return 0; }
    uint64_t PixelFormat() const override { return 0; }
    uint64_t FrameId() const override { return 0; }
    uint64_t TimestampNs() const override { return 0; }
    int32_t PayloadType() const override { return 1; }
    bool HasImage() const override { return true; }
    bool HasChunks() const override { return m_chunks; }
    size_t FilledSize() const override { return m_bytes.size(); }
    detail::BufferStatusInfo Status() const override { return {}; }
    bool ChunksBigEndian() const override { return true; }

private:
    std::vector<uint8_t> m_bytes;
    bool m_chunks;
};

void PutBE32(std::vector<uint8_t>& out, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(uint8_t(value >> shift));
}

template <typename T> void AddChunk(std::vector<uint8_t>& out, uint32_t id, const T& value)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
    out.insert(out.end(), bytes, bytes + sizeof value);
    PutBE32(out, id);
    PutBE32(out, uint32_t(sizeof value));
}

// An image chunk of 16 bytes and the three value chunks.
std::vector<uint8_t> Payload(uint64_t frameId, double exposure, uint32_t offsetY)
{
    std::vector<uint8_t> out(16, 0x55);
    PutBE32(out, 0xA5A50001);
    PutBE32(out, 16);
    AddChunk(out, 0xA5A50200, frameId);
    AddChunk(out, 0xA5A50201, exposure);
    const uint32_t roi[2] = {7, offsetY};
    AddChunk(out, 0xA5A50202, roi);
    return out;
}

std::shared_ptr<Buffer> MakeBuffer(std::vector<uint8_t> bytes, bool chunks = true)
{
    return std::make_shared<Buffer>(std::weak_ptr<DataStream>{},
                                    std::make_shared<BytesBackend>(std::move(bytes), chunks));
}

class LocalChunkMap : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { orna::Library::Initialize(); }
    void SetUp() override
    {
        bank = std::make_shared<detail::RegisterBank>();
        bank->AddMemory(0x100, 8);
        map = detail::CreateLocalNodeMap(bank, kChunkXml);
    }
    std::shared_ptr<detail::RegisterBank> bank;
    std::shared_ptr<NodeMap> map;
};

TEST_F(LocalChunkMap, ChunkNodesReadTheLastBufferAndKeepTheOriginalXml)
{
    EXPECT_EQ(map->GetXml(), kChunkXml) << "the rewritten text is for the node engine only";
    auto frameId = map->FindNode<IntegerNode>("ChunkFrameID");
    auto exposure = map->FindNode<FloatNode>("ChunkExposureTime");
    auto offsetY = map->FindNode<IntegerNode>("ChunkOffsetY");
    EXPECT_THROW(frameId->GetValue(), Exception) << "no buffer yet";

    std::atomic<int> fired{0};
    frameId->RegisterChangedCallback([&](const std::shared_ptr<Node>&) { ++fired; });

    map->UpdateChunkNodes(MakeBuffer(Payload(41, 1250.5, 300)));
    EXPECT_EQ(frameId->GetValue(), 41);
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 1250.5);
    EXPECT_EQ(offsetY->GetValue(), 300) << "register at offset 4 of its chunk, through an Integer";
    EXPECT_EQ(map->FindNode<IntegerNode>("ChunkOffsetYComputed")->GetValue(), 300) << "address from pAddress";
    EXPECT_EQ(fired.load(), 1);

    map->UpdateChunkNodes(MakeBuffer(Payload(42, 99.0, 12)));
    EXPECT_EQ(frameId->GetValue(), 42);
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 99.0);
    EXPECT_EQ(offsetY->GetValue(), 12);
    EXPECT_EQ(fired.load(), 2);
    map->UpdateChunkNodes(MakeBuffer(Payload(42, 5.0, 12)));
    EXPECT_EQ(fired.load(), 2) << "same frame id: no callback";

    // The plain register of the map is untouched by the windows.
    map->FindNode<IntegerNode>("Counter")->SetValue(9);
    EXPECT_EQ(map->FindNode<IntegerNode>("Counter")->GetValue(), 9);

    // A buffer that lacks one chunk: that node raises, the others read the new buffer.
    std::vector<uint8_t> partial(16, 0);
    PutBE32(partial, 0xA5A50001);
    PutBE32(partial, 16);
    AddChunk(partial, 0xA5A50200, uint64_t(77));
    map->UpdateChunkNodes(MakeBuffer(partial));
    EXPECT_EQ(frameId->GetValue(), 77);
    EXPECT_THROW(exposure->GetValue(), IOException);
    // A chunk shorter than a register in it: the read fails instead of reading beyond the chunk.
    std::vector<uint8_t> shortRoi(16, 0);
    PutBE32(shortRoi, 0xA5A50001);
    PutBE32(shortRoi, 16);
    AddChunk(shortRoi, 0xA5A50202, uint32_t(5));
    map->UpdateChunkNodes(MakeBuffer(shortRoi));
    EXPECT_THROW(offsetY->GetValue(), IOException);
}

TEST_F(LocalChunkMap, BuffersWithoutChunksOrWithDamagedTrailersAreRefused)
{
    map->UpdateChunkNodes(MakeBuffer(Payload(5, 1.0, 2)));
    EXPECT_THROW(map->UpdateChunkNodes(MakeBuffer(Payload(6, 1.0, 2), false)), NotAvailableException);
    EXPECT_THROW(map->UpdateChunkNodes(nullptr), NullArgumentError);

    // Cut the front at every length: the walk from the end then meets a record that does not fit, except
    // where the cut falls between two records. Each buffer is its own exact-size allocation, so ASan sees
    // any read outside it.
    const auto full = Payload(6, 2.0, 3);
    const std::vector<size_t> boundaries = {24, 40, 56};
    for (size_t cut = 1; cut < full.size(); ++cut)
    {
        const bool boundary = std::count(boundaries.begin(), boundaries.end(), cut) > 0;
        std::vector<uint8_t> tail(full.begin() + long(cut), full.end());
        if (boundary)
            EXPECT_NO_THROW(map->UpdateChunkNodes(MakeBuffer(tail))) << cut;
        else
            EXPECT_THROW(map->UpdateChunkNodes(MakeBuffer(tail)), InvalidArgumentException) << cut;
    }
    // Cut the end at every length: whatever the last bytes claim, the walk stays inside the buffer.
    for (size_t keep = 0; keep < full.size(); ++keep)
    {
        try
        {
            map->UpdateChunkNodes(MakeBuffer(std::vector<uint8_t>(full.begin(), full.begin() + long(keep))));
        }
        catch (const Exception&)
        {
        }
    }
    map->UpdateChunkNodes(MakeBuffer(Payload(5, 1.0, 2)));
    // A trailer whose length claims more than the buffer holds.
    auto lying = full;
    lying[lying.size() - 1] = 0xFF;
    lying[lying.size() - 2] = 0xFF;
    EXPECT_THROW(map->UpdateChunkNodes(MakeBuffer(lying)), InvalidArgumentException);
    EXPECT_THROW(map->UpdateChunkNodes(MakeBuffer({1, 2, 3})), InvalidArgumentException);
    EXPECT_THROW(map->UpdateChunkNodes(MakeBuffer({})), InvalidArgumentException);
    // The refused buffers left the previous values in place.
    EXPECT_EQ(map->FindNode<IntegerNode>("ChunkFrameID")->GetValue(), 5);
}

// The capture thread updates while another thread reads under the map's lock: the values read together
// always come from one buffer.
TEST_F(LocalChunkMap, ReadersUnderTheMapLockSeeOneBufferAtATime)
{
    std::atomic<bool> done{false};
    std::atomic<int> mixed{0};
    std::atomic<int> reads{0};
    std::thread reader([&] {
        auto frameId = map->FindNode<IntegerNode>("ChunkFrameID");
        auto exposure = map->FindNode<FloatNode>("ChunkExposureTime");
        while (!done)
        {
            std::lock_guard<NodeMap> lock(*map);
            try
            {
                if (double(frameId->GetValue()) != exposure->GetValue())
                    ++mixed;
                ++reads;
            }
            catch (const Exception&)
            {
                // before the first buffer
            }
        }
    });
    for (uint64_t n = 1; n <= 2000; ++n)
        map->UpdateChunkNodes(MakeBuffer(Payload(n, double(n), uint32_t(n))));
    done = true;
    reader.join();
    EXPECT_EQ(mixed.load(), 0);
    EXPECT_EQ(map->FindNode<IntegerNode>("ChunkFrameID")->GetValue(), 2000);
}

std::shared_ptr<Event> MakeEvent(uint64_t id, uint64_t timestamp, uint32_t code, size_t size = 12)
{
    std::vector<uint8_t> data(12);
    std::memcpy(data.data(), &timestamp, 8);
    std::memcpy(data.data() + 8, &code, 4);
    data.resize(size);
    return std::make_shared<Event>(EventType::RemoteDevice, id, data);
}

TEST_F(LocalChunkMap, EventNodesReadTheLastEventOfTheirId)
{
    auto timestamp = map->FindNode<IntegerNode>("EventTestTimestamp");
    auto code = map->FindNode<IntegerNode>("EventTestCode");
    auto other = map->FindNode<IntegerNode>("EventOtherTimestamp");
    EXPECT_THROW(timestamp->GetValue(), IOException) << "no event yet";
    std::atomic<int> fired{0};
    timestamp->RegisterChangedCallback([&](const std::shared_ptr<Node>&) { ++fired; });

    map->UpdateEventNodes(MakeEvent(0x9002, 123456789, 17));
    EXPECT_EQ(timestamp->GetValue(), 123456789);
    EXPECT_EQ(code->GetValue(), 17);
    EXPECT_THROW(other->GetValue(), IOException);
    EXPECT_EQ(fired.load(), 1);

    // Another id leaves this one's values; an unknown id changes nothing.
    map->UpdateEventNodes(MakeEvent(0x9001, 555, 0));
    map->UpdateEventNodes(MakeEvent(0x1234, 1, 1));
    EXPECT_EQ(other->GetValue(), 555);
    EXPECT_EQ(timestamp->GetValue(), 123456789);
    EXPECT_EQ(fired.load(), 1);

    // Data too short for a register: that read fails, the shorter one works.
    map->UpdateEventNodes(MakeEvent(0x9002, 42, 9, 8));
    EXPECT_EQ(timestamp->GetValue(), 42);
    EXPECT_THROW(code->GetValue(), IOException);
    EXPECT_EQ(fired.load(), 2);
    EXPECT_THROW(map->UpdateEventNodes(nullptr), NullArgumentError);
}

TEST(ChunkWalk, StrictWalkFindsEveryRecordInPayloadOrder)
{
    const auto bytes = Payload(1, 2.0, 3);
    const auto chunks = detail::WalkChunksStrict(bytes.data(), bytes.size(), true);
    ASSERT_EQ(chunks.size(), 4u);
    EXPECT_EQ(chunks[0].GetID(), 0xA5A50001u);
    EXPECT_EQ(chunks[0].GetBasePtr(), bytes.data());
    EXPECT_EQ(chunks[3].GetID(), 0xA5A50202u);
    EXPECT_EQ(chunks[3].GetSize(), 8u);
}

// ---- The simulated camera through the public API ----

class SimChunkNodes : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(sim::kSimCamerasEnvironmentVariable, "1", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        ::setenv(sim::kSimCamerasEnvironmentVariable, "1", 1);
        EnvironmentInspector::UpdateCTIPaths();
        const auto paths = EnvironmentInspector::GetCTIPaths();
        if (std::find(paths.begin(), paths.end(), "sim:") == paths.end())
            GTEST_SKIP() << "the sim: producer is not listed";
        producer = ProducerLibrary::Construct("sim:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        ASSERT_FALSE(iface->GetDevices().empty());
        for (const auto& camera : sim::SimCameraRegistry::Instance().Cameras())
            camera->SetHeldByOtherProcess(false);
        device = iface->GetDevices().at(0)->OpenDevice(DeviceAccessType::Control);
        map = device->GetRemoteDevice()->GetNodeMap();
        map->FindNode<IntegerNode>("Width")->SetValue(320);
        map->FindNode<IntegerNode>("Height")->SetValue(240);
    }
    void TearDown() override
    {
        if (stream)
        {
            try
            {
                map->FindNode<CommandNode>("AcquisitionStop")->Execute();
            }
            catch (const Exception&)
            {
            }
            stream->StopAcquisition();
            stream->Flush(FlushMode::DiscardAll);
        }
    }
    void Start()
    {
        stream = device->GetDataStream(0)->OpenDataStream();
        const auto payload = size_t(map->FindNode<IntegerNode>("PayloadSize")->GetValue());
        for (int i = 0; i < 4; ++i)
            stream->QueueBuffer(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->StartAcquisition();
        map->FindNode<CommandNode>("AcquisitionStart")->Execute();
    }
    void Enable(const char* chunk)
    {
        map->FindNode<EnumerationNode>("ChunkSelector")->SetCurrentEntryBySymbolicValue(chunk);
        map->FindNode<BooleanNode>("ChunkEnable")->SetValue(true);
    }

    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
    std::shared_ptr<Device> device;
    std::shared_ptr<NodeMap> map;
    std::shared_ptr<DataStream> stream;
};

TEST_F(SimChunkNodes, ChunkFeaturesEqualTheBufferAndTheNodeValues)
{
    map->FindNode<FloatNode>("ExposureTime")->SetValue(2345.0);
    map->FindNode<EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("All");
    map->FindNode<FloatNode>("Gain")->SetValue(6.5);
    map->FindNode<BooleanNode>("ChunkModeActive")->SetValue(true);
    for (const char* chunk : {"FrameID", "Timestamp", "ExposureTime", "Gain", "Width", "Height"})
        Enable(chunk);
    const double exposure = map->FindNode<FloatNode>("ExposureTime")->GetValue();
    const double gain = map->FindNode<FloatNode>("Gain")->GetValue();

    std::atomic<int> frameIdChanges{0};
    map->FindNode<IntegerNode>("ChunkFrameID")->RegisterChangedCallback([&](const std::shared_ptr<Node>&) {
        ++frameIdChanges;
    });
    Start();
    uint64_t lastFrameId = 0;
    for (int i = 0; i < 3; ++i)
    {
        auto buffer = stream->WaitForFinishedBuffer(3000);
        ASSERT_TRUE(buffer->GetHasChunks());
        map->UpdateChunkNodes(buffer);
        lastFrameId = buffer->GetFrameID();
        EXPECT_EQ(uint64_t(map->FindNode<IntegerNode>("ChunkFrameID")->GetValue()), buffer->GetFrameID());
        EXPECT_EQ(uint64_t(map->FindNode<IntegerNode>("ChunkTimestamp")->GetValue()), buffer->GetTimestamp_ns());
        EXPECT_DOUBLE_EQ(map->FindNode<FloatNode>("ChunkExposureTime")->GetValue(), exposure);
        EXPECT_DOUBLE_EQ(map->FindNode<FloatNode>("ChunkGain")->GetValue(), gain);
        EXPECT_EQ(uint64_t(map->FindNode<IntegerNode>("ChunkWidth")->GetValue()), buffer->GetWidth());
        EXPECT_EQ(uint64_t(map->FindNode<IntegerNode>("ChunkHeight")->GetValue()), buffer->GetHeight());
        EXPECT_THROW(map->FindNode<IntegerNode>("ChunkOffsetX")->GetValue(), Exception) << "not enabled";
        stream->QueueBuffer(buffer);
    }
    EXPECT_EQ(frameIdChanges.load(), 3);
    // The values are a copy: still those of the last buffer after it went back to the stream.
    EXPECT_EQ(uint64_t(map->FindNode<IntegerNode>("ChunkFrameID")->GetValue()), lastFrameId);
}

TEST_F(SimChunkNodes, BufferWithoutChunksRaisesNotAvailable)
{
    map->FindNode<BooleanNode>("ChunkModeActive")->SetValue(false);
    Start();
    auto buffer = stream->WaitForFinishedBuffer(3000);
    ASSERT_FALSE(buffer->GetHasChunks());
    EXPECT_THROW(map->UpdateChunkNodes(buffer), NotAvailableException);
    stream->QueueBuffer(buffer);
}

} // namespace
