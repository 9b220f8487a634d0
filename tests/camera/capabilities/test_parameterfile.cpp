// Parameter files between simulated cameras: a file saved from one camera loads into another of the same
// model; a file cut short anywhere, a file of another model, garbage, and a file whose values the camera
// refuses halfway all fail with a reason and leave the camera's values as they were.
#include "../openworker/simdescriptors.h"
#include "camera/parameterfile.h"

#include "orna/core/sim/simregistry.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

using namespace orna::core;

namespace {

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteAll(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

class ParameterFile : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(sim::kSimCamerasEnvironmentVariable, "color,color,mono", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        if (!sim.Open("sim:"))
            GTEST_SKIP() << "the sim: producer is not offered";
        first = sim.BySerial("LVSC00001")->OpenDevice(DeviceAccessType::Control);
        second = sim.BySerial("LVSC00002")->OpenDevice(DeviceAccessType::Control);
        mono = sim.BySerial("LVSM00001")->OpenDevice(DeviceAccessType::Control);
        firstMap = first->GetRemoteDevice()->GetNodeMap();
        secondMap = second->GetRemoteDevice()->GetNodeMap();
        path = ::testing::TempDir() + "/lumivue_parameterfile_test.txt";
    }
    void TearDown() override { std::remove(path.c_str()); }

    // Everything the camera would store, as text: equal texts mean equal values.
    std::string Values(const std::shared_ptr<NodeMap>& map)
    {
        const std::string snapshot = path + ".values";
        map->StoreToFile(snapshot);
        std::string text = ReadAll(snapshot);
        std::remove(snapshot.c_str());
        return text;
    }

    testcams::Transport sim;
    std::shared_ptr<Device> first, second, mono;
    std::shared_ptr<NodeMap> firstMap, secondMap;
    std::string path;
};

TEST_F(ParameterFile, SavedFromOneCameraLoadsIntoAnotherOfTheSameModel)
{
    firstMap->FindNode<nodes::IntegerNode>("Width")->SetValue(1280);
    firstMap->FindNode<nodes::FloatNode>("ExposureTime")->SetValue(12345.0);
    firstMap->FindNode<nodes::EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("DigitalAll");
    firstMap->FindNode<nodes::FloatNode>("Gain")->SetValue(3.0);
    firstMap->FindNode<nodes::EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("AnalogAll");
    std::string error;
    ASSERT_TRUE(camera::SaveParameterFile(firstMap, path, error)) << error;
    ASSERT_NE(Values(firstMap), Values(secondMap));

    ASSERT_TRUE(camera::LoadParameterFile(secondMap, path, error)) << error;
    EXPECT_EQ(secondMap->FindNode<nodes::IntegerNode>("Width")->GetValue(), 1280);
    EXPECT_DOUBLE_EQ(secondMap->FindNode<nodes::FloatNode>("ExposureTime")->GetValue(), 12345.0);
    secondMap->FindNode<nodes::EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("DigitalAll");
    EXPECT_DOUBLE_EQ(secondMap->FindNode<nodes::FloatNode>("Gain")->GetValue(), 3.0);
    secondMap->FindNode<nodes::EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("AnalogAll");
    EXPECT_EQ(Values(secondMap), Values(firstMap));
}

TEST_F(ParameterFile, CutShortAnywhereFailsAndChangesNothing)
{
    firstMap->FindNode<nodes::FloatNode>("ExposureTime")->SetValue(22222.0);
    std::string error;
    ASSERT_TRUE(camera::SaveParameterFile(firstMap, path, error)) << error;
    const std::string full = ReadAll(path);
    const std::string before = Values(secondMap);

    // Every line boundary, and a cut inside each of a few lines.
    std::vector<size_t> cuts;
    for (size_t i = 0; i < full.size() - 1; ++i)
    {
        if (full[i] == '\n')
            cuts.push_back(i + 1);
    }
    const size_t lineCuts = cuts.size();
    for (size_t i = 0; i < lineCuts; i += 7)
        cuts.push_back(cuts[i] + 3);
    for (size_t cut : cuts)
    {
        WriteAll(path, full.substr(0, cut));
        error.clear();
        EXPECT_FALSE(camera::LoadParameterFile(secondMap, path, error)) << "cut at " << cut;
        EXPECT_FALSE(error.empty());
    }
    EXPECT_EQ(Values(secondMap), before);
    WriteAll(path, full);
    EXPECT_TRUE(camera::LoadParameterFile(secondMap, path, error)) << error;
    EXPECT_DOUBLE_EQ(secondMap->FindNode<nodes::FloatNode>("ExposureTime")->GetValue(), 22222.0);
}

TEST_F(ParameterFile, OtherModelAndGarbageFailWithAReason)
{
    auto monoMap = mono->GetRemoteDevice()->GetNodeMap();
    std::string error;
    ASSERT_TRUE(camera::SaveParameterFile(monoMap, path, error)) << error;
    const std::string before = Values(secondMap);
    EXPECT_FALSE(camera::LoadParameterFile(secondMap, path, error));
    EXPECT_NE(error.find("LVS-2300M"), std::string::npos) << error;

    WriteAll(path, "\x89PNG\r\n\x1a\n garbage \t more garbage\n");
    EXPECT_FALSE(camera::LoadParameterFile(secondMap, path, error));
    EXPECT_NE(error.find("not a parameter file"), std::string::npos) << error;

    WriteAll(path, "");
    EXPECT_FALSE(camera::LoadParameterFile(secondMap, path, error));
    EXPECT_FALSE(camera::LoadParameterFile(secondMap, path + ".missing", error));
    EXPECT_NE(error.find("cannot be read"), std::string::npos) << error;
    EXPECT_FALSE(camera::LoadParameterFile(nullptr, path, error));
    EXPECT_EQ(Values(secondMap), before);
}

TEST_F(ParameterFile, ValuesRefusedHalfwayAreRolledBack)
{
    std::string error;
    firstMap->FindNode<nodes::FloatNode>("ExposureTime")->SetValue(33333.0);
    ASSERT_TRUE(camera::SaveParameterFile(firstMap, path, error)) << error;
    // A well-formed file of the right model whose last value the camera refuses: everything written before
    // that line must be undone.
    std::string text = ReadAll(path);
    const std::string end = std::string(kPersistenceEndLine) + "\n";
    ASSERT_GE(text.size(), end.size());
    text.insert(text.size() - end.size(), "Width\t999999\n");
    WriteAll(path, text);
    const std::string before = Values(secondMap);
    EXPECT_FALSE(camera::LoadParameterFile(secondMap, path, error));
    EXPECT_NE(error.find("Width"), std::string::npos) << error;
    EXPECT_NE(secondMap->FindNode<nodes::FloatNode>("ExposureTime")->GetValue(), 33333.0);
    EXPECT_EQ(Values(secondMap), before);
}

} // namespace
