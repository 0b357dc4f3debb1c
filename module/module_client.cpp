#include "module_client.h"

#include "module_embedding.h"
#include "module_logging.h"
#include "native_window_system.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QTimer>
#include <QWindow>

using namespace KorvexNative;

const QString ModuleClient::REGISTER_MESSAGE = QStringLiteral("registerQVIPC");
const QString ModuleClient::UNREGISTER_MESSAGE = QStringLiteral("unregisterQVIPC");
const QString ModuleClient::STATUS_CHANGED = QStringLiteral("StatusChanged");
const QString ModuleClient::SUPPLY_CHANGED = QStringLiteral("SupplyChanged");
const QString ModuleClient::RIBBON_CHANGED = QStringLiteral("RibbonChanged");
const QString ModuleClient::CLOSE_APPLICATION = QStringLiteral("CloseApplicationSignal");

ModuleClient::ModuleClient(NativeWindowBackend *backend, QObject *parent)
    : QObject(parent), m_backend(backend ? backend : NativeWindowSystem::backend())
{
    if (QCoreApplication *app = QCoreApplication::instance()) {
        app->installNativeEventFilter(this);
        m_filterInstalled = true;
    }
}

ModuleClient::~ModuleClient()
{
    if (m_registered)
        unregisterFromDashboard();
    if (m_filterInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    // The container is the module window's QObject parent too: it must not take the window
    // (which its widget or owner deletes) with it.
    if (m_container && m_qtWindow && m_qtWindow->parent() == m_container.get())
        m_qtWindow->setParent(nullptr);
}

void ModuleClient::setDashboardWindow(WindowHandle dashboard)
{
    m_dashboard = dashboard;
}

void ModuleClient::setWindow(QWindow *window)
{
    if (m_qtWindow)
        m_qtWindow->removeEventFilter(this);
    m_qtWindow = window;
    m_window = window ? WindowHandle(window->winId()) : 0;
    if (window)
        window->installEventFilter(this);
}

void ModuleClient::setWindowHandle(WindowHandle window)
{
    setWindow(nullptr);
    m_window = window;
}

MessageId ModuleClient::messageId(const QString &name)
{
    auto it = m_messageIds.constFind(name);
    if (it != m_messageIds.constEnd())
        return *it;
    const MessageId id = NativeWindowSystem::registerWindowMessage(m_backend, name);
    // A failed registration is asked again next time.
    if (id)
        m_messageIds.insert(name, id);
    return id;
}

bool ModuleClient::canSend() const
{
    if (!m_dashboard || !m_window) {
        KX_DEBUG(lcModule, "Module Error: no %s window to talk to.",
                 m_dashboard ? "module" : "dashboard");
        return false;
    }
    if (!m_backend->isWindow(m_dashboard)) {
        KX_DEBUG(lcModule, "Module Error: the dashboard's window %llu no longer exists.",
                 static_cast<unsigned long long>(m_dashboard));
        return false;
    }
    return true;
}

bool ModuleClient::sendRegistration(const QString &name)
{
    if (!canSend())
        return false;
    const MessageId id = messageId(name);
    if (!id) {
        KX_DEBUG(lcModule, "Module Error: the window system gave no id for \"%s\".",
                 qUtf8Printable(name));
        return false;
    }
    m_backend->sendMessage(m_dashboard, id, WParam(m_window), 0);
    return true;
}

void ModuleClient::setRegistered(bool registered)
{
    if (m_registered == registered)
        return;
    m_registered = registered;
    Q_EMIT registeredChanged(registered);
}

bool ModuleClient::registerWithDashboard()
{
    if (!sendRegistration(REGISTER_MESSAGE))
        return false;
    setRegistered(true);
    return true;
}

bool ModuleClient::unregisterFromDashboard()
{
    // Whatever happens to the message, the module no longer counts itself registered: a
    // dashboard that is gone has no list to be taken off.
    const bool sent = sendRegistration(UNREGISTER_MESSAGE);
    setRegistered(false);
    return sent;
}

bool ModuleClient::sendRecord(const MessageStruct &record)
{
    if (!canSend())
        return false;
    QByteArray bytes = QVIPCMessage::encode(record);
    if (bytes.isEmpty()) {
        KX_DEBUG(lcModule, "Module Error: Failed to encode message.\nmethodName: %s",
                 qUtf8Printable(record.methodName));
        return false;
    }
    CopyDataStruct copyData{};
    copyData.dwData = 0;
    copyData.cbData = std::uint32_t(bytes.size());
    copyData.lpData = bytes.data();
    m_backend->sendMessage(m_dashboard, WmCopyData, WParam(m_window),
                           reinterpret_cast<LParam>(&copyData));
    return true;
}

bool ModuleClient::sendReport(const QString &name, const QVariantList &arguments)
{
    MessageStruct record;
    record.methodType = 0;
    record.methodName = name;
    record.dataType = QStringLiteral("v");
    record.arguments = arguments;
    return sendRecord(record);
}

bool ModuleClient::reportReady(const QString &applicationName, qint64 processId)
{
    const qint64 pid = processId < 0 ? QCoreApplication::applicationPid() : processId;
    // Both travel as the int the dashboard reads; window ids and pids fit in 32 bits.
    return sendReport(QStringLiteral("supplyModuleReady"),
                      { int(qint32(m_window)), int(pid), applicationName });
}

bool ModuleClient::reportFocused(bool hasFocus)
{
    return sendReport(QStringLiteral("applicationFocused"), { hasFocus, uint(m_window) });
}

bool ModuleClient::reportClicked()
{
    return sendReport(QStringLiteral("applicationWasClicked"), {});
}

bool ModuleClient::reportPrinterName(const QString &printerName)
{
    return sendReport(QStringLiteral("setModulePrinterName"), { printerName });
}

bool ModuleClient::requestOpenLabelFile(const QString &filePath)
{
    return sendReport(QStringLiteral("openLabelFile"), { filePath });
}

int ModuleClient::sendRequest(qint8 methodType, const QString &methodName,
                              const QString &dataType, const QVariantList &arguments)
{
    PendingRequest pending;
    pending.id = ++m_lastRequestId;
    if (m_lastRequestId == std::numeric_limits<int>::max())
        m_lastRequestId = 0;
    pending.request.methodType = methodType;
    pending.request.methodName = methodName;
    pending.request.dataType = dataType;
    pending.request.arguments = arguments;
    // Listed before sending: where sending waits for the receiver (Windows), the reply comes
    // back inside the send.
    m_pending.append(pending);
    if (!sendRecord(pending.request)) {
        m_pending.removeLast();
        return 0;
    }
    const int id = pending.id;
    QTimer::singleShot(m_requestTimeout, this, [this, id] { expireRequest(id); });
    return id;
}

void ModuleClient::expireRequest(int requestId)
{
    for (qsizetype i = 0; i < m_pending.size(); ++i) {
        if (m_pending.at(i).id == requestId) {
            const PendingRequest pending = m_pending.takeAt(i);
            KX_DEBUG(lcModule, "Module Error: no reply to \"%s\" within %d ms.",
                     qUtf8Printable(pending.request.methodName), m_requestTimeout);
            Q_EMIT requestTimedOut(pending.id, pending.request);
            return;
        }
    }
}

void ModuleClient::showWindow()
{
    if (!m_qtWindow)
        return;
    if (!m_registered || !ModuleEmbedding::waitsForEmbedding()) {
        showOnItsOwn();
        return;
    }
    if (m_containerHandle || m_waitingForEmbedding)
        return;
    // The native window exists, unmapped, so the dashboard can take it by its handle.
    m_qtWindow->create();
    m_waitingForEmbedding = true;
    if (!m_embedTimer) {
        m_embedTimer = new QTimer(this);
        m_embedTimer->setSingleShot(true);
        connect(m_embedTimer, &QTimer::timeout, this, [this] {
            if (!m_waitingForEmbedding)
                return;
            KX_DEBUG(lcModule, "Module Error: the dashboard did not take the window within %d ms; "
                               "it is shown on its own.", m_embedTimeout);
            showOnItsOwn();
        });
    }
    m_embedTimer->start(m_embedTimeout);
}

void ModuleClient::showOnItsOwn()
{
    m_waitingForEmbedding = false;
    if (m_embedTimer)
        m_embedTimer->stop();
    if (m_qtWindow)
        m_qtWindow->show();
}

void ModuleClient::joinContainer(WindowHandle container)
{
    if (!m_qtWindow || container == m_containerHandle)
        return;
    m_waitingForEmbedding = false;
    if (m_embedTimer)
        m_embedTimer->stop();
    // With the container as its parent, Qt knows the window is embedded: popups open at the
    // right place, and a click asks the embedder for the keyboard (XEmbed).
    std::unique_ptr<QWindow> parent(QWindow::fromWinId(WId(container)));
    if (!parent) {
        showOnItsOwn();
        return;
    }
    m_qtWindow->setParent(parent.get());
    m_container = std::move(parent);
    m_containerHandle = container;
    m_qtWindow->show();
    KX_DEBUG(lcModule, "Module window %llu embedded in %llu.",
             static_cast<unsigned long long>(m_window), static_cast<unsigned long long>(container));
    Q_EMIT embedded(container);
}

bool ModuleClient::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result)
{
    if (const WindowHandle container =
                ModuleEmbedding::embeddedNotification(eventType, message, m_window)) {
        joinContainer(container);
        // Qt's own handling of the notification maps the window, which does no harm.
        return false;
    }
    if (m_containerHandle
        && ModuleEmbedding::forwardStrayKey(eventType, message, m_window, m_dashboard))
        return true;
    Message storage{};
    const Message *msg = m_backend->translateNativeEvent(
            eventType.constData(), std::size_t(eventType.size()), message, &storage);
    // The backend's own transport (a piece of a payload that is not whole yet, say) is taken:
    // Qt, not knowing it, would ask the server for the name of its type only to warn of it.
    if (!msg)
        return m_backend->isBackendTransport(eventType.constData(), std::size_t(eventType.size()),
                                             message);
    if (!m_window || msg->hwnd != m_window)
        return false;
    if (!handleMessage(*msg))
        return false;
    // WM_COPYDATA answers TRUE when the receiver processed the data.
    if (result)
        *result = 1;
    return true;
}

