#include "Controllers/qvipchelper_win32.h"

#include "dashboard_logging.h"
#include "native_window_system.h"

#include "printing/printer_status_controller.h"
#include "printing/qvipc_m4_controller.h"
#include "printing/supply_id_controller.h"
#include "printing/windows_printer_info.h"

using namespace KorvexNative;

namespace {

constexpr char REGISTER_QVIPC[] = "registerQVIPC";
constexpr char UNREGISTER_QVIPC[] = "unregisterQVIPC";
constexpr char STATUS_CHANGED[] = "StatusChanged";
constexpr char SUPPLY_CHANGED[] = "SupplyChanged";
constexpr char RIBBON_CHANGED[] = "RibbonChanged";
constexpr char CLOSE_APPLICATION[] = "CloseApplicationSignal";

// Every broadcast carries at least this many arguments, padded with "-".
constexpr int BROADCAST_ARGUMENTS = 4;

} // namespace

QVIPCHelper_win32::QVIPCHelper_win32(PrinterStatusController *printerStatusController,
                                     NativeWindowBackend *backend)
    : QObject(nullptr),
      m_backend(backend ? backend : NativeWindowSystem::backend()),
      m_printerStatusController(printerStatusController)
{
    if (printerStatusController) {
        m_statusController = printerStatusController->getm4Controller();
        m_supplyIdController = printerStatusController->getSupplyIdController();
        connect(printerStatusController, &PrinterStatusController::statusChangedSignal, this,
                &QVIPCHelper_win32::onStatusChanged, Qt::DirectConnection);
        connect(printerStatusController, &PrinterStatusController::supplyIdChangedSignal, this,
                &QVIPCHelper_win32::onSupplyIdChanged, Qt::DirectConnection);
        connect(printerStatusController, &PrinterStatusController::ribbonIdsChangedSignal, this,
                &QVIPCHelper_win32::onRibbonIdsChanged, Qt::DirectConnection);
    }
    connect(this, &QVIPCHelper_win32::modulePrinterChangeSignal, this,
            &QVIPCHelper_win32::onModulePrinterChanged, Qt::DirectConnection);
}

QVIPCHelper_win32::~QVIPCHelper_win32() = default;

QVIPCHelper_win32::UINT QVIPCHelper_win32::registeredId(const char *name) const
{
    // Asked every time: the system keeps the table, and the ids never change while it runs.
    return NativeWindowSystem::registerWindowMessage(m_backend, QString::fromLatin1(name));
}

void QVIPCHelper_win32::parseMessage(const QByteArray &eventType, void *message, qintptr *result)
{
    Q_UNUSED(eventType);
    Q_UNUSED(result);
    if (!message)
        return;
    const Message &msg = *static_cast<const Message *>(message);

    if (msg.message == registeredId(REGISTER_QVIPC)) {
        if (msg.wParam == 0) {
            KX_DEBUG(lcMessaging, "Dashboard Error: Failed to register qvipc - Invalid qvipc hwnd.");
            return;
        }
        // No look-up: a module that registers twice is listed twice, unlike checkQVIPCRegistered.
        m_modules.append(HWND(msg.wParam));
    } else if (msg.message == registeredId(UNREGISTER_QVIPC)) {
        m_modules.removeAll(HWND(msg.wParam));
    } else if (msg.message == WmCopyData) {
        handleDataMessage(msg);
    }
}

void QVIPCHelper_win32::handleDataMessage(const Message &msg)
{
    const auto *copyData = reinterpret_cast<const CopyDataStruct *>(msg.lParam);
    if (!copyData)
        return;
    // No bytes to copy from: the copy cannot hold cbData bytes, so the message is dropped.
    if (!copyData->lpData && copyData->cbData != 0)
        return;

    MessageStruct request;
    if (!QVIPCMessage::decode(copyData->lpData, copyData->cbData, &request))
        return;

    QObject *target = nullptr;
    switch (request.methodType) {
    case 0:
        target = m_supplyIdController;
        break;
    case 1:
        target = m_statusController;
        break;
    case 2:
        target = m_thirdTarget;
        break;
    default:
        return;
    }

    const QVariantList &args = request.arguments;
    const QString &name = request.methodName;
    if (name == u"setModulePrinterName") {
        Q_EMIT modulePrinterChangeSignal(args.value(0).toString());
    } else if (name == u"supplyModuleReady") {
        Q_EMIT applicationReady(args.value(0).toInt(), args.value(1).toInt(),
                                args.value(2).toString());
    } else if (name == u"openLabelFile") {
        Q_EMIT openLabel(args.value(0).toString());
    } else if (name == u"applicationWasClicked") {
        Q_EMIT applicationClicked();
    } else if (name == u"applicationFocused") {
        Q_EMIT applicationFocused(args.value(0).toBool(), args.value(1).toUInt());
    } else {
        MessageStruct reply = request;
        reply.data = QVIPCMessage::invokeRequest(target, request);
        sendMessageToModule(HWND(msg.wParam), reply);
    }
}

