// Node maps over the fixture XML on a register bank: type mapping, access, visibility, order, selectors,
// invalidation, polling, commands, persistence, and concurrent use.
#include "concurrent_use.h"
#include "fixture_xml.h"
#include "orna/core/benchsupport/largedescription.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <thread>

using namespace orna::core;
using namespace orna::core::nodes;

namespace {

class NodeMapTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        orna::Library::Initialize();
        bank = test::MakeFixtureBank();
        map = detail::CreateLocalNodeMap(bank, test::kFixtureXml);
    }

    uint32_t Peek32(uint64_t address)
    {
        uint8_t b[4];
        EXPECT_EQ(bank->Read(address, b, 4), detail::RegisterBank::Status::Ok);
        return b[0] | (b[1] << 8) | (b[2] << 16) | (uint32_t(b[3]) << 24);
    }
    void Poke32(uint64_t address, uint32_t value)
    {
        uint8_t b[4] = {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
        ASSERT_EQ(bank->Poke(address, b, 4), detail::RegisterBank::Status::Ok);
    }

    std::shared_ptr<detail::RegisterBank> bank;
    std::shared_ptr<NodeMap> map;
};

TEST_F(NodeMapTest, NodeKindsMapToTheirClasses)
{
    EXPECT_EQ(map->FindNode("Width")->GetType(), NodeType::Integer);
    // An IntReg is an integer first (it is also a register in the engine).
    EXPECT_EQ(map->FindNode("TestRegister")->GetType(), NodeType::Integer);
    EXPECT_EQ(map->FindNode("PayloadSize")->GetType(), NodeType::Integer);
    EXPECT_EQ(map->FindNode("Gamma")->GetType(), NodeType::Float);
    EXPECT_EQ(map->FindNode("ExposureTime")->GetType(), NodeType::Float);
    EXPECT_EQ(map->FindNode("PixelFormat")->GetType(), NodeType::Enumeration);
    EXPECT_EQ(map->FindNode("ReverseX")->GetType(), NodeType::Boolean);
    EXPECT_EQ(map->FindNode("DeviceUserID")->GetType(), NodeType::String);
    EXPECT_EQ(map->FindNode("Reset")->GetType(), NodeType::Command);
    EXPECT_EQ(map->FindNode("LutData")->GetType(), NodeType::Register);
    EXPECT_EQ(map->FindNode("Root")->GetType(), NodeType::Category);

    EXPECT_NO_THROW(map->FindNode<IntegerNode>("Width"));
    EXPECT_NO_THROW(map->FindNode<RegisterNode>("LutData"));
    try
    {
        map->FindNode<FloatNode>("Width");
        FAIL() << "cast to the wrong class must raise";
    }
    catch (const InvalidCastException& e)
    {
        EXPECT_NE(std::string(e.what()).find("Invalid node cast!"), std::string::npos);
    }
}

TEST_F(NodeMapTest, FindNodeRaisesAndGetHasNodeDoesNot)
{
    EXPECT_THROW(map->FindNode("NoSuchNode"), NotFoundException);
    EXPECT_FALSE(map->GetHasNode("NoSuchNode"));
    EXPECT_TRUE(map->GetHasNode("Width"));
    // Document order, every named node once.
    ASSERT_GT(map->GetNumNodes(), 30u);
    EXPECT_EQ(map->GetNode(0)->GetName(), "Root");
    EXPECT_EQ(map->GetNode(1)->GetName(), "ImageFormat");
    EXPECT_THROW(map->GetNode(map->GetNumNodes()), OutOfRangeException);
}

TEST_F(NodeMapTest, TextsAndVisibility)
{
    auto width = map->FindNode("Width");
    EXPECT_EQ(width->GetDisplayName(), "Image Width");
    EXPECT_EQ(width->GetToolTip(), "Width of the image");
    EXPECT_EQ(width->GetDescription(), "Width of the image in pixels");
    EXPECT_EQ(width->GetNamespace(), "Standard");
    EXPECT_EQ(map->FindNode("WidthReg")->GetNamespace(), "Custom");
    EXPECT_EQ(width->GetVisibility(), NodeVisibility::Beginner);
    EXPECT_EQ(map->FindNode("Gamma")->GetVisibility(), NodeVisibility::Expert);
    EXPECT_EQ(map->FindNode("SensorInfo")->GetVisibility(), NodeVisibility::Guru);
    EXPECT_EQ(map->FindNode("HiddenValue")->GetVisibility(), NodeVisibility::Invisible);
    EXPECT_TRUE(map->FindNode("OldFeature")->GetIsDeprecated());
    EXPECT_FALSE(width->GetIsDeprecated());
    EXPECT_TRUE(width->GetIsFeature());
    EXPECT_FALSE(map->FindNode("WidthReg")->GetIsFeature());
}