bool ModuleClient::handleMessage(const Message &message)
{
    if (message.message == WmClose) {
        // The window system (or Qt) still closes the window; the module only learns of it.
        Q_EMIT windowCloseRequested();
        return false;
    }
    if (message.message != WmCopyData)
        return false;
    const auto *copyData = reinterpret_cast<const CopyDataStruct *>(message.lParam);
    if (!copyData)
        return true;
    handleCopyData(*copyData);
    return true;
}

void ModuleClient::handleCopyData(const CopyDataStruct &copyData)
{
    if (!copyData.lpData && copyData.cbData != 0)
        return;
    MessageStruct record;
    if (!QVIPCMessage::decode(copyData.lpData, copyData.cbData, &record))
        return;

    if (copyData.dwData == 0) {
        handleDirectRecord(record);
        return;
    }

    const MessageId id = MessageId(copyData.dwData);
    if (std::uintptr_t(id) != copyData.dwData)
        return;
    const QVariantList &args = record.arguments;
    if (id == messageId(STATUS_CHANGED)) {
        Q_EMIT broadcastReceived(STATUS_CHANGED, args);
        Q_EMIT statusChanged(args.value(0).toInt(), args.value(1).toString());
    } else if (id == messageId(SUPPLY_CHANGED)) {
        Q_EMIT broadcastReceived(SUPPLY_CHANGED, args);
        Q_EMIT supplyChanged(args.value(0).toString(), args.value(1).toString());
    } else if (id == messageId(RIBBON_CHANGED)) {
        Q_EMIT broadcastReceived(RIBBON_CHANGED, args);
        Q_EMIT ribbonChanged(args.value(0).toStringList(), args.value(1).toString());
    } else if (id == messageId(CLOSE_APPLICATION)) {
        Q_EMIT broadcastReceived(CLOSE_APPLICATION, args);
        Q_EMIT closeApplicationRequested();
    } else {
        KX_DEBUG(lcModule, "Ignoring a record under the unknown message id %u.", unsigned(id));
    }
}

