// One libFuzzer binary per body; LUMIVUE_FUZZ_BODY names the body (see CMakeLists.txt).
#include "tests/fuzz/fuzz_bodies.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lumivue::fuzz::LUMIVUE_FUZZ_BODY(data, size);
    return 0;
}
