#include "Controllers/qvipchelper_win32.h"
#include "native_window_system.h"
#include "platforms/memory/memory_native_window_backend.h"

#include "printing/printer_status_controller.h"
#include "printing/qvipc_m4_controller.h"

#include "log_capture.h"
#include "printer_fixture.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace KorvexNative;
using Call = MemoryNativeWindowBackend::Call;


namespace {

const char REGISTRATION_ERROR[] = "Dashboard Error: Failed to register qvipc - Invalid qvipc hwnd.";

MessageStruct record(qint8 methodType, const QString &name, const QVariantList &arguments,
                     const QString &dataType = QString())
{
    MessageStruct message;
    message.methodType = methodType;
    message.methodName = name;
    message.dataType = dataType;
    message.arguments = arguments;
    return message;
}

QVariantList dashes(int count)
{
    QVariantList list;
    for (int i = 0; i < count; ++i)
        list << QStringLiteral("-");
    return list;
}

} // namespace

class tst_QVIPCHelper_win32 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void constructionConnectsThePrinterSignals();
    void registration_data();
    void registration();
    void registrationErrorIsLoggedWhereItHappens();
    void registeredIdsAreAskedForEveryMessage();
    void checkQVIPCRegistered();
    void moduleEvents_data();
    void moduleEvents();
    void methodTypeIsCheckedFirst_data();
    void methodTypeIsCheckedFirst();
    void eventNamesAreCaseSensitive_data();
    void eventNamesAreCaseSensitive();
    void requestsAreAnsweredToTheSender_data();
    void requestsAreAnsweredToTheSender();
    void requestWithNullSenderIsStillInvoked();
    void modulePrinterNameSelectsThePrinter();
    void broadcasts_data();
    void broadcasts();
    void statusReachesTheStatusControllerBeforeTheModules();
    void broadcastKeepsLongListsAndSendsToDuplicatesTwice();
    void broadcastWithoutModulesSendsNothing();
    void broadcastToADeadHandle();
    void moduleUnregisteringDuringABroadcast();
    void broadcastGoesToTheModulesListedWhenItStarted();
    void postMessageToAllModules();
    void printerFileChangesAreBroadcast();
    void encodingFailures();
    void hostileMessages_data();
    void hostileMessages();
    void garbageBlocks();
    void registrationFlood();

private:
    void deliver(MessageId message, WParam wParam, LParam lParam);
    void deliverRecord(const MessageStruct &message, WParam sender);
    void registerModule(WindowHandle module);
    QList<QPair<Call, MessageStruct>> sentRecords() const;

    PrinterFixture *m_printers = nullptr;
    std::unique_ptr<MemoryNativeWindowBackend> m_backend;
    std::unique_ptr<PrinterStatusController> m_printerStatus;
    std::unique_ptr<QVIPCHelper_win32> m_helper;
    WindowHandle m_moduleA = 0;
    WindowHandle m_moduleB = 0;
};

void tst_QVIPCHelper_win32::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qRegisterMetaType<MessageStruct>();
}

void tst_QVIPCHelper_win32::init()
{
    m_printers = new PrinterFixture;
    m_printers->writePrinters(
            { PrinterFixture::printer("P1", "Ondrel X100 Series", 0, "SUP-1", { "R1", "R2" },
                                      "1.0.0-1", 3, false, true),
              PrinterFixture::printer("P2", "Generic PCL Driver", 4) });
    m_backend = std::make_unique<MemoryNativeWindowBackend>();
    m_printerStatus = std::make_unique<PrinterStatusController>();
    m_helper = std::make_unique<QVIPCHelper_win32>(m_printerStatus.get(), m_backend.get());
    m_moduleA = m_backend->addWindow();
    m_moduleB = m_backend->addWindow();
}

void tst_QVIPCHelper_win32::cleanup()
{
    m_helper.reset();
    m_printerStatus.reset();
    m_backend.reset();
    delete m_printers;
    m_printers = nullptr;
}

void tst_QVIPCHelper_win32::deliver(MessageId message, WParam wParam, LParam lParam)
{
    Message msg{};
    msg.hwnd = 0x77;
    msg.message = message;
    msg.wParam = wParam;
    msg.lParam = lParam;
    qintptr result = 0;
    m_helper->parseMessage(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), &msg, &result);
}

void tst_QVIPCHelper_win32::deliverRecord(const MessageStruct &message, WParam sender)
{
    QByteArray bytes = QVIPCMessage::encode(message);
    QVERIFY(!bytes.isEmpty());
    CopyDataStruct copyData{ 0, std::uint32_t(bytes.size()), bytes.data() };
    deliver(WmCopyData, sender, reinterpret_cast<LParam>(&copyData));
}

void tst_QVIPCHelper_win32::registerModule(WindowHandle module)
{
    deliver(m_backend->registerMessageName(QStringLiteral("registerQVIPC")), module, 0);
}

QList<QPair<Call, MessageStruct>> tst_QVIPCHelper_win32::sentRecords() const
{
    QList<QPair<Call, MessageStruct>> sent;
    for (const Call &call : m_backend->callsTo(QStringLiteral("SendMessageW"))) {
        if (!call.hasCopyData)
            continue;
        MessageStruct message;
        if (!QVIPCMessage::decode(call.copyDataBytes.constData(), call.copyDataSize, &message))
            qWarning("a sent block does not decode");
        sent << qMakePair(call, message);
    }
    return sent;
}