TEST_F(NodeMapTest, AccessStatesAndChecks)
{
    EXPECT_EQ(map->FindNode("Width")->GetAccessStatus(), NodeAccessStatus::ReadWrite);
    EXPECT_EQ(map->FindNode("DeviceVendorName")->GetAccessStatus(), NodeAccessStatus::ReadOnly);
    EXPECT_EQ(map->FindNode("WriteOnlyValue")->GetAccessStatus(), NodeAccessStatus::WriteOnly);
    // A command has the access of the register it writes.
    EXPECT_EQ(map->FindNode("Reset")->GetAccessStatus(), NodeAccessStatus::ReadWrite);
    EXPECT_EQ(map->FindNode("Unimplemented")->GetAccessStatus(), NodeAccessStatus::NotImplemented);
    EXPECT_EQ(map->FindNode("Unavailable")->GetAccessStatus(), NodeAccessStatus::NotAvailable);

    // Access and range checks are on: neither write reaches the registers.
    EXPECT_THROW(map->FindNode<StringNode>("DeviceVendorName")->SetValue("Other"), Exception);
    EXPECT_EQ(map->FindNode<StringNode>("DeviceVendorName")->GetValue(), "Orna");
    EXPECT_THROW(map->FindNode<IntegerNode>("Width")->SetValue(8192), OutOfRangeException);
    EXPECT_EQ(Peek32(0x1000), 640u);
}

TEST_F(NodeMapTest, IntegerFloatBooleanStringRegister)
{
    auto width = map->FindNode<IntegerNode>("Width");
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_EQ(width->GetMinimum(), 16);
    EXPECT_EQ(width->GetMaximum(), 4096);
    EXPECT_EQ(width->GetIncrement(), 16);
    EXPECT_EQ(width->GetIncrementType(), IncrementType::FixedIncrement);
    EXPECT_EQ(width->GetUnit(), "px");
    width->SetValue(800);
    EXPECT_EQ(Peek32(0x1000), 800u);
    EXPECT_EQ(map->FindNode<IntegerNode>("PayloadSize")->GetValue(), 800 * 480);
    EXPECT_EQ(map->FindNode<IntegerNode>("TestRegister")->GetRepresentation(), IntegerRepresentation::HexNumber);

    auto gamma = map->FindNode<FloatNode>("Gamma");
    EXPECT_DOUBLE_EQ(gamma->GetValue(), 1.0);
    EXPECT_FALSE(gamma->GetHasConstantIncrement());
    gamma->SetValue(2.5);
    EXPECT_DOUBLE_EQ(gamma->GetValue(), 2.5);
    EXPECT_THROW(gamma->SetValue(10.0), OutOfRangeException);
    auto rate = map->FindNode<FloatNode>("FrameRate");
    EXPECT_TRUE(rate->GetHasConstantIncrement());
    EXPECT_DOUBLE_EQ(rate->GetIncrement(), 0.5);

    auto exposure = map->FindNode<FloatNode>("ExposureTime");
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 100.0);
    exposure->SetValue(250.0);
    EXPECT_EQ(Peek32(0x1020), 2500u);

    auto reverse = map->FindNode<BooleanNode>("ReverseX");
    EXPECT_FALSE(reverse->GetValue());
    reverse->SetValue(true);
    EXPECT_EQ(Peek32(0x100C), 1u);

    auto user = map->FindNode<StringNode>("DeviceUserID");
    EXPECT_EQ(user->GetValue(), "cam");
    user->SetValue("left");
    EXPECT_EQ(user->GetValue(), "left");

    auto lut = map->FindNode<RegisterNode>("LutData");
    EXPECT_EQ(lut->GetLength(), 16);
    std::vector<uint8_t> data(16);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = uint8_t(i * 3);
    lut->Write(data);
    EXPECT_EQ(lut->Read(), data);
    EXPECT_THROW(lut->Read(nullptr, 4), orna::core::NullArgumentError);
}

