// The native-window behaviour the dashboard relies on, stated once and checked against every
// backend: each test's table has a "backend" column with one row per backend.

#include "contract_backend.h"

#include <QRandomGenerator>
#include <QtTest>

using namespace KorvexNative;

std::unique_ptr<ContractBackend> createMemoryContractBackend(QString *skipReason);
#ifdef KORVEX_CONTRACT_XCB
std::unique_ptr<ContractBackend> createXcbContractBackend(QString *skipReason);
#endif

QList<ContractRow> contractBackends()
{
    QList<ContractRow> rows;
    rows.append({ "memory", createMemoryContractBackend });
#ifdef KORVEX_CONTRACT_XCB
    rows.append({ "xcb", createXcbContractBackend });
#endif
    return rows;
}

namespace {

constexpr std::uint32_t STATIC_STYLE = WsChild | WsVisible | WsClipChildren;
constexpr LongPtr FRAME_STYLES = WsCaption | WsSysMenu | WsThickFrame | WsMinimizeBox | WsMaximizeBox;
constexpr std::uint32_t SwpNoSize = 0x0001;
constexpr std::uint32_t SwpNoMove = 0x0002;

std::unique_ptr<ContractBackend> createRow(const QString &name, QString *skipReason)
{
    for (const ContractRow &row : contractBackends())
        if (name == QLatin1String(row.name))
            return row.create(skipReason);
    *skipReason = QStringLiteral("no backend named ") + name;
    return nullptr;
}

void addBackendRows()
{
    QTest::addColumn<QString>("backend");
    for (const ContractRow &row : contractBackends())
        QTest::newRow(row.name) << QString::fromLatin1(row.name);
}

WindowHandle createStatic(NativeWindowBackend *backend, WindowHandle parent, const QRect &r)
{
    return backend->createWindowEx(0, u"STATIC", u"", STATIC_STYLE, r.x(), r.y(), r.width(),
                                   r.height(), parent, 0, nullptr, nullptr);
}

QByteArray pattern(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (char &c : bytes)
        c = char(generator.generate());
    return bytes;
}

} // namespace

#define CONTRACT_ROW(var)                                                                      \
    QFETCH(QString, backend);                                                                  \
    QString skipReason_;                                                                       \
    const std::unique_ptr<ContractBackend> var = createRow(backend, &skipReason_);             \
    if (!var)                                                                                  \
        QSKIP(qPrintable(skipReason_));

class tst_NativeWindowContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void staticChildOfAParent_data() { addBackendRows(); }
    void staticChildOfAParent();
    void createWindowRefusesWhatWindowsRefuses_data();
    void createWindowRefusesWhatWindowsRefuses();
    void attachingAModuleWindow_data() { addBackendRows(); }
    void attachingAModuleWindow();
    void setParentRefusesMissingWindows_data() { addBackendRows(); }
    void setParentRefusesMissingWindows();
    void setWindowPosKeepsWhatTheFlagsKeep_data() { addBackendRows(); }
    void setWindowPosKeepsWhatTheFlagsKeep();
    void showWindowReturnsThePreviousVisibility_data() { addBackendRows(); }
    void showWindowReturnsThePreviousVisibility();
    void isWindowFollowsTheWindow_data() { addBackendRows(); }
    void isWindowFollowsTheWindow();
    void closeDestroysOurContainer_data() { addBackendRows(); }
    void closeDestroysOurContainer();
    void closeReachesAModuleWindow_data() { addBackendRows(); }
    void closeReachesAModuleWindow();
    void registeredMessages_data() { addBackendRows(); }
    void registeredMessages();
    void registeredMessageArrives_data();
    void registeredMessageArrives();
    void copyDataArrivesWhole_data();
    void copyDataArrivesWhole();
    void copyDataInFlightKeepTheirOrder_data() { addBackendRows(); }
    void copyDataInFlightKeepTheirOrder();
    void messagesToAGoneWindowFail_data() { addBackendRows(); }
    void messagesToAGoneWindowFail();
    void foreignEventsAreNotMessages_data() { addBackendRows(); }
    void foreignEventsAreNotMessages();
};