void tst_QVIPCHelper_win32::constructionConnectsThePrinterSignals()
{
    QVERIFY(m_helper->registeredModules().isEmpty());
    QVERIFY(!m_helper->parent());
    registerModule(m_moduleA);
    m_backend->clearCalls();
    Q_EMIT m_printerStatus->supplyIdChangedSignal(QStringLiteral("P1"));
    Q_EMIT m_printerStatus->ribbonIdsChangedSignal(QStringLiteral("P1"));
    Q_EMIT m_printerStatus->statusChangedSignal(2, QStringLiteral("P1"));
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 3);
    QCOMPARE(sent[0].first.copyDataId, quint64(m_backend->registeredMessageId("SupplyChanged")));
    QCOMPARE(sent[1].first.copyDataId, quint64(m_backend->registeredMessageId("RibbonChanged")));
    QCOMPARE(sent[2].first.copyDataId, quint64(m_backend->registeredMessageId("StatusChanged")));
    // Nothing is sent while the helper is constructed or destroyed.
    m_backend->clearCalls();
    m_helper.reset();
    QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
    QVERIFY(m_backend->callsTo(QStringLiteral("PostMessageW")).isEmpty());
}

void tst_QVIPCHelper_win32::registration_data()
{
    // Steps: +h registers h, -h unregisters h; 1 and 2 stand for the two module windows,
    // 0 for the null handle and 9 for a handle nobody registered.
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QList<int>>("expected");
    QTest::addColumn<int>("errors");
    QTest::newRow("one") << QStringList{ "+1" } << QList<int>{ 1 } << 0;
    QTest::newRow("two in order") << QStringList{ "+2", "+1" } << QList<int>{ 2, 1 } << 0;
    QTest::newRow("duplicate is listed twice") << QStringList{ "+1", "+1" } << QList<int>{ 1, 1 } << 0;
    QTest::newRow("wParam 0") << QStringList{ "+1", "+0" } << QList<int>{ 1 } << 1;
    QTest::newRow("unregister removes every entry")
            << QStringList{ "+1", "+2", "+1", "-1" } << QList<int>{ 2 } << 0;
    QTest::newRow("unregister unknown") << QStringList{ "+1", "-9" } << QList<int>{ 1 } << 0;
    QTest::newRow("unregister 0") << QStringList{ "+1", "-0" } << QList<int>{ 1 } << 0;
    QTest::newRow("unregister before register") << QStringList{ "-1", "+1" } << QList<int>{ 1 } << 0;
}

void tst_QVIPCHelper_win32::registration()
{
    QFETCH(QStringList, steps);
    QFETCH(QList<int>, expected);
    QFETCH(int, errors);
    const auto handle = [this](int n) -> WindowHandle {
        return n == 1 ? m_moduleA : n == 2 ? m_moduleB : n == 9 ? WindowHandle(0xDEAD0) : 0;
    };
    LogCapture log;
    for (const QString &step : steps) {
        const MessageId id = m_backend->registerMessageName(
                step.startsWith('+') ? QStringLiteral("registerQVIPC")
                                     : QStringLiteral("unregisterQVIPC"));
        deliver(id, handle(step.mid(1).toInt()), 0);
    }
    QList<WindowHandle> expectedHandles;
    for (int n : expected)
        expectedHandles << handle(n);
    QCOMPARE(m_helper->registeredModules(), expectedHandles);
    QCOMPARE(log.linesWithMessage(REGISTRATION_ERROR).size(), errors);
}

void tst_QVIPCHelper_win32::registrationErrorIsLoggedWhereItHappens()
{
    LogCapture log;
    registerModule(0);
    QCOMPARE(log.lines().size(), 1);
    const LogCapture::Line line = log.lines().constFirst();
    QCOMPARE(line.type, QtDebugMsg);
    QCOMPARE(line.message, QString::fromLatin1(REGISTRATION_ERROR));
    QCOMPARE(line.category, QByteArray("korvex.dashboard.messaging"));
    QCOMPARE(line.file, LogCapture::sourcePath("Controllers/qvipchelper_win32"));
    QVERIFY2(line.function.contains("QVIPCHelper_win32::parseMessage"), line.function.constData());
    QVERIFY(line.line > 0);
}

void tst_QVIPCHelper_win32::registeredIdsAreAskedForEveryMessage()
{
    deliver(0x1234, 0, 0); // a message that is none of ours
    deliver(0x1234, 0, 0);
    const QList<Call> asked = m_backend->callsTo(QStringLiteral("RegisterWindowMessageW"));
    QCOMPARE(asked.size(), 4);
    QCOMPARE(asked[0].arguments, QVariantList{ QStringLiteral("registerQVIPC") });
    QCOMPARE(asked[1].arguments, QVariantList{ QStringLiteral("unregisterQVIPC") });
    QCOMPARE(asked[2].arguments, QVariantList{ QStringLiteral("registerQVIPC") });
    // The ids are stable: the same name always gives the same id.
    QCOMPARE(asked[0].result, asked[2].result);
    QVERIFY(asked[0].result != asked[1].result);
    QVERIFY(m_helper->registeredModules().isEmpty());
}

