// The X11 backend with a real X server and real module processes: messages both ways, ids
// shared across processes, the save-set, and hostile or failing senders. The backend-neutral
// behaviour is in tests/contract.

#include "Controllers/qvipc_message.h"
#include "Controllers/qvipchelper_win32.h"
#include "dashboard_main_window.h"
#include "native_window_system.h"
#include "platforms/xcb/native_window_backend_xcb.h"
#include "module_client.h"
#include "printer_fixture.h"
#include "x11_raw_client.h"

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>
#include <QPainter>
#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>
#include <QWindow>
#include <QtTest>

#include <xcb/xcb.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace KorvexNative;

namespace {

QString helperPath(const char *name)
{
    return QStringLiteral(KORVEX_HELPER_DIR "/") + QLatin1String(name);
}

QByteArray header(std::uint32_t serial, std::uint32_t size, quint64 dwData)
{
    QByteArray h(24, '\0');
    std::memcpy(h.data(), "KXCD", 4);
    for (int i = 0; i < 4; ++i) {
        h[4 + i] = char(serial >> (8 * i));
        h[8 + i] = char(size >> (8 * i));
    }
    for (int i = 0; i < 8; ++i)
        h[16 + i] = char(dwData >> (8 * i));
    return h;
}

QByteArray focusReport(uint windowId)
{
    MessageStruct record;
    record.methodName = QStringLiteral("applicationFocused");
    record.dataType = QStringLiteral("-");
    record.arguments = { true, windowId };
    return QVIPCMessage::encode(record);
}

// Whether a thread of this process is blocked in poll: a backend waiting for the server.
bool blockedInPoll(pid_t thread)
{
    QFile file(QStringLiteral("/proc/self/task/%1/syscall").arg(thread));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const long number = file.readAll().split(' ').constFirst().toLong();
#ifdef SYS_poll
    if (number == SYS_poll)
        return true;
#endif
    return number == SYS_ppoll;
}

// A window that paints itself in one colour with a caption, so a screenshot shows whose
// pixels are where.
class PaintedWindow : public QRasterWindow
{
public:
    PaintedWindow(QColor colour, QString caption) : m_colour(colour), m_caption(std::move(caption)) { }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(QRect(QPoint(), size()), m_colour);
        painter.setPen(Qt::white);
        painter.drawText(QRect(QPoint(), size()), Qt::AlignCenter, m_caption);
    }

private:
    QColor m_colour;
    QString m_caption;
};

// The backend's transport events that reach one window, copied and kept from Qt, so that a test
// hands them to a backend itself, in the order it chooses.
class TransportCapture : public QAbstractNativeEventFilter
{
public:
    TransportCapture(NativeWindowBackend *backend, WindowHandle window)
        : m_backend(backend), m_window(window)
    {
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    ~TransportCapture() override { QCoreApplication::instance()->removeNativeEventFilter(this); }

    QList<xcb_client_message_event_t> events;

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_client_message_event_t *>(message);
        if (type != "xcb_generic_event_t" || (event->response_type & 0x7f) != XCB_CLIENT_MESSAGE
            || event->window != m_window
            || !m_backend->isBackendTransport(type.constData(), std::size_t(type.size()), message))
            return false;
        events.append(*event);
        return true;
    }

    // Everything a sender sent before its marker (a plain message MARKER) is here.
    bool hasMarker(quint64 wParam) const
    {
        return std::any_of(events.begin(), events.end(), [wParam](const auto &event) {
            return event.data.data32[0] == MARKER && event.data.data32[1] == std::uint32_t(wParam);
        });
    }
    QList<xcb_client_message_event_t> before(quint64 marker) const
    {
        QList<xcb_client_message_event_t> taken;
        for (const auto &event : events) {
            if (event.data.data32[0] == MARKER && event.data.data32[1] == std::uint32_t(marker))
                break;
            taken.append(event);
        }
        return taken;
    }

    // Sends one payload from sender and gives the transport events that carried it, caught
    // before anybody translated them; empty when the send failed or they never came.
    QList<xcb_client_message_event_t> send(NativeWindowBackend *sender, QByteArray &bytes,
                                           quint64 dwData = 0, quint64 wParam = 0)
    {
        return sendAll(sender, { &bytes }, dwData, wParam);
    }
    // The same for several payloads sent one after the other, their events in order.
    QList<xcb_client_message_event_t> sendAll(NativeWindowBackend *sender,
                                              const QList<QByteArray *> &payloads,
                                              quint64 dwData = 0, quint64 wParam = 0)
    {
        events.clear();
        for (QByteArray *bytes : payloads) {
            CopyDataStruct copy{ std::uintptr_t(dwData), std::uint32_t(bytes->size()), bytes->data() };
            if (sender->sendMessage(m_window, WmCopyData, WParam(wParam),
                                    reinterpret_cast<LParam>(&copy)) != 1)
                return {};
        }
        const quint64 marker = ++m_markers;
        if (!sender->postMessage(m_window, MARKER, WParam(marker), 0)
            || !QTest::qWaitFor([&] { return hasMarker(marker); }))
            return {};
        return before(marker);
    }

    static constexpr MessageId MARKER = 0xC0DE;

private:
    NativeWindowBackend *m_backend;
    WindowHandle m_window;
    quint64 m_markers = 0;
};

struct Received
{
    MessageId message = 0;
    quint64 wParam = 0;
    quint64 dwData = 0;
    QByteArray bytes;
};

Received received(const Message &message)
{
    Received r{ message.message, quint64(message.wParam), 0, {} };
    if (message.message == WmCopyData) {
        const auto *copy = reinterpret_cast<const CopyDataStruct *>(message.lParam);
        r.dwData = quint64(copy->dwData);
        r.bytes = QByteArray(static_cast<const char *>(copy->lpData), int(copy->cbData));
    }
    return r;
}

// What translating each event gives, twice over when a filter and then the window both look.
QList<Received> translateAll(NativeWindowBackend *backend, QList<xcb_client_message_event_t> events,
                             int looks = 1)
{
    const QByteArray type("xcb_generic_event_t");
    QList<Received> got;
    for (auto &event : events) {
        for (int look = 0; look < looks; ++look) {
            Message storage{};
            if (const Message *m = backend->translateNativeEvent(type.constData(),
                                                                 std::size_t(type.size()), &event,
                                                                 &storage))
                got.append(received(*m));
        }
    }
    return got;
}

QList<QByteArray> payloadsOf(const QList<Received> &messages)
{
    QList<QByteArray> payloads;
    for (const Received &r : messages) {
        if (r.message == WmCopyData)
            payloads.append(r.bytes);
    }
    return payloads;
}

QByteArray patterned(int size, int seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i * 7 + seed);
    return bytes;
}

} // namespace

