#pragma once

#include "Controllers/qvipc_message.h"
#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>

class PrinterStatusController;
class QVIPCM4Controller;

// The dashboard's end of the window-message protocol with the running modules: keeps the list
// of registered module windows, turns their reports into signals, answers their requests on the
// printing library's controllers and broadcasts printer events to all of them.
class KORVEXDASHBOARD_EXPORT QVIPCHelper_win32 : public QObject
{
    Q_OBJECT

public:
    // Window handles (HWND) and registered message ids (UINT) as the native interface has them.
    using HWND = KorvexNative::WindowHandle;
    using UINT = KorvexNative::MessageId;

    // backend: the native window system to talk through; the process's when null.
    explicit QVIPCHelper_win32(PrinterStatusController *printerStatusController,
                               KorvexNative::NativeWindowBackend *backend = nullptr);
    ~QVIPCHelper_win32() override;

    // One native message of the dashboard's window, in the Windows shape (a MSG); eventType
    // and result are not used.
    void parseMessage(const QByteArray &eventType, void *message, qintptr *result);
    void checkQVIPCRegistered(HWND hwnd);
    void sendMessageToModule(HWND hwnd, MessageStruct message);
    void sendMessageWithDataToAllModules(UINT messageId, QVariantList data);
    void postMessageToAllModules(UINT messageId);

    // The registered module windows, in order of registration.
    QList<HWND> registeredModules() const { return m_modules; }

    // Turns a record into the bytes of a WM_COPYDATA block; an empty result is a failure.
    // QVIPCMessage::encode unless replaced, which lets a test make encoding fail.
    using Encoder = QByteArray (*)(const MessageStruct &);
    void setEncoder(Encoder encoder) { m_encoder = encoder ? encoder : &QVIPCMessage::encode; }

Q_SIGNALS:
    void applicationReady(int windowId, int processId, QString applicationName);
    void applicationFocused(bool hasFocus, uint windowId);
    void applicationClicked();
    void modulePrinterChangeSignal(QString modulePrinterName);
    void openLabel(QString labelFile);

public Q_SLOTS:
    void onModulePrinterChanged(QString printerNameFromModule);
    void onStatusChanged(int status, QString printerName);
    void onSupplyIdChanged(QString printerName);
    void onRibbonIdsChanged(QString printerName);
    void closeApplicationRequest();

private:
    UINT registeredId(const char *name) const;
    void handleDataMessage(const KorvexNative::Message &message);

    KorvexNative::NativeWindowBackend *m_backend;
    QPointer<PrinterStatusController> m_printerStatusController;
    QPointer<QVIPCM4Controller> m_statusController;
    QPointer<QObject> m_thirdTarget; // requests of methodType 2; nothing assigns it
    QPointer<QObject> m_supplyIdController;
    QList<HWND> m_modules;
    Encoder m_encoder = &QVIPCMessage::encode;
};