void tst_QVIPCHelper_win32::checkQVIPCRegistered()
{
    LogCapture log;
    m_helper->checkQVIPCRegistered(m_moduleA);
    m_helper->checkQVIPCRegistered(m_moduleA);
    m_helper->checkQVIPCRegistered(m_moduleB);
    QCOMPARE(m_helper->registeredModules(), (QList<WindowHandle>{ m_moduleA, m_moduleB }));
    QVERIFY(log.lines().isEmpty());
    m_helper->checkQVIPCRegistered(0);
    QCOMPARE(m_helper->registeredModules(), (QList<WindowHandle>{ m_moduleA, m_moduleB }));
    QCOMPARE(log.messages(), QStringList{ QString::fromLatin1(REGISTRATION_ERROR) });
    QVERIFY(log.lines().constFirst().function.contains("checkQVIPCRegistered"));
}

void tst_QVIPCHelper_win32::moduleEvents_data()
{
    QTest::addColumn<qint8>("methodType");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QVariantList>("expected");

    const QByteArray printer = SIGNAL(modulePrinterChangeSignal(QString));
    const QByteArray ready = SIGNAL(applicationReady(int,int,QString));
    const QByteArray open = SIGNAL(openLabel(QString));
    const QByteArray clicked = SIGNAL(applicationClicked());
    const QByteArray focused = SIGNAL(applicationFocused(bool,uint));

    QTest::newRow("setModulePrinterName") << qint8(0) << "setModulePrinterName"
            << QVariantList{ "Nobody's printer" } << printer << QVariantList{ "Nobody's printer" };
    QTest::newRow("setModulePrinterName short") << qint8(1) << "setModulePrinterName"
            << QVariantList{} << printer << QVariantList{ QString() };
    QTest::newRow("supplyModuleReady") << qint8(0) << "supplyModuleReady"
            << QVariantList{ 1234, 5678, "Pipe Marking" } << ready
            << QVariantList{ 1234, 5678, "Pipe Marking" };
    // Any Qt Core value type a module sends is read, and converted as the row says.
    QTest::newRow("supplyModuleReady ulong") << qint8(0) << "supplyModuleReady"
            << QVariantList{ 1234, QVariant::fromValue<ulong>(5678), "N" } << ready
            << QVariantList{ 1234, 5678, "N" };
    QTest::newRow("supplyModuleReady short, long, QChar") << qint8(0) << "supplyModuleReady"
            << QVariantList{ QVariant::fromValue<short>(12), QVariant::fromValue<long>(34),
                             QChar(u'Z') } << ready << QVariantList{ 12, 34, "Z" };
    QTest::newRow("supplyModuleReady padded") << qint8(2) << "supplyModuleReady"
            << QVariantList{ 1234, 5678, "Arc Flash", "-" } << ready
            << QVariantList{ 1234, 5678, "Arc Flash" };
    QTest::newRow("supplyModuleReady one argument") << qint8(0) << "supplyModuleReady"
            << QVariantList{ 1234 } << ready << QVariantList{ 1234, 0, QString() };
    QTest::newRow("supplyModuleReady none") << qint8(0) << "supplyModuleReady"
            << QVariantList{} << ready << QVariantList{ 0, 0, QString() };
    QTest::newRow("supplyModuleReady wrong types") << qint8(0) << "supplyModuleReady"
            << QVariantList{ "abc", QStringList{ "x" }, 77 } << ready
            << QVariantList{ 0, 0, "77" };
    QTest::newRow("supplyModuleReady numbers as text") << qint8(0) << "supplyModuleReady"
            << QVariantList{ "42", 7.9, true } << ready << QVariantList{ 42, 8, "true" };
    QTest::newRow("openLabelFile") << qint8(1) << "openLabelFile"
            << QVariantList{ "C:/Labels/a.kxld" } << open << QVariantList{ "C:/Labels/a.kxld" };
    QTest::newRow("openLabelFile short") << qint8(0) << "openLabelFile"
            << QVariantList{} << open << QVariantList{ QString() };
    QTest::newRow("applicationWasClicked") << qint8(0) << "applicationWasClicked"
            << QVariantList{} << clicked << QVariantList{};
    QTest::newRow("applicationWasClicked with arguments") << qint8(2) << "applicationWasClicked"
            << QVariantList{ 1, 2, 3, 4, 5 } << clicked << QVariantList{};
    QTest::newRow("applicationFocused") << qint8(0) << "applicationFocused"
            << QVariantList{ true, 42u } << focused << QVariantList{ true, 42u };
    QTest::newRow("applicationFocused short") << qint8(1) << "applicationFocused"
            << QVariantList{ true } << focused << QVariantList{ true, 0u };
    QTest::newRow("applicationFocused none") << qint8(0) << "applicationFocused"
            << QVariantList{} << focused << QVariantList{ false, 0u };
}