TEST_F(NodeMapTest, EnumerationEntriesInDocumentOrderWithAvailability)
{
    auto format = map->FindNode<EnumerationNode>("PixelFormat");
    ASSERT_EQ(format->GetNumEntries(), 4u);
    const char* expected[] = {"Mono8", "Mono12", "BayerRG8", "RGB8"};
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(format->GetEntry(i)->GetSymbolicValue(), expected[i]);
    EXPECT_EQ(format->GetEntry(0)->GetName(), "EnumEntry_PixelFormat_Mono8");
    EXPECT_EQ(format->GetEntry(1)->GetValue(), 17825797);
    EXPECT_EQ(format->GetEntry(0)->GetAccessStatus(), NodeAccessStatus::ReadOnly);
    EXPECT_EQ(format->GetEntry(2)->GetAccessStatus(), NodeAccessStatus::NotAvailable);

    EXPECT_EQ(format->GetCurrentEntry()->GetSymbolicValue(), "Mono8");
    format->SetCurrentEntryBySymbolicValue("Mono12");
    EXPECT_EQ(Peek32(0x1008), 17825797u);
    format->SetCurrentEntryByValue(17301505);
    EXPECT_EQ(format->GetCurrentEntry()->GetSymbolicValue(), "Mono8");
    format->SetCurrentEntry(format->FindEntryBySymbolicValue("Mono12"));
    EXPECT_EQ(format->GetValueAsString(), "Mono12");
    EXPECT_THROW(format->FindEntryBySymbolicValue("Mono99"), NotFoundException);
    EXPECT_THROW(format->SetCurrentEntryBySymbolicValue("Mono99"), NotFoundException);
}

TEST_F(NodeMapTest, CategoriesAndSelectors)
{
    auto root = map->FindNode<CategoryNode>("Root");
    ASSERT_EQ(root->GetNumSubNodes(), 3u);
    EXPECT_EQ(root->GetSubNode(1)->GetName(), "Analog");
    EXPECT_THROW(root->GetSubNode(3), OutOfRangeException);

    auto selector = map->FindNode<EnumerationNode>("GainSelector");
    ASSERT_EQ(selector->GetNumSelectedNodes(), 1u);
    EXPECT_EQ(selector->GetSelectedNode(0)->GetName(), "Gain");
    auto gain = map->FindNode<IntegerNode>("Gain");
    ASSERT_EQ(gain->GetNumSelectingNodes(), 1u);
    EXPECT_EQ(gain->GetSelectingNode(0)->GetName(), "GainSelector");

    EXPECT_EQ(gain->GetValue(), 1);
    selector->SetCurrentEntryBySymbolicValue("Blue");
    EXPECT_EQ(gain->GetValue(), 3);
    gain->SetValue(30);
    EXPECT_EQ(Peek32(0x2008), 30u);
    EXPECT_EQ(Peek32(0x2000), 1u);
}

TEST_F(NodeMapTest, ChangedCallbacksFollowTheInvalidationGraph)
{
    std::vector<std::string> fired;
    std::vector<CallbackHandle> handles;
    for (const char* name : {"Width", "Height", "PayloadSize", "SensorInfo", "Gain", "Gamma"})
    {
        auto node = map->FindNode(name);
        handles.push_back(node->RegisterChangedCallback(
            [&fired](const std::shared_ptr<Node>& changed) { fired.push_back(changed->GetName()); }));
    }
    map->FindNode<IntegerNode>("Width")->SetValue(320);
    EXPECT_EQ(fired, (std::vector<std::string>{"Width", "PayloadSize"}));

    fired.clear();
    map->FindNode<IntegerNode>("Height")->SetValue(240);
    // PayloadSize reads Height; SensorInfo names Height as its invalidator.
    EXPECT_EQ(fired.size(), 3u);
    EXPECT_NE(std::find(fired.begin(), fired.end(), "PayloadSize"), fired.end());
    EXPECT_NE(std::find(fired.begin(), fired.end(), "SensorInfo"), fired.end());

    fired.clear();
    map->FindNode<EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("Red");
    EXPECT_EQ(fired, (std::vector<std::string>{"Gain"}));

    // A failed write changes nothing and reports nothing.
    fired.clear();
    EXPECT_THROW(map->FindNode<FloatNode>("Gamma")->SetValue(100.0), OutOfRangeException);
    EXPECT_TRUE(fired.empty());

    map->FindNode("Width")->UnregisterChangedCallback(handles[0]);
    fired.clear();
    map->FindNode<IntegerNode>("Width")->SetValue(640);
    EXPECT_EQ(fired, (std::vector<std::string>{"PayloadSize"}));
    EXPECT_THROW(map->FindNode("Width")->UnregisterChangedCallback(handles[0]), NotFoundException);
}

