// The benchmark's other process. It prints its window id, then answers on that window:
// a WM_COPYDATA through the native-window backend with the same bytes and dwData (to the window
// in wParam, as the dashboard answers a module), and a raw ping ClientMessage with a raw pong
// on a plain xcb connection of its own, the peer figure.
#include "native_window_system.h"
#include "x11_bench_atoms.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdio>
#include <cstring>

using namespace KorvexNative;

namespace {

class Echo : public QAbstractNativeEventFilter
{
public:
    Echo(NativeWindowBackend *backend, WindowHandle self)
        : m_backend(backend), m_self(self), m_raw(xcb_connect(nullptr, nullptr)),
          m_ping(benchAtom(m_raw, "_KORVEX_BENCH_PING")), m_pong(benchAtom(m_raw, "_KORVEX_BENCH_PONG"))
    {
    }
    ~Echo() override { xcb_disconnect(m_raw); }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_client_message_event_t *>(message);
        if (eventType == "xcb_generic_event_t" && (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE
            && event->type == m_ping) {
            xcb_client_message_event_t pong = *event;
            pong.response_type = XCB_CLIENT_MESSAGE;
            pong.window = event->data.data32[0];
            pong.type = m_pong;
            xcb_send_event(m_raw, 0, pong.window, 0, reinterpret_cast<const char *>(&pong));
            xcb_flush(m_raw);
            return true;
        }
        Message storage{};
        const Message *msg = m_backend->translateNativeEvent(
                eventType.constData(), std::size_t(eventType.size()), message, &storage);
        if (msg && msg->message == WmCopyData) {
            CopyDataStruct reply = *reinterpret_cast<const CopyDataStruct *>(msg->lParam);
            m_backend->sendMessage(msg->wParam, WmCopyData, m_self, reinterpret_cast<LParam>(&reply));
        }
        return m_backend->isBackendTransport(eventType.constData(), std::size_t(eventType.size()),
                                             message);
    }

private:
    NativeWindowBackend *m_backend;
    WindowHandle m_self;
    xcb_connection_t *m_raw;
    xcb_atom_t m_ping;
    xcb_atom_t m_pong;
};

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QWindow window;
    window.create();
    Echo echo(NativeWindowSystem::backend(), WindowHandle(window.winId()));
    app.installNativeEventFilter(&echo);
    std::printf("%llu\n", static_cast<unsigned long long>(window.winId()));
    std::fflush(stdout);
    return app.exec();
}