void tst_QVIPCHelper_win32::moduleEvents()
{
    QFETCH(qint8, methodType);
    QFETCH(QString, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, signal);
    QFETCH(QVariantList, expected);

    const QList<QByteArray> all = { SIGNAL(modulePrinterChangeSignal(QString)),
                                    SIGNAL(applicationReady(int,int,QString)),
                                    SIGNAL(openLabel(QString)), SIGNAL(applicationClicked()),
                                    SIGNAL(applicationFocused(bool,uint)) };
    QList<std::shared_ptr<QSignalSpy>> spies;
    for (const QByteArray &s : all)
        spies << std::make_shared<QSignalSpy>(m_helper.get(), s.constData());

    registerModule(m_moduleA);
    m_backend->clearCalls();
    deliverRecord(record(methodType, name, arguments), m_moduleA);

    for (int i = 0; i < all.size(); ++i) {
        if (all[i] == signal) {
            QCOMPARE(spies[i]->count(), 1);
            QCOMPARE(spies[i]->takeFirst(), expected);
        } else {
            QVERIFY2(spies[i]->isEmpty(), all[i].constData());
        }
    }
    // Reports are not answered.
    QVERIFY(sentRecords().isEmpty());
}

void tst_QVIPCHelper_win32::methodTypeIsCheckedFirst_data()
{
    QTest::addColumn<qint8>("methodType");
    QTest::addColumn<QString>("name");
    for (qint8 type : { qint8(3), qint8(-1), qint8(127), qint8(-128) }) {
        for (const char *name : { "openLabelFile", "supplyModuleReady", "getSupplyId" })
            QTest::addRow("%d %s", int(type), name) << type << QString::fromLatin1(name);
    }
}

void tst_QVIPCHelper_win32::methodTypeIsCheckedFirst()
{
    QFETCH(qint8, methodType);
    QFETCH(QString, name);
    QSignalSpy open(m_helper.get(), &QVIPCHelper_win32::openLabel);
    QSignalSpy ready(m_helper.get(), &QVIPCHelper_win32::applicationReady);
    LogCapture log;
    deliverRecord(record(methodType, name, { "C:/a.kxld", 1, "x" }, "7QString"), m_moduleA);
    QCOMPARE(open.count(), 0);
    QCOMPARE(ready.count(), 0);
    QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
    QVERIFY(log.lines().isEmpty()); // dropped without a word
}

void tst_QVIPCHelper_win32::eventNamesAreCaseSensitive_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : { "setmoduleprintername", "SupplyModuleReady", "OPENLABELFILE",
                              "applicationwasclicked", "applicationFocused " })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void tst_QVIPCHelper_win32::eventNamesAreCaseSensitive()
{
    // A name that differs from an event's only in case is no event: it is a request, run on
    // the target and answered.
    QFETCH(QString, name);
    QList<std::shared_ptr<QSignalSpy>> spies;
    for (const char *s : { SIGNAL(modulePrinterChangeSignal(QString)),
                           SIGNAL(applicationReady(int,int,QString)), SIGNAL(openLabel(QString)),
                           SIGNAL(applicationClicked()), SIGNAL(applicationFocused(bool,uint)) })
        spies << std::make_shared<QSignalSpy>(m_helper.get(), s);
    registerModule(m_moduleA);
    m_backend->clearCalls();
    deliverRecord(record(0, name, { 1, 2, "x" }, "i"), m_moduleA);
    for (const auto &spy : std::as_const(spies))
        QVERIFY(spy->isEmpty());
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent[0].first.arguments[0].value<quint64>(), quint64(m_moduleA));
    QCOMPARE(sent[0].second.methodName, name);
    QCOMPARE(sent[0].second.data, QVariant(0));
}

void tst_QVIPCHelper_win32::requestsAreAnsweredToTheSender_data()
{
    QTest::addColumn<qint8>("methodType");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("dataType");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QVariant>("reply");

    // methodType 0: the supply-id controller.
    QTest::newRow("supply id") << qint8(0) << "getSupplyId" << "7QString"
            << QVariantList{ "P1", "-" } << QVariant(QStringLiteral("SUP-1"));
    QTest::newRow("ribbon ids") << qint8(0) << "getRibbonIds" << "11QStringList"
            << QVariantList{ "P1", "-" } << QVariant(QStringList{ "R1", "R2" });
    QTest::newRow("has supply") << qint8(0) << "hasSupply" << "b"
            << QVariantList{ "P1", "-" } << QVariant(true);
    // methodType 1: the status controller.
    QTest::newRow("status") << qint8(1) << "getPrinterStatus" << "i"
            << QVariantList{ "P2", "-" } << QVariant(4);
    QTest::newRow("printer names") << qint8(1) << "getPrinterNames" << "11QStringList"
            << QVariantList{ "-" } << QVariant(QStringList{ "P1", "P2" });
    QTest::newRow("firmware") << qint8(1) << "getFirmwareVersion" << "7QString"
            << QVariantList{ "P1", "-" } << QVariant(QStringLiteral("1.0.0-1"));
    // methodType 2 reaches no object: the empty value of the type asked for comes back, as
    // from a target without the method (P2's status is 4, so a call would show).
    QTest::newRow("third target") << qint8(2) << "getPrinterStatus" << "i"
            << QVariantList{ "P2", "-" } << QVariant(0);
    QTest::newRow("third target, string") << qint8(2) << "getSupplyId" << "7QString"
            << QVariantList{ "P1", "-" } << QVariant(QString());
    QTest::newRow("third target, void") << qint8(2) << "onStatusChanged" << "v"
            << QVariantList{ 6, "P1", "-" } << QVariant();
    // Bad requests are answered with the empty value of the type asked for. Names match
    // case-sensitively: the status controller has getPrinterStatus, which would answer 4.
    QTest::newRow("unknown method") << qint8(1) << "getprinterstatus" << "i"
            << QVariantList{ "P2", "-" } << QVariant(0);
    QTest::newRow("wrong signature") << qint8(0) << "getSupplyId" << "7QString"
            << QVariantList{ 5, "-" } << QVariant(QString());
    QTest::newRow("too many arguments") << qint8(0) << "getSupplyId" << "7QString"
            << QVariantList{ "P1", "P2", "P3" } << QVariant(QString());
    QTest::newRow("unknown type code") << qint8(0) << "getSupplyId" << "zz"
            << QVariantList{ "P1", "-" } << QVariant();
    QTest::newRow("empty name") << qint8(1) << "" << "i" << QVariantList{ "P2", "-" }
                                << QVariant(0);
}