class tst_XcbBackendX11 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void defaultBackendIsX11();
    void moduleRegistersReportsAndGetsItsReply();
    void registeredIdsAgreeAcrossProcesses();
    void sendsReportHandingOver();
    void stoppedModuleStallsNothingAndKeepsItsMessages();
    void unreadPayloadsAreWithdrawnOldestFirst();
    void moduleFloodOfTenThousand();
    void floodLeavesTheEventLoopTurning();
    void arrivalHandlerRemovedReleasesTheSender();
    void overfullQueueHandsOverTheOldestAtOnce();
    void smallPayloadsTravelInTheEvents_data();
    void smallPayloadsTravelInTheEvents();
    void piecesOfInterleavedSendersAreToldApart();
    void hostilePieces_data();
    void hostilePieces();
    void unreadPiecesHandOverToCarriers();
    void readingReceiverKeepsItsSendersOnPieces_data();
    void readingReceiverKeepsItsSendersOnPieces();
    void moduleTakesEveryPieceOfABroadcast();
    void moduleKilledInTheMiddleOfItsMessages();
    void quittingSenderIsHeardInFull();
    void hostileAnnouncements_data();
    void hostileAnnouncements();
    void transportIsConsumedOnlyWhenItIsOurs();
    void saveSetKeepsTheModuleWindowAlive();
    void embeddedModuleIsDrawnInsideTheDashboard();
    void closeAsksAQtWindowToClose();
    void registeredTableWithGarbage();

private:
    void showDashboard();
    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<NativeWindowBackend> m_backend;
    std::unique_ptr<DashboardMainWindow> m_dashboard;
};

void tst_XcbBackendX11::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    if (QGuiApplication::platformName() != u"xcb")
        QSKIP("needs the xcb platform (run under tests/run_with_xvfb)");
}

void tst_XcbBackendX11::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writePrinters({ PrinterFixture::printer(QStringLiteral("P1"),
                                                        QStringLiteral("Ondrel M4"), 4) });
    m_backend = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QCOMPARE(QByteArray(m_backend->name()), QByteArray("xcb"));
}

void tst_XcbBackendX11::cleanup()
{
    m_dashboard.reset();
    m_backend.reset();
    m_printers.reset();
}

void tst_XcbBackendX11::showDashboard()
{
    m_dashboard = std::make_unique<DashboardMainWindow>(nullptr, m_backend.get());
    m_dashboard->resize(640, 480);
    m_dashboard->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_dashboard.get()));
}

void tst_XcbBackendX11::defaultBackendIsX11()
{
    QCOMPARE(QByteArray(NativeWindowSystem::backend()->name()), QByteArray("xcb"));
    auto *x11 = dynamic_cast<XcbNativeWindowBackend *>(m_backend.get());
    QVERIFY(x11);
    QVERIFY(x11->isConnected());
}

