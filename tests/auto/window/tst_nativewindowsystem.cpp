// Which native window system serves the process: by operating system and Qt platform.

#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include <QtTest>

using namespace KorvexNative;
using Os = NativeWindowSystem::OperatingSystem;

Q_DECLARE_METATYPE(NativeWindowSystem::OperatingSystem)

class tst_NativeWindowSystem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void backendFollowsTheSystem_data();
    void backendFollowsTheSystem();
    void createdBackendIsTheChosenOne_data();
    void createdBackendIsTheChosenOne();
    void processDefaultOffscreenKeepsNothing();
};

void tst_NativeWindowSystem::backendFollowsTheSystem_data()
{
    QTest::addColumn<Os>("os");
    QTest::addColumn<QString>("platform");
    QTest::addColumn<QByteArray>("backend");
    // On Windows the window system is Win32 whatever plugin draws.
    QTest::newRow("windows, windows") << Os::Windows << "windows" << QByteArray("win32");
    QTest::newRow("windows, direct2d") << Os::Windows << "direct2d" << QByteArray("win32");
    QTest::newRow("windows, offscreen") << Os::Windows << "offscreen" << QByteArray("none");
    QTest::newRow("windows, minimal") << Os::Windows << "minimal" << QByteArray("none");
    QTest::newRow("linux, xcb") << Os::Linux << "xcb" << QByteArray("xcb");
    QTest::newRow("linux, offscreen") << Os::Linux << "offscreen" << QByteArray("none");
    QTest::newRow("linux, wayland") << Os::Linux << "wayland" << QByteArray("none");
    QTest::newRow("linux, windows") << Os::Linux << "windows" << QByteArray("none");
    QTest::newRow("linux, empty") << Os::Linux << "" << QByteArray("none");
    QTest::newRow("other, xcb") << Os::Other << "xcb" << QByteArray("xcb");
    QTest::newRow("other, cocoa") << Os::Other << "cocoa" << QByteArray("none");
}

void tst_NativeWindowSystem::backendFollowsTheSystem()
{
    QFETCH(Os, os);
    QFETCH(QString, platform);
    QFETCH(QByteArray, backend);
    QCOMPARE(NativeWindowSystem::backendNameFor(platform, os), backend);
}

void tst_NativeWindowSystem::createdBackendIsTheChosenOne_data()
{
    QTest::addColumn<QString>("platform");
    for (const char *platform : { "windows", "direct2d", "xcb", "offscreen", "minimal", "wayland", "" })
        QTest::newRow(*platform ? platform : "empty") << QString::fromLatin1(platform);
}

void tst_NativeWindowSystem::createdBackendIsTheChosenOne()
{
    QFETCH(QString, platform);
    const auto created = NativeWindowSystem::createBackend(platform);
    QVERIFY(created);
    QCOMPARE(QByteArray(created->name()),
             NativeWindowSystem::backendNameFor(platform, NativeWindowSystem::currentOperatingSystem()));
    QVERIFY(!dynamic_cast<MemoryNativeWindowBackend *>(created.get()));
}

// The process default on a platform without native windows records nothing: no window is
// made or found and no call leaves a trace, however many there are.
void tst_NativeWindowSystem::processDefaultOffscreenKeepsNothing()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
    NativeWindowBackend *backend = NativeWindowSystem::backend();
    QCOMPARE(QByteArray(backend->name()), QByteArray("none"));
    QVERIFY(!dynamic_cast<MemoryNativeWindowBackend *>(backend));
    QCOMPARE(backend->createWindowEx(0, u"STATIC", u"", WsChild | WsVisible, 0, 0, 10, 10, 0x100,
                                     0, nullptr, nullptr),
             WindowHandle(0));
    QVERIFY(!backend->isWindow(0x100));
    QByteArray bytes("status");
    CopyDataStruct copy{ 0xC001, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(backend->sendMessage(0x100, WmCopyData, 0, reinterpret_cast<LParam>(&copy)), LResult(0));
    QVERIFY(!backend->postMessage(0x100, 0xC001, 0, 0));
    // Names still keep one id each, as on Windows.
    const MessageId id = backend->registerWindowMessage(u"StatusChanged");
    QVERIFY(id >= 0xC000 && id <= 0xFFFF);
    QCOMPARE(backend->registerWindowMessage(u"StatusChanged"), id);
    QVERIFY(backend->registerWindowMessage(u"SupplyChanged") != id);
    QCOMPARE(backend->registerWindowMessage(u""), MessageId(0));
    Message storage{};
    Message message{};
    QVERIFY(!backend->translateNativeEvent("korvex_memory_MSG", 17, &message, &storage));
}

QTEST_MAIN(tst_NativeWindowSystem)
#include "tst_nativewindowsystem.moc"