TEST_F(NodeMapTest, PollNodesReportsPolledChanges)
{
    auto temperature = map->FindNode("DeviceTemperature");
    EXPECT_EQ(temperature->GetPollingTime(), 100);
    int calls = 0;
    temperature->RegisterChangedCallback([&calls](const std::shared_ptr<Node>&) { ++calls; });
    map->PollNodes(60);
    EXPECT_EQ(calls, 0) << "not due yet";
    map->PollNodes(60);
    EXPECT_EQ(calls, 1) << "the first due poll reports the value";
    map->PollNodes(100);
    EXPECT_EQ(calls, 1) << "unchanged value";
    Poke32(0x1030, 55);
    map->PollNodes(50);
    EXPECT_EQ(calls, 1);
    map->PollNodes(50);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(map->FindNode<IntegerNode>("DeviceTemperature")->GetValue(), 55);
}

TEST_F(NodeMapTest, CommandWaitUntilDone)
{
    auto reset = map->FindNode<CommandNode>("Reset");
    reset->Execute();
    EXPECT_FALSE(reset->GetIsDone());
    EXPECT_NO_THROW(reset->WaitUntilDone(1000));
    EXPECT_TRUE(reset->GetIsDone());

    auto stuck = map->FindNode<CommandNode>("Stuck");
    stuck->Execute();
    EXPECT_EQ(Peek32(0x1044), 7u);
    EXPECT_THROW(stuck->WaitUntilDone(50), TimeoutException);
}

TEST_F(NodeMapTest, PersistenceRoundTrip)
{
    const std::string path = ::testing::TempDir() + "/orna_nodemap_roundtrip.txt";
    map->FindNode<IntegerNode>("Width")->SetValue(1024);
    map->FindNode<EnumerationNode>("PixelFormat")->SetCurrentEntryBySymbolicValue("Mono12");
    map->FindNode<FloatNode>("Gamma")->SetValue(0.75);
    map->FindNode<BooleanNode>("ReverseX")->SetValue(true);
    map->FindNode<StringNode>("DeviceUserID")->SetValue("stored");
    auto selector = map->FindNode<EnumerationNode>("GainSelector");
    selector->SetCurrentEntryBySymbolicValue("Red");
    map->FindNode<IntegerNode>("Gain")->SetValue(21);
    map->StoreToFile(path);
    // The selector walk leaves the selector where it was.
    EXPECT_EQ(selector->GetValueAsString(), "Red");

    std::ifstream in(path);
    std::string first, second, third;
    std::getline(in, first);
    std::getline(in, second);
    std::getline(in, third);
    EXPECT_EQ(second, "# Device = Orna::Fixture -- node map settings");
    EXPECT_EQ(third, "# Device version = 1.4.2");

    auto fresh = detail::CreateLocalNodeMap(test::MakeFixtureBank(), test::kFixtureXml);
    fresh->LoadFromFile(path);
    EXPECT_EQ(fresh->FindNode<IntegerNode>("Width")->GetValue(), 1024);
    EXPECT_EQ(fresh->FindNode("PixelFormat")->GetValueAsString(), "Mono12");
    EXPECT_DOUBLE_EQ(fresh->FindNode<FloatNode>("Gamma")->GetValue(), 0.75);
    EXPECT_TRUE(fresh->FindNode<BooleanNode>("ReverseX")->GetValue());
    EXPECT_EQ(fresh->FindNode<StringNode>("DeviceUserID")->GetValue(), "stored");
    EXPECT_EQ(fresh->FindNode("GainSelector")->GetValueAsString(), "Red");
    auto gain = fresh->FindNode<IntegerNode>("Gain");
    EXPECT_EQ(gain->GetValue(), 21);
    fresh->FindNode<EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("Blue");
    EXPECT_EQ(gain->GetValue(), 3);

    EXPECT_THROW(fresh->LoadFromFile(path + ".missing"), IOException);
    {
        std::ofstream bad(path);
        bad << "Width\t99999\nNoSuchNode\t1\n";
    }
    EXPECT_THROW(fresh->LoadFromFile(path), InvalidArgumentException);
    std::remove(path.c_str());
}

TEST_F(NodeMapTest, NodesOutlivingTheirMapRaise)
{
    auto width = map->FindNode<IntegerNode>("Width");
    map.reset();
    try
    {
        width->GetValue();
        FAIL() << "expired map must raise";
    }
    catch (const InternalErrorException& e)
    {
        EXPECT_NE(std::string(e.what()).find("Pointer has expired!"), std::string::npos);
    }
}

namespace {

std::string RefusalOf(const std::shared_ptr<detail::RegisterBank>& bank, const std::string& xml)
{
    try
    {
        detail::CreateLocalNodeMap(bank, xml);
    }
    catch (const InvalidArgumentException& e)
    {
        return e.what();
    }
    return "(accepted)";
}

} // namespace