void tst_NativeWindowContract::staticChildOfAParent()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle parent = row->createModuleWindow();
    const WindowHandle container = createStatic(native, parent, QRect(10, 20, 300, 200));
    QVERIFY(container != 0);
    QVERIFY(native->isWindow(container));
    QCOMPARE(row->parentOf(container), parent);
    QCOMPARE(row->geometryOf(container), QRect(10, 20, 300, 200));
    QVERIFY(row->isShown(container));
    QCOMPARE(native->getWindowLongPtr(container, GwlStyle), LongPtr(STATIC_STYLE));
    QCOMPARE(native->getWindowLongPtr(container, GwlExStyle), LongPtr(0));
    // An unknown index reads nothing.
    QCOMPARE(native->getWindowLongPtr(container, -21), LongPtr(0));
}

void tst_NativeWindowContract::createWindowRefusesWhatWindowsRefuses_data()
{
    QTest::addColumn<QString>("backend");
    QTest::addColumn<QString>("what");
    for (const ContractRow &row : contractBackends())
        for (const char *what : { "no class", "child without parent", "gone parent" })
            QTest::addRow("%s, %s", row.name, what) << QString::fromLatin1(row.name) << what;
}

void tst_NativeWindowContract::createWindowRefusesWhatWindowsRefuses()
{
    CONTRACT_ROW(row);
    QFETCH(QString, what);
    NativeWindowBackend *native = row->backend();
    const WindowHandle parent = row->createModuleWindow();
    WindowHandle created = 0;
    if (what == u"no class") {
        created = native->createWindowEx(0, nullptr, u"", STATIC_STYLE, 0, 0, 10, 10, parent, 0,
                                         nullptr, nullptr);
    } else if (what == u"child without parent") {
        created = native->createWindowEx(0, u"STATIC", u"", STATIC_STYLE, 0, 0, 10, 10, 0, 0,
                                         nullptr, nullptr);
    } else {
        row->destroyElsewhere(parent);
        created = createStatic(native, parent, QRect(0, 0, 10, 10));
    }
    QCOMPARE(created, WindowHandle(0));
}

// What DashboardAppWindow does with a module's window, step by step.
void tst_NativeWindowContract::attachingAModuleWindow()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle dashboard = row->createModuleWindow();
    const WindowHandle module = row->createModuleWindow();
    const WindowHandle container = createStatic(native, dashboard, QRect(5, 6, 400, 300));
    QVERIFY(container);

    // A module's top-level window is framed and not a child, and SetParent keeps it so.
    const LongPtr style = native->getWindowLongPtr(module, GwlStyle);
    QCOMPARE(style & FRAME_STYLES, FRAME_STYLES);
    QCOMPARE(style & LongPtr(WsVisible), LongPtr(WsVisible));
    QCOMPARE(style & LongPtr(WsChild), LongPtr(0));

    native->setParent(module, container);
    QCOMPARE(row->parentOf(module), container);
    QCOMPARE(native->getWindowLongPtr(module, GwlStyle), style);

    const LongPtr stripped = style & ~FRAME_STYLES;
    QCOMPARE(native->setWindowLongPtr(module, GwlStyle, stripped), style);
    QCOMPARE(native->getWindowLongPtr(module, GwlStyle), stripped);

    QVERIFY(native->setWindowPos(module, 0, 0, 0, 400, 300, SwpShowWindow | SwpNoActivate));
    QCOMPARE(row->geometryOf(module), QRect(0, 0, 400, 300));
    QVERIFY(row->isShown(module));

    const LongPtr exStyle = native->getWindowLongPtr(container, GwlExStyle);
    QCOMPARE(native->setWindowLongPtr(container, GwlExStyle, exStyle | WsExComposited), exStyle);
    QCOMPARE(native->getWindowLongPtr(container, GwlExStyle), exStyle | WsExComposited);

    // The item follows its size: the container moves and resizes, the module only resizes.
    QVERIFY(native->setWindowPos(container, 0, 15, 16, 500, 350, SwpNoZOrder | SwpNoActivate));
    QVERIFY(native->setWindowPos(module, 0, 0, 0, 500, 350, SwpNoZOrder | SwpNoActivate));
    QCOMPARE(row->geometryOf(container), QRect(15, 16, 500, 350));
    QCOMPARE(row->geometryOf(module), QRect(0, 0, 500, 350));

    // Moving it on returns the parent it had.
    const WindowHandle second = createStatic(native, dashboard, QRect(0, 0, 50, 50));
    QCOMPARE(native->setParent(module, second), container);
    QCOMPARE(row->parentOf(module), second);
}

