#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include <QWindow>
#include <QtTest>

#include <memory>

using namespace KorvexNative;

namespace {

// Records the Windows-shaped messages its nativeEvent sees.
class RecordingWindow : public QWindow
{
public:
    explicit RecordingWindow(NativeWindowBackend *backend) : m_backend(backend) { }
    QList<Message> messages;
    QList<QByteArray> eventTypes;

protected:
    bool nativeEvent(const QByteArray &eventType, void *message, qintptr *result) override
    {
        eventTypes << eventType;
        Message storage{};
        if (const Message *msg = m_backend->translateNativeEvent(
                    eventType.constData(), std::size_t(eventType.size()), message, &storage))
            messages << *msg;
        return QWindow::nativeEvent(eventType, message, result);
    }

private:
    NativeWindowBackend *m_backend;
};

} // namespace

class tst_MemoryNativeWindowBackend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void scopedBackendsNest();
    void registeredIdsAreStable();
    void windowsAreSimulated();
    void callsOnMissingWindowsFail();
    void closeDestroysClosableWindowsAndChildren();
    void setParentReportsThePreviousParent();
    void copyDataIsCopiedAtCallTime();
    void messageHandlerRunsInsideTheSend();
    void deliveredMessagesReachNativeEvent();
};

void tst_MemoryNativeWindowBackend::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_MemoryNativeWindowBackend::scopedBackendsNest()
{
    NativeWindowBackend *platform = NativeWindowSystem::backend();
    MemoryNativeWindowBackend outer;
    MemoryNativeWindowBackend inner;
    {
        NativeWindowSystem::ScopedBackend a(&outer);
        QCOMPARE(NativeWindowSystem::backend(), &outer);
        {
            NativeWindowSystem::ScopedBackend b(&inner);
            QCOMPARE(NativeWindowSystem::backend(), &inner);
        }
        QCOMPARE(NativeWindowSystem::backend(), &outer);
    }
    QCOMPARE(NativeWindowSystem::backend(), platform);
}

void tst_MemoryNativeWindowBackend::registeredIdsAreStable()
{
    MemoryNativeWindowBackend backend;
    QCOMPARE(backend.registeredMessageId("registerQVIPC"), MessageId(0));
    const MessageId a = NativeWindowSystem::registerWindowMessage(&backend, "registerQVIPC");
    const MessageId b = NativeWindowSystem::registerWindowMessage(&backend, "StatusChanged");
    QCOMPARE(a, MemoryNativeWindowBackend::FIRST_REGISTERED_ID);
    QCOMPARE(b, a + 1);
    QCOMPARE(NativeWindowSystem::registerWindowMessage(&backend, "registerQVIPC"), a);
    QCOMPARE(backend.registeredMessageId("registerQVIPC"), a);
    QCOMPARE(NativeWindowSystem::registerWindowMessage(&backend, ""), MessageId(0));
    QCOMPARE(NativeWindowSystem::registerWindowMessage(nullptr, "x"), MessageId(0));
    // Names are UTF-16 and case-sensitive.
    QVERIFY(NativeWindowSystem::registerWindowMessage(&backend, "registerqvipc") != a);
    const auto calls = backend.callsTo("RegisterWindowMessageW");
    QCOMPARE(calls.size(), 5);
    QCOMPARE(calls[0].arguments, QVariantList{ "registerQVIPC" });
    QCOMPARE(calls[0].result, qint64(a));
}

