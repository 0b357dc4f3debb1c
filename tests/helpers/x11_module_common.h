#pragma once

// The module's end of the messaging protocol, as the X11 helper programs play it: a Qt window
// of its own, the process's native-window backend, and a native event filter that turns what
// arrives into decoded records.

#include "Controllers/qvipc_message.h"
#include "native_window_system.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QWindow>

#include <cstdio>
#include <functional>

class X11Module : public QAbstractNativeEventFilter
{
public:
    struct Received
    {
        quint64 dwData = 0;
        MessageStruct record;
    };

    X11Module() : m_backend(NativeWindowSystem::backend())
    {
        m_window.setTitle(QStringLiteral("x11 module"));
        m_window.create();
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    ~X11Module() override { QCoreApplication::instance()->removeNativeEventFilter(this); }

    KorvexNative::NativeWindowBackend *backend() const { return m_backend; }
    KorvexNative::WindowHandle handle() const { return KorvexNative::WindowHandle(m_window.winId()); }
    QWindow *window() { return &m_window; }

    KorvexNative::MessageId id(const char *name) const
    {
        return NativeWindowSystem::registerWindowMessage(m_backend, QString::fromLatin1(name));
    }

    bool registerWith(KorvexNative::WindowHandle dashboard)
    {
        return m_backend->postMessage(dashboard, id("registerQVIPC"), handle(), 0);
    }

    // Sends one record as WM_COPYDATA, wParam being this module's window.
    bool send(KorvexNative::WindowHandle dashboard, const MessageStruct &record, quint64 dwData = 0)
    {
        QByteArray bytes = QVIPCMessage::encode(record);
        KorvexNative::CopyDataStruct copy{ std::uintptr_t(dwData), std::uint32_t(bytes.size()),
                                           bytes.data() };
        return m_backend->sendMessage(dashboard, KorvexNative::WmCopyData, handle(),
                                      reinterpret_cast<KorvexNative::LParam>(&copy))
                != 0;
    }

    static MessageStruct report(const QString &name, const QVariantList &arguments)
    {
        MessageStruct record;
        record.methodType = 0;
        record.methodName = name;
        record.dataType = QStringLiteral("-");
        record.arguments = arguments;
        return record;
    }

    std::function<void(const Received &)> onReceived;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        KorvexNative::Message storage{};
        const KorvexNative::Message *msg = m_backend->translateNativeEvent(
                eventType.constData(), std::size_t(eventType.size()), message, &storage);
        if (!msg || msg->message != KorvexNative::WmCopyData)
            return false;
        const auto *copy = reinterpret_cast<const KorvexNative::CopyDataStruct *>(msg->lParam);
        Received got;
        got.dwData = copy->dwData;
        if (QVIPCMessage::decode(copy->lpData, copy->cbData, &got.record) && onReceived)
            onReceived(got);
        return m_backend->isBackendTransport(eventType.constData(),
                                             std::size_t(eventType.size()), message);
    }

private:
    KorvexNative::NativeWindowBackend *m_backend;
    QWindow m_window;
};

inline void say(const QByteArray &line)
{
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}