void tst_NativeWindowContract::setParentRefusesMissingWindows()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle module = row->createModuleWindow();
    const WindowHandle gone = row->createModuleWindow();
    row->destroyElsewhere(gone);
    const WindowHandle container = createStatic(native, row->createModuleWindow(), QRect(0, 0, 9, 9));

    QCOMPARE(native->setParent(gone, container), WindowHandle(0));
    QCOMPARE(native->setParent(module, gone), WindowHandle(0));
    QCOMPARE(native->setParent(module, module), WindowHandle(0));
    QCOMPARE(row->parentOf(module), WindowHandle(0));
    QCOMPARE(native->getWindowLongPtr(gone, GwlStyle), LongPtr(0));
    QCOMPARE(native->setWindowLongPtr(gone, GwlStyle, 1), LongPtr(0));
}

void tst_NativeWindowContract::setWindowPosKeepsWhatTheFlagsKeep()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle container = createStatic(native, row->createModuleWindow(), QRect(1, 2, 30, 40));
    QVERIFY(native->setWindowPos(container, 0, 7, 8, 99, 99, SwpNoSize | SwpNoZOrder));
    QCOMPARE(row->geometryOf(container), QRect(7, 8, 30, 40));
    QVERIFY(native->setWindowPos(container, 0, 99, 99, 60, 70, SwpNoMove | SwpNoZOrder));
    QCOMPARE(row->geometryOf(container), QRect(7, 8, 60, 70));

    const WindowHandle gone = row->createModuleWindow();
    row->destroyElsewhere(gone);
    QVERIFY(!native->setWindowPos(gone, 0, 0, 0, 10, 10, SwpNoZOrder));
    QVERIFY(!native->setWindowPos(0, 0, 0, 0, 10, 10, SwpNoZOrder));
}

void tst_NativeWindowContract::showWindowReturnsThePreviousVisibility()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle container = createStatic(native, row->createModuleWindow(), QRect(0, 0, 30, 30));
    QVERIFY(native->showWindow(container, SwHide));
    QVERIFY(!row->isShown(container));
    QCOMPARE(native->getWindowLongPtr(container, GwlStyle) & LongPtr(WsVisible), LongPtr(0));
    QVERIFY(!native->showWindow(container, SwHide));
    QVERIFY(!native->showWindow(container, SwShowNormal));
    QVERIFY(row->isShown(container));
    QCOMPARE(native->getWindowLongPtr(container, GwlStyle), LongPtr(STATIC_STYLE));

    const WindowHandle gone = row->createModuleWindow();
    row->destroyElsewhere(gone);
    QVERIFY(!native->showWindow(gone, SwShowNormal));
}

void tst_NativeWindowContract::isWindowFollowsTheWindow()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle module = row->createModuleWindow();
    QVERIFY(!native->isWindow(0));
    QVERIFY(native->isWindow(module));
    // Another process's view agrees.
    QVERIFY(row->otherProcess()->isWindow(module));
    row->destroyElsewhere(module);
    QVERIFY(!native->isWindow(module));
    QVERIFY(!row->otherProcess()->isWindow(module));
}

void tst_NativeWindowContract::closeDestroysOurContainer()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle container = createStatic(native, row->createModuleWindow(), QRect(0, 0, 30, 30));
    QVERIFY(native->isWindow(container));
    native->sendMessage(container, WmClose, 0, 0);
    QVERIFY(!native->isWindow(container));
    QVERIFY(!row->otherProcess()->isWindow(container));
}

