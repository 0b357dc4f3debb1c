// The recording backend's row: the window system is the backend's own simulation.

#include "contract_backend.h"

#include "platforms/memory/memory_native_window_backend.h"

#include <QSet>

#include <algorithm>

using namespace KorvexNative;

namespace {

class MemoryContractBackend final : public ContractBackend
{
public:
    NativeWindowBackend *backend() override { return &m_backend; }
    // One process: the simulation has no other.
    NativeWindowBackend *otherProcess() override { return &m_backend; }

    WindowHandle createModuleWindow() override { return m_backend.addWindow(); }
    void destroyElsewhere(WindowHandle window) override { m_backend.destroyWindow(window); }

    WindowHandle createReceiver() override
    {
        const WindowHandle window = m_backend.addWindow(QStringLiteral("QtWindow"));
        m_receivers.insert(window);
        m_backend.setMessageHandler(window, [this](WindowHandle target, MessageId message,
                                                   WParam wParam, LParam lParam) {
            ReceivedMessage got;
            got.window = target;
            got.message = message;
            got.wParam = wParam;
            if (message == WmCopyData && lParam) {
                const auto *copy = reinterpret_cast<const CopyDataStruct *>(lParam);
                got.hasCopyData = true;
                got.dwData = copy->dwData;
                if (copy->lpData)
                    got.bytes = QByteArray(static_cast<const char *>(copy->lpData),
                                           qsizetype(copy->cbData));
            }
            m_sent.append({ m_backend.calls().size() - 1, got });
            return LResult(0);
        });
        return window;
    }

    QList<ReceivedMessage> received() override
    {
        // Sends reach the handler at once; posts are only recorded, so they are read back from
        // the recording, at their place in the order of calls.
        QList<QPair<qsizetype, ReceivedMessage>> all = m_sent;
        const QList<MemoryNativeWindowBackend::Call> &calls = m_backend.calls();
        for (qsizetype i = 0; i < calls.size(); ++i) {
            const auto &call = calls.at(i);
            if (call.function != u"PostMessageW" || call.result != 1)
                continue;
            ReceivedMessage got;
            got.window = WindowHandle(call.arguments.at(0).toULongLong());
            got.message = MessageId(call.arguments.at(1).toUInt());
            got.wParam = WParam(call.arguments.at(2).toULongLong());
            if (m_receivers.contains(got.window))
                all.append({ i, got });
        }
        std::stable_sort(all.begin(), all.end(),
                         [](const auto &a, const auto &b) { return a.first < b.first; });
        QList<ReceivedMessage> ordered;
        for (const auto &entry : std::as_const(all))
            ordered << entry.second;
        return ordered;
    }

    WindowHandle parentOf(WindowHandle window) override { return m_backend.window(window).parent; }
    QRect geometryOf(WindowHandle window) override { return m_backend.window(window).geometry; }
    bool isShown(WindowHandle window) override { return m_backend.window(window).visible; }

private:
    MemoryNativeWindowBackend m_backend;
    QSet<WindowHandle> m_receivers;
    QList<QPair<qsizetype, ReceivedMessage>> m_sent;
};

} // namespace

std::unique_ptr<ContractBackend> createMemoryContractBackend(QString *)
{
    return std::make_unique<MemoryContractBackend>();
}
