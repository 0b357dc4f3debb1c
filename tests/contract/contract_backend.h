#pragma once

// One row of the native-window contract: a backend, and the means to look at the window system
// behind it from outside (as another program or the system itself would). A new backend joins
// the contract with one more implementation of this class and one line in contractBackends().

#include "platforms/native_window_backend.h"

#include <QByteArray>
#include <QList>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>

struct ReceivedMessage
{
    KorvexNative::WindowHandle window = 0;
    KorvexNative::MessageId message = 0;
    KorvexNative::WParam wParam = 0;
    bool hasCopyData = false;
    quint64 dwData = 0;
    QByteArray bytes;
};

class ContractBackend
{
public:
    virtual ~ContractBackend() = default;

    // The backend under test, as the dashboard uses it.
    virtual KorvexNative::NativeWindowBackend *backend() = 0;
    // The same window system as another process sees it (its own backend instance where the
    // system is shared; the same one where it is not).
    virtual KorvexNative::NativeWindowBackend *otherProcess() = 0;

    // A framed, visible top-level window owned by someone else: a module's.
    virtual KorvexNative::WindowHandle createModuleWindow() = 0;
    // Ends a window behind the backend's back, as its process ending would.
    virtual void destroyElsewhere(KorvexNative::WindowHandle window) = 0;
    // A window whose messages are collected as its owner's event loop receives them.
    virtual KorvexNative::WindowHandle createReceiver() = 0;
    // What the receivers got so far, in order of arrival.
    virtual QList<ReceivedMessage> received() = 0;

    // The window system's own view.
    virtual KorvexNative::WindowHandle parentOf(KorvexNative::WindowHandle window) = 0; // 0: top
    virtual QRect geometryOf(KorvexNative::WindowHandle window) = 0;
    virtual bool isShown(KorvexNative::WindowHandle window) = 0;
};

struct ContractRow
{
    const char *name;
    // Null when the backend cannot run here; skipReason says why.
    std::function<std::unique_ptr<ContractBackend>(QString *skipReason)> create;
};

QList<ContractRow> contractBackends();