void tst_MemoryNativeWindowBackend::windowsAreSimulated()
{
    MemoryNativeWindowBackend backend;
    backend.adoptWindow(0x42);
    const WindowHandle child = backend.createWindowEx(0, u"STATIC", u"", WsChild | WsVisible,
                                                      1, 2, 30, 40, 0x42, 0, nullptr, nullptr);
    QVERIFY(child);
    auto state = backend.window(child);
    QCOMPARE(state.parent, WindowHandle(0x42));
    QCOMPARE(state.geometry, QRect(1, 2, 30, 40));
    QVERIFY(state.visible);
    QCOMPARE(state.className, QStringLiteral("STATIC"));

    QCOMPARE(backend.setWindowLongPtr(child, GwlStyle, WsChild), LongPtr(WsChild | WsVisible));
    QVERIFY(!backend.window(child).visible);
    QCOMPARE(backend.getWindowLongPtr(child, GwlStyle), LongPtr(WsChild));
    QVERIFY(backend.setWindowPos(child, 0, 5, 6, 70, 80, SwpNoZOrder | SwpShowWindow));
    QCOMPARE(backend.window(child).geometry, QRect(5, 6, 70, 80));
    QVERIFY(backend.window(child).visible);
    QVERIFY(backend.showWindow(child, SwHide)); // was visible
    QVERIFY(!backend.showWindow(child, SwShowNormal));
    QVERIFY(backend.window(child).visible);
    QCOMPARE(backend.setParent(child, 0), WindowHandle(0x42));
    QCOMPARE(backend.window(child).parent, WindowHandle(0));
    QVERIFY(backend.isWindow(child));
    QCOMPARE(backend.functionNames(),
             QStringList({ "CreateWindowExW", "SetWindowLongPtrW", "GetWindowLongPtrW",
                           "SetWindowPos", "ShowWindow", "ShowWindow", "SetParent", "IsWindow" }));
}

void tst_MemoryNativeWindowBackend::callsOnMissingWindowsFail()
{
    MemoryNativeWindowBackend backend;
    const WindowHandle ghost = 0xBAD0;
    QCOMPARE(backend.createWindowEx(0, u"STATIC", u"", WsChild, 0, 0, 1, 1, ghost, 0, nullptr,
                                    nullptr),
             WindowHandle(0));
    QCOMPARE(backend.createWindowEx(0, u"STATIC", u"", WsChild, 0, 0, 1, 1, 0, 0, nullptr, nullptr),
             WindowHandle(0)); // a child needs a parent
    QCOMPARE(backend.setParent(ghost, 0), WindowHandle(0));
    QCOMPARE(backend.getWindowLongPtr(ghost, GwlStyle), LongPtr(0));
    QCOMPARE(backend.setWindowLongPtr(ghost, GwlStyle, 1), LongPtr(0));
    QVERIFY(!backend.setWindowPos(ghost, 0, 0, 0, 1, 1, 0));
    QVERIFY(!backend.showWindow(ghost, SwShowNormal));
    QVERIFY(!backend.isWindow(ghost));
    QVERIFY(!backend.isWindow(0));
    QCOMPARE(backend.sendMessage(ghost, WmClose, 0, 0), LResult(0));
    QVERIFY(!backend.postMessage(ghost, 0xC000, 0, 0));
    QCOMPARE(backend.calls().size(), 11); // every call is recorded, failed or not
    QVERIFY(backend.windows().isEmpty());
}

void tst_MemoryNativeWindowBackend::setParentReportsThePreviousParent()
{
    MemoryNativeWindowBackend backend;
    const WindowHandle parent = backend.addWindow(QStringLiteral("Parent"));
    const WindowHandle topLevel = backend.addWindow();
    // A top-level window's previous parent is the desktop, never 0, which means failure.
    QCOMPARE(backend.setParent(topLevel, parent), MemoryNativeWindowBackend::DESKTOP_WINDOW);
    QCOMPARE(backend.window(topLevel).parent, parent);
    QCOMPARE(backend.setParent(topLevel, 0), parent);
    QCOMPARE(backend.window(topLevel).parent, WindowHandle(0));

    // A window its manager keeps cannot be moved into another, and stays where it is.
    backend.setKeptByWindowManager(topLevel, true);
    QCOMPARE(backend.setParent(topLevel, parent), WindowHandle(0));
    QCOMPARE(backend.window(topLevel).parent, WindowHandle(0));
    QCOMPARE(backend.calls().last().result, qint64(0));
    backend.setKeptByWindowManager(topLevel, false);
    QCOMPARE(backend.setParent(topLevel, parent), MemoryNativeWindowBackend::DESKTOP_WINDOW);
}

void tst_MemoryNativeWindowBackend::closeDestroysClosableWindowsAndChildren()
{
    MemoryNativeWindowBackend backend;
    const WindowHandle top = backend.addWindow();
    const WindowHandle child = backend.createWindowEx(0, u"STATIC", u"", WsChild, 0, 0, 1, 1, top,
                                                      0, nullptr, nullptr);
    const WindowHandle grandChild = backend.addWindow("ModuleWindow", 0, QRect(), child);
    backend.setClosesOnClose(top, false);
    backend.sendMessage(top, WmClose, 0, 0);
    QVERIFY(backend.windowExists(top)); // refused
    backend.sendMessage(child, WmClose, 0, 0);
    QVERIFY(!backend.windowExists(child));
    QVERIFY(!backend.windowExists(grandChild));
    QVERIFY(backend.windowExists(top));
}