void tst_XcbBackendX11::moduleRegistersReportsAndGetsItsReply()
{
    showDashboard();
    QSignalSpy ready(m_dashboard.get(), &DashboardMainWindow::applicationReady);
    QProcess module;
    module.start(helperPath("x11_module_report"), { QString::number(m_dashboard->winId()) });
    QVERIFY(module.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(ready.size(), 1, 20000);
    const QList<QVariant> args = ready.constFirst();
    QCOMPARE(args.at(1).toLongLong(), module.processId());
    QCOMPARE(args.at(2).toString(), QStringLiteral("x11 module"));
    const auto moduleWindow = QVIPCHelper_win32::HWND(uint(args.at(0).toInt()));
    QCOMPARE(m_dashboard->messagingHelper()->registeredModules(),
             QList<QVIPCHelper_win32::HWND>{ moduleWindow });
    // The request was answered on the status controller: printer P1's status is 4.
    QTRY_VERIFY_WITH_TIMEOUT(module.canReadLine(), 20000);
    QCOMPARE(module.readLine().trimmed(), QByteArray("reply 4"));
    // Broadcasts reach it too.
    m_dashboard->messagingHelper()->closeApplicationRequest();
    QTRY_COMPARE_WITH_TIMEOUT(module.state(), QProcess::NotRunning, 20000);
    QCOMPARE(module.exitCode(), 0);
    QCOMPARE(module.readAllStandardOutput().trimmed(), QByteArray("closed"));
}

void tst_XcbBackendX11::registeredIdsAgreeAcrossProcesses()
{
    const QString fresh = QStringLiteral("Fresh-%1").arg(QCoreApplication::applicationPid());
    // One name known before the other process starts, one it registers first.
    const MessageId status = NativeWindowSystem::registerWindowMessage(m_backend.get(),
                                                                        QStringLiteral("StatusChanged"));
    QProcess names;
    names.start(helperPath("x11_module_names"), { fresh, QStringLiteral("StatusChanged") });
    QVERIFY(names.waitForFinished(30000));
    QCOMPARE(names.exitCode(), 0);
    const QList<QByteArray> lines = names.readAllStandardOutput().trimmed().split('\n');
    QCOMPARE(lines.size(), 2);
    const MessageId theirFresh = lines.at(0).split(' ').at(1).toUInt();
    QVERIFY(theirFresh >= 0xC000 && theirFresh <= 0xFFFF);
    QCOMPARE(NativeWindowSystem::registerWindowMessage(m_backend.get(), fresh), theirFresh);
    QCOMPARE(lines.at(1), QByteArray("StatusChanged ") + QByteArray::number(status));
}

void tst_XcbBackendX11::sendsReportHandingOver()
{
    // SendMessageW returns once the X server has the message for the window's owner: 1, and 0
    // where there is no window.
    QWindow target;
    target.create();
    auto *x11 = static_cast<XcbNativeWindowBackend *>(m_backend.get());
    x11->setInlineLimit(0); // every payload in a carrier, which waits to be read
    QByteArray bytes = focusReport(5);
    CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(m_backend->sendMessage(target.winId(), WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
             LResult(1));
    QCOMPARE(m_backend->sendMessage(target.winId(), 0xC0FF, 0, 0), LResult(1));
    QCOMPARE(x11->pendingCopies(), 1);
    // Nobody reads for target here, so the payload waits; a payload too big is refused.
    CopyDataStruct huge{ 0, XcbNativeWindowBackend::MAX_COPY_DATA + 1, bytes.data() };
    QCOMPARE(m_backend->sendMessage(target.winId(), WmCopyData, 0, reinterpret_cast<LParam>(&huge)),
             LResult(0));
    CopyDataStruct noBytes{ 0, 10, nullptr };
    QCOMPARE(m_backend->sendMessage(target.winId(), WmCopyData, 0,
                                    reinterpret_cast<LParam>(&noBytes)),
             LResult(0));
    QCOMPARE(m_backend->sendMessage(target.winId(), WmCopyData, 0, 0), LResult(0));
    QCOMPARE(x11->pendingCopies(), 1);
}

// A sender withdraws what nobody has read in time, oldest first; payloads read meanwhile, sent
// between the unread ones, are not counted again and leave nothing behind.
void tst_XcbBackendX11::unreadPayloadsAreWithdrawnOldestFirst()
{
    showDashboard();
    QWindow silent; // nobody reads for it here
    silent.create();
    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto *sender = static_cast<XcbNativeWindowBackend *>(peer.get());
    sender->setInlineLimit(0); // carriers alone can be unread
    MessageStruct record;
    record.methodName = QStringLiteral("applicationFocused");
    record.dataType = QStringLiteral("-");
    record.arguments = { true };
    QByteArray bytes = QVIPCMessage::encode(record);
    CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
    const auto send = [&](WindowHandle to) {
        return peer->sendMessage(to, WmCopyData, 0, reinterpret_cast<LParam>(&copy)) == LResult(1);
    };
    const auto unread = [sender] {
        sender->processPendingEvents();
        return sender->pendingCopies();
    };

    // Two batches a clear time apart, each one unread payload for every three the dashboard
    // reads, so that read ones wait behind unread ones.
    constexpr int SILENT_PER_BATCH = 200;
    QElapsedTimer sinceFirst;
    sinceFirst.start();
    for (int i = 0; i < SILENT_PER_BATCH; ++i)
        QVERIFY(send(silent.winId()) && send(m_dashboard->winId()) && send(m_dashboard->winId())
                && send(m_dashboard->winId()));
    const qint64 firstEnded = sinceFirst.elapsed();
    QTRY_VERIFY(sinceFirst.elapsed() > firstEnded + 200);
    const qint64 secondStarted = sinceFirst.elapsed();
    for (int i = 0; i < SILENT_PER_BATCH; ++i)
        QVERIFY(send(silent.winId()) && send(m_dashboard->winId()) && send(m_dashboard->winId())
                && send(m_dashboard->winId()));
    QTRY_COMPARE_WITH_TIMEOUT(unread(), 2 * SILENT_PER_BATCH, 30000);

    // Old enough for the first batch, not for the second.
    sender->setCopyDataTimeout(int(sinceFirst.elapsed() - (firstEnded + secondStarted) / 2));
    QCOMPARE(unread(), SILENT_PER_BATCH);
    sender->setCopyDataTimeout(0);
    QCOMPARE(unread(), 0);

    // Sending goes on as before, and a payload is withdrawn only once it is old enough.
    sender->setCopyDataTimeout(60000);
    QVERIFY(send(silent.winId()));
    QCOMPARE(unread(), 1);
}

void tst_XcbBackendX11::stoppedModuleStallsNothingAndKeepsItsMessages()
{
    showDashboard();
    QSignalSpy ready(m_dashboard.get(), &DashboardMainWindow::applicationReady);
    QProcess module;
    module.start(helperPath("x11_module_report"), { QString::number(m_dashboard->winId()) });
    QVERIFY(module.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(ready.size(), 1, 20000);
    // The module stops answering altogether; the dashboard broadcasts to it all the same, and
    // every send returns without waiting for it (a wait here would hang the test).
    const pid_t pid = pid_t(module.processId());
    QVERIFY(pid > 0); // never 0: that would stop this whole process group
    ::kill(pid, SIGSTOP);
    QVIPCHelper_win32 *helper = m_dashboard->messagingHelper();
    for (int i = 0; i < 200; ++i)
        helper->onStatusChanged(i % 5, QStringLiteral("P1"));
    bool timerRan = false;
    QTimer::singleShot(0, this, [&] { timerRan = true; });
    QTRY_VERIFY(timerRan);
    // Woken up, it reads everything that waited for it, its reply included.
    ::kill(pid, SIGCONT);
    QTRY_VERIFY_WITH_TIMEOUT(module.canReadLine(), 20000);
    QCOMPARE(module.readLine().trimmed(), QByteArray("reply 4"));
    helper->closeApplicationRequest();
    QTRY_COMPARE_WITH_TIMEOUT(module.state(), QProcess::NotRunning, 20000);
    QCOMPARE(module.exitCode(), 0);
    QCOMPARE(module.readAllStandardOutput().trimmed(), QByteArray("closed"));
}

void tst_XcbBackendX11::moduleFloodOfTenThousand()
{
    showDashboard();
    QSignalSpy focused(m_dashboard.get(), &DashboardMainWindow::applicationFocused);
    QSignalSpy ready(m_dashboard.get(), &DashboardMainWindow::applicationReady);
    QProcess module;
    module.start(helperPath("x11_module_flood"),
                 { QString::number(m_dashboard->winId()), QStringLiteral("10000") });
    QVERIFY(module.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(ready.size(), 1, 120000);
    // All of them, in order, and the last word after them.
    QCOMPARE(focused.size(), 10000);
    for (int i = 0; i < focused.size(); i += 997)
        QCOMPARE(focused.at(i).at(1).toUInt(), uint(i));
    QCOMPARE(focused.constLast().at(1).toUInt(), 9999u);
    QTRY_COMPARE_WITH_TIMEOUT(module.state(), QProcess::NotRunning, 30000);
    QCOMPARE(module.readAllStandardOutput().trimmed(), QByteArray("sent 10001"));
}

// A peer's whole flood waits for the dashboard before its event loop runs at all: 2,000
// focus reports, some of them 64 KiB, with a plain registration after every tenth. A call
// posted to the event loop while report 1,000 is handled must run before the last report is:
// the loop turns while the flood is handed over. Every report arrives whole and in order, and
// no registration overtakes a report sent before it.
void tst_XcbBackendX11::floodLeavesTheEventLoopTurning()
{
    constexpr int REPORTS = 2000;
    constexpr int POSTED_AT = REPORTS / 2;
    showDashboard();
    QVIPCHelper_win32 *helper = m_dashboard->messagingHelper();
    QVERIFY(helper->registeredModules().isEmpty());

    QList<uint> order;
    QList<int> registrationsSeen;
    int arrivedWhenPostedRan = -1;
    connect(m_dashboard.get(), &DashboardMainWindow::applicationFocused, this,
            [&](bool, uint index) {
                order.append(index);
                registrationsSeen.append(int(helper->registeredModules().size()));
                if (index == uint(POSTED_AT))
                    QMetaObject::invokeMethod(this, [&] { arrivedWhenPostedRan = int(order.size()); },
                                              Qt::QueuedConnection);
            });

    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    const MessageId registerId =
            NativeWindowSystem::registerWindowMessage(peer.get(), QStringLiteral("registerQVIPC"));
    QVERIFY(registerId);
    const QString filler(32 * 1024, QLatin1Char('f')); // 64 KiB as UTF-16
    const WindowHandle dashboard = m_dashboard->winId();
    for (int i = 0; i < REPORTS; ++i) {
        MessageStruct record;
        record.methodName = QStringLiteral("applicationFocused");
        record.dataType = QStringLiteral("-");
        record.arguments = { true, uint(i) };
        if (i % 50 == 7)
            record.arguments.append(filler); // read by nobody, but it must decode
        QByteArray bytes = QVIPCMessage::encode(record);
        CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
        QCOMPARE(peer->sendMessage(dashboard, WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
                 LResult(1));
        if (i % 10 == 9)
            QVERIFY(peer->postMessage(dashboard, registerId, WParam(0x1000 + i), 0));
    }

    QTRY_COMPARE_WITH_TIMEOUT(order.size(), REPORTS, 60000);
    QTRY_VERIFY2(arrivedWhenPostedRan >= 0, "the posted call never ran");
    QVERIFY2(arrivedWhenPostedRan < REPORTS,
             qPrintable(QStringLiteral("the posted call ran only after all %1 reports").arg(REPORTS)));
    QVERIFY(arrivedWhenPostedRan > POSTED_AT);
    for (int i = 0; i < REPORTS; ++i) {
        QCOMPARE(order.at(i), uint(i));
        // Report i came after the registrations sent before it, and before the next one.
        QCOMPARE(registrationsSeen.at(i), i / 10);
    }
    QTRY_COMPARE(helper->registeredModules().size(), REPORTS / 10);
    for (int k = 0; k < REPORTS / 10; ++k)
        QCOMPARE(helper->registeredModules().at(k), QVIPCHelper_win32::HWND(0x1000 + 10 * k + 9));
    // Every payload was read: the peer has none left unread.
    QTRY_COMPARE(static_cast<XcbNativeWindowBackend *>(peer.get())->pendingCopies(), 0);
}

// A window that stops taking its queued messages (the dashboard closing) releases what waits
// for it: the sender sees the payload's carrier gone, as when it is read, and nothing is handed
// over after.
void tst_XcbBackendX11::arrivalHandlerRemovedReleasesTheSender()
{
    QWindow receiver;
    receiver.create();
    auto *x11 = static_cast<XcbNativeWindowBackend *>(m_backend.get());
    int handled = 0;
    QVERIFY(x11->setArrivalHandler(receiver.winId(), [&](const Message &) { ++handled; }));

    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto *sender = static_cast<XcbNativeWindowBackend *>(peer.get());
    sender->setInlineLimit(0); // a carrier, whose end the sender sees
    // The queue is fed from the window's events, as DashboardMainWindow does; the handler goes
    // as soon as the payload is queued, before the event loop can hand it over.
    struct Feeder : QAbstractNativeEventFilter
    {
        XcbNativeWindowBackend *backend = nullptr;
        XcbNativeWindowBackend *sender = nullptr;
        WindowHandle window = 0;
        xcb_atom_t ours[2] = {};
        int seen = 0;
        int taken = 0;
        int queuedWhenTaken = -1;
        int unreadWhenTaken = -1;
        int queuedAfterRemoval = -1;
        bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
        {
            const auto *event = static_cast<const xcb_client_message_event_t *>(message);
            if (type != "xcb_generic_event_t" || (event->response_type & 0x7f) != XCB_CLIENT_MESSAGE
                || event->window != window || (event->type != ours[0] && event->type != ours[1]))
                return false;
            ++seen;
            if (!backend->queueNativeEvent(type.constData(), std::size_t(type.size()), message))
                return false;
            ++taken;
            queuedWhenTaken = backend->queuedMessages();
            unreadWhenTaken = sender->pendingCopies();
            backend->setArrivalHandler(window, {});
            queuedAfterRemoval = backend->queuedMessages();
            return false;
        }
    } feeder;
    feeder.backend = x11;
    feeder.sender = sender;
    feeder.window = receiver.winId();
    RawClient raw;
    feeder.ours[0] = raw.atom("_KORVEX_WM_COPYDATA");
    feeder.ours[1] = raw.atom("_KORVEX_WM_MESSAGE");
    QCoreApplication::instance()->installNativeEventFilter(&feeder);

    QByteArray bytes = focusReport(9);
    CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(peer->sendMessage(receiver.winId(), WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
             LResult(1));
    QTRY_COMPARE(feeder.taken, 1);
    QCOMPARE(feeder.queuedWhenTaken, 1);
    QCOMPARE(feeder.unreadWhenTaken, 1);
    QCOMPARE(feeder.queuedAfterRemoval, 0);
    QTRY_COMPARE(sender->pendingCopies(), 0);
    // Without a handler the window's events are the caller's to translate.
    QCOMPARE(peer->sendMessage(receiver.winId(), 0xC0FE, 0, 0), LResult(1));
    QTRY_COMPARE(feeder.seen, 2);
    QCOMPARE(feeder.taken, 1);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(handled, 0);
    QCoreApplication::instance()->removeNativeEventFilter(&feeder);
}

// A sender beyond every limit: past the queue's bound the oldest message is handed over at once,
// so the queue never grows past it, and every message still arrives, in order.
void tst_XcbBackendX11::overfullQueueHandsOverTheOldestAtOnce()
{
    constexpr int LIMIT = 8;
    constexpr int SENT = 20;
    QWindow receiver;
    receiver.create();
    auto *x11 = static_cast<XcbNativeWindowBackend *>(m_backend.get());
    x11->setQueueLimit(LIMIT);
    QList<quint64> handed;
    QVERIFY(x11->setArrivalHandler(receiver.winId(), [&](const Message &message) {
        QCOMPARE(message.message, MessageId(0xC123));
        handed.append(quint64(message.wParam));
    }));
    RawClient raw;
    const QByteArray type("xcb_generic_event_t");
    int mostQueued = 0;
    for (int i = 0; i < SENT; ++i) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = xcb_window_t(receiver.winId());
        event.type = raw.atom("_KORVEX_WM_MESSAGE");
        event.data.data32[0] = 0xC123;
        event.data.data32[1] = std::uint32_t(i);
        QVERIFY(x11->queueNativeEvent(type.constData(), std::size_t(type.size()), &event));
        mostQueued = std::max(mostQueued, x11->queuedMessages());
    }
    QList<quint64> expected;
    for (int i = 0; i < SENT; ++i)
        expected.append(quint64(i));
    // Before the event loop turned: the oldest went over as the bound was reached.
    QCOMPARE(mostQueued, LIMIT);
    QCOMPARE(handed, expected.mid(0, SENT - LIMIT));
    QCOMPARE(x11->queuedMessages(), LIMIT);
    QTRY_COMPARE(handed.size(), SENT);
    QCOMPARE(handed, expected);
    QVERIFY(x11->setArrivalHandler(receiver.winId(), {}));
}

void tst_XcbBackendX11::smallPayloadsTravelInTheEvents_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("queued");
    QTest::addColumn<bool>("inEvents");
    const int limit = int(XcbNativeWindowBackend::INLINE_COPY);
    // Around the edges of a piece's 16 bytes (the first carries 4 of dwData's) and of the limit.
    for (int size : { 0, 1, 11, 12, 13, 28, 100, limit - 1, limit, limit + 1 }) {
        for (bool queued : { false, true })
            QTest::addRow("%d bytes, %s", size, queued ? "queued" : "translated")
                    << size << queued << (size <= limit);
    }
}

// A small payload needs no carrier: it is whole and intact on arrival, dwData and wParam with
// their high halves, and seen once although translated twice; larger ones still go in a carrier.
void tst_XcbBackendX11::smallPayloadsTravelInTheEvents()
{
    QFETCH(int, size);
    QFETCH(bool, queued);
    QFETCH(bool, inEvents);
    QWindow receiver;
    receiver.create();
    auto *x11 = static_cast<XcbNativeWindowBackend *>(m_backend.get());
    TransportCapture capture(m_backend.get(), receiver.winId());
    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto *sender = static_cast<XcbNativeWindowBackend *>(peer.get());

    QByteArray bytes = patterned(size, size);
    const quint64 wParam = 0x0000000712345678ull;
    const quint64 dwData = 0xABCD00000000BEEFull;
    const auto events = capture.send(peer.get(), bytes, dwData, wParam);
    QVERIFY(!events.isEmpty());
    // Nothing has read them yet: only a carrier waits to be read.
    QCOMPARE(sender->pendingCopies(), inEvents ? 0 : 1);

    QList<Received> got;
    if (queued) {
        QVERIFY(x11->setArrivalHandler(receiver.winId(),
                                       [&](const Message &m) { got.append(received(m)); }));
        const QByteArray type("xcb_generic_event_t");
        for (auto event : events)
            QVERIFY(x11->queueNativeEvent(type.constData(), std::size_t(type.size()), &event));
        QTRY_COMPARE(got.size(), 1);
        QCOMPARE(x11->queuedMessages(), 0);
        QVERIFY(x11->setArrivalHandler(receiver.winId(), {}));
    } else {
        got = translateAll(m_backend.get(), events, 2);
    }
    QCOMPARE(got.size(), 1);
    QCOMPARE(got.at(0).message, MessageId(WmCopyData));
    QCOMPARE(got.at(0).wParam, wParam);
    QCOMPARE(got.at(0).dwData, dwData);
    QCOMPARE(got.at(0).bytes, bytes);
    if (!inEvents) {
        QTRY_COMPARE((sender->processPendingEvents(), sender->pendingCopies()), 0);
    }
}

// Pieces of two senders that arrive interleaved make two whole payloads.
void tst_XcbBackendX11::piecesOfInterleavedSendersAreToldApart()
{
    QWindow receiver;
    receiver.create();
    TransportCapture capture(m_backend.get(), receiver.winId());
    auto first = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto second = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QByteArray one = patterned(100, 1);
    QByteArray two = patterned(90, 2);
    const auto ofFirst = capture.send(first.get(), one, 1);
    const auto ofSecond = capture.send(second.get(), two, 2);
    QVERIFY(ofFirst.size() > 2 && ofSecond.size() > 2);

    QList<xcb_client_message_event_t> interleaved;
    for (qsizetype i = 0; i < std::max(ofFirst.size(), ofSecond.size()); ++i) {
        if (i < ofSecond.size())
            interleaved.append(ofSecond.at(i));
        if (i < ofFirst.size())
            interleaved.append(ofFirst.at(i));
    }
    const QList<Received> got = translateAll(m_backend.get(), interleaved);
    QCOMPARE(got.size(), 2);
    // The shorter payload's last piece comes first.
    QCOMPARE(got.at(0).bytes, two);
    QCOMPARE(got.at(0).dwData, 2u);
    QCOMPARE(got.at(1).bytes, one);
    QCOMPARE(got.at(1).dwData, 1u);
}

void tst_XcbBackendX11::hostilePieces_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : { "piece without a first", "piece lost", "pieces swapped",
                              "cut short by a new first", "size over the limit",
                              "first with a piece index", "more senders at once than kept",
                              "piece of another window" })
        QTest::newRow(what) << QString::fromLatin1(what);
}

// Each row spoils an honest sender's pieces of payload P and then sends payload Q whole: what
// does not fit is dropped, and the next payload from the same sender arrives all the same.
void tst_XcbBackendX11::hostilePieces()
{
    QFETCH(QString, what);
    QWindow receiver;
    receiver.create();
    TransportCapture capture(m_backend.get(), receiver.winId());
    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QByteArray p = patterned(100, 3);
    QByteArray q = patterned(60, 4);
    QList<xcb_client_message_event_t> pieces = capture.send(peer.get(), p);
    const QList<xcb_client_message_event_t> honest = capture.send(peer.get(), q);
    QVERIFY(!honest.isEmpty());
    QCOMPARE(pieces.size(), 1 + (4 + 100 + 15) / 16);
    const auto withKey = [](xcb_client_message_event_t event, std::uint32_t key) {
        event.data.data32[0] = (event.data.data32[0] & 0xE0000000u) | key;
        return event;
    };

    QList<QByteArray> expected{ q };
    if (what == u"piece without a first") {
        pieces.removeFirst();
    } else if (what == u"piece lost") {
        pieces.removeAt(3);
    } else if (what == u"pieces swapped") {
        pieces.swapItemsAt(2, 3);
    } else if (what == u"cut short by a new first") {
        pieces = pieces.mid(0, 4);
    } else if (what == u"size over the limit") {
        pieces[0].data.data32[1] = XcbNativeWindowBackend::INLINE_COPY + 1;
    } else if (what == u"first with a piece index") {
        pieces[0].data.data32[0] |= 1u << 29;
    } else if (what == u"more senders at once than kept") {
        // Forged firsts of many senders: the one begun first is let go, the last kept. Keys
        // are even, as resource id bases are.
        const int senders = XcbNativeWindowBackend::MAX_ASSEMBLIES + 1;
        const auto key = [](int k) { return std::uint32_t(0x100 + k) << 1; };
        QList<xcb_client_message_event_t> spoilt;
        for (int k = 0; k < senders; ++k)
            spoilt.append(withKey(pieces.first(), key(k)));
        for (qsizetype i = 1; i < pieces.size(); ++i)
            spoilt.append(withKey(pieces.at(i), key(0)));
        for (qsizetype i = 1; i < pieces.size(); ++i)
            spoilt.append(withKey(pieces.at(i), key(senders - 1)));
        pieces = spoilt;
        expected = { p, q };
    } else if (what == u"piece of another window") {
        pieces[4].window = xcb_window_t(receiver.winId()) + 1;
    }
    const QList<Received> got = translateAll(m_backend.get(), pieces + honest);
    QCOMPARE(payloadsOf(got), expected);
}

// Pieces to a window that does not read them are bounded: past INLINE_UNCONFIRMED in a row, the
// sender's payloads wait in carriers, which it withdraws in time. Once the receiver reads a
// carrier, and so all before it, payloads go in pieces again. Nothing is lost or reordered.
void tst_XcbBackendX11::unreadPiecesHandOverToCarriers()
{
    constexpr int beyond = 3;
    QWindow receiver;
    receiver.create();
    TransportCapture capture(m_backend.get(), receiver.winId());
    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto *sender = static_cast<XcbNativeWindowBackend *>(peer.get());
    const int total = XcbNativeWindowBackend::INLINE_UNCONFIRMED + beyond;
    QList<QByteArray> sent;
    for (int i = 0; i < total; ++i) {
        sent.append(patterned(40, i));
        CopyDataStruct copy{ 0, 40, sent.last().data() };
        QCOMPARE(peer->sendMessage(receiver.winId(), WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
                 LResult(1));
    }
    QCOMPARE(sender->pendingCopies(), beyond);
    QVERIFY(peer->postMessage(receiver.winId(), TransportCapture::MARKER, 1, 0));
    QTRY_VERIFY(capture.hasMarker(1));

    QCOMPARE(payloadsOf(translateAll(m_backend.get(), capture.before(1))), sent);
    QTRY_COMPARE((sender->processPendingEvents(), sender->pendingCopies()), 0);
    QByteArray again = patterned(40, 99);
    CopyDataStruct copy{ 0, 40, again.data() };
    QCOMPARE(peer->sendMessage(receiver.winId(), WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
             LResult(1));
    QCOMPARE(sender->pendingCopies(), 0);
}

void tst_XcbBackendX11::readingReceiverKeepsItsSendersOnPieces_data()
{
    QTest::addColumn<bool>("queued");
    QTest::newRow("translated") << false;
    QTest::newRow("queued") << true;
}

// A receiver that reads confirms what it took: halfway to INLINE_UNCONFIRMED a payload asks for
// a receipt, so a sender to a reading window never falls back to carriers, however many it
// sends; on both receiving paths (a module translates, the dashboard queues). A receipt asked
// for a window that is not there changes nothing for the payload.
void tst_XcbBackendX11::readingReceiverKeepsItsSendersOnPieces()
{
    QFETCH(bool, queued);
    RawClient raw;
    const xcb_atom_t piece = raw.atom("_KORVEX_WM_COPYDATA_PIECE");
    const xcb_atom_t announcement = raw.atom("_KORVEX_WM_COPYDATA");
    QWindow receiver;
    receiver.create();
    TransportCapture capture(m_backend.get(), receiver.winId());
    auto peer = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    const int total = 2 * XcbNativeWindowBackend::INLINE_UNCONFIRMED;
    QList<QByteArray> sent;
    QList<Received> got;
    int announcements = 0;
    int receiptsAsked = 0;
    QList<xcb_client_message_event_t> asking;
    QByteArray askingPayload;
    auto *x11 = static_cast<XcbNativeWindowBackend *>(m_backend.get());
    const QByteArray type("xcb_generic_event_t");
    if (queued)
        QVERIFY(x11->setArrivalHandler(receiver.winId(), [&](const Message &m) { got.append(received(m)); }));
    // A few at a time, far fewer than the receipt has to come back in.
    constexpr int batch = 16;
    for (int i = 0; i < total; i += batch) {
        QList<QByteArray> payloads;
        for (int k = 0; k < batch; ++k)
            payloads.append(patterned(40, i + k));
        QList<QByteArray *> sending;
        for (QByteArray &bytes : payloads)
            sending.append(&bytes);
        sent += payloads;
        const QList<xcb_client_message_event_t> events = capture.sendAll(peer.get(), sending);
        QVERIFY2(!events.isEmpty(), qPrintable(QStringLiteral("payloads from %1").arg(i)));
        // Which payload of the batch each piece belongs to: a first piece begins the next.
        qsizetype payload = -1;
        qsizetype askingHere = -1;
        for (const auto &event : events) {
            announcements += event.type == announcement;
            if (event.type != piece)
                continue;
            if (event.data.data32[0] & 0x80000000u)
                ++payload;
            if ((event.data.data32[0] & 0x80000001u) == 0x80000001u) {
                ++receiptsAsked;
                askingHere = payload;
                asking.clear();
                askingPayload = payloads.at(payload);
            }
            if (payload == askingHere)
                asking.append(event);
        }
        // Read as it comes, as a module or the dashboard reads.
        if (queued) {
            for (auto event : events)
                QVERIFY(x11->queueNativeEvent(type.constData(), std::size_t(type.size()), &event));
        } else {
            got += translateAll(m_backend.get(), events);
        }
    }
    if (queued) {
        QTRY_COMPARE(got.size(), total);
        QVERIFY(x11->setArrivalHandler(receiver.winId(), {}));
    }
    QCOMPARE(payloadsOf(got), sent);
    QCOMPARE(announcements, 0);
    // Asked once per half of the limit, each time the receipt before it had come.
    QVERIFY2(receiptsAsked >= total / (XcbNativeWindowBackend::INLINE_UNCONFIRMED / 2) - 1,
             qPrintable(QString::number(receiptsAsked)));

    // The window for the receipt is the body's second word: the first piece after the first.
    for (const std::uint32_t nowhere : { 0u, 0x1FFFFFFEu }) {
        QList<xcb_client_message_event_t> spoilt = asking;
        spoilt[1].data.data32[2] = nowhere;
        QCOMPARE(payloadsOf(translateAll(m_backend.get(), spoilt)), QList<QByteArray>{ askingPayload });
    }
}

// A module hears a broadcast that came in pieces once, and takes every event that carried it:
// left to Qt, each piece would cost the module a round trip to the server (the name of the
// event's type, for a warning), and a module flooded with broadcasts would fall behind.
void tst_XcbBackendX11::moduleTakesEveryPieceOfABroadcast()
{
    QWindow moduleWindow;
    moduleWindow.create();
    ModuleClient client(m_backend.get());
    client.setWindowHandle(moduleWindow.winId());
    QSignalSpy broadcasts(&client, &ModuleClient::broadcastReceived);
    TransportCapture capture(m_backend.get(), moduleWindow.winId());
    auto dashboard = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    const MessageId status = NativeWindowSystem::registerWindowMessage(
            dashboard.get(), QStringLiteral("StatusChanged"));
    MessageStruct record;
    record.methodName = QStringLiteral("-");
    record.dataType = QStringLiteral("-");
    record.arguments = { 3, QStringLiteral("Ondrel M4 Line 1"), QStringLiteral("-"),
                         QStringLiteral("-") };
    record.data = QStringLiteral("-");
    QByteArray bytes = QVIPCMessage::encode(record);
    const auto events = capture.send(dashboard.get(), bytes, status);
    QVERIFY(events.size() > 2);

    const QByteArray type("xcb_generic_event_t");
    for (auto event : events) {
        qintptr result = 0;
        QVERIFY(client.nativeEventFilter(type, &event, &result));
    }
    QCOMPARE(broadcasts.size(), 1);
    QCOMPARE(broadcasts.constFirst().at(0).toString(), QStringLiteral("StatusChanged"));
    QCOMPARE(broadcasts.constFirst().at(1).toList(), record.arguments);
    // Events that are no transport of the backend's stay Qt's.
    xcb_client_message_event_t other = events.constFirst();
    other.type = RawClient().atom("_KORVEX_SOMETHING_ELSE");
    qintptr result = 0;
    QVERIFY(!client.nativeEventFilter(type, &other, &result));
}

void tst_XcbBackendX11::moduleKilledInTheMiddleOfItsMessages()
{
    showDashboard();
    // Each 1 MiB report that arrives whole decodes into one signal; a cut one would not.
    QSignalSpy clicked(m_dashboard->messagingHelper(), &QVIPCHelper_win32::applicationClicked);
    QSignalSpy focused(m_dashboard.get(), &DashboardMainWindow::applicationFocused);
    QProcess module;
    module.start(helperPath("x11_module_bigsender"), { QString::number(m_dashboard->winId()) });
    QVERIFY(module.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(clicked.size() >= 2, 30000);
    module.kill();
    QVERIFY(module.waitForFinished(10000));
    // Then the dashboard hears the next module as before.
    auto other = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QByteArray bytes = focusReport(31);
    CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
    QCOMPARE(other->sendMessage(m_dashboard->winId(), WmCopyData, 0, reinterpret_cast<LParam>(&copy)),
             LResult(1));
    QTRY_COMPARE(focused.size(), 1);
    QCOMPARE(focused.constFirst().at(1).toUInt(), 31u);
}

// A module that reports and quits at once is heard in full. The server reads a client's
// requests in its own time; if it finds the connection closed when it writes to it (a
// receipt for an earlier report, say), it drops the requests it has not read. Eight modules
// flooding and quitting lost the last few dozen reports of one of them that way. Here the
// server is held (a grab) while the module sends and quits, and then writes to it.
void tst_XcbBackendX11::quittingSenderIsHeardInFull()
{
    // Few enough that the module's writes fit in the socket while the server is held: each
    // send is written at once, and every write takes room of its own there.
    constexpr int REPORTS = 30;
    RawClient receiver;
    const xcb_window_t window = receiver.createWindow();
    receiver.sync();

    std::mutex mutex;
    std::condition_variable changed;
    bool ready = false;
    bool go = false;
    std::atomic<bool> quitting = false;
    std::atomic<bool> gone = false;
    std::atomic<pid_t> thread = 0;
    // The module: a backend of its own thread (so without the event loop's help), whose first
    // report makes it watch the window and so hear of the window's changes.
    std::thread module([&] {
        thread = pid_t(::syscall(SYS_gettid));
        auto sender = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
        const auto report = [&](int i) {
            QByteArray bytes = focusReport(uint(i));
            CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
            sender->sendMessage(window, WmCopyData, 0, reinterpret_cast<LParam>(&copy));
        };
        report(0);
        std::unique_lock<std::mutex> lock(mutex);
        ready = true;
        changed.notify_all();
        changed.wait(lock, [&] { return go; });
        lock.unlock();
        for (int i = 1; i < REPORTS; ++i)
            report(i);
        quitting = true;
        sender.reset();
        gone = true;
    });
    // However the test ends, the module is let go and the server too.
    const auto joined = qScopeGuard([&] {
        {
            std::lock_guard<std::mutex> lock(mutex);
            go = true;
        }
        changed.notify_all();
        xcb_ungrab_server(receiver.c());
        receiver.sync();
        module.join();
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        QVERIFY(changed.wait_for(lock, std::chrono::seconds(20), [&] { return ready; }));
    }
    xcb_grab_server(receiver.c());
    receiver.sync();
    {
        std::lock_guard<std::mutex> lock(mutex);
        go = true;
    }
    changed.notify_all();
    // The module has quit, or waits for the server before it does.
    QVERIFY(QTest::qWaitFor([&] { return gone || (quitting && blockedInPoll(thread)); }, 20000));
    // The server writes to the module: the window it watches moved.
    const std::uint32_t place[] = { 10, 10 };
    xcb_configure_window(receiver.c(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
    receiver.sync();
    xcb_ungrab_server(receiver.c());
    receiver.sync();

    QList<uint> heard;
    const QByteArray type("xcb_generic_event_t");
    // What came is counted below, whether all of it came or not.
    static_cast<void>(QTest::qWaitFor([&] {
        receiver.sync();
        while (xcb_generic_event_t *event = xcb_poll_for_event(receiver.c())) {
            Message storage{};
            const Message *message = m_backend->translateNativeEvent(type.constData(), std::size_t(type.size()),
                                                                     event, &storage);
            const auto *copy = message && message->message == WmCopyData
                    ? reinterpret_cast<const CopyDataStruct *>(message->lParam) : nullptr;
            MessageStruct decoded;
            if (copy && QVIPCMessage::decode(copy->lpData, copy->cbData, &decoded))
                heard.append(decoded.arguments.value(1).toUInt());
            std::free(event);
        }
        return heard.size() >= REPORTS;
    }, 10000));
    QCOMPARE(heard.size(), REPORTS);
    for (int i = 0; i < REPORTS; ++i)
        QCOMPARE(heard.at(i), uint(i));
}

void tst_XcbBackendX11::hostileAnnouncements_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : { "wrong property type", "wrong format", "shorter than announced",
                              "longer than announced", "bad magic", "other serial",
                              "carrier gone", "sender died while writing", "not a window",
                              "announced size over the limit", "data pointer as a plain message",
                              "unknown message type", "truncated header" })
        QTest::newRow(what) << QString::fromLatin1(what);
}

// Each hostile announcement carries a focus report for window 13 where it can; the honest
// report for window 77 sent after it must be the only one the dashboard hears.
void tst_XcbBackendX11::hostileAnnouncements()
{
    QFETCH(QString, what);
    showDashboard();
    QSignalSpy focused(m_dashboard.get(), &DashboardMainWindow::applicationFocused);
    const xcb_window_t dashboard = xcb_window_t(m_dashboard->winId());

    RawClient raw;
    const xcb_atom_t payload = raw.atom("_KORVEX_COPYDATA_PAYLOAD");
    const xcb_atom_t announce = raw.atom("_KORVEX_WM_COPYDATA");
    const QByteArray body = focusReport(13);
    const std::uint32_t size = std::uint32_t(body.size());
    xcb_window_t carrier = raw.createWindow();
    std::uint32_t announced = size;
    std::uint32_t serial = 7;
    xcb_atom_t type = announce;

    if (what == u"wrong property type") {
        raw.setProperty(carrier, payload, XCB_ATOM_STRING, 8, header(7, size, 0) + body);
    } else if (what == u"wrong format") {
        raw.setProperty(carrier, payload, payload, 32, header(7, size, 0) + body + QByteArray(4 - size % 4, 0));
    } else if (what == u"shorter than announced") {
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0) + body);
        announced = size + 10;
    } else if (what == u"longer than announced") {
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0) + body + "tail");
    } else if (what == u"bad magic") {
        QByteArray h = header(7, size, 0);
        h[0] = 'Z';
        raw.setProperty(carrier, payload, payload, 8, h + body);
    } else if (what == u"other serial") {
        raw.setProperty(carrier, payload, payload, 8, header(8, size, 0) + body);
    } else if (what == u"carrier gone") {
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0) + body);
        xcb_destroy_window(raw.c(), carrier);
    } else if (what == u"sender died while writing") {
        // The first half is written and announced, then the sender's connection ends: the
        // server takes its windows with it.
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0) + body.left(body.size() / 2));
    } else if (what == u"not a window") {
        xcb_destroy_window(raw.c(), carrier);
        carrier = 0x1FFFFFFF;
    } else if (what == u"announced size over the limit") {
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0) + body);
        announced = XcbNativeWindowBackend::MAX_COPY_DATA + 1;
    } else if (what == u"truncated header") {
        raw.setProperty(carrier, payload, payload, 8, header(7, size, 0).left(10));
        announced = 0;
    } else if (what == u"data pointer as a plain message") {
        type = raw.atom("_KORVEX_WM_MESSAGE");
    } else if (what == u"unknown message type") {
        type = raw.atom("_KORVEX_SOMETHING_ELSE");
    }

    std::uint32_t data[5] = { carrier, serial, 0, 0, announced };
    if (what == u"data pointer as a plain message") {
        // WM_COPYDATA with an lParam that is an address in no process of ours.
        const quint64 address = quint64(quintptr(&focused));
        const std::uint32_t plain[5] = { WmCopyData, 0, 0, std::uint32_t(address),
                                         std::uint32_t(address >> 32) };
        std::memcpy(data, plain, sizeof data);
    }
    raw.clientMessage(dashboard, type, data);
    raw.sync();
    if (what == u"sender died while writing")
        raw.disconnect();

    auto honest = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QByteArray good = focusReport(77);
    CopyDataStruct copy{ 0, std::uint32_t(good.size()), good.data() };
    QCOMPARE(honest->sendMessage(dashboard, WmCopyData, 0, reinterpret_cast<LParam>(&copy)), LResult(1));
    QTRY_COMPARE(focused.size(), 1);
    QCOMPARE(focused.constFirst().at(1).toUInt(), 77u);
}