TEST_F(NodeMapTest, BadXmlIsRefusedSayingWhere)
{
    EXPECT_THROW(detail::CreateLocalNodeMap(bank, "<RegisterDescription><Integer"), InvalidArgumentException);

    const std::string mismatched = RefusalOf(bank, "<RegisterDescription>\n  <Integer Name=\"A\">\n"
                                                   "    <Value>1</Valu>\n  </Integer>\n</RegisterDescription>\n");
    EXPECT_NE(mismatched.find("The GenICam XML is not well-formed (line 3, column "), std::string::npos) << mismatched;

    // A dump tool's header line before the declaration is named, not reported as a parse error at some column.
    const std::string header = RefusalOf(bank, "GenICam description of camera 42\n" + std::string(test::kFixtureXml));
    EXPECT_NE(header.find("The description does not start with XML (line 1: GenICam description of camera 42)"),
              std::string::npos)
        << header;
    // A byte order mark is still XML; a declaration after anything else is a parse error, with its place.
    EXPECT_NO_THROW(
        detail::CreateLocalNodeMap(test::MakeFixtureBank(), "\xEF\xBB\xBF" + std::string(test::kFixtureXml)));
    const std::string late = RefusalOf(test::MakeFixtureBank(), "\n  " + std::string(test::kFixtureXml));
    EXPECT_NE(late.find("(line 2, column "), std::string::npos) << late;
}

// A description of a large camera's size and shape (selectors over indexed registers, swiss knives, converters,
// enumerations of 30 entries, chunk and event ports) opens with one parse of ours, whose tree the chunk rewrite
// reuses: every kind must still work through the engine.
TEST(LargeDescription, OpensWithEveryNodeKindWorking)
{
    orna::Library::Initialize();
    const auto description = benchsupport::GenerateLargeDescription(60);
    auto map = detail::CreateLocalNodeMap(benchsupport::LargeDescriptionBank(60), description.xml);
    EXPECT_EQ(map->GetXml(), description.xml);

    auto selector = map->FindNode<nodes::EnumerationNode>("Selector10");
    ASSERT_EQ(selector->GetEntries().size(), 30u);
    EXPECT_EQ(selector->GetEntries().front()->GetSymbolicValue(), "Entry0");
    auto selected = map->FindNode<nodes::IntegerNode>("Int11");
    selector->SetCurrentEntryBySymbolicValue("Entry0");
    selected->SetValue(7);
    selector->SetCurrentEntryBySymbolicValue("Entry3");
    EXPECT_EQ(selected->GetValue(), 0) << "each selector entry has a register of its own";
    selected->SetValue(9);
    selector->SetCurrentEntryBySymbolicValue("Entry0");
    EXPECT_EQ(selected->GetValue(), 7);

    EXPECT_EQ(map->FindNode<nodes::IntegerNode>("Int11Scaled")->GetValue(), (7 * 2 + 7) / 3);
    EXPECT_NEAR(map->FindNode<nodes::FloatNode>("Float11")->GetValue(), 0.7, 1e-9); // register / 10
    auto mode = map->FindNode<nodes::EnumerationNode>("Enum15");
    ASSERT_EQ(mode->GetEntries().size(), 30u);
    EXPECT_EQ(mode->GetEntries().back()->GetSymbolicValue(), "Mode29");
    // Chunk registers sit on the rewritten port: no buffer yet, so they are there but not readable.
    EXPECT_TRUE(map->GetHasNode("Chunk25"));
    EXPECT_TRUE(map->GetHasNode("Event50"));
    map.reset();
    orna::Library::Close();
}

TEST_F(NodeMapTest, FourThreadsShort)
{
    test::RunConcurrentUse(map, std::chrono::milliseconds(500));
}

} // namespace

// The node engine's parser keeps its state in one static: maps built on several threads at once (a window
// opening a camera while the camera list probes another) must each come out whole.
TEST(LocalNodeMaps, BuiltOnSeveralThreadsAtOnceAreEachWhole)
{
    orna::Library::Initialize();
    const auto description = benchsupport::GenerateLargeDescription(20);
    std::atomic<int> broken{0};
    std::atomic<int> built{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back([&] {
            for (int i = 0; i < 15; ++i)
            {
                try
                {
                    auto map = detail::CreateLocalNodeMap(benchsupport::LargeDescriptionBank(20), description.xml);
                    if (!map->GetHasNode("Selector10") || !map->GetHasNode("Int11"))
                        ++broken;
                    ++built;
                }
                catch (const std::exception&)
                {
                    ++broken;
                }
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(broken.load(), 0);
    EXPECT_EQ(built.load(), 60);
}