void tst_MemoryNativeWindowBackend::copyDataIsCopiedAtCallTime()
{
    MemoryNativeWindowBackend backend;
    const WindowHandle module = backend.addWindow();
    QByteArray bytes("abcdef");
    CopyDataStruct copyData{ 0xC005, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(backend.sendMessage(module, WmCopyData, 7, reinterpret_cast<LParam>(&copyData)),
             LResult(0));
    bytes.fill('x');
    const auto call = backend.calls().constFirst();
    QVERIFY(call.hasCopyData);
    QCOMPARE(call.copyDataId, quint64(0xC005));
    QCOMPARE(call.copyDataSize, 6u);
    QCOMPARE(call.copyDataBytes, QByteArray("abcdef"));
    QCOMPARE(call.arguments[2].value<quint64>(), quint64(7));

    // A null COPYDATASTRUCT is recorded as no data; a null lpData as a size only.
    backend.sendMessage(module, WmCopyData, 0, 0);
    QVERIFY(!backend.calls().last().hasCopyData);
    CopyDataStruct empty{ 1, 99, nullptr };
    backend.sendMessage(module, WmCopyData, 0, reinterpret_cast<LParam>(&empty));
    QCOMPARE(backend.calls().last().copyDataSize, 99u);
    QVERIFY(backend.calls().last().copyDataBytes.isEmpty());
}

void tst_MemoryNativeWindowBackend::messageHandlerRunsInsideTheSend()
{
    MemoryNativeWindowBackend backend;
    const WindowHandle module = backend.addWindow();
    int seen = 0;
    backend.setMessageHandler(module, [&](WindowHandle window, MessageId message, WParam, LParam) {
        ++seen;
        // A module answering at once, while the sender waits.
        backend.postMessage(window, message + 1, 0, 0);
        return LResult(17);
    });
    QCOMPARE(backend.sendMessage(module, 0xC001, 0, 0), LResult(17));
    QCOMPARE(seen, 1);
    QCOMPARE(backend.functionNames(), QStringList({ "SendMessageW", "PostMessageW" }));
    QCOMPARE(backend.calls().constFirst().result, qint64(17));
}

void tst_MemoryNativeWindowBackend::deliveredMessagesReachNativeEvent()
{
    MemoryNativeWindowBackend backend;
    RecordingWindow window(&backend);
    qintptr result = 0;
    QVERIFY(!MemoryNativeWindowBackend::deliverMessage(&window, 0xC010, 0x99, 0, &result));
    QVERIFY(!MemoryNativeWindowBackend::deliverCopyData(&window, 0x98, 3, QByteArray("xyz")));
    QVERIFY(!MemoryNativeWindowBackend::deliverMessage(nullptr, 0xC010, 0x99, 0));
    QCOMPARE(window.eventTypes,
             (QList<QByteArray>{ MemoryNativeWindowBackend::EVENT_TYPE,
                                 MemoryNativeWindowBackend::EVENT_TYPE }));
    QCOMPARE(window.messages.size(), 2);
    QCOMPARE(window.messages[0].hwnd, WindowHandle(window.winId()));
    QCOMPARE(window.messages[0].message, MessageId(0xC010));
    QCOMPARE(window.messages[0].wParam, WParam(0x99));
    QCOMPARE(window.messages[1].message, WmCopyData);
    QCOMPARE(window.messages[1].wParam, WParam(0x98));

    // Another backend's event type is not translated.
    Message storage{};
    Message msg{};
    QVERIFY(!backend.translateNativeEvent("windows_generic_MSG", 19, &msg, &storage));
    QVERIFY(!backend.translateNativeEvent(nullptr, 0, &msg, &storage));
    QVERIFY(!backend.translateNativeEvent(MemoryNativeWindowBackend::EVENT_TYPE,
                                          sizeof MemoryNativeWindowBackend::EVENT_TYPE - 1,
                                          nullptr, &storage));
}

QTEST_MAIN(tst_MemoryNativeWindowBackend)
#include "tst_memorynativewindowbackend.moc"
