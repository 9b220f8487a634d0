// ORNA_SIM_CAMERAS parsing and the process-wide set of simulated cameras.

#include "orna/core/sim/simregistry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

namespace {

using namespace orna::core::sim;

std::vector<std::string> Models(const std::vector<SimCameraEntry>& e)
{
    std::vector<std::string> m;
    for (const auto& x : e)
        m.push_back(x.model);
    return m;
}
std::vector<std::string> Serials(const std::vector<SimCameraEntry>& e)
{
    std::vector<std::string> s;
    for (const auto& x : e)
        s.push_back(x.serial);
    return s;
}

TEST(SimRegistry, CountsListsAndDefaults)
{
    std::string error;
    EXPECT_EQ(Models(SimCameraRegistry::Parse("", &error)), std::vector<std::string>{"color"});
    EXPECT_TRUE(SimCameraRegistry::Parse("0", &error).empty());
    const auto three = SimCameraRegistry::Parse("3", &error);
    EXPECT_EQ(Models(three), (std::vector<std::string>{"color", "mono", "color"}));
    EXPECT_EQ(Serials(three), (std::vector<std::string>{"LVSC00001", "LVSM00001", "LVSC00002"}));
    const auto list = SimCameraRegistry::Parse(" color, Mono ,locked,,service,booterror ", &error);
    EXPECT_EQ(Models(list), (std::vector<std::string>{"color", "mono", "locked", "service", "booterror"}));
    EXPECT_TRUE(error.empty()) << error;
}

TEST(SimRegistry, SerialsAreDistinctAndStable)
{
    const auto a = SimCameraRegistry::Parse("color,color,mono,color", nullptr);
    const auto b = SimCameraRegistry::Parse("color,color,mono,color", nullptr);
    EXPECT_EQ(Serials(a), Serials(b));
    std::set<std::string> unique;
    for (const auto& s : Serials(a))
        unique.insert(s);
    EXPECT_EQ(unique.size(), a.size());
}

TEST(SimRegistry, BadInputIsReportedAndTheRestKept)
{
    std::string error;
    const auto e = SimCameraRegistry::Parse("color,zoom,mono", &error);
    EXPECT_EQ(Models(e), (std::vector<std::string>{"color", "mono"}));
    EXPECT_NE(error.find("zoom"), std::string::npos);
    error.clear();
    EXPECT_EQ(SimCameraRegistry::Parse("999", &error).size(), kMaxSimCameras);
    EXPECT_FALSE(error.empty());
}

TEST(SimRegistry, ConfigureKeepsCamerasWhoseSerialStays)
{
    SimCameraRegistry registry;
    EXPECT_TRUE(registry.Configure("color,mono"));
    const auto first = registry.Cameras();
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(first[1]->ModelName(), "LVS-2300M");
    EXPECT_FALSE(registry.Configure("color,mono,nonsense"));
    EXPECT_FALSE(registry.LastError().empty());
    const auto second = registry.Cameras();
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(first[0].get(), second[0].get());
    EXPECT_EQ(registry.Find("LVSM00001").get(), first[1].get());
    EXPECT_EQ(registry.Find("nope"), nullptr);
}

TEST(SimRegistry, ProcessRegistryReadsTheEnvironment)
{
    // The only test in this binary that touches the process-wide registry.
    setenv(kSimCamerasEnvironmentVariable, "locked,service", 1);
    const auto cameras = SimCameraRegistry::Instance().Cameras();
    ASSERT_EQ(cameras.size(), 2u);
    EXPECT_TRUE(cameras[0]->IsLocked());
    EXPECT_FALSE(cameras[1]->HasDataStream());
}

} // namespace