void tst_NativeWindowContract::closeReachesAModuleWindow()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle module = row->createReceiver();
    native->sendMessage(module, WmClose, 0, 0);
    QTRY_VERIFY(!row->received().isEmpty());
    const ReceivedMessage got = row->received().constFirst();
    QCOMPARE(got.window, module);
    QCOMPARE(got.message, WmClose);
}

void tst_NativeWindowContract::registeredMessages()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const MessageId a = native->registerWindowMessage(u"registerQVIPC");
    const MessageId b = native->registerWindowMessage(u"StatusChanged");
    const MessageId unicode = native->registerWindowMessage(u"Statusänderung \u2603");
    QVERIFY(a >= 0xC000 && a <= 0xFFFF);
    QVERIFY(b >= 0xC000 && b <= 0xFFFF);
    QVERIFY(unicode >= 0xC000 && unicode <= 0xFFFF);
    QVERIFY(a != b && b != unicode && a != unicode);
    QCOMPARE(native->registerWindowMessage(u"registerQVIPC"), a);
    // Every process on the system gets the same id for a name, whoever asked first.
    QCOMPARE(row->otherProcess()->registerWindowMessage(u"StatusChanged"), b);
    const MessageId late = row->otherProcess()->registerWindowMessage(u"SupplyChanged");
    QVERIFY(late >= 0xC000 && late <= 0xFFFF);
    QCOMPARE(native->registerWindowMessage(u"SupplyChanged"), late);
    QCOMPARE(native->registerWindowMessage(u""), MessageId(0));
    QCOMPARE(native->registerWindowMessage(nullptr), MessageId(0));
}

void tst_NativeWindowContract::registeredMessageArrives_data()
{
    QTest::addColumn<QString>("backend");
    QTest::addColumn<bool>("posted");
    for (const ContractRow &row : contractBackends()) {
        QTest::addRow("%s, sent", row.name) << QString::fromLatin1(row.name) << false;
        QTest::addRow("%s, posted", row.name) << QString::fromLatin1(row.name) << true;
    }
}

void tst_NativeWindowContract::registeredMessageArrives()
{
    CONTRACT_ROW(row);
    QFETCH(bool, posted);
    NativeWindowBackend *module = row->otherProcess();
    const WindowHandle dashboard = row->createReceiver();
    const MessageId id = module->registerWindowMessage(u"registerQVIPC");
    const WParam moduleWindow = 0x1234567;
    if (posted)
        QVERIFY(module->postMessage(dashboard, id, moduleWindow, 0));
    else
        module->sendMessage(dashboard, id, moduleWindow, 0);
    QTRY_COMPARE(row->received().size(), 1);
    const ReceivedMessage got = row->received().constFirst();
    QCOMPARE(got.window, dashboard);
    QCOMPARE(got.message, row->backend()->registerWindowMessage(u"registerQVIPC"));
    QCOMPARE(got.wParam, moduleWindow);
    QVERIFY(!got.hasCopyData);
}

void tst_NativeWindowContract::copyDataArrivesWhole_data()
{
    QTest::addColumn<QString>("backend");
    QTest::addColumn<int>("size");
    QTest::addColumn<quint64>("dwData");
    for (const ContractRow &row : contractBackends()) {
        const QString name = QString::fromLatin1(row.name);
        QTest::addRow("%s, 1 byte", row.name) << name << 1 << quint64(0);
        QTest::addRow("%s, a reply", row.name) << name << 187 << quint64(0);
        QTest::addRow("%s, broadcast id", row.name) << name << 220 << quint64(0xC012);
        QTest::addRow("%s, over one request", row.name) << name << 300 * 1024 + 1 << quint64(7);
        QTest::addRow("%s, 1 MiB and 3", row.name) << name << 1024 * 1024 + 3
                                                    << quint64(0xFFFFFFFFFFull);
    }
}

