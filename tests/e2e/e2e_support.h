#pragma once

// What the end-to-end tests ask the X server directly, and how they follow the demo modules
// (each writes <pid>.log in KORVEX_DEMO_MODULE_LOG, one line per event).

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStringList>

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace E2e {

inline xcb_connection_t *connection()
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

struct Tree
{
    xcb_window_t root = 0;
    xcb_window_t parent = 0;
    QList<xcb_window_t> children;
};

// The window's place in the server's tree; nothing when the window does not exist.
inline std::optional<Tree> queryTree(xcb_window_t window)
{
    xcb_connection_t *c = connection();
    if (!c)
        return std::nullopt;
    xcb_query_tree_reply_t *reply = xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr);
    if (!reply)
        return std::nullopt;
    Tree tree;
    tree.root = reply->root;
    tree.parent = reply->parent;
    const xcb_window_t *children = xcb_query_tree_children(reply);
    for (int i = 0; i < xcb_query_tree_children_length(reply); ++i)
        tree.children << children[i];
    std::free(reply);
    return tree;
}

inline bool windowExists(xcb_window_t window)
{
    return queryTree(window).has_value();
}

inline QRect geometry(xcb_window_t window)
{
    xcb_connection_t *c = connection();
    if (!c)
        return QRect();
    xcb_get_geometry_reply_t *reply = xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr);
    if (!reply)
        return QRect();
    const QRect rect(reply->x, reply->y, reply->width, reply->height);
    std::free(reply);
    return rect;
}

// The lines a demo module wrote so far.
inline QStringList moduleLog(const QString &folder, qint64 pid)
{
    QFile file(QDir(folder).filePath(QString::number(pid) + QStringLiteral(".log")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

// What a process holds, for a long session's figures.
struct Holdings
{
    int descriptors = 0;
    qint64 residentKiB = 0;
    int xWindows = 0;
    int xPixmaps = 0;
    int xOther = 0;
    int objects = 0;
};

// This process's open descriptors and resident memory.
inline Holdings processHoldings()
{
    Holdings holdings;
    holdings.descriptors = int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::System).size());
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:"))
                holdings.residentKiB = line.mid(6).trimmed().split(' ').value(0).toLongLong();
        }
    }
    return holdings;
}

inline xcb_atom_t existingAtom(xcb_connection_t *c, const char *name)
{
    xcb_intern_atom_reply_t *reply =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, std::uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

// Adds the X resources (windows, pixmaps, the rest) this process's connections to the server
// hold (Qt's and the window backend's), from the X-Resource extension. Other programs on the
// server, module programs among them, come and go and are left out.
inline void countXResources(Holdings *holdings, xcb_connection_t *c)
{
    const xcb_atom_t window = existingAtom(c, "WINDOW");
    const xcb_atom_t pixmap = existingAtom(c, "PIXMAP");
    const xcb_res_client_id_spec_t everyClientsPid { 0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID };
    xcb_res_query_client_ids_reply_t *ids =
            xcb_res_query_client_ids_reply(c, xcb_res_query_client_ids(c, 1, &everyClientsPid), nullptr);
    if (!ids)
        return;
    const auto self = std::uint32_t(QCoreApplication::applicationPid());
    for (auto id = xcb_res_query_client_ids_ids_iterator(ids); id.rem; xcb_res_client_id_value_next(&id)) {
        if (xcb_res_client_id_value_value_length(id.data) < 1 || *xcb_res_client_id_value_value(id.data) != self)
            continue;
        xcb_res_query_client_resources_reply_t *resources = xcb_res_query_client_resources_reply(
                c, xcb_res_query_client_resources(c, id.data->spec.client), nullptr);
        if (!resources)
            continue;
        for (auto type = xcb_res_query_client_resources_types_iterator(resources); type.rem;
             xcb_res_type_next(&type)) {
            int &counter = type.data->resource_type == window ? holdings->xWindows
                    : type.data->resource_type == pixmap     ? holdings->xPixmaps
                                                             : holdings->xOther;
            counter += int(type.data->count);
        }
        std::free(resources);
    }
    std::free(ids);
}

inline void printHoldings(const char *when, const Holdings &h)
{
    std::printf("soak %-24s descriptors %d, resident %lld KiB, X windows %d, pixmaps %d, other X "
                "resources %d, objects %d\n",
                when, h.descriptors, static_cast<long long>(h.residentKiB), h.xWindows, h.xPixmaps,
                h.xOther, h.objects);
    std::fflush(stdout);
}

} // namespace E2e