void tst_XcbBackendX11::transportIsConsumedOnlyWhenItIsOurs()
{
    RawClient raw;
    xcb_client_message_event_t event;
    std::memset(&event, 0, sizeof event);
    event.response_type = XCB_CLIENT_MESSAGE | 0x80;
    event.format = 32;
    event.type = raw.atom("_KORVEX_WM_MESSAGE");
    const QByteArray type("xcb_generic_event_t");
    QVERIFY(m_backend->isBackendTransport(type.constData(), std::size_t(type.size()), &event));
    event.type = raw.atom("_KORVEX_WM_COPYDATA");
    QVERIFY(m_backend->isBackendTransport(type.constData(), std::size_t(type.size()), &event));
    // Closing goes through Qt's own handling: the window must hear it.
    event.type = raw.atom("WM_PROTOCOLS");
    event.data.data32[0] = raw.atom("WM_DELETE_WINDOW");
    QVERIFY(!m_backend->isBackendTransport(type.constData(), std::size_t(type.size()), &event));
    Message storage{};
    const Message *close = m_backend->translateNativeEvent(type.constData(),
                                                          std::size_t(type.size()), &event, &storage);
    QVERIFY(close);
    QCOMPARE(close->message, WmClose);
    event.format = 8;
    event.type = raw.atom("_KORVEX_WM_MESSAGE");
    QVERIFY(!m_backend->isBackendTransport(type.constData(), std::size_t(type.size()), &event));
    QVERIFY(!m_backend->translateNativeEvent(type.constData(), std::size_t(type.size()), &event,
                                             &storage));
}