void tst_QVIPCHelper_win32::requestsAreAnsweredToTheSender()
{
    QFETCH(qint8, methodType);
    QFETCH(QString, name);
    QFETCH(QString, dataType);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, reply);

    registerModule(m_moduleA);
    registerModule(m_moduleB);
    m_backend->clearCalls();
    const MessageStruct request = record(methodType, name, arguments, dataType);
    deliverRecord(request, m_moduleB);

    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 1);
    const Call &call = sent[0].first;
    QCOMPARE(call.arguments[0].value<quint64>(), quint64(m_moduleB)); // the sender only
    QCOMPARE(call.arguments[1].value<quint32>(), quint32(WmCopyData));
    QCOMPARE(call.arguments[2].value<quint64>(), quint64(0));
    QCOMPARE(call.copyDataId, quint64(0));
    const MessageStruct &answer = sent[0].second;
    QCOMPARE(answer.methodType, request.methodType);
    QCOMPARE(answer.methodName, request.methodName);
    QCOMPARE(answer.dataType, request.dataType);
    QCOMPARE(answer.arguments, request.arguments);
    QCOMPARE(answer.data, reply);
    QCOMPARE(answer.data.metaType(), reply.metaType());
}

void tst_QVIPCHelper_win32::requestWithNullSenderIsStillInvoked()
{
    // A request naming no sender is run; its answer goes to the null handle and is lost.
    QVIPCM4Controller *m4 = m_printerStatus->getm4Controller();
    m4->onStatusChanged(6, QStringLiteral("P1"));
    QSignalSpy updated(m4, &QVIPCM4Controller::printerStatusUpdated);
    deliverRecord(record(1, "getPrinterStatus", { "P1", "-" }, "i"), 0);
    // A "v" request carries one empty argument more and so reaches no method, sender or not;
    // it is still answered.
    deliverRecord(record(1, "onStatusChanged", { 2, "P1", "-" }, "v"), 0);
    QVERIFY(updated.isEmpty());
    QCOMPARE(m4->getPrinterStatus(QStringLiteral("P1")), 6);
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2);
    for (const auto &entry : sent) {
        QCOMPARE(entry.first.arguments[0].value<quint64>(), quint64(0));
        QCOMPARE(entry.first.result, qint64(0));
    }
    QCOMPARE(sent[0].second.methodName, QStringLiteral("getPrinterStatus"));
    QCOMPARE(sent[0].second.data, QVariant(6)); // the method ran: not the starting value 0
    QCOMPARE(sent[1].second.methodName, QStringLiteral("onStatusChanged"));
    QVERIFY(!sent[1].second.data.isValid());
}

void tst_QVIPCHelper_win32::modulePrinterNameSelectsThePrinter()
{
    registerModule(m_moduleA);
    QSignalSpy active(m_printerStatus.get(), &PrinterStatusController::activeDefaultPrinterSetSignal);
    m_backend->clearCalls();
    deliverRecord(record(0, "setModulePrinterName", { "P2" }), m_moduleA);
    QCOMPARE(active.count(), 1);
    QCOMPARE(active.takeFirst(), (QVariantList{ "P2", false }));
    // The status of the chosen printer comes back through the status signal and is broadcast.
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent[0].first.copyDataId, quint64(m_backend->registeredMessageId("StatusChanged")));
    QCOMPARE(sent[0].second.arguments, (QVariantList{ 4, "P2", "-", "-" }));

    // A printer the system does not know changes nothing.
    m_backend->clearCalls();
    deliverRecord(record(0, "setModulePrinterName", { "Ghost" }), m_moduleA);
    QCOMPARE(active.count(), 0);
    QVERIFY(sentRecords().isEmpty());
}