void ModuleClient::handleDirectRecord(const MessageStruct &record)
{
    // The dashboard answers in the order it was asked, with the request itself carrying the
    // value: the first pending request that the reply repeats is the one it answers.
    for (qsizetype i = 0; i < m_pending.size(); ++i) {
        const MessageStruct &request = m_pending.at(i).request;
        if (request.methodType == record.methodType && request.methodName == record.methodName
            && request.dataType == record.dataType && request.arguments == record.arguments) {
            const int id = m_pending.takeAt(i).id;
            // Never inside sendRequest: the caller learns the id first.
            QMetaObject::invokeMethod(
                    this, [this, id, record] { Q_EMIT replyReceived(id, record); },
                    Qt::QueuedConnection);
            return;
        }
    }
    Q_EMIT messageReceived(record);
}

bool ModuleClient::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_qtWindow && m_containerHandle && event->type() == QEvent::Close) {
        // Inside the container the window is no top-level any more, so Qt would not end the
        // program when it closes; closing the module's window still ends the module, as it
        // does on its own. Looked at once the close has run: it may be refused.
        QTimer::singleShot(0, this, [this] {
            if (!m_qtWindow || m_qtWindow->isVisible() || !QGuiApplication::quitOnLastWindowClosed())
                return;
            const QWindowList windows = QGuiApplication::topLevelWindows();
            for (QWindow *window : windows) {
                if (window->isVisible() && window->type() != Qt::Popup
                    && window->type() != Qt::ToolTip && !window->transientParent())
                    return;
            }
            QCoreApplication::quit();
        });
    }
    if (watched == m_qtWindow && m_registered) {
        switch (event->type()) {
        case QEvent::FocusIn:
            reportFocused(true);
            break;
        case QEvent::FocusOut:
            reportFocused(false);
            break;
        case QEvent::MouseButtonPress:
            reportClicked();
            break;
        default:
            break;
        }
    }
    return QObject::eventFilter(watched, event);
}
