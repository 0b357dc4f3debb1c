// Stands in for a module that sends data: it registers its window, then sends every golden
// block, a 1 MiB block and malformed WM_COPYDATA messages to the dashboard given on its command
// line ("--dashboard <id>"), each with SendMessageW through the backend. The exit code counts the well-formed blocks whose
// answer was not the hash of the bytes sent.

#include "platforms/win32/native_window_backend_win32.h"
#include "wine_protocol.h"

#include <shellapi.h>

using namespace winetest;

namespace {

LResult sendBlock(NativeWindowBackend &backend, WindowHandle dashboard, WParam wParam,
                  std::uintptr_t dwData, const void *data, std::uint32_t size)
{
    CopyDataStruct copyData{};
    copyData.dwData = dwData;
    copyData.cbData = size;
    copyData.lpData = const_cast<void *>(data);
    return backend.sendMessage(dashboard, WmCopyData, wParam, reinterpret_cast<LParam>(&copyData));
}

} // namespace

int main()
{
    int argc = 0;
    wchar_t **argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    const WindowHandle dashboard = (argc >= 3 && std::wcscmp(argv[1], L"--dashboard") == 0)
            ? windowArgument(argc, argv, 2)
            : 0;
    LocalFree(argv);
    if (!dashboard)
        return ExitBadArguments;

    // A module sends its own window as wParam, for the reply.
    const HWND window = CreateWindowExW(0, L"STATIC", L"sender", WS_POPUP, 0, 0, 10, 10, nullptr,
                                        nullptr, GetModuleHandleW(nullptr), nullptr);
    if (!window)
        return ExitNoWindow;
    const auto self = WindowHandle(window);
    auto backend = createWin32NativeWindowBackend();
    backend->postMessage(dashboard, backend->registerWindowMessage(RegisterQvipc), self, 0);

    int wrongAnswers = 0;
    const auto expect = [&](const char *what, LResult answer, const void *data, std::size_t size) {
        const auto hash = LResult(fnv1a(data, size));
        if (answer != hash) {
            ++wrongAnswers;
            say("# sender: %s answered %llx, not the hash %llx", what,
                static_cast<unsigned long long>(answer), static_cast<unsigned long long>(hash));
        }
    };

    const auto blocks = goldenBlocks();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto &block = blocks[i];
        expect(golden::hexVectors[i].name,
               sendBlock(*backend, dashboard, self, GoldenDwData + i, block.data(),
                         std::uint32_t(block.size())),
               block.data(), block.size());
    }
    // A request whose sender gives no window to reply to.
    const auto &ready = blocks[4];
    expect("block with wParam 0",
           sendBlock(*backend, dashboard, 0, ZeroWParamDwData, ready.data(),
                     std::uint32_t(ready.size())),
           ready.data(), ready.size());
    const auto big = bigPayload();
    expect("1 MiB block",
           sendBlock(*backend, dashboard, self, BigDwData, big.data(), BigPayloadSize),
           big.data(), big.size());

    // Malformed: what the system makes of these is recorded by the receiver; here they only
    // must come back.
    say("# sender: cbData 0 answered %lld",
        static_cast<long long>(sendBlock(*backend, dashboard, self, EmptyDwData, big.data(), 0)));
    say("# sender: null lpData with cbData %u answered %lld", NullDataClaimedSize,
        static_cast<long long>(sendBlock(*backend, dashboard, self, NullDataDwData, nullptr,
                                         NullDataClaimedSize)));
    say("# sender: null lpData with cbData 0 answered %lld",
        static_cast<long long>(sendBlock(*backend, dashboard, self, NullEmptyDwData, nullptr, 0)));
    say("# sender: no COPYDATASTRUCT answered %lld",
        static_cast<long long>(backend->sendMessage(dashboard, WmCopyData, self, 0)));

    DestroyWindow(window);
    return wrongAnswers;
}