void tst_QVIPCHelper_win32::broadcasts_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("messageName");
    QTest::addColumn<QVariantList>("arguments");
    QTest::newRow("close") << "closeApplicationRequest" << "CloseApplicationSignal" << dashes(4);
    QTest::newRow("status") << "onStatusChanged" << "StatusChanged"
            << QVariantList{ 3, "P1", "-", "-" };
    QTest::newRow("supply") << "onSupplyIdChanged" << "SupplyChanged"
            << QVariantList{ "SUP-1", "P1", "-", "-" };
    QTest::newRow("ribbon") << "onRibbonIdsChanged" << "RibbonChanged"
            << QVariantList{ QStringList{ "R1", "R2" }, "P1", "-", "-" };
    QTest::newRow("supply of unknown printer") << "onSupplyIdChanged" << "SupplyChanged"
            << QVariantList{ QString(), "Ghost", "-", "-" };
}

void tst_QVIPCHelper_win32::broadcasts()
{
    QFETCH(QString, slot);
    QFETCH(QString, messageName);
    QFETCH(QVariantList, arguments);
    registerModule(m_moduleA);
    registerModule(m_moduleB);
    m_backend->clearCalls();

    if (slot == u"closeApplicationRequest")
        m_helper->closeApplicationRequest();
    else if (slot == u"onStatusChanged")
        m_helper->onStatusChanged(3, QStringLiteral("P1"));
    else if (slot == u"onSupplyIdChanged")
        m_helper->onSupplyIdChanged(arguments.at(1).toString());
    else
        m_helper->onRibbonIdsChanged(QStringLiteral("P1"));

    const MessageId id = m_backend->registeredMessageId(messageName);
    QVERIFY(id >= MemoryNativeWindowBackend::FIRST_REGISTERED_ID);
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent[0].first.arguments[0].value<quint64>(), quint64(m_moduleA));
    QCOMPARE(sent[1].first.arguments[0].value<quint64>(), quint64(m_moduleB));
    for (const auto &entry : sent) {
        QCOMPARE(entry.first.arguments[1].value<quint32>(), quint32(WmCopyData));
        QCOMPARE(entry.first.arguments[2].value<quint64>(), quint64(0));
        QCOMPARE(entry.first.copyDataId, quint64(id));
        QCOMPARE(entry.second.methodType, qint8(0));
        QCOMPARE(entry.second.methodName, QStringLiteral("-"));
        QCOMPARE(entry.second.dataType, QStringLiteral("-"));
        QCOMPARE(entry.second.arguments, arguments);
        QCOMPARE(entry.second.data, QVariant(QStringLiteral("-")));
    }
    // One block for everyone.
    QCOMPARE(sent[0].first.copyDataBytes, sent[1].first.copyDataBytes);
}

void tst_QVIPCHelper_win32::statusReachesTheStatusControllerBeforeTheModules()
{
    registerModule(m_moduleA);
    QVIPCM4Controller *m4 = m_printerStatus->getm4Controller();
    int statusSeenByModule = -100;
    m_backend->setMessageHandler(m_moduleA, [&](WindowHandle, MessageId, WParam, LParam) {
        statusSeenByModule = m4->getPrinterStatus(QStringLiteral("P1"));
        return LResult(1);
    });
    m_helper->onStatusChanged(3, QStringLiteral("P1"));
    QCOMPARE(statusSeenByModule, 3);
}

void tst_QVIPCHelper_win32::broadcastKeepsLongListsAndSendsToDuplicatesTwice()
{
    registerModule(m_moduleA);
    registerModule(m_moduleA);
    m_backend->clearCalls();
    const MessageId id = m_backend->registerMessageName(QStringLiteral("StatusChanged"));
    m_helper->sendMessageWithDataToAllModules(id, { 1, 2, 3, 4, 5 });
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent[0].second.arguments, (QVariantList{ 1, 2, 3, 4, 5 }));
    QCOMPARE(sent[1].first.arguments[0].value<quint64>(), quint64(m_moduleA));
}

void tst_QVIPCHelper_win32::broadcastWithoutModulesSendsNothing()
{
    LogCapture log;
    m_helper->closeApplicationRequest();
    m_helper->onStatusChanged(1, QStringLiteral("P1"));
    QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
    QVERIFY(log.lines().isEmpty());
}

void tst_QVIPCHelper_win32::broadcastToADeadHandle()
{
    const WindowHandle dead = m_backend->addWindow();
    m_backend->destroyWindow(dead); // the module ended without unregistering
    registerModule(dead);
    registerModule(m_moduleA);
    m_helper->closeApplicationRequest();
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent[0].first.result, qint64(0)); // failed inside the platform call
    QCOMPARE(sent[1].first.arguments[0].value<quint64>(), quint64(m_moduleA));
    QCOMPARE(m_helper->registeredModules().size(), 2); // still listed
}

void tst_QVIPCHelper_win32::moduleUnregisteringDuringABroadcast()
{
    registerModule(m_moduleA);
    registerModule(m_moduleB);
    // Module A unregisters itself while it handles the broadcast, as a closing module does.
    m_backend->setMessageHandler(m_moduleA, [this](WindowHandle self, MessageId, WParam, LParam) {
        deliver(m_backend->registerMessageName(QStringLiteral("unregisterQVIPC")), self, 0);
        return LResult(0);
    });
    m_backend->clearCalls();
    m_helper->closeApplicationRequest();
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2); // B still gets it
    QCOMPARE(m_helper->registeredModules(), QList<WindowHandle>{ m_moduleB });
}

