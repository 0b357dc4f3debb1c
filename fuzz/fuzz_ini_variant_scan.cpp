// libFuzzer target: the store scanner on arbitrary INI files, against QSettings' own reading
// where QSettings reads the file safely.
#include "ini_scan_check.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

QTemporaryDir *scratch = nullptr;

} // namespace

// A file whose counts would have QSettings reserve gigabytes gets a failed allocation (and
// QSettings a std::bad_alloc) instead of a report: QSettings is not safe on it, and the
// dashboard never lets QSettings see it unless the scanner passed it, which is what is
// fuzzed here. Leaks of QSettings' reading interrupted that way are not the scanner's.
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=256:detect_leaks=0";
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static int argc = 1;
    static char name[] = "fuzz_ini_variant_scan";
    static char *argv[] = { name, nullptr };
    static QCoreApplication app(argc, argv);
    qInstallMessageHandler(quiet);
    scratch = new QTemporaryDir;
    if (!scratch->isValid())
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (const char *broken = iniscancheck::check(reinterpret_cast<const char *>(data), size, scratch->path())) {
        std::fprintf(stderr, "ini scan check failed: %s\n", broken);
        std::abort();
    }
    return 0;
}
