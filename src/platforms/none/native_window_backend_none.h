#pragma once

// The native window system of a platform the dashboard cannot reach natively (offscreen,
// minimal, Wayland until it has a backend): there are no windows to create or find, and no
// message goes anywhere. Nothing is kept per call, so a process that runs for weeks and
// broadcasts every printer change stays the size it started at.

#include "platforms/native_window_backend.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace KorvexNative {

class NoneNativeWindowBackend final : public NativeWindowBackend
{
public:
    const char *name() const override { return "none"; }

    WindowHandle createWindowEx(std::uint32_t, const char16_t *, const char16_t *, std::uint32_t,
                                int, int, int, int, WindowHandle, WindowHandle, void *,
                                void *) override
    {
        return 0;
    }
    WindowHandle setParent(WindowHandle, WindowHandle) override { return 0; }
    LongPtr getWindowLongPtr(WindowHandle, int) override { return 0; }
    LongPtr setWindowLongPtr(WindowHandle, int, LongPtr) override { return 0; }
    bool setWindowPos(WindowHandle, WindowHandle, int, int, int, int, std::uint32_t) override
    {
        return false;
    }
    bool showWindow(WindowHandle, int) override { return false; }
    bool isWindow(WindowHandle) override { return false; }
    LResult sendMessage(WindowHandle, MessageId, WParam, LParam) override { return 0; }
    bool postMessage(WindowHandle, MessageId, WParam, LParam) override { return false; }
    // Names keep their ids as on Windows. The table holds each name once and at most 0x4000
    // of them, whatever the number of calls.
    MessageId registerWindowMessage(const char16_t *name) override;
    const Message *translateNativeEvent(const char *, std::size_t, void *, Message *) override
    {
        return nullptr;
    }

private:
    std::unordered_map<std::u16string, MessageId> m_registered;
};

std::unique_ptr<NativeWindowBackend> createNoneNativeWindowBackend();

} // namespace KorvexNative
