// libFuzzer target: the X11 backend's arrival path (x11_arrival_check.h), on the X server of
// $DISPLAY: run it under tests/run_with_xvfb, as scripts/fuzz does.
#include "x11_arrival_check.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace {

x11arrivalcheck::Harness *harness = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // An event loop, so that the queued arrival path (a window with a handler) is fuzzed too.
    static int argc = 1;
    static char name[] = "fuzz_x11_arrival";
    static char *argv[] = { name, nullptr };
    new QCoreApplication(argc, argv);
    harness = new x11arrivalcheck::Harness;
    if (!harness->open()) {
        std::fprintf(stderr, "fuzz_x11_arrival needs an X server: run it under tests/run_with_xvfb\n");
        std::exit(1);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (const char *broken = harness->run(data, size)) {
        std::fprintf(stderr, "x11 arrival check failed: %s\n", broken);
        std::abort();
    }
    return 0;
}
