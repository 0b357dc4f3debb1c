// The X11 backend's row: a real X server. Module windows belong to a client of their own, and
// receivers are Qt windows whose events a native event filter hands to a second backend, as a
// module process does.

#include "contract_backend.h"

#include "platforms/xcb/native_window_backend_xcb.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <vector>

using namespace KorvexNative;

namespace {

class XcbContractBackend final : public ContractBackend, public QAbstractNativeEventFilter
{
public:
    XcbContractBackend()
        : m_backend(std::make_unique<XcbNativeWindowBackend>()),
          m_other(std::make_unique<XcbNativeWindowBackend>()),
          m_connection(xcb_connect(nullptr, nullptr))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    ~XcbContractBackend() override
    {
        QCoreApplication::instance()->removeNativeEventFilter(this);
        m_windows.clear();
        xcb_disconnect(m_connection);
    }

    bool ready() const { return m_backend->isConnected() && m_other->isConnected(); }

    NativeWindowBackend *backend() override { return m_backend.get(); }
    NativeWindowBackend *otherProcess() override { return m_other.get(); }

    WindowHandle createModuleWindow() override
    {
        const xcb_window_t window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 50, 60, 320, 240,
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(m_connection, window);
        sync();
        return window;
    }

    void destroyElsewhere(WindowHandle window) override
    {
        xcb_destroy_window(m_connection, xcb_window_t(window));
        sync();
    }

    WindowHandle createReceiver() override
    {
        auto window = std::make_unique<QWindow>();
        window->create();
        const WindowHandle handle = WindowHandle(window->winId());
        m_windows.push_back(std::move(window));
        return handle;
    }

    QList<ReceivedMessage> received() override { return m_received; }

    WindowHandle parentOf(WindowHandle window) override
    {
        xcb_query_tree_reply_t *tree = xcb_query_tree_reply(
                m_connection, xcb_query_tree(m_connection, xcb_window_t(window)), nullptr);
        if (!tree)
            return 0;
        const WindowHandle parent = tree->parent == tree->root ? 0 : tree->parent;
        std::free(tree);
        return parent;
    }

    QRect geometryOf(WindowHandle window) override
    {
        xcb_get_geometry_reply_t *g = xcb_get_geometry_reply(
                m_connection, xcb_get_geometry(m_connection, xcb_window_t(window)), nullptr);
        if (!g)
            return QRect();
        const QRect rect(g->x, g->y, g->width, g->height);
        std::free(g);
        return rect;
    }

    bool isShown(WindowHandle window) override
    {
        xcb_get_window_attributes_reply_t *a = xcb_get_window_attributes_reply(
                m_connection, xcb_get_window_attributes(m_connection, xcb_window_t(window)),
                nullptr);
        const bool shown = a && a->map_state != XCB_MAP_STATE_UNMAPPED;
        std::free(a);
        return shown;
    }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        Message storage{};
        const Message *msg = m_other->translateNativeEvent(
                eventType.constData(), std::size_t(eventType.size()), message, &storage);
        if (!msg)
            return false;
        ReceivedMessage got;
        got.window = msg->hwnd;
        got.message = msg->message;
        got.wParam = msg->wParam;
        if (msg->message == WmCopyData) {
            const auto *copy = reinterpret_cast<const CopyDataStruct *>(msg->lParam);
            got.hasCopyData = true;
            got.dwData = copy->dwData;
            if (copy->lpData)
                got.bytes = QByteArray(static_cast<const char *>(copy->lpData),
                                       qsizetype(copy->cbData));
        }
        m_received.append(got);
        // As a module's filter does: the transport is reported handled, the rest goes on.
        return m_other->isBackendTransport(eventType.constData(), std::size_t(eventType.size()),
                                           message);
    }

private:
    void sync()
    {
        // A round trip: everything asked before it is done when it returns.
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection),
                                            nullptr));
    }

    std::unique_ptr<XcbNativeWindowBackend> m_backend;
    std::unique_ptr<XcbNativeWindowBackend> m_other;
    xcb_connection_t *m_connection;
    xcb_window_t m_root = 0;
    std::vector<std::unique_ptr<QWindow>> m_windows;
    QList<ReceivedMessage> m_received;
};

} // namespace

std::unique_ptr<ContractBackend> createXcbContractBackend(QString *skipReason)
{
    if (QGuiApplication::platformName() != u"xcb") {
        *skipReason = QStringLiteral("needs an X server (the _x11 variant runs it under Xvfb)");
        return nullptr;
    }
    auto row = std::make_unique<XcbContractBackend>();
    if (!row->ready()) {
        *skipReason = QStringLiteral("the X11 backend cannot connect to the display");
        return nullptr;
    }
    return row;
}
