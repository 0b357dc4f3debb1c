// libFuzzer target: the message decoder on arbitrary blocks, and request invocation on what
// it yields.
#include "message_decode_check.h"

#include <QCoreApplication>
#include <QObject>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Something for decoded requests to land on, with one method per argument type.
class FuzzTarget : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE int count(const QString &, int, bool) { return 1; }
    Q_INVOKABLE quint32 size(quint32 v) { return v; }
    Q_INVOKABLE quint64 wide(quint64 v) { return v; }
    Q_INVOKABLE double scale(double v) { return v; }
    Q_INVOKABLE QStringList names(const QStringList &v) { return v; }
    Q_INVOKABLE SupplyInformation supply(const QString &) { return SupplyInformation(); }
};

void quiet(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static int argc = 1;
    static char name[] = "fuzz_message_decode";
    static char *argv[] = { name, nullptr };
    static QCoreApplication app(argc, argv);
    QVIPCMessage::registerTypes();
    qInstallMessageHandler(quiet);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const char *data8 = reinterpret_cast<const char *>(data);
    if (const char *broken = messagecheck::check(data8, size)) {
        std::fprintf(stderr, "message decoder: %s\n", broken);
        std::abort();
    }
    MessageStruct request;
    QVIPCMessage::decode(data8, quint32(size), &request);
    FuzzTarget target;
    QVIPCMessage::invokeRequest(&target, request);
    return 0;
}

#include "fuzz_message_decode.moc"