void QVIPCHelper_win32::checkQVIPCRegistered(HWND hwnd)
{
    if (!hwnd) {
        KX_DEBUG(lcMessaging, "Dashboard Error: Failed to register qvipc - Invalid qvipc hwnd.");
        return;
    }
    if (!m_modules.contains(hwnd))
        m_modules.append(hwnd);
}

void QVIPCHelper_win32::sendMessageToModule(HWND hwnd, MessageStruct message)
{
    QByteArray bytes = m_encoder(message);
    if (bytes.isEmpty()) {
        KX_DEBUG(lcMessaging,
                 "Dashboard Error: Failed to encode message - QByteArray failed to copy.\nmethodName: %s",
                 // This one line has always been written in the local code page; it stays so.
                 message.methodName.toLocal8Bit().constData()); // local-8bit-by-design
        return;
    }
    CopyDataStruct copyData{};
    copyData.dwData = 0;
    copyData.cbData = std::uint32_t(bytes.size());
    copyData.lpData = bytes.data();
    m_backend->sendMessage(hwnd, WmCopyData, 0, reinterpret_cast<LParam>(&copyData));
}

void QVIPCHelper_win32::sendMessageWithDataToAllModules(UINT messageId, QVariantList data)
{
    while (data.size() < BROADCAST_ARGUMENTS)
        data.append(QStringLiteral("-"));

    MessageStruct message;
    message.methodType = 0;
    message.methodName = QStringLiteral("-");
    message.dataType = QStringLiteral("-");
    message.arguments = data;
    message.data = QStringLiteral("-");
    QByteArray bytes = m_encoder(message);
    if (bytes.isEmpty()) {
        // The text says methodType but carries the message id; modules' logs match on it.
        KX_DEBUG(lcMessaging,
                 "Dashboard Error: Failed to encode message - QByteArray failed to copy.\nmethodType: %d",
                 int(messageId));
        return;
    }
    CopyDataStruct copyData{};
    copyData.dwData = messageId;
    copyData.cbData = std::uint32_t(bytes.size());
    copyData.lpData = bytes.data();
    // A module may register or unregister while it handles the message; the broadcast goes to
    // the modules listed when it started.
    const QList<HWND> modules = m_modules;
    for (HWND module : modules)
        m_backend->sendMessage(module, WmCopyData, 0, reinterpret_cast<LParam>(&copyData));
}

void QVIPCHelper_win32::postMessageToAllModules(UINT messageId)
{
    const QList<HWND> modules = m_modules;
    for (HWND module : modules)
        m_backend->postMessage(module, messageId, 0, 0);
}

void QVIPCHelper_win32::onModulePrinterChanged(QString printerNameFromModule)
{
    if (m_printerStatusController)
        m_printerStatusController->checkForNewPrinter(
                WindowsPrinterInfo::getAvailablePrinterInfo(printerNameFromModule));
}

void QVIPCHelper_win32::onStatusChanged(int status, QString printerName)
{
    if (m_statusController)
        m_statusController->onStatusChanged(status, printerName);
    sendMessageWithDataToAllModules(registeredId(STATUS_CHANGED), { status, printerName });
}

void QVIPCHelper_win32::onSupplyIdChanged(QString printerName)
{
    QString supplyId;
    if (auto *controller = qobject_cast<SupplyIdController *>(m_supplyIdController.data()))
        supplyId = controller->getSupplyId(printerName);
    sendMessageWithDataToAllModules(registeredId(SUPPLY_CHANGED), { supplyId, printerName });
}

void QVIPCHelper_win32::onRibbonIdsChanged(QString printerName)
{
    QStringList ribbonIds;
    if (auto *controller = qobject_cast<SupplyIdController *>(m_supplyIdController.data()))
        ribbonIds = controller->getRibbonIds(printerName);
    sendMessageWithDataToAllModules(registeredId(RIBBON_CHANGED), { ribbonIds, printerName });
}

void QVIPCHelper_win32::closeApplicationRequest()
{
    sendMessageWithDataToAllModules(registeredId(CLOSE_APPLICATION), {});
}
