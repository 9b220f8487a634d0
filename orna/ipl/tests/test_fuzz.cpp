// Random inputs through the unpackers and the converter for a fixed time (ORNA_IPL_FUZZ_SECONDS, default
// 60), with a fixed seed so a failure repeats. Meant for the ASan build; the libFuzzer twin of the same
// body is fuzz/fuzz_converter.cpp (built by the second test when clang++ is present).
#include "fuzz/fuzz_body.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

TEST(IplFuzz, RandomFormatsSizesAndBuffersOnlyRaiseTheFamily)
{
    cv::setNumThreads(1);
    const char* env = std::getenv("ORNA_IPL_FUZZ_SECONDS");
    const double seconds = env ? std::atof(env) : 60.0;
    std::mt19937 rng(20261122);
    std::vector<uint8_t> input;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    long runs = 0;
    while (std::chrono::steady_clock::now() < end)
    {
        input.resize(12 + rng() % 300);
        for (auto& b : input)
            b = static_cast<uint8_t>(rng());
        ASSERT_TRUE(orna::ipl::fuzz::FuzzOne(input.data(), input.size())) << "input #" << runs;
        ++runs;
    }
    std::printf("%ld inputs\n", runs);
    EXPECT_GT(runs, 0);
}

// libFuzzer over the same body: builds a small CMake project with clang++ (-fsanitize=fuzzer,address)
// and runs it for the same time.
TEST(IplFuzz, LibFuzzerWithClang)
{
    if (std::system("command -v clang++ > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "clang++ not installed: libFuzzer target not built";
    const char* source = std::getenv("LUMIVUE_SOURCE_DIR");
    const char* home = std::getenv("LUMIVUE_TEST_HOME");
    if (!source || !home)
        GTEST_SKIP() << "run through ctest (LUMIVUE_SOURCE_DIR, LUMIVUE_TEST_HOME)";
    const char* env = std::getenv("ORNA_IPL_FUZZ_SECONDS");
    const std::string seconds = env ? env : "60";
    const std::string build = std::string(home) + "/fuzz-build";
    const std::string configure = "cmake -S '" + std::string(source) + "/orna/ipl/tests/fuzz' -B '" + build +
                                  "' -DCMAKE_CXX_COMPILER=clang++ -DLUMIVUE_SOURCE_DIR='" + source +
                                  "' -DCMAKE_BUILD_TYPE=RelWithDebInfo > '" + build + ".log' 2>&1";
    std::filesystem::create_directories(build);
    ASSERT_EQ(std::system(configure.c_str()), 0) << "see " << build << ".log";
    ASSERT_EQ(std::system(("cmake --build '" + build + "' -j 2 >> '" + build + ".log' 2>&1").c_str()), 0)
        << "see " << build << ".log";
    const std::string run = "cd '" + build + "' && ./fuzz_converter -max_total_time=" + seconds +
                            " -max_len=400 -rss_limit_mb=2048 > '" + build + "-run.log' 2>&1";
    EXPECT_EQ(std::system(run.c_str()), 0) << "see " << build << "-run.log";
}
