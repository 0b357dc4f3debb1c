#pragma once

#include <cstddef>

// Counts heap use of the whole process through malloc, calloc, realloc and free (Qt's
// containers allocate through them, and operator new does too). Not available under the
// sanitizers, which own the allocator: available() is false there.
namespace allocprobe {

bool available();

struct Usage
{
    long long peakGrowth = 0;       // highest live heap above the level at start()
    std::size_t largest = 0;        // largest single request
};

void start();
Usage stop();

} // namespace allocprobe
