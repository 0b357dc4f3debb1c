#include "module_embedding.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>

namespace {

constexpr std::uint32_t XEMBED_EMBEDDED_NOTIFY = 0;

xcb_connection_t *qtConnection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t xembedAtom(xcb_connection_t *connection)
{
    // Interned once: an atom never changes for the life of the display.
    static const xcb_atom_t atom = [connection] {
        static const char name[] = "_XEMBED";
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
                connection, xcb_intern_atom(connection, 0, sizeof name - 1, name), nullptr);
        const xcb_atom_t value = reply ? reply->atom : XCB_NONE;
        std::free(reply);
        return value;
    }();
    return atom;
}

} // namespace

namespace ModuleEmbedding {

bool waitsForEmbedding()
{
    return QGuiApplication::platformName() == QLatin1String("xcb") && qtConnection();
}

KorvexNative::WindowHandle embeddedNotification(const QByteArray &eventType, void *message,
                                                KorvexNative::WindowHandle window)
{
    if (eventType != "xcb_generic_event_t" || !message || !window)
        return 0;
    const auto *generic = static_cast<const xcb_generic_event_t *>(message);
    if ((generic->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return 0;
    const auto *event = static_cast<const xcb_client_message_event_t *>(message);
    xcb_connection_t *connection = qtConnection();
    if (!connection || event->format != 32 || event->window != window
        || event->type != xembedAtom(connection)
        || event->data.data32[1] != XEMBED_EMBEDDED_NOTIFY)
        return 0;
    return KorvexNative::WindowHandle(event->data.data32[3]);
}

bool forwardStrayKey(const QByteArray &eventType, void *message,
                     KorvexNative::WindowHandle window, KorvexNative::WindowHandle embedder)
{
    if (eventType != "xcb_generic_event_t" || !message || !window || !embedder
        || QGuiApplication::focusWindow())
        return false;
    const auto *generic = static_cast<const xcb_generic_event_t *>(message);
    const std::uint8_t type = generic->response_type & 0x7f;
    // A key sent on purpose (the dashboard hands on the keys it holds for us) is ours.
    if ((type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) || (generic->response_type & 0x80))
        return false;
    xcb_connection_t *connection = qtConnection();
    if (!connection)
        return false;
    const auto *key = static_cast<const xcb_key_press_event_t *>(message);
    // The key came to the module's window or a window inside it.
    bool ours = false;
    xcb_window_t at = key->event;
    for (int depth = 0; depth < 64 && at != XCB_NONE; ++depth) {
        if (at == xcb_window_t(window)) {
            ours = true;
            break;
        }
        xcb_query_tree_reply_t *node =
                xcb_query_tree_reply(connection, xcb_query_tree(connection, at), nullptr);
        if (!node)
            break;
        at = node->parent == node->root ? XCB_NONE : node->parent;
        std::free(node);
    }
    if (!ours)
        return false;
    xcb_key_press_event_t forwarded = *key;
    forwarded.event = xcb_window_t(embedder);
    forwarded.child = XCB_NONE;
    forwarded.event_x = 0;
    forwarded.event_y = 0;
    xcb_send_event(connection, 0, xcb_window_t(embedder),
                   type == XCB_KEY_PRESS ? XCB_EVENT_MASK_KEY_PRESS : XCB_EVENT_MASK_KEY_RELEASE,
                   reinterpret_cast<const char *>(&forwarded));
    xcb_flush(connection);
    return true;
}

} // namespace ModuleEmbedding