void tst_NativeWindowContract::copyDataArrivesWhole()
{
    CONTRACT_ROW(row);
    QFETCH(int, size);
    QFETCH(quint64, dwData);
    NativeWindowBackend *module = row->otherProcess();
    const WindowHandle dashboard = row->createReceiver();
    QByteArray bytes = pattern(size, quint32(size));
    const QByteArray expected = bytes;
    CopyDataStruct copy{ std::uintptr_t(dwData), std::uint32_t(bytes.size()), bytes.data() };
    module->sendMessage(dashboard, WmCopyData, 0x4242, reinterpret_cast<LParam>(&copy));
    // The sender's buffer is its own again as soon as the call returns.
    bytes.fill('\0');
    QTRY_COMPARE(row->received().size(), 1);
    const ReceivedMessage got = row->received().constFirst();
    QCOMPARE(got.window, dashboard);
    QCOMPARE(got.message, WmCopyData);
    QCOMPARE(got.wParam, WParam(0x4242));
    QVERIFY(got.hasCopyData);
    QCOMPARE(got.dwData, dwData);
    QCOMPARE(got.bytes.size(), expected.size());
    QVERIFY(got.bytes == expected);
}

void tst_NativeWindowContract::copyDataInFlightKeepTheirOrder()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *module = row->otherProcess();
    const WindowHandle dashboard = row->createReceiver();
    const QList<int> sizes{ 1024 * 1024, 10, 500 * 1024, 1, 2 * 1024 * 1024, 0 };
    QList<QByteArray> sent;
    for (int i = 0; i < sizes.size(); ++i) {
        QByteArray bytes = pattern(sizes.at(i), quint32(100 + i));
        sent << bytes;
        CopyDataStruct copy{ std::uintptr_t(i), std::uint32_t(bytes.size()),
                             bytes.isEmpty() ? nullptr : bytes.data() };
        module->sendMessage(dashboard, WmCopyData, WParam(i), reinterpret_cast<LParam>(&copy));
    }
    QTRY_COMPARE(row->received().size(), sizes.size());
    const QList<ReceivedMessage> got = row->received();
    for (int i = 0; i < sizes.size(); ++i) {
        QCOMPARE(got.at(i).wParam, WParam(i));
        QCOMPARE(got.at(i).dwData, quint64(i));
        QCOMPARE(got.at(i).bytes.size(), sent.at(i).size());
        QVERIFY2(got.at(i).bytes == sent.at(i), qPrintable(QString::number(i)));
    }
}

void tst_NativeWindowContract::messagesToAGoneWindowFail()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    const WindowHandle gone = row->createModuleWindow();
    row->destroyElsewhere(gone);
    QByteArray bytes("payload");
    CopyDataStruct copy{ 1, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(native->sendMessage(gone, WmCopyData, 0, reinterpret_cast<LParam>(&copy)), LResult(0));
    QCOMPARE(native->sendMessage(gone, 0xC001, 0, 0), LResult(0));
    QVERIFY(!native->postMessage(gone, 0xC001, 0, 0));
    QVERIFY(!native->postMessage(0, 0xC001, 0, 0));
    // Data goes only with a sent message, as on Windows.
    QVERIFY(!native->postMessage(row->createReceiver(), WmCopyData, 0,
                                 reinterpret_cast<LParam>(&copy)));
}

void tst_NativeWindowContract::foreignEventsAreNotMessages()
{
    CONTRACT_ROW(row);
    NativeWindowBackend *native = row->backend();
    Message storage{};
    char event[64] = {};
    QVERIFY(!native->translateNativeEvent(nullptr, 0, event, &storage));
    QVERIFY(!native->translateNativeEvent("something_else", 14, event, &storage));
    QVERIFY(!native->translateNativeEvent("xcb_generic_event_t", 19, nullptr, &storage));
    QVERIFY(!native->translateNativeEvent("windows_generic_MSG", 19, nullptr, &storage));
}

QTEST_MAIN(tst_NativeWindowContract)
#include "tst_nativewindowcontract.moc"
