// libFuzzer entry: runs the input as a program of at most 64 calls to the C
// interface; every registry slot is released when the program ends.
#include "fuzz_driver.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lum::fuzz;
    Input in(data, size);
    World world;
    const auto& table = calls();
    for (int steps = 0; steps < 64 && !in.done(); ++steps) table[in.u8() % table.size()].run(world, in);
    return 0;
}
