// The Qt platform the host asks for before it starts: xcb on a Wayland desktop that also has an
// X server, so modules can be embedded; the user's own choice always wins.
#include "platform_choice.h"

#include <QTest>

class tst_PlatformChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void platformFor_data();
    void platformFor();
    void modulesOpenInOwnWindows_data();
    void modulesOpenInOwnWindows();
};

void tst_PlatformChoice::platformFor_data()
{
    QTest::addColumn<QByteArray>("qpaPlatform");
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::addColumn<QByteArray>("display");
    QTest::addColumn<QByteArray>("sessionType");
    QTest::addColumn<QList<QByteArray>>("arguments");
    QTest::addColumn<QByteArray>("expected");

    const QList<QByteArray> none;
    QTest::newRow("X11 session") << QByteArray() << QByteArray() << QByteArray(":0")
                                 << QByteArray("x11") << none << QByteArray();
    QTest::newRow("Wayland with XWayland") << QByteArray() << QByteArray("wayland-0")
                                           << QByteArray(":0") << QByteArray("wayland") << none
                                           << QByteArray("xcb");
    QTest::newRow("Wayland session type only, with XWayland")
            << QByteArray() << QByteArray() << QByteArray(":1") << QByteArray("wayland") << none
            << QByteArray("xcb");
    QTest::newRow("Wayland without any X server") << QByteArray() << QByteArray("wayland-0")
                                                  << QByteArray() << QByteArray("wayland") << none
                                                  << QByteArray();
    QTest::newRow("user chose wayland") << QByteArray("wayland") << QByteArray("wayland-0")
                                        << QByteArray(":0") << QByteArray("wayland") << none
                                        << QByteArray();
    QTest::newRow("user chose -platform")
            << QByteArray() << QByteArray("wayland-0") << QByteArray(":0") << QByteArray("wayland")
            << QList<QByteArray>{ "-platform", "wayland" } << QByteArray();
    QTest::newRow("user chose -platform=offscreen")
            << QByteArray() << QByteArray("wayland-0") << QByteArray(":0") << QByteArray()
            << QList<QByteArray>{ "--label-folder", "/tmp", "-platform=offscreen" } << QByteArray();
    QTest::newRow("a label file named like the option is no choice")
            << QByteArray() << QByteArray("wayland-0") << QByteArray(":0") << QByteArray()
            << QList<QByteArray>{ "/home/u/-platform.kxld" } << QByteArray("xcb");
    QTest::newRow("nothing at all") << QByteArray() << QByteArray() << QByteArray()
                                    << QByteArray() << none << QByteArray();
}

void tst_PlatformChoice::platformFor()
{
    QFETCH(QByteArray, qpaPlatform);
    QFETCH(QByteArray, waylandDisplay);
    QFETCH(QByteArray, display);
    QFETCH(QByteArray, sessionType);
    QFETCH(QList<QByteArray>, arguments);
    QFETCH(QByteArray, expected);
    const PlatformChoice::Environment environment{ qpaPlatform, waylandDisplay, display,
                                                   sessionType };
    QCOMPARE(PlatformChoice::platformFor(environment, arguments), expected);
}

void tst_PlatformChoice::modulesOpenInOwnWindows_data()
{
    QTest::addColumn<QByteArray>("platform");
    QTest::addColumn<QByteArray>("backend");
    QTest::addColumn<bool>("ownWindows");
    QTest::newRow("X11") << QByteArray("xcb") << QByteArray("xcb") << false;
    QTest::newRow("Windows") << QByteArray("windows") << QByteArray("win32") << false;
    QTest::newRow("Wayland without X") << QByteArray("wayland") << QByteArray("none") << true;
    QTest::newRow("Wayland with EGL") << QByteArray("wayland-egl") << QByteArray("none") << true;
    QTest::newRow("offscreen") << QByteArray("offscreen") << QByteArray("none") << false;
    QTest::newRow("minimal") << QByteArray("minimal") << QByteArray("none") << false;
    QTest::newRow("X11 whose server went away") << QByteArray("xcb") << QByteArray("none") << true;
}

void tst_PlatformChoice::modulesOpenInOwnWindows()
{
    QFETCH(QByteArray, platform);
    QFETCH(QByteArray, backend);
    QFETCH(bool, ownWindows);
    QCOMPARE(PlatformChoice::modulesOpenInOwnWindows(platform, backend), ownWindows);
}

QTEST_GUILESS_MAIN(tst_PlatformChoice)
#include "tst_platformchoice.moc"
