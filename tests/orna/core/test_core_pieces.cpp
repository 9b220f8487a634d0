// Pieces below the modules: chunk walking, port URLs, the register bank, event controllers, the XML index.
#include "orna/core/buffer.h"
#include "orna/core/detail/registerbank.h"
#include "orna/core/detail/xmlindex.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/core/port.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace orna::core;

namespace {

void Append32(std::vector<uint8_t>& out, uint32_t value, bool bigEndian)
{
    for (int i = 0; i < 4; ++i)
        out.push_back(uint8_t(bigEndian ? value >> (24 - 8 * i) : value >> (8 * i)));
}

std::vector<uint8_t> ChunkPayload(bool bigEndian)
{
    // [image 6 bytes][id 0x10 len 6] [chunk data 4 bytes][id 0x2A len 4]
    std::vector<uint8_t> payload{1, 2, 3, 4, 5, 6};
    Append32(payload, 0x10, bigEndian);
    Append32(payload, 6, bigEndian);
    payload.insert(payload.end(), {9, 8, 7, 6});
    Append32(payload, 0x2A, bigEndian);
    Append32(payload, 4, bigEndian);
    return payload;
}

TEST(ChunkWalk, FindsRecordsInPayloadOrderForBothByteOrders)
{
    for (bool bigEndian : {false, true})
    {
        const auto payload = ChunkPayload(bigEndian);
        const auto chunks = detail::ParseChunks(payload.data(), payload.size(), bigEndian);
        ASSERT_EQ(chunks.size(), 2u) << "bigEndian " << bigEndian;
        EXPECT_EQ(chunks[0].GetID(), 0x10u);
        EXPECT_EQ(chunks[0].GetSize(), 6u);
        EXPECT_EQ(chunks[0].GetBasePtr(), payload.data());
        EXPECT_EQ(chunks[1].GetID(), 0x2Au);
        EXPECT_EQ(chunks[1].GetBasePtr()[0], 9);
    }
}

TEST(ChunkWalk, StopsAtARecordThatDoesNotFit)
{
    std::vector<uint8_t> payload{1, 2};
    Append32(payload, 0x10, false);
    Append32(payload, 1000, false);
    EXPECT_TRUE(detail::ParseChunks(payload.data(), payload.size(), false).empty());
    EXPECT_TRUE(detail::ParseChunks(nullptr, 0, false).empty());
    EXPECT_TRUE(detail::ParseChunks(payload.data(), 3, false).empty());
}

TEST(PortUrl, ParsesLocalUrlsOnly)
{
    std::string name;
    uint64_t address = 0, size = 0;
    ASSERT_TRUE(ParseLocalUrl("Local:arv-fake-camera.xml;10000;3e67", name, address, size));
    EXPECT_EQ(name, "arv-fake-camera.xml");
    EXPECT_EQ(address, 0x10000u);
    EXPECT_EQ(size, 0x3e67u);
    ASSERT_TRUE(ParseLocalUrl("local:cam.zip;0x8000;0x100?SchemaVersion=1.1.0", name, address, size));
    EXPECT_EQ(name, "cam.zip");
    EXPECT_EQ(size, 0x100u);
    EXPECT_FALSE(ParseLocalUrl("File:cam.xml", name, address, size));
    EXPECT_FALSE(ParseLocalUrl("Local:cam.xml;zz;10", name, address, size));
    EXPECT_FALSE(ParseLocalUrl("Local:;10;10", name, address, size));
}

TEST(RegisterBank, RegionsProtectionAndPartialAccess)
{
    detail::RegisterBank bank;
    bank.AddMemory(0x100, 8, true, {1, 2, 3, 4, 5, 6, 7, 8});
    bank.AddMemory(0x200, 4, false, {9, 9, 9, 9});
    int64_t live = 0x0102;
    bank.AddInteger(
        0x300, [&live] { return live; },
        [&live](int64_t v) {
            live = v;
            return v >= 0;
        });
    uint8_t bytes[8] = {};
    EXPECT_EQ(bank.Read(0x102, bytes, 4), detail::RegisterBank::Status::Ok);
    EXPECT_EQ(bytes[0], 3);
    EXPECT_EQ(bank.Read(0x106, bytes, 4), detail::RegisterBank::Status::InvalidAddress) << "crosses the region end";
    EXPECT_EQ(bank.Read(0x50, bytes, 1), detail::RegisterBank::Status::InvalidAddress);
    EXPECT_EQ(bank.Write(0x200, bytes, 4), detail::RegisterBank::Status::WriteProtected);
    EXPECT_EQ(bank.Poke(0x200, bytes, 4), detail::RegisterBank::Status::Ok);
    // A partial write of a live value keeps its other bytes.
    const uint8_t high = 0x05;
    EXPECT_EQ(bank.Write(0x301, &high, 1), detail::RegisterBank::Status::Ok);
    EXPECT_EQ(live, 0x0502);
    const uint8_t negative[8] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    EXPECT_EQ(bank.Write(0x300, negative, 8), detail::RegisterBank::Status::Failed);
}

TEST(RegisterBank, PassThroughWindowGetsAbsoluteAddresses)
{
    std::vector<uint8_t> memory(0x100, 0);
    detail::RegisterBank bank;
    bank.AddPassThrough(
        0x1000, memory.size(),
        [&memory](uint64_t address, uint8_t* data, size_t size) {
            std::memcpy(data, memory.data() + (address - 0x1000), size);
            return true;
        },
        [&memory](uint64_t address, const uint8_t* data, size_t size) {
            if (address == 0x10F0)
                return false; // the simulated device refuses this one
            std::memcpy(memory.data() + (address - 0x1000), data, size);
            return true;
        });
    const uint8_t value[2] = {0xAB, 0xCD};
    EXPECT_EQ(bank.Write(0x1010, value, 2), detail::RegisterBank::Status::Ok);
    EXPECT_EQ(memory[0x10], 0xAB);
    uint8_t back[2] = {};
    EXPECT_EQ(bank.Read(0x1010, back, 2), detail::RegisterBank::Status::Ok);
    EXPECT_EQ(back[1], 0xCD);
    EXPECT_EQ(bank.Write(0x10F0, value, 2), detail::RegisterBank::Status::Failed);
    EXPECT_EQ(bank.Read(0x10FF, back, 2), detail::RegisterBank::Status::InvalidAddress);
}

TEST(EventControllerQueue, KillBeforeWaitAbortsTheNextWaitOnceAndQueueIsBounded)
{
    orna::Library::Initialize();
    EventController controller(EventType::ConnectionEvent);
    controller.KillWait();
    EXPECT_THROW(controller.WaitForEvent(1000), AbortedException);
    EXPECT_THROW(controller.WaitForEvent(10), TimeoutException);
    for (size_t i = 0; i < EventController::kMaxQueued + 5; ++i)
        controller.Push(std::make_shared<Event>(EventType::ConnectionEvent, i, std::vector<uint8_t>{1}));
    EXPECT_EQ(controller.GetNumQueued(), EventController::kMaxQueued);
    EXPECT_EQ(controller.WaitForEvent(0)->GetID(), 5u) << "the oldest events are dropped";
}

TEST(XmlIndexGraph, ChangeSetFollowsWriteThroughAndInvalidators)
{
    const std::string xml = R"(<RegisterDescription>
      <Integer Name="A"><pValue>AReg</pValue></Integer>
      <IntReg Name="AReg"><Address>0</Address></IntReg>
      <IntReg Name="B"><pInvalidator>A</pInvalidator><Address>4</Address></IntReg>
      <IntSwissKnife Name="C"><pVariable Name="X">AReg</pVariable><Formula>X</Formula></IntSwissKnife>
      <Enumeration Name="S"><pSelected>D</pSelected><EnumEntry Name="E1"><pIsAvailable>F</pIsAvailable></EnumEntry></Enumeration>
      <Integer Name="D"><PollingTime>250</PollingTime><Value>1</Value></Integer>
      <Integer Name="F"><Value>1</Value></Integer>
      <Group Comment="g"><Integer Name="G"><Value>1</Value></Integer></Group>
    </RegisterDescription>)";
    detail::XmlIndex index;
    std::string error;
    ASSERT_TRUE(index.Parse(xml, error)) << error;
    ASSERT_EQ(index.Nodes().size(), 8u);
    EXPECT_EQ(index.Nodes().back().name, "G");
    EXPECT_EQ(index.Find("D")->pollingTime, 250);
    EXPECT_EQ(index.Find("S")->entries, std::vector<std::string>{"E1"});
    auto set = index.ChangeSet("A");
    // A itself, the register it writes, what reads that register (C) and what A invalidates (B).
    EXPECT_EQ(set.front(), "A");
    for (const char* name : {"AReg", "B", "C"})
        EXPECT_NE(std::find(set.begin(), set.end(), name), set.end()) << name;
    EXPECT_EQ(index.ChangeSet("S"), (std::vector<std::string>{"S", "D"}));
    // An entry's availability condition makes the enumeration a dependent of F.
    EXPECT_EQ(index.ChangeSet("F"), (std::vector<std::string>{"F", "S", "D"}));
    EXPECT_EQ(index.Selecting("D"), std::vector<std::string>{"S"});
    EXPECT_FALSE(index.Parse("<not xml", error));
}

} // namespace