void tst_XcbBackendX11::saveSetKeepsTheModuleWindowAlive()
{
    QWindow moduleWindow;
    moduleWindow.resize(300, 200);
    moduleWindow.show();
    QVERIFY(QTest::qWaitForWindowExposed(&moduleWindow));
    RawClient raw;
    const xcb_window_t window = xcb_window_t(moduleWindow.winId());

    QProcess embedder;
    embedder.start(helperPath("x11_module_embedder"), { QString::number(window) });
    QVERIFY(embedder.waitForReadyRead(30000));
    const QByteArray line = embedder.readLine().trimmed();
    QVERIFY2(line.startsWith("embedded "), line.constData());
    const xcb_window_t container = xcb_window_t(line.mid(9).toULongLong());
    QCOMPARE(raw.parentOf(window), container);

    // The embedding process dies without a word; the module's window goes back to the root.
    embedder.kill();
    QVERIFY(embedder.waitForFinished(10000));
    QTRY_COMPARE(raw.parentOf(window), raw.root());
    QVERIFY(m_backend->isWindow(window));
    QVERIFY(!m_backend->isWindow(container));
}

// What DashboardAppWindow does, seen on the screen: the module's window shows inside the
// dashboard's, at the container's place, without its frame. The screenshot is kept beside the
// test (xcb_embedded_module.png).
void tst_XcbBackendX11::embeddedModuleIsDrawnInsideTheDashboard()
{
    PaintedWindow dashboard(QColor(0x1f, 0x3a, 0x93), QStringLiteral("dashboard"));
    dashboard.setGeometry(100, 100, 640, 400);
    dashboard.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dashboard));
    PaintedWindow module(QColor(0xe0, 0x6c, 0x00), QStringLiteral("module inside the dashboard"));
    module.resize(200, 150);
    module.show();
    QVERIFY(QTest::qWaitForWindowExposed(&module));

    NativeWindowBackend *native = m_backend.get();
    const WindowHandle container = native->createWindowEx(
            0, u"STATIC", u"", WsChild | WsVisible | WsClipChildren, 120, 80, 400, 250,
            dashboard.winId(), 0, nullptr, nullptr);
    QVERIFY(container);
    QVERIFY(native->setParent(module.winId(), container));
    const LongPtr style = native->getWindowLongPtr(module.winId(), GwlStyle);
    native->setWindowLongPtr(module.winId(), GwlStyle,
                             style & ~LongPtr(WsCaption | WsSysMenu | WsThickFrame | WsMinimizeBox
                                              | WsMaximizeBox));
    QVERIFY(native->setWindowPos(module.winId(), 0, 0, 0, 400, 250, SwpShowWindow | SwpNoActivate));

    // The dashboard's colour outside the container, the module's inside it.
    QImage shot;
    const QPoint inside = QPoint(100 + 120 + 200, 100 + 80 + 125);
    QTRY_VERIFY_WITH_TIMEOUT(
            (shot = dashboard.screen()->grabWindow(0).toImage(),
             shot.pixelColor(inside) == QColor(0xe0, 0x6c, 0x00)),
            10000);
    QCOMPARE(shot.pixelColor(QPoint(100 + 60, 100 + 300)), QColor(0x1f, 0x3a, 0x93));
    QCOMPARE(shot.pixelColor(QPoint(100 + 120 + 400 + 10, 100 + 80 + 10)), QColor(0x1f, 0x3a, 0x93));
    shot.copy(QRect(80, 80, 680, 440)).save(QStringLiteral("xcb_embedded_module.png"));
}

