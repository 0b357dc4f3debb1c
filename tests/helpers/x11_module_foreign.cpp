// Plays a module whose window is another program's: starts a standard X client (argv[3] and on),
// waits until that program's top-level window is on the screen (mapped, so a window manager
// frames it first), then announces that window to the dashboard named by "--dashboard <id>"
// as its own, under the name in $KORVEX_FOREIGN_MODULE_NAME (default "QVLabelEditor.exe").
// Prints "ready <window>" and ends with the program.
//   x11_module_foreign --dashboard <id> <program> [<argument>...]
#include "x11_module_common.h"

#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <xcb/xcb.h>

#include <cstdlib>

namespace {

xcb_connection_t *connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

QByteArray wmClass(xcb_window_t window)
{
    xcb_get_property_reply_t *reply = xcb_get_property_reply(
            connection(),
            xcb_get_property(connection(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64),
            nullptr);
    QByteArray value;
    if (reply)
        value = QByteArray(static_cast<const char *>(xcb_get_property_value(reply)),
                           xcb_get_property_value_length(reply));
    std::free(reply);
    return value;
}

bool viewable(xcb_window_t window)
{
    xcb_get_window_attributes_reply_t *reply = xcb_get_window_attributes_reply(
            connection(), xcb_get_window_attributes(connection(), window), nullptr);
    const bool result = reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    std::free(reply);
    return result;
}

// The viewable window of that class, at most three levels below the root (a frame, and the
// window manager's own wrapper, above the client).
xcb_window_t findClient(xcb_window_t window, const QByteArray &instance, int depth)
{
    xcb_query_tree_reply_t *tree =
            xcb_query_tree_reply(connection(), xcb_query_tree(connection(), window), nullptr);
    if (!tree)
        return XCB_NONE;
    xcb_window_t found = XCB_NONE;
    const xcb_window_t *children = xcb_query_tree_children(tree);
    for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i) {
        if (wmClass(children[i]).startsWith(instance + '\0') && viewable(children[i]))
            found = children[i];
        else if (depth > 0)
            found = findClient(children[i], instance, depth - 1);
    }
    std::free(tree);
    return found;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 4 || QByteArray(argv[1]) != "--dashboard")
        return 2;
    if (!qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        return 4; // not on X11
    const auto dashboard = KorvexNative::WindowHandle(QByteArray(argv[2]).toULongLong());
    const QByteArray name = qEnvironmentVariableIsSet("KORVEX_FOREIGN_MODULE_NAME")
            ? qgetenv("KORVEX_FOREIGN_MODULE_NAME")
            : QByteArray("QVLabelEditor.exe");
    QStringList arguments;
    for (int i = 4; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QProcess client;
    client.setProcessChannelMode(QProcess::ForwardedChannels);
    client.start(QString::fromLocal8Bit(argv[3]), arguments);
    if (!client.waitForStarted())
        return 3;
    QObject::connect(&client, &QProcess::finished, &app, [&app] { app.exit(0); });

    X11Module module;
    const QByteArray instance = QFileInfo(QString::fromLocal8Bit(argv[3])).fileName().toLocal8Bit();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
    QTimer look;
    // The client's window appears when the client and its window manager are done with it;
    // there is no event of ours to wait on, so the tree is looked at until it is there.
    QObject::connect(&look, &QTimer::timeout, &app, [&] {
        const xcb_window_t window = findClient(root, instance, 3);
        if (!window)
            return;
        look.stop();
        // The module's own window stands in for the registration; the window it announces is
        // the client's.
        module.registerWith(dashboard);
        module.send(dashboard,
                    X11Module::report(QStringLiteral("supplyModuleReady"),
                                      { int(qint32(window)), int(client.processId()),
                                        QString::fromLatin1(name) }));
        say("ready " + QByteArray::number(window));
    });
    look.start(20);
    return app.exec();
}