void tst_QVIPCHelper_win32::broadcastGoesToTheModulesListedWhenItStarted()
{
    // While module A handles the broadcast, B unregisters and C registers: B still gets it,
    // C does not.
    const WindowHandle moduleC = m_backend->addWindow();
    registerModule(m_moduleA);
    registerModule(m_moduleB);
    m_backend->setMessageHandler(m_moduleA, [&](WindowHandle, MessageId, WParam, LParam) {
        deliver(m_backend->registerMessageName(QStringLiteral("unregisterQVIPC")), m_moduleB, 0);
        registerModule(moduleC);
        return LResult(0);
    });
    m_backend->clearCalls();
    m_helper->closeApplicationRequest();
    const auto sent = sentRecords();
    QCOMPARE(sent.size(), 2);
    QCOMPARE(sent[0].first.arguments[0].value<quint64>(), quint64(m_moduleA));
    QCOMPARE(sent[1].first.arguments[0].value<quint64>(), quint64(m_moduleB));
    QCOMPARE(m_helper->registeredModules(), (QList<WindowHandle>{ m_moduleA, moduleC }));
}

void tst_QVIPCHelper_win32::postMessageToAllModules()
{
    registerModule(m_moduleA);
    registerModule(m_moduleB);
    registerModule(m_moduleA);
    m_backend->clearCalls();
    m_helper->postMessageToAllModules(0xC123);
    const QList<Call> posts = m_backend->callsTo(QStringLiteral("PostMessageW"));
    QCOMPARE(posts.size(), 3);
    const QList<WindowHandle> order = { m_moduleA, m_moduleB, m_moduleA };
    for (int i = 0; i < 3; ++i)
        QCOMPARE(posts[i].arguments,
                 (QVariantList{ QVariant::fromValue<quint64>(order[i]),
                                QVariant::fromValue<quint32>(0xC123),
                                QVariant::fromValue<quint64>(0), qint64(0) }));
    QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
}

void tst_QVIPCHelper_win32::printerFileChangesAreBroadcast()
{
    registerModule(m_moduleA);
    m_backend->clearCalls();
    // Somebody edits the printers file while the dashboard runs.
    m_printers->writePrinters(
            { PrinterFixture::printer("P1", "Ondrel X100 Series", 2, "SUP-9", { "R1", "R2" },
                                      "1.0.0-1", 3, false, true),
              PrinterFixture::printer("P2", "Generic PCL Driver", 4, QString(), { "R7" }) },
            false);
    QTRY_COMPARE(sentRecords().size(), 3);
    const auto sent = sentRecords();
    QSet<QString> seen;
    for (const auto &entry : sent) {
        const quint64 id = entry.first.copyDataId;
        if (id == m_backend->registeredMessageId("StatusChanged")) {
            QCOMPARE(entry.second.arguments, (QVariantList{ 2, "P1", "-", "-" }));
            seen << "status";
        } else if (id == m_backend->registeredMessageId("SupplyChanged")) {
            QCOMPARE(entry.second.arguments, (QVariantList{ "SUP-9", "P1", "-", "-" }));
            seen << "supply";
        } else if (id == m_backend->registeredMessageId("RibbonChanged")) {
            QCOMPARE(entry.second.arguments,
                     (QVariantList{ QStringList{ "R7" }, "P2", "-", "-" }));
            seen << "ribbon";
        }
    }
    QCOMPARE(seen, (QSet<QString>{ "status", "supply", "ribbon" }));
}

void tst_QVIPCHelper_win32::encodingFailures()
{
    registerModule(m_moduleA);
    m_helper->setEncoder([](const MessageStruct &) { return QByteArray(); });
    m_backend->clearCalls();
    LogCapture log;

    // A reply: the record's method name, in the local 8-bit encoding.
    deliverRecord(record(1, QStringLiteral("getPrinterStatusé"), { "P1", "-" }, "i"), m_moduleA);
    // A broadcast: the registered id, under the name "methodType".
    m_helper->closeApplicationRequest();
    const MessageId closeId = m_backend->registeredMessageId("CloseApplicationSignal");

    QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
    QCOMPARE(log.messages(),
             (QStringList{
                     QStringLiteral("Dashboard Error: Failed to encode message - QByteArray failed "
                                    "to copy.\nmethodName: getPrinterStatusé"),
                     QStringLiteral("Dashboard Error: Failed to encode message - QByteArray failed "
                                    "to copy.\nmethodType: %1")
                             .arg(closeId) }));
    for (const LogCapture::Line &line : log.lines()) {
        QCOMPARE(line.type, QtDebugMsg);
        QCOMPARE(line.category, QByteArray("korvex.dashboard.messaging"));
        QCOMPARE(line.file, LogCapture::sourcePath("Controllers/qvipchelper_win32"));
    }
    QVERIFY(log.lines().at(0).function.contains("sendMessageToModule"));
    QVERIFY(log.lines().at(1).function.contains("sendMessageWithDataToAllModules"));

    // Back to the real encoding.
    m_helper->setEncoder(nullptr);
    m_helper->closeApplicationRequest();
    QCOMPARE(m_backend->callsTo(QStringLiteral("SendMessageW")).size(), 1);
}