void tst_XcbBackendX11::closeAsksAQtWindowToClose()
{
    QWindow moduleWindow;
    moduleWindow.show();
    QVERIFY(QTest::qWaitForWindowExposed(&moduleWindow));
    QVERIFY(moduleWindow.isVisible());
    // WM_CLOSE is WM_DELETE_WINDOW for a window that speaks it: Qt closes the window itself.
    QCOMPARE(m_backend->sendMessage(moduleWindow.winId(), WmClose, 0, 0), LResult(1));
    QTRY_VERIFY(!moduleWindow.isVisible());
}

void tst_XcbBackendX11::registeredTableWithGarbage()
{
    RawClient raw;
    const xcb_atom_t table = raw.atom("_KORVEX_WM_REGISTERED_MESSAGES");
    const xcb_atom_t utf8 = raw.atom("UTF8_STRING");

    // Bytes that are no list of names still give every process the same ids.
    QByteArray garbage(4000, '\0');
    for (int i = 0; i < garbage.size(); ++i)
        garbage[i] = char((i * 7919) % 251);
    raw.setProperty(raw.root(), table, utf8, 8, garbage);
    raw.sync();
    auto first = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    auto second = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    const MessageId id = first->registerWindowMessage(u"AfterGarbage");
    QVERIFY(id >= 0xC000 && id <= 0xFFFF);
    QCOMPARE(second->registerWindowMessage(u"AfterGarbage"), id);

    // A table of another type cannot be extended: no id, as Windows when it has none left.
    raw.setProperty(raw.root(), table, XCB_ATOM_INTEGER, 32, QByteArray(64, '\1'));
    raw.sync();
    auto third = NativeWindowSystem::createBackend(QStringLiteral("xcb"));
    QCOMPARE(third->registerWindowMessage(u"NeverRegistered"), MessageId(0));
    xcb_delete_property(raw.c(), raw.root(), table);
    raw.sync();
}

QTEST_MAIN(tst_XcbBackendX11)
#include "tst_xcbbackend_x11.moc"
