// Messages over X11 between two processes (run under an X server: scripts/bench uses
// tests/run_with_xvfb). Each figure is printed beside its peer, measured in the same run
// between the same processes:
//  - request to reply through the native-window backend (a WM_COPYDATA request of the
//    dashboard's typical size, answered by a WM_COPYDATA of the same size) against a raw
//    ClientMessage ping-pong on plain xcb connections: median, p99, messages per second, and
//    the ratio (target: median within 1.5x);
//  - a status broadcast to 8 windows in 8 processes until all 8 have answered, against 8 raw
//    ping-pongs sent the same way (target: median within 2.0x).
// Both payloads are small, so they travel in the events themselves: eight ClientMessages
// each way where the peer sends one, and no round trip to the X server. A payload over 256 bytes
// would cost its receiver one, to read its carrier window's property.
#include "Controllers/qvipc_message.h"
#include "native_window_system.h"
#include "x11_bench_atoms.h"

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QWindow>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

using namespace KorvexNative;

namespace {

constexpr int ROUNDS = 3000;
constexpr int BROADCASTS = 500;
constexpr int MODULES = 8;

class Collector : public QAbstractNativeEventFilter
{
public:
    Collector(NativeWindowBackend *backend, xcb_atom_t pong) : m_backend(backend), m_pong(pong) { }
    int replies = 0;
    int pongs = 0;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_client_message_event_t *>(message);
        if (eventType == "xcb_generic_event_t" && (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE
            && event->type == m_pong) {
            ++pongs;
            return true;
        }
        Message storage{};
        const Message *msg = m_backend->translateNativeEvent(
                eventType.constData(), std::size_t(eventType.size()), message, &storage);
        if (msg && msg->message == WmCopyData)
            ++replies;
        return m_backend->isBackendTransport(eventType.constData(), std::size_t(eventType.size()),
                                             message);
    }

private:
    NativeWindowBackend *m_backend;
    xcb_atom_t m_pong;
};

struct Stats
{
    double median = 0;
    double p99 = 0;
    double perSecond = 0;
};

Stats stats(std::vector<qint64> nanoseconds, qint64 totalNs)
{
    std::sort(nanoseconds.begin(), nanoseconds.end());
    Stats s;
    s.median = nanoseconds[nanoseconds.size() / 2] / 1000.0;
    s.p99 = nanoseconds[std::min(nanoseconds.size() - 1, nanoseconds.size() * 99 / 100)] / 1000.0;
    s.perSecond = double(nanoseconds.size()) * 1e9 / double(totalNs);
    return s;
}

void waitFor(const int &counter, int target)
{
    while (counter < target)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void print(const char *what, const Stats &s)
{
    std::printf("%-44s median %8.1f us   p99 %8.1f us   %9.0f msg/s\n", what, s.median, s.p99,
                s.perSecond);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (QGuiApplication::platformName() != u"xcb") {
        std::fprintf(stderr, "needs an X server: run under tests/run_with_xvfb\n");
        return 77;
    }
    NativeWindowBackend *backend = NativeWindowSystem::backend();
    xcb_connection_t *raw = xcb_connect(nullptr, nullptr);
    const xcb_atom_t ping = benchAtom(raw, "_KORVEX_BENCH_PING");
    const xcb_atom_t pong = benchAtom(raw, "_KORVEX_BENCH_PONG");
    QWindow window;
    window.create();
    const WindowHandle self = WindowHandle(window.winId());
    Collector collector(backend, pong);
    app.installNativeEventFilter(&collector);

    std::vector<std::unique_ptr<QProcess>> children;
    std::vector<WindowHandle> echoes;
    for (int i = 0; i < MODULES; ++i) {
        auto child = std::make_unique<QProcess>();
        child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child->start(QStringLiteral(KORVEX_ECHO_CHILD), {});
        if (!child->waitForReadyRead(30000))
            return 1;
        echoes.push_back(WindowHandle(child->readLine().trimmed().toULongLong()));
        children.push_back(std::move(child));
    }

    // A request as a module sends it, and a status broadcast as the dashboard sends it.
    MessageStruct request;
    request.methodType = 1;
    request.methodName = QStringLiteral("getPrinterStatus");
    request.dataType = QStringLiteral("i");
    request.arguments = { QStringLiteral("Ondrel M4 Line 1"), QStringLiteral("-") };
    QByteArray requestBytes = QVIPCMessage::encode(request);
    MessageStruct status;
    status.methodName = QStringLiteral("-");
    status.dataType = QStringLiteral("-");
    status.arguments = { 3, QStringLiteral("Ondrel M4 Line 1"), QStringLiteral("-"), QStringLiteral("-") };
    status.data = QStringLiteral("-");
    QByteArray statusBytes = QVIPCMessage::encode(status);
    const MessageId statusId = NativeWindowSystem::registerWindowMessage(backend, QStringLiteral("StatusChanged"));

    auto backendRound = [&](WindowHandle to) {
        CopyDataStruct copy{ 0, std::uint32_t(requestBytes.size()), requestBytes.data() };
        backend->sendMessage(to, WmCopyData, self, reinterpret_cast<LParam>(&copy));
    };
    auto rawPing = [&](WindowHandle to) {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = xcb_window_t(to);
        event.type = ping;
        event.data.data32[0] = xcb_window_t(self);
        xcb_send_event(raw, 0, xcb_window_t(to), 0, reinterpret_cast<const char *>(&event));
        xcb_flush(raw);
    };

    // Warm both paths up.
    for (int i = 0; i < 200; ++i) {
        backendRound(echoes[0]);
        waitFor(collector.replies, i + 1);
        rawPing(echoes[0]);
        waitFor(collector.pongs, i + 1);
    }

    std::printf("X11 messaging, %d rounds between two processes (%d-byte request, %d-byte broadcast)\n",
                ROUNDS, int(requestBytes.size()), int(statusBytes.size()));
    // Interleaved in blocks, so both see the same machine load.
    std::vector<qint64> viaBackend, viaRaw;
    qint64 backendTotal = 0, rawTotal = 0;
    QElapsedTimer clock;
    for (int block = 0; block < ROUNDS / 100; ++block) {
        QElapsedTimer total;
        total.start();
        for (int i = 0; i < 100; ++i) {
            const int target = collector.replies + 1;
            clock.start();
            backendRound(echoes[0]);
            waitFor(collector.replies, target);
            viaBackend.push_back(clock.nsecsElapsed());
        }
        backendTotal += total.nsecsElapsed();
        total.start();
        for (int i = 0; i < 100; ++i) {
            const int target = collector.pongs + 1;
            clock.start();
            rawPing(echoes[0]);
            waitFor(collector.pongs, target);
            viaRaw.push_back(clock.nsecsElapsed());
        }
        rawTotal += total.nsecsElapsed();
    }
    const Stats b = stats(viaBackend, backendTotal);
    const Stats r = stats(viaRaw, rawTotal);
    print("request to reply, backend WM_COPYDATA", b);
    print("peer: raw ClientMessage ping-pong", r);
    std::printf("ratio backend/raw: median %.2fx, p99 %.2fx, throughput %.2fx (target: median within 1.5x)\n",
                b.median / r.median, b.p99 / r.p99, r.perSecond / b.perSecond);

    std::vector<qint64> broadcast, rawEight;
    qint64 broadcastTotal = 0, rawEightTotal = 0;
    for (int i = 0; i < BROADCASTS; ++i) {
        const int target = collector.replies + MODULES;
        clock.start();
        for (WindowHandle echo : echoes) {
            CopyDataStruct copy{ statusId, std::uint32_t(statusBytes.size()), statusBytes.data() };
            backend->sendMessage(echo, WmCopyData, self, reinterpret_cast<LParam>(&copy));
        }
        waitFor(collector.replies, target);
        broadcast.push_back(clock.nsecsElapsed());
        broadcastTotal += broadcast.back();

        const int pongTarget = collector.pongs + MODULES;
        clock.start();
        for (WindowHandle echo : echoes)
            rawPing(echo);
        waitFor(collector.pongs, pongTarget);
        rawEight.push_back(clock.nsecsElapsed());
        rawEightTotal += rawEight.back();
    }
    const Stats sb = stats(broadcast, broadcastTotal);
    const Stats sr = stats(rawEight, rawEightTotal);
    print("status broadcast to 8, until all 8 answered", sb);
    print("peer: 8 raw ping-pongs", sr);
    std::printf("ratio broadcast/raw: median %.2fx, p99 %.2fx (target: median within 2.0x)\n",
                sb.median / sr.median, sb.p99 / sr.p99);

    for (auto &child : children) {
        child->kill();
        child->waitForFinished();
    }
    xcb_disconnect(raw);
    return 0;
}
