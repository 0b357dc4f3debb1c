#pragma once

// What the end-to-end tests ask the X server directly, and how they follow the demo modules
// (each writes <pid>.log in KORVEX_DEMO_MODULE_LOG, one line per event).

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStringList>

#include <xcb/xcb.h>

#include <cstdlib>
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

} // namespace E2e
