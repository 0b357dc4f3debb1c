#pragma once

#include "korvexmodule_export.h"

#include "Controllers/qvipc_message.h"
#include "platforms/native_window_backend.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <memory>

class QTimer;
class QWindow;

// A module's end of the window-message protocol with the dashboard. It registers the module's
// top-level window with the dashboard's window, sends the module's reports and requests as
// WM_COPYDATA records, and turns what the dashboard sends back (replies, printer broadcasts,
// close requests) into signals. It talks through the same native-window seam as the dashboard,
// so it runs on every backend; messages arrive through a native event filter on the
// application, as the window system delivers them to the module's window.
class KORVEXMODULE_EXPORT ModuleClient : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    // The registered message names of the protocol.
    static const QString REGISTER_MESSAGE;        // "registerQVIPC"
    static const QString UNREGISTER_MESSAGE;      // "unregisterQVIPC"
    static const QString STATUS_CHANGED;          // "StatusChanged"
    static const QString SUPPLY_CHANGED;          // "SupplyChanged"
    static const QString RIBBON_CHANGED;          // "RibbonChanged"
    static const QString CLOSE_APPLICATION;       // "CloseApplicationSignal"

    // How long a request waits for its reply before requestTimedOut.
    static constexpr int DEFAULT_REQUEST_TIMEOUT_MS = 5000;

    // backend: the native window system; the process's when null. It must outlive the client.
    explicit ModuleClient(KorvexNative::NativeWindowBackend *backend = nullptr,
                          QObject *parent = nullptr);
    // Unregisters from the dashboard if still registered.
    ~ModuleClient() override;

    KorvexNative::NativeWindowBackend *backend() const { return m_backend; }

    void setDashboardWindow(KorvexNative::WindowHandle dashboard);
    KorvexNative::WindowHandle dashboardWindow() const { return m_dashboard; }

    // The module's top-level window: its winId() is the handle the dashboard embeds, and its
    // activation and mouse presses become "applicationFocused" and "applicationWasClicked"
    // while registered.
    void setWindow(QWindow *window);
    // For a module whose window is not a Qt window (and for tests): the handle alone.
    void setWindowHandle(KorvexNative::WindowHandle window);
    KorvexNative::WindowHandle windowHandle() const { return m_window; }

    bool isRegistered() const { return m_registered; }

    // How long a registered module waits for the dashboard to take its window before it shows
    // the window on its own.
    static constexpr int DEFAULT_EMBED_TIMEOUT_MS = 15000;
    // Shows the module's window (setWindow first). Once registered, on a window system where a
    // shown top-level window belongs to the window manager (X11), the window is shown only
    // inside the dashboard: it stays unmapped until the dashboard has taken it, so no window
    // manager frames it first. Unregistered, or when the dashboard does not take it within the
    // embed timeout, it is shown as a normal top-level window.
    void showWindow();
    void setEmbedTimeout(int milliseconds) { m_embedTimeout = milliseconds; }
    // The dashboard's window that holds the module's window, once it was taken; 0 before.
    KorvexNative::WindowHandle containerWindow() const { return m_containerHandle; }
    bool isWaitingForEmbedding() const { return m_waitingForEmbedding; }

    // Each returns false, sending nothing, when there is no dashboard window or no module
    // window, when the dashboard's window no longer exists, or when the record cannot be
    // encoded.
    bool registerWithDashboard();          // "registerQVIPC", wParam = the module's window
    bool unregisterFromDashboard();        // "unregisterQVIPC"
    // "supplyModuleReady" [window id, process id, name]; the process id is this process's
    // unless given.
    bool reportReady(const QString &applicationName, qint64 processId = -1);
    bool reportFocused(bool hasFocus);                     // "applicationFocused" [bool, uint]
    bool reportClicked();                                  // "applicationWasClicked"
    bool reportPrinterName(const QString &printerName);    // "setModulePrinterName" [name]
    bool requestOpenLabelFile(const QString &filePath);    // "openLabelFile" [path]

    // A request run by the dashboard on one of its targets (methodType 0: supplies, 1: printer
    // status, 2: none) that wants a value of dataType back (a type code: "i", "7QString",
    // "11QStringList", ...). Returns the request's id (> 0), or 0 when it could not be sent.
    // The reply comes as replyReceived(id, ...), or requestTimedOut(id, ...) when none arrives
    // in time; either way after this call has returned.
    int sendRequest(qint8 methodType, const QString &methodName, const QString &dataType,
                    const QVariantList &arguments = QVariantList());
    void setRequestTimeout(int milliseconds) { m_requestTimeout = milliseconds; }
    int requestTimeout() const { return m_requestTimeout; }
    int pendingRequestCount() const { return int(m_pending.size()); }

    // Sends one record as a WM_COPYDATA message to the dashboard, wParam = the module's window.
    bool sendRecord(const MessageStruct &record);

    // One message addressed to the module's window, in the Windows shape. Returns true when it
    // was a protocol message that the client handled. The native event filter calls this.
    bool handleMessage(const KorvexNative::Message &message);

    // The id the backend gives a registered name, asked once per name.
    KorvexNative::MessageId messageId(const QString &name);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void statusChanged(int status, const QString &printerName);
    void supplyChanged(const QString &supplyId, const QString &printerName);
    void ribbonChanged(const QStringList &ribbonIds, const QString &printerName);
    void closeApplicationRequested();
    // Every broadcast, decoded, under its registered name (the arguments keep their "-" padding).
    void broadcastReceived(const QString &name, const QVariantList &arguments);
    // WM_CLOSE reached the module's window (the dashboard's embedded item closing it).
    void windowCloseRequested();
    void replyReceived(int requestId, const MessageStruct &reply);
    void requestTimedOut(int requestId, const MessageStruct &request);
    // A record from the dashboard that answers no pending request.
    void messageReceived(const MessageStruct &message);
    void registeredChanged(bool registered);
    // The dashboard took the module's window into its container, which the window now knows as
    // its parent.
    void embedded(KorvexNative::WindowHandle container);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct PendingRequest
    {
        int id = 0;
        MessageStruct request;
    };

    bool canSend() const;
    bool sendReport(const QString &name, const QVariantList &arguments);
    bool sendRegistration(const QString &name);
    void handleCopyData(const KorvexNative::CopyDataStruct &copyData);
    void handleDirectRecord(const MessageStruct &record);
    void expireRequest(int requestId);
    void setRegistered(bool registered);
    void joinContainer(KorvexNative::WindowHandle container);
    void showOnItsOwn();

    KorvexNative::NativeWindowBackend *m_backend;
    KorvexNative::WindowHandle m_dashboard = 0;
    KorvexNative::WindowHandle m_window = 0;
    QPointer<QWindow> m_qtWindow;
    bool m_registered = false;
    bool m_filterInstalled = false;
    int m_requestTimeout = DEFAULT_REQUEST_TIMEOUT_MS;
    int m_lastRequestId = 0;
    QList<PendingRequest> m_pending;
    int m_embedTimeout = DEFAULT_EMBED_TIMEOUT_MS;
    bool m_waitingForEmbedding = false;
    KorvexNative::WindowHandle m_containerHandle = 0;
    // The container as a foreign window, the parent of the module's window once embedded.
    std::unique_ptr<QWindow> m_container;
    QTimer *m_embedTimer = nullptr;
    QHash<QString, KorvexNative::MessageId> m_messageIds;
};
