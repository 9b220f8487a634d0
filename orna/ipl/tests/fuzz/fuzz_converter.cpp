#include "fuzz_body.h"

#include <opencv2/core/utility.hpp>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool once = [] {
        cv::setNumThreads(1);
        return true;
    }();
    (void)once;
    if (!orna::ipl::fuzz::FuzzOne(data, size))
        std::abort();
    return 0;
}
