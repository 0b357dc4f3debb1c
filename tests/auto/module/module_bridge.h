#pragma once

// The dashboard's messaging helper and module windows in one process, joined by the recording
// backend: what a module sends to the dashboard's window reaches the helper's parseMessage, and
// what is sent to a module window reaches the application's native event filters, as the
// window system would deliver it.

#include "Controllers/qvipchelper_win32.h"
#include "platforms/memory/memory_native_window_backend.h"
#include "printing/printer_status_controller.h"

#include <QAbstractEventDispatcher>

#include <memory>

class ModuleBridge
{
public:
    ModuleBridge()
    {
        dashboard = backend.addWindow(QStringLiteral("DashboardWindow"));
        printerStatus = std::make_unique<PrinterStatusController>();
        helper = std::make_unique<QVIPCHelper_win32>(printerStatus.get(), &backend);
        backend.setMessageHandler(dashboard, [this](KorvexNative::WindowHandle window,
                                                    KorvexNative::MessageId message,
                                                    KorvexNative::WParam wParam,
                                                    KorvexNative::LParam lParam) {
            KorvexNative::Message msg{ window, message, wParam, lParam, 0, { 0, 0 }, 0 };
            qintptr result = 0;
            ++dashboardMessages;
            helper->parseMessage(QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), &msg, &result);
            return KorvexNative::LResult(result);
        });
    }

    KorvexNative::WindowHandle addModuleWindow()
    {
        const KorvexNative::WindowHandle window = backend.addWindow();
        connectModuleWindow(window);
        return window;
    }

    // Messages sent to window go to the process's native event filters.
    void connectModuleWindow(KorvexNative::WindowHandle window)
    {
        backend.setMessageHandler(window, [](KorvexNative::WindowHandle target,
                                             KorvexNative::MessageId message,
                                             KorvexNative::WParam wParam,
                                             KorvexNative::LParam lParam) {
            return deliverToFilters(target, message, wParam, lParam);
        });
    }

    static KorvexNative::LResult deliverToFilters(KorvexNative::WindowHandle target,
                                                  KorvexNative::MessageId message,
                                                  KorvexNative::WParam wParam,
                                                  KorvexNative::LParam lParam)
    {
        KorvexNative::Message msg{ target, message, wParam, lParam, 0, { 0, 0 }, 0 };
        qintptr result = 0;
        QAbstractEventDispatcher::instance()->filterNativeEvent(
                QByteArray(MemoryNativeWindowBackend::EVENT_TYPE), &msg, &result);
        return KorvexNative::LResult(result);
    }

    // A WM_COPYDATA block sent to target as the dashboard would.
    static KorvexNative::LResult deliverCopyData(KorvexNative::WindowHandle target,
                                                 quint64 dwData, QByteArray bytes)
    {
        KorvexNative::CopyDataStruct copyData{ std::uintptr_t(dwData),
                                               std::uint32_t(bytes.size()),
                                               bytes.isEmpty() ? nullptr : bytes.data() };
        return deliverToFilters(target, KorvexNative::WmCopyData, 0,
                                reinterpret_cast<KorvexNative::LParam>(&copyData));
    }

    // The records sent to the dashboard's window, decoded, in order.
    QList<MessageStruct> recordsToDashboard() const
    {
        QList<MessageStruct> records;
        for (const auto &call : backend.callsTo(QStringLiteral("SendMessageW"))) {
            if (!call.hasCopyData || call.arguments.value(0).toULongLong() != dashboard)
                continue;
            MessageStruct record;
            if (QVIPCMessage::decode(call.copyDataBytes.constData(), call.copyDataSize, &record))
                records << record;
        }
        return records;
    }

    MemoryNativeWindowBackend backend;
    KorvexNative::WindowHandle dashboard = 0;
    std::unique_ptr<PrinterStatusController> printerStatus;
    std::unique_ptr<QVIPCHelper_win32> helper;
    int dashboardMessages = 0;
};
