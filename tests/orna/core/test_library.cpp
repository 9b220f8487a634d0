// Library bring-up: version numbers, the not-initialised text, close order.
#include "orna/core/exception.h"
#include "orna/core/library.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(Library, VersionNeedsInitializeAndIsOnePointTwoPointOne)
{
    ASSERT_FALSE(orna::Library::IsInitialized());
    try
    {
        orna::Library::GetVersionMajor();
        FAIL() << "version read before Initialize";
    }
    catch (const orna::core::NotInitializedException& e)
    {
        EXPECT_STREQ(e.what(), "Error-Code: 2 (ORNA_RETURN_CODE_NOT_INITIALIZED) | Error-Description: Library is "
                               "not initialized. Call orna::Library::Initalize() first!");
    }
    orna::Library::Initialize();
    EXPECT_EQ(orna::Library::GetVersionMajor(), 1u);
    EXPECT_EQ(orna::Library::GetVersionMinor(), 2u);
    EXPECT_EQ(orna::Library::GetVersionSubminor(), 1u);
    EXPECT_EQ(orna::Library::GetVersion().rfind("1.2.1 (Aravis 0.8.", 0), 0u) << orna::Library::GetVersion();
    orna::Library::Close();
    EXPECT_FALSE(orna::Library::IsInitialized());
    EXPECT_THROW(orna::Library::Close(), orna::core::NotInitializedException);
}

TEST(Library, CloseRunsHooksInReverseOrderEvenWhenOneFails)
{
    orna::Library::Initialize();
    std::vector<int> order;
    orna::Library::AddShutdownHook([&] { order.push_back(1); });
    orna::Library::AddShutdownHook([&] { throw std::runtime_error("backend failed"); });
    orna::Library::AddShutdownHook([&] { order.push_back(3); });
    orna::Library::Close();
    EXPECT_EQ(order, (std::vector<int>{3, 1}));
}

} // namespace
