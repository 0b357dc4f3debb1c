// libFuzzer target: the guarded message reader against plain QDataStream on every block on
// which plain QDataStream is safe; any difference, field by field, is a finding.
#include "message_differential_check.h"

#include <QCoreApplication>
#include <QVersionNumber>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static int argc = 1;
    static char name[] = "fuzz_message_differential";
    static char *argv[] = { name, nullptr };
    static QCoreApplication app(argc, argv);
    QVIPCMessage::registerTypes();
    // Named types the reader takes by name must be known to Qt's reading as well.
    QMetaType::fromType<QVersionNumber>().id();
    qInstallMessageHandler(quiet);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (const char *differs = messagecheck::differential(reinterpret_cast<const char *>(data), size)) {
        std::fprintf(stderr, "message reader: %s\n", differs);
        std::abort();
    }
    return 0;
}