void tst_QVIPCHelper_win32::hostileMessages_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("null message") << 0;
    QTest::newRow("WmCopyData without COPYDATASTRUCT") << 1;
    QTest::newRow("null lpData with a size") << 2;
    QTest::newRow("empty block") << 3;
    QTest::newRow("truncated block") << 4;
    QTest::newRow("size larger than the block claims") << 5;
}

void tst_QVIPCHelper_win32::hostileMessages()
{
    QFETCH(int, kind);
    registerModule(m_moduleA);
    m_backend->clearCalls();
    QSignalSpy open(m_helper.get(), &QVIPCHelper_win32::openLabel);
    QByteArray good = QVIPCMessage::encode(record(0, "openLabelFile", { "C:/a.kxld" }));
    QVERIFY(good.size() > 8);

    switch (kind) {
    case 0: {
        qintptr result = 0;
        m_helper->parseMessage(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), nullptr, &result);
        break;
    }
    case 1:
        deliver(WmCopyData, m_moduleA, 0);
        break;
    case 2: {
        CopyDataStruct copyData{ 0, 64, nullptr };
        deliver(WmCopyData, m_moduleA, reinterpret_cast<LParam>(&copyData));
        break;
    }
    case 3: {
        CopyDataStruct copyData{ 0, 0, nullptr };
        deliver(WmCopyData, m_moduleA, reinterpret_cast<LParam>(&copyData));
        break;
    }
    case 4: {
        // Cut anywhere: the record reads with defaults where the bytes end. Until the name is
        // whole it is no event; after that the report goes through with what arrived, and the
        // path only once the argument list is whole (a list cut short reads as empty).
        const int nameEnd = 1 + 4 + 2 * int(qstrlen("openLabelFile"));
        const int argumentsEnd = good.size() - 5; // data: a null variant, 5 bytes
        for (int size = 0; size < good.size(); ++size) {
            QByteArray cut = good.left(size);
            CopyDataStruct copyData{ 0, std::uint32_t(cut.size()), cut.data() };
            deliver(WmCopyData, m_moduleA, reinterpret_cast<LParam>(&copyData));
            QCOMPARE(open.count(), size < nameEnd ? 0 : 1);
            if (size >= nameEnd) {
                const QString path = open.takeFirst().at(0).toString();
                QCOMPARE(path, size < argumentsEnd ? QString() : QStringLiteral("C:/a.kxld"));
            }
        }
        break;
    }
    case 5: {
        // cbData says less than the bytes hold: only cbData bytes are read.
        CopyDataStruct copyData{ 0, 3, good.data() };
        deliver(WmCopyData, m_moduleA, reinterpret_cast<LParam>(&copyData));
        break;
    }
    }
    QCOMPARE(open.count(), 0);
    QCOMPARE(m_helper->registeredModules(), QList<WindowHandle>{ m_moduleA });
    // Whatever was answered went to the sender only.
    for (const Call &call : m_backend->callsTo(QStringLiteral("SendMessageW")))
        QCOMPARE(call.arguments[0].value<quint64>(), quint64(m_moduleA));
    if (kind <= 2)
        QVERIFY(m_backend->callsTo(QStringLiteral("SendMessageW")).isEmpty());
}

void tst_QVIPCHelper_win32::garbageBlocks()
{
    // Random bytes from a module: nothing crashes, and the module list is untouched.
    registerModule(m_moduleA);
    QRandomGenerator random(4242);
    for (int i = 0; i < 3000; ++i) {
        QByteArray bytes(int(random.bounded(1, 96)), Qt::Uninitialized);
        for (char &c : bytes)
            c = char(random.bounded(256));
        if (i % 3 == 0)
            bytes[0] = char(random.bounded(3)); // a valid methodType, so the name is looked at
        CopyDataStruct copyData{ 0, std::uint32_t(bytes.size()), bytes.data() };
        deliver(WmCopyData, m_moduleA, reinterpret_cast<LParam>(&copyData));
        if (i % 500 == 0)
            m_backend->clearCalls();
    }
    QCOMPARE(m_helper->registeredModules(), QList<WindowHandle>{ m_moduleA });
}

void tst_QVIPCHelper_win32::registrationFlood()
{
    const MessageId registerId = m_backend->registerMessageName(QStringLiteral("registerQVIPC"));
    const MessageId unregisterId = m_backend->registerMessageName(QStringLiteral("unregisterQVIPC"));
    for (WParam i = 1; i <= 10000; ++i)
        deliver(registerId, 0x100000 + i, 0);
    QCOMPARE(m_helper->registeredModules().size(), 10000);
    m_backend->clearCalls();
    m_helper->closeApplicationRequest();
    QCOMPARE(m_backend->callsTo(QStringLiteral("SendMessageW")).size(), 10000);
    m_backend->clearCalls();
    for (WParam i = 1; i <= 10000; ++i)
        deliver(unregisterId, 0x100000 + i, 0);
    QVERIFY(m_helper->registeredModules().isEmpty());
}

QTEST_MAIN(tst_QVIPCHelper_win32)
#include "tst_qvipchelper_win32.moc"
