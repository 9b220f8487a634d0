// The ten-second version of the concurrent node map test (label "slow"); run it under TSan.
#include "concurrent_use.h"
#include "fixture_xml.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/library.h"

TEST(NodeMapThreads, FourThreadsTenSeconds)
{
    orna::Library::Initialize();
    auto map =
        orna::core::detail::CreateLocalNodeMap(orna::core::test::MakeFixtureBank(), orna::core::test::kFixtureXml);
    orna::core::test::RunConcurrentUse(map, std::chrono::seconds(10));
}
