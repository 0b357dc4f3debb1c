#pragma once

// What the tests of the real host program ask the X server, over a connection of their own:
// the test's own Qt runs offscreen, so that its copy of the front end never shows on the
// display it drives.

#include <QByteArray>
#include <QDeadlineTimer>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QStringList>

#include <xcb/xcb.h>

#include <poll.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace DesktopX11 {

template<typename T>
struct Free
{
    void operator()(T *p) const { std::free(p); }
};
template<typename T>
using Reply = std::unique_ptr<T, Free<T>>;

class XServer
{
public:
    // The X server of DISPLAY, or of the display named (":2").
    explicit XServer(const char *displayName = nullptr) : m_connection(xcb_connect(displayName, nullptr))
    {
        if (!xcb_connection_has_error(m_connection))
            m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~XServer() { xcb_disconnect(m_connection); }
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    bool isValid() const { return m_root != XCB_NONE; }
    xcb_connection_t *connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }

    xcb_atom_t atom(const char *name) const
    {
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
                m_connection, xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name),
                nullptr));
        return reply ? reply->atom : XCB_NONE;
    }

    std::optional<QList<xcb_window_t>> children(xcb_window_t window, xcb_window_t *parent = nullptr) const
    {
        Reply<xcb_query_tree_reply_t> tree(
                xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
        if (!tree)
            return std::nullopt;
        if (parent)
            *parent = tree->parent;
        QList<xcb_window_t> list;
        const xcb_window_t *ids = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
            list << ids[i];
        return list;
    }

    xcb_window_t parentOf(xcb_window_t window) const
    {
        xcb_window_t parent = XCB_NONE;
        return children(window, &parent) ? parent : XCB_NONE;
    }

    bool exists(xcb_window_t window) const { return children(window).has_value(); }

    bool isInside(xcb_window_t window, xcb_window_t ancestor) const
    {
        for (int depth = 0; depth < 64 && window != XCB_NONE; ++depth) {
            window = parentOf(window);
            if (window == ancestor)
                return true;
        }
        return false;
    }

    bool viewable(xcb_window_t window) const
    {
        Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
                m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // Position on the root window, and size.
    QRect rectOnScreen(xcb_window_t window) const { return rectIn(window, m_root); }

    // Position in another window, and size: where it is in a window that may move meanwhile.
    QRect rectIn(xcb_window_t window, xcb_window_t other) const
    {
        Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
                m_connection, xcb_get_geometry(m_connection, window), nullptr));
        if (!geometry)
            return QRect();
        Reply<xcb_translate_coordinates_reply_t> at(xcb_translate_coordinates_reply(
                m_connection, xcb_translate_coordinates(m_connection, window, other, 0, 0),
                nullptr));
        if (!at)
            return QRect();
        return QRect(at->dst_x, at->dst_y, geometry->width, geometry->height);
    }

    QByteArray property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const
    {
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
                m_connection, xcb_get_property(m_connection, 0, window, name, type, 0, 1024),
                nullptr));
        if (!reply)
            return {};
        return QByteArray(static_cast<const char *>(xcb_get_property_value(reply.get())),
                          xcb_get_property_value_length(reply.get()));
    }

    qint64 pidOf(xcb_window_t window) const
    {
        const QByteArray value = property(window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
        return value.size() == 4 ? *reinterpret_cast<const quint32 *>(value.constData()) : 0;
    }

    // Every window below window, at any depth, parents before children.
    QList<xcb_window_t> descendants(xcb_window_t window) const
    {
        QList<xcb_window_t> all;
        QList<xcb_window_t> next = children(window).value_or(QList<xcb_window_t>());
        while (!next.isEmpty()) {
            const xcb_window_t w = next.takeFirst();
            all << w;
            next += children(w).value_or(QList<xcb_window_t>());
        }
        return all;
    }

    // The viewable window of that process that is at least minimum in size, anywhere below
    // `below` (the root: a top-level, framed or not).
    xcb_window_t findWindowOf(qint64 pid, xcb_window_t below, QSize minimum) const
    {
        for (const xcb_window_t w : descendants(below)) {
            if (pidOf(w) == pid && viewable(w)) {
                const QRect rect = rectOnScreen(w);
                if (rect.width() >= minimum.width() && rect.height() >= minimum.height())
                    return w;
            }
        }
        return XCB_NONE;
    }

    // Every window of that process below the root, with its map state, place and size, one per
    // line: what a failed wait for the process's window saw.
    QString describeWindowsOf(qint64 pid) const
    {
        static const char *const states[] = { "unmapped", "unviewable", "viewable" };
        QStringList lines;
        const QList<xcb_window_t> all = descendants(m_root);
        for (const xcb_window_t w : all) {
            if (pidOf(w) != pid)
                continue;
            Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
                    m_connection, xcb_get_window_attributes(m_connection, w), nullptr));
            const QRect rect = rectOnScreen(w);
            lines << QStringLiteral("0x%1 %2 %3x%4+%5+%6")
                             .arg(w, 0, 16)
                             .arg(QLatin1String(attributes && attributes->map_state <= 2
                                                        ? states[attributes->map_state] : "gone"))
                             .arg(rect.width()).arg(rect.height()).arg(rect.x()).arg(rect.y());
        }
        return QStringLiteral("%1 windows on the display, %2 of process %3%4%5")
                .arg(all.size()).arg(lines.size()).arg(pid)
                .arg(lines.isEmpty() ? QString() : QStringLiteral(": "), lines.join(QStringLiteral("; ")));
    }

    // A viewable window of another process than `except` below `below`.
    xcb_window_t findForeignWindow(xcb_window_t below, qint64 except, qint64 *pid) const
    {
        for (const xcb_window_t w : descendants(below)) {
            const qint64 owner = pidOf(w);
            if (owner > 0 && owner != except && viewable(w) && rectOnScreen(w).width() > 50) {
                if (pid)
                    *pid = owner;
                return w;
            }
        }
        return XCB_NONE;
    }

    // True while another client holds SubstructureRedirect on the root: a window manager runs.
    bool windowManagerRuns() const
    {
        const uint32_t mask[] = { XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT };
        xcb_generic_error_t *error = xcb_request_check(
                m_connection, xcb_change_window_attributes_checked(m_connection, m_root,
                                                                   XCB_CW_EVENT_MASK, mask));
        if (error) {
            std::free(error);
            return true;
        }
        // It was free: give it back at once.
        const uint32_t none[] = { 0 };
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, none);
        xcb_flush(m_connection);
        return false;
    }

    // Where the pointer is, on the root window.
    QPoint pointer() const
    {
        Reply<xcb_query_pointer_reply_t> reply(
                xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, m_root), nullptr));
        return reply ? QPoint(reply->root_x, reply->root_y) : QPoint(-1, -1);
    }

    // Asks that a top-level window close: through the window manager, as a task bar or pager
    // does (_NET_CLOSE_WINDOW to the root), or the way a window manager itself asks the window
    // (WM_DELETE_WINDOW, to the client that made it). False when the request was not sent.
    bool closeWindow(xcb_window_t window, bool throughWindowManager) const
    {
        xcb_client_message_event_t event = {};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        xcb_window_t destination = window;
        uint32_t mask = XCB_EVENT_MASK_NO_EVENT;
        if (throughWindowManager) {
            event.type = atom("_NET_CLOSE_WINDOW");
            event.data.data32[0] = XCB_CURRENT_TIME;
            event.data.data32[1] = 2; // from a pager: what the user asked
            destination = m_root;
            mask = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        } else {
            event.type = atom("WM_PROTOCOLS");
            event.data.data32[0] = atom("WM_DELETE_WINDOW");
            event.data.data32[1] = XCB_CURRENT_TIME;
        }
        if (event.type == XCB_NONE || (!throughWindowManager && event.data.data32[0] == XCB_NONE))
            return false;
        xcb_generic_error_t *error = xcb_request_check(
                m_connection, xcb_send_event_checked(m_connection, 0, destination, mask,
                                                     reinterpret_cast<const char *>(&event)));
        const bool sent = error == nullptr;
        std::free(error);
        return sent;
    }

    // True once a window manager has announced itself (_NET_SUPPORTING_WM_CHECK on the root
    // naming a window that names itself). Only reads: probing the root's redirection as
    // windowManagerRuns() does makes a manager that starts in that moment fail and exit.
    bool windowManagerAnnounced() const
    {
        const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
        const QByteArray onRoot = property(m_root, check, XCB_ATOM_WINDOW);
        if (onRoot.size() != 4)
            return false;
        const xcb_window_t window = *reinterpret_cast<const xcb_window_t *>(onRoot.constData());
        return property(window, check, XCB_ATOM_WINDOW) == onRoot;
    }

    // What the screen shows of a window's area, or what the window itself holds.
    QImage image(xcb_window_t window, const QRect &rect) const
    {
        Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
                m_connection,
                xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, int16_t(rect.x()),
                              int16_t(rect.y()), uint16_t(rect.width()), uint16_t(rect.height()),
                              ~0u),
                nullptr));
        if (!reply || reply->depth < 24
            || xcb_get_image_data_length(reply.get()) < rect.width() * rect.height() * 4)
            return QImage();
        QImage picture(xcb_get_image_data(reply.get()), rect.width(), rect.height(),
                       rect.width() * 4, QImage::Format_RGB32);
        return picture.copy();
    }

    // Watches a window until the deadline for anything that takes it away from where it is
    // (re-parented, unmapped, destroyed); the event's name, or empty when nothing happened.
    QByteArray watchFor(xcb_window_t window, int milliseconds) const
    {
        const uint32_t mask[] = { XCB_EVENT_MASK_STRUCTURE_NOTIFY };
        xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, mask);
        const xcb_window_t parent = parentOf(window);
        QDeadlineTimer deadline(milliseconds);
        QByteArray seen;
        while (seen.isEmpty() && !deadline.hasExpired()) {
            pollfd fd{ xcb_get_file_descriptor(m_connection), POLLIN, 0 };
            ::poll(&fd, 1, int(qMax<qint64>(1, deadline.remainingTime())));
            while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
                switch (event->response_type & 0x7f) {
                case XCB_REPARENT_NOTIFY:
                    if (reinterpret_cast<xcb_reparent_notify_event_t *>(event)->window == window
                        && reinterpret_cast<xcb_reparent_notify_event_t *>(event)->parent != parent)
                        seen = "re-parented";
                    break;
                case XCB_UNMAP_NOTIFY:
                    if (reinterpret_cast<xcb_unmap_notify_event_t *>(event)->window == window)
                        seen = "unmapped";
                    break;
                case XCB_DESTROY_NOTIFY:
                    if (reinterpret_cast<xcb_destroy_notify_event_t *>(event)->window == window)
                        seen = "destroyed";
                    break;
                default:
                    break;
                }
                std::free(event);
            }
        }
        const uint32_t none[] = { 0 };
        xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, none);
        xcb_flush(m_connection);
        return seen;
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_NONE;
};

} // namespace DesktopX11
