// The Win32 backend on the real window system: this program plays the dashboard, making the
// backend calls the embedded module window and the messaging helper make, against module
// stand-ins in other processes (wine_module_*.exe beside it). One line per check, "PASS: ..." or
// "FAIL: ... (details)"; the exit code is the number of failures.
//   tst_win32_backend [--pause-for-screenshot]
// With --pause-for-screenshot it prints "SCREENSHOT <name>" when a module has registered and
// again once it is embedded, and each time waits for a line on its input before going on.

#include "platforms/win32/native_window_backend_win32.h"
#include "wine_protocol.h"

#include <shellapi.h>

#include <cstring>
#include <functional>
#include <string>

using namespace winetest;

namespace {

// Only reached when something is wrong; generous for a loaded machine.
constexpr DWORD WAIT_LIMIT_MS = 60000;

// The item's place in the dashboard's window, and where it moves to.
constexpr RECT ITEM = { 20, 60, 20 + 640, 60 + 400 };
constexpr RECT MOVED_ITEM = { 30, 70, 30 + 560, 70 + 360 };

// Caption, system menu, sizing frame, minimise and maximise boxes, as the item strips them.
constexpr LongPtr MODULE_FRAME_STYLES =
        WsCaption | WsSysMenu | WsThickFrame | WsMinimizeBox | WsMaximizeBox;

int width(const RECT &r) { return r.right - r.left; }
int height(const RECT &r) { return r.bottom - r.top; }

class Report
{
public:
    bool check(bool ok, const char *name, const char *format = nullptr, ...)
    {
        char details[512] = "";
        if (format) {
            va_list args;
            va_start(args, format);
            std::vsnprintf(details, sizeof details, format, args);
            va_end(args);
        }
        if (ok) {
            ++m_passed;
            say("PASS: %s", name);
        } else {
            ++m_failed;
            say("FAIL: %s (%s)", name, details);
        }
        return ok;
    }
    int failed() const { return m_failed; }
    int passed() const { return m_passed; }

private:
    int m_passed = 0;
    int m_failed = 0;
};

struct Registered
{
    MessageId message;
    WParam wParam;
    LParam lParam;
    DWORD wParamProcess; // process of the wParam window when the message arrived
};

struct Received
{
    std::uintptr_t dwData = 0;
    WParam wParam = 0;
    DWORD wParamProcess = 0; // process of the wParam window when the message arrived
    std::uint32_t cbData = 0;
    bool noStruct = false;
    bool noData = false;
    std::vector<unsigned char> bytes;
};

// The message from a process that ends while it is handled.
struct Vanish
{
    HANDLE event = nullptr;
    HANDLE process = nullptr;
    bool handled = false;
    bool endedWhileHandled = false;
    bool bytesIntact = false;
    LResult replyToDead = -1;
    bool deadIsWindow = true;
};

struct Dashboard
{
    NativeWindowBackend *backend = nullptr;
    HWND window = nullptr;
    MessageId registerId = 0;
    MessageId echoId = 0;
    std::vector<Registered> registered;
    std::vector<Received> copies;
    int closesReceived = 0;
    Vanish vanish;
};

const Received *findCopy(const Dashboard &dashboard, std::uintptr_t dwData)
{
    for (const Received &r : dashboard.copies)
        if (r.dwData == dwData)
            return &r;
    return nullptr;
}

DWORD processOf(WindowHandle window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(HWND(window), &process);
    return process;
}

void handleCopyData(Dashboard &dashboard, const Message &msg)
{
    Received received;
    received.wParam = msg.wParam;
    received.wParamProcess = msg.wParam ? processOf(msg.wParam) : 0;
    const auto *copyData = reinterpret_cast<const CopyDataStruct *>(msg.lParam);
    received.noStruct = copyData == nullptr;
    if (copyData) {
        received.dwData = copyData->dwData;
        received.cbData = copyData->cbData;
        received.noData = copyData->lpData == nullptr;
        // As the helper reads it: nothing unless there is a pointer to read cbData bytes from.
        if (copyData->lpData && copyData->cbData) {
            const auto *begin = static_cast<const unsigned char *>(copyData->lpData);
            received.bytes.assign(begin, begin + copyData->cbData);
        }
    }
    dashboard.copies.push_back(received);

    if (copyData && copyData->dwData == VanishDwData) {
        // Let the sender die, then go on with its message as if nothing happened.
        Vanish &vanish = dashboard.vanish;
        vanish.handled = true;
        SetEvent(vanish.event);
        vanish.endedWhileHandled =
                WaitForSingleObject(vanish.process, WAIT_LIMIT_MS) == WAIT_OBJECT_0;
        const std::vector<unsigned char> sent = goldenBlocks()[4];
        vanish.bytesIntact = copyData->lpData && copyData->cbData == sent.size()
                && std::memcmp(copyData->lpData, sent.data(), sent.size()) == 0;
        // The reply to a request, as the helper sends it, now to a window that is gone.
        std::vector<unsigned char> reply = goldenBlocks()[5];
        CopyDataStruct replyData{ 0, std::uint32_t(reply.size()), reply.data() };
        vanish.replyToDead = dashboard.backend->sendMessage(
                msg.wParam, WmCopyData, 0, reinterpret_cast<LParam>(&replyData));
        vanish.deadIsWindow = dashboard.backend->isWindow(msg.wParam);
    }
}

LRESULT CALLBACK dashboardProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto *dashboard = reinterpret_cast<Dashboard *>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (!dashboard)
        return DefWindowProcW(hwnd, message, wParam, lParam);

    // What Qt hands to QWindow::nativeEvent for this window, through the backend's translation.
    MSG native{};
    native.hwnd = hwnd;
    native.message = message;
    native.wParam = wParam;
    native.lParam = lParam;
    native.time = DWORD(GetMessageTime());
    static const char eventType[] = "windows_generic_MSG";
    Message storage{};
    const Message *msg = dashboard->backend->translateNativeEvent(eventType, sizeof eventType - 1,
                                                                 &native, &storage);
    if (msg && msg->message == WmCopyData) {
        handleCopyData(*dashboard, *msg);
        return copyDataAnswer(reinterpret_cast<const CopyDataStruct *>(msg->lParam));
    }
    if (msg && msg->message >= 0xC000 && msg->message <= 0xFFFF)
        dashboard->registered.push_back({ msg->message, msg->wParam, msg->lParam,
                                          msg->wParam ? processOf(msg->wParam) : 0 });

    switch (message) {
    case WM_CTLCOLORSTATIC:
        // The container, dark, to show where the module sits in a screenshot.
        return LRESULT(GetStockObject(DKGRAY_BRUSH));
    case WM_CLOSE:
        ++dashboard->closesReceived;
        return 0; // the dashboard's window is not closed by a module
    case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(hwnd, &paint);
        RECT title = { 20, 16, 700, 48 };
        SetBkMode(dc, TRANSPARENT);
        DrawTextW(dc, L"Korvex dashboard stand-in: a module embedded through the Win32 backend",
                  -1, &title, DT_LEFT | DT_SINGLELINE);
        EndPaint(hwnd, &paint);
        return 0;
    }
    default:
        return DefWindowProcW(hwnd, message, wParam, lParam);
    }
}

// Runs the message loop until done() or the time limit. Sent messages are handled while waiting.
bool pumpUntil(const std::function<bool()> &done, HANDLE wakeOn = nullptr)
{
    const ULONGLONG deadline = GetTickCount64() + WAIT_LIMIT_MS;
    for (;;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        if (done())
            return true;
        const ULONGLONG now = GetTickCount64();
        if (now >= deadline)
            return false;
        MsgWaitForMultipleObjectsEx(wakeOn ? 1 : 0, wakeOn ? &wakeOn : nullptr,
                                    DWORD(deadline - now), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

bool ended(HANDLE process)
{
    return WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
}

DWORD exitCode(HANDLE process)
{
    DWORD code = 0xFFFFFFFF;
    GetExitCodeProcess(process, &code);
    return code;
}

std::wstring programDirectory()
{
    wchar_t path[MAX_PATH];
    const DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring directory(path, n);
    return directory.substr(0, directory.find_last_of(L"\\/") + 1);
}

// Starts a stand-in beside this program, sharing this program's output.
PROCESS_INFORMATION startChild(const wchar_t *program, const std::wstring &arguments)
{
    std::wstring commandLine = L"\"" + programDirectory() + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &info)) {
        say("# could not start %ls: error %lu", program, GetLastError());
        info = PROCESS_INFORMATION{};
    }
    return info;
}

std::wstring dashboardArgument(HWND window)
{
    return L"--dashboard " + std::to_wstring(reinterpret_cast<std::uintptr_t>(window));
}

// A module stand-in, started and registered as a module registers.
struct RunningModule
{
    PROCESS_INFORMATION process{};
    WindowHandle window = 0;
    MessageId registeredAs = 0; // the id its registration arrived with
    LParam itsOwnId = 0; // the id the module got for the same name
};

RunningModule startModule(Dashboard &dashboard)
{
    RunningModule module;
    module.process = startChild(L"wine_module_window.exe", dashboardArgument(dashboard.window));
    if (!module.process.hProcess)
        return module;
    const DWORD pid = module.process.dwProcessId;
    const auto fromModule = [&] {
        for (const Registered &r : dashboard.registered)
            if (r.wParamProcess == pid) {
                module.window = r.wParam;
                module.registeredAs = r.message;
                module.itsOwnId = r.lParam;
                return true;
            }
        return ended(module.process.hProcess);
    };
    pumpUntil(fromModule, module.process.hProcess);
    return module;
}

void stopModule(RunningModule &module)
{
    if (!module.process.hProcess)
        return;
    if (!ended(module.process.hProcess)) {
        TerminateProcess(module.process.hProcess, 9);
        WaitForSingleObject(module.process.hProcess, WAIT_LIMIT_MS);
    }
    CloseHandle(module.process.hProcess);
    CloseHandle(module.process.hThread);
    module.process = PROCESS_INFORMATION{};
}

// The rectangle of a window in its parent's client coordinates.
RECT placeInParent(HWND window)
{
    RECT r{};
    GetWindowRect(window, &r);
    MapWindowPoints(HWND_DESKTOP, GetAncestor(window, GA_PARENT), reinterpret_cast<POINT *>(&r), 2);
    return r;
}

// createNativeWindow(): the "STATIC" container at the item's place.
WindowHandle createContainer(Dashboard &dashboard, const RECT &item)
{
    return dashboard.backend->createWindowEx(0, u"STATIC", u"", WsChild | WsVisible | WsClipChildren,
                                             item.left, item.top, width(item), height(item),
                                             WindowHandle(dashboard.window), 0, nullptr, nullptr);
}

class Scenarios
{
public:
    Scenarios(Dashboard &dashboard, Report &report, bool pauseForScreenshot)
        : d(dashboard), backend(*dashboard.backend), report(report),
          pauseForScreenshot(pauseForScreenshot)
    {
    }

    void registeredIds();
    void embedModule();
    void messagesToModule();
    void closeModule();
    void dataFromModule();
    void senderEndsWhileHandled();
    void killedModuleAndDeadHandles();
    void handlesThatAreNoModule();
    void translation();

private:
    void waitForScreenshot(const char *name);

    Dashboard &d;
    NativeWindowBackend &backend;
    Report &report;
    bool pauseForScreenshot;
    WindowHandle container = 0;
    RunningModule module;
};

void Scenarios::registeredIds()
{
    const MessageId first = backend.registerWindowMessage(RegisterQvipc);
    const MessageId again = backend.registerWindowMessage(RegisterQvipc);
    report.check(first >= 0xC000 && first <= 0xFFFF, "RegisterWindowMessageW gives an id in 0xC000..0xFFFF",
                 "got 0x%x", first);
    report.check(first == again, "RegisterWindowMessageW gives the same id for the same name again",
                 "0x%x then 0x%x", first, again);
    const MessageId other = backend.registerWindowMessage(StatusChanged);
    report.check(other != 0 && other != first, "another name gives another id",
                 "0x%x and 0x%x", first, other);
    report.check(backend.registerWindowMessage(u"") == 0,
                 "RegisterWindowMessageW of an empty name fails with 0");
    d.registerId = first;
}

void Scenarios::embedModule()
{
    // createNativeWindow()
    container = createContainer(d, ITEM);
    const HWND c = HWND(container);
    wchar_t className[32] = L"";
    GetClassNameW(c, className, 32);
    report.check(container != 0 && GetAncestor(c, GA_PARENT) == d.window
                         && _wcsicmp(className, L"STATIC") == 0,
                 "CreateWindowExW makes a \"STATIC\" child of the dashboard's window",
                 "handle %llx, class %ls", static_cast<unsigned long long>(container), className);
    const auto style = std::uint32_t(backend.getWindowLongPtr(container, GwlStyle));
    report.check((style & 0x52000000u) == 0x52000000u,
                 "the container has the style 0x52000000 (child, visible, clip children)",
                 "style 0x%08x", style);
    const RECT place = placeInParent(c);
    report.check(EqualRect(&place, &ITEM) != FALSE, "the container is at the item's place and size",
                 "at %ld,%ld size %dx%d", place.left, place.top, width(place), height(place));

    module = startModule(d);
    report.check(module.window != 0, "a module in another process registers its window",
                 "no registration; module exit code %lu",
                 module.process.hProcess ? exitCode(module.process.hProcess) : 0);
    report.check(module.registeredAs == d.registerId && MessageId(module.itsOwnId) == d.registerId,
                 "\"registerQVIPC\" has the same registered id in both processes",
                 "dashboard 0x%x, arrived as 0x%x, module's own 0x%llx", d.registerId,
                 module.registeredAs, static_cast<unsigned long long>(module.itsOwnId));
    report.check(module.window && processOf(module.window) == module.process.dwProcessId
                         && processOf(module.window) != GetCurrentProcessId(),
                 "the registration's wParam is the module's window, of the module's process");
    report.check(backend.isWindow(module.window), "IsWindow is true for the module's live window");
    if (pauseForScreenshot)
        waitForScreenshot("module_before_embedding");

    // attachWindow()
    const HWND m = HWND(module.window);
    const WindowHandle previous = backend.setParent(module.window, container);
    report.check(previous != 0 && previous != container,
                 "SetParent of the other process's window returns its previous parent",
                 "returned %llx", static_cast<unsigned long long>(previous));
    report.check(GetAncestor(m, GA_PARENT) == c, "the module's window is now the container's child");
    const LongPtr before = backend.getWindowLongPtr(module.window, GwlStyle);
    report.check((before & MODULE_FRAME_STYLES) == MODULE_FRAME_STYLES,
                 "GetWindowLongPtrW reads the module's frame bits 0x00CF0000",
                 "style 0x%08llx", static_cast<unsigned long long>(before));
    const LongPtr replaced =
            backend.setWindowLongPtr(module.window, GwlStyle, before & ~MODULE_FRAME_STYLES);
    report.check(replaced == before, "SetWindowLongPtrW returns the style it replaced",
                 "returned 0x%08llx", static_cast<unsigned long long>(replaced));
    const LongPtr after = backend.getWindowLongPtr(module.window, GwlStyle);
    report.check((after & MODULE_FRAME_STYLES) == 0
                         && (after & ~MODULE_FRAME_STYLES) == (before & ~MODULE_FRAME_STYLES),
                 "the caption and frame bits 0x00CF0000 are cleared, the others kept",
                 "before 0x%08llx, after 0x%08llx", static_cast<unsigned long long>(before),
                 static_cast<unsigned long long>(after));
    const bool placed = backend.setWindowPos(module.window, 0, 0, 0, width(ITEM), height(ITEM),
                                             SwpShowWindow | SwpNoActivate);
    RECT modulePlace = placeInParent(m);
    const RECT filled = { 0, 0, width(ITEM), height(ITEM) };
    report.check(placed && EqualRect(&modulePlace, &filled) && IsWindowVisible(m),
                 "SetWindowPos with flags 0x50 fills the container with the module's window, shown",
                 "returned %d, at %ld,%ld size %dx%d, visible %d", int(placed), modulePlace.left,
                 modulePlace.top, width(modulePlace), height(modulePlace), int(IsWindowVisible(m)));
    const LongPtr exStyle = backend.getWindowLongPtr(container, GwlExStyle);
    backend.setWindowLongPtr(container, GwlExStyle, exStyle | WsExComposited);
    report.check((std::uint32_t(backend.getWindowLongPtr(container, GwlExStyle)) & WsExComposited) != 0,
                 "the container's extended style gains WS_EX_COMPOSITED");

    // resize()
    const bool movedContainer = backend.setWindowPos(container, 0, MOVED_ITEM.left, MOVED_ITEM.top,
                                                     width(MOVED_ITEM), height(MOVED_ITEM),
                                                     SwpNoZOrder | SwpNoActivate);
    const bool movedModule = backend.setWindowPos(module.window, 0, 0, 0, width(MOVED_ITEM),
                                                  height(MOVED_ITEM), SwpNoZOrder | SwpNoActivate);
    const RECT containerPlace = placeInParent(c);
    report.check(movedContainer && EqualRect(&containerPlace, &MOVED_ITEM),
                 "SetWindowPos with flags 0x14 moves and sizes the container with the item",
                 "at %ld,%ld size %dx%d", containerPlace.left, containerPlace.top,
                 width(containerPlace), height(containerPlace));
    modulePlace = placeInParent(m);
    const RECT refilled = { 0, 0, width(MOVED_ITEM), height(MOVED_ITEM) };
    report.check(movedModule && EqualRect(&modulePlace, &refilled),
                 "SetWindowPos with flags 0x14 sizes the module's window at 0,0",
                 "at %ld,%ld size %dx%d", modulePlace.left, modulePlace.top, width(modulePlace),
                 height(modulePlace));

    // hideApplication() and showApplication()
    backend.showWindow(container, SwHide);
    report.check(!IsWindowVisible(c) && !IsWindowVisible(m),
                 "ShowWindow SW_HIDE hides the container and the module in it");
    backend.showWindow(container, SwShowNormal);
    report.check(IsWindowVisible(c) && IsWindowVisible(m),
                 "ShowWindow SW_SHOWNORMAL shows the container and the module again");

    if (pauseForScreenshot)
        waitForScreenshot("embedded_module");
}

void Scenarios::waitForScreenshot(const char *name)
{
    RedrawWindow(d.window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    // The module paints in its own process: a sent message returns once its queue is idle
    // enough to take it, after the paint that the re-parenting queued.
    RedrawWindow(HWND(module.window), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
    backend.sendMessage(module.window, WM_NULL, 0, 0);
    pumpUntil([] { return true; });
    GdiFlush();
    say("SCREENSHOT %s", name);
    char line[8];
    DWORD got = 0;
    ReadFile(GetStdHandle(STD_INPUT_HANDLE), line, sizeof line, &got, nullptr);
}

void Scenarios::messagesToModule()
{
    // postMessageToAllModules(): a registered id posted with its wParam.
    const MessageId status = backend.registerWindowMessage(StatusChanged);
    d.echoId = backend.registerWindowMessage(EchoMessage);
    const WParam sent = WParam(0x0123456789abcdefull);
    const bool posted = backend.postMessage(module.window, status, sent, 0);
    const auto echoed = [&] {
        for (const Registered &r : d.registered)
            if (r.message == d.echoId && MessageId(r.wParam) == status)
                return true;
        return false;
    };
    pumpUntil(echoed);
    LParam gotWParam = 0;
    for (const Registered &r : d.registered)
        if (r.message == d.echoId && MessageId(r.wParam) == status)
            gotWParam = r.lParam;
    report.check(posted && echoed() && WParam(gotWParam) == sent,
                 "PostMessageW of \"StatusChanged\" reaches the module with its wParam",
                 "posted %d, echoed %d, wParam 0x%llx", int(posted), int(echoed()),
                 static_cast<unsigned long long>(gotWParam));

    // sendMessageToModule() and the broadcasts: the module answers with the hash of its bytes.
    const auto blocks = goldenBlocks();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        std::vector<unsigned char> block = blocks[i];
        CopyDataStruct copyData{ status, std::uint32_t(block.size()), block.data() };
        const LResult answer = backend.sendMessage(module.window, WmCopyData, 0,
                                                   reinterpret_cast<LParam>(&copyData));
        const std::string name = std::string("WM_COPYDATA to the module carries the \"")
                + golden::hexVectors[i].name + "\" block byte for byte";
        report.check(answer == LResult(fnv1a(block.data(), block.size())), name.c_str(),
                     "answer %llx", static_cast<unsigned long long>(answer));
    }
    std::vector<unsigned char> big = bigPayload();
    CopyDataStruct bigData{ status, BigPayloadSize, big.data() };
    const LResult bigAnswer = backend.sendMessage(module.window, WmCopyData, 0,
                                                  reinterpret_cast<LParam>(&bigData));
    report.check(bigAnswer == LResult(fnv1a(big.data(), big.size())),
                 "WM_COPYDATA to the module carries 1 MiB byte for byte");
}

void Scenarios::closeModule()
{
    // closeApplication(): WM_CLOSE to the module, which decides to close.
    report.check(backend.isWindow(container) && backend.isWindow(module.window),
                 "IsWindow is true for the container and the module while they live");
    const LResult answer = backend.sendMessage(module.window, WmClose, 0, 0);
    report.check(answer == ClosedAnswer, "WM_CLOSE reaches the module's window in its process",
                 "answer %lld", static_cast<long long>(answer));
    const bool exited = module.process.hProcess
            && pumpUntil([&] { return ended(module.process.hProcess); }, module.process.hProcess);
    report.check(exited && exitCode(module.process.hProcess) == DWORD(ExitClosed),
                 "the module process ends after WM_CLOSE", "ended %d, exit code %lu", int(exited),
                 module.process.hProcess ? exitCode(module.process.hProcess) : 0);
    // checkWindowStatus()
    report.check(!backend.isWindow(module.window),
                 "IsWindow is false for the module's window once its process has ended");
    report.check(backend.isWindow(container), "the container outlives the module's window");
    backend.sendMessage(container, WmClose, 0, 0);
    report.check(!backend.isWindow(container), "WM_CLOSE to the container destroys it");
    stopModule(module);
    container = 0;
}

void Scenarios::dataFromModule()
{
    PROCESS_INFORMATION sender = startChild(L"wine_module_sender.exe", dashboardArgument(d.window));
    const bool exited = sender.hProcess
            && pumpUntil([&] { return ended(sender.hProcess); }, sender.hProcess);
    const DWORD code = sender.hProcess ? exitCode(sender.hProcess) : 0xFFFFFFFF;
    report.check(exited && code == 0,
                 "every SendMessageW of the sending module returns the dashboard's answer",
                 "ended %d, exit code 0x%lx", int(exited), code);
    const DWORD pid = sender.dwProcessId;
    // The sender registered its window first, as a module does; its blocks carry that window.
    WindowHandle senderWindow = 0;
    for (const Registered &r : d.registered)
        if (r.message == d.registerId && r.wParamProcess == pid)
            senderWindow = r.wParam;
    report.check(senderWindow != 0, "the sending module registered its window first");

    const auto blocks = goldenBlocks();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const Received *r = findCopy(d, GoldenDwData + i);
        const std::string name = std::string("WM_COPYDATA from a module carries the \"")
                + golden::hexVectors[i].name + "\" block byte for byte, with dwData and wParam";
        report.check(r && r->bytes == blocks[i] && r->cbData == blocks[i].size()
                             && r->wParam == senderWindow && r->wParamProcess == pid,
                     name.c_str(), "arrived %d, %u bytes, wParam of process %lu", int(r != nullptr),
                     r ? r->cbData : 0, r ? r->wParamProcess : 0);
    }
    const Received *zero = findCopy(d, ZeroWParamDwData);
    report.check(zero && zero->wParam == 0 && zero->bytes == blocks[4],
                 "WM_COPYDATA with wParam 0 arrives with wParam 0 and its bytes");
    const Received *big = findCopy(d, BigDwData);
    report.check(big && big->cbData == BigPayloadSize && big->bytes == bigPayload(),
                 "WM_COPYDATA from a module carries 1 MiB byte for byte",
                 "arrived %d, %u bytes", int(big != nullptr), big ? big->cbData : 0);

    // Malformed blocks: whatever arrives must leave nothing to read beyond what was sent.
    const Received *empty = findCopy(d, EmptyDwData);
    report.check(empty && empty->cbData == 0 && empty->bytes.empty(),
                 "WM_COPYDATA with cbData 0 arrives with cbData 0 and nothing to read",
                 "arrived %d, cbData %u, lpData null %d", int(empty != nullptr),
                 empty ? empty->cbData : 0, empty ? int(empty->noData) : 0);
    say("# cbData 0 with lpData set: %s", !empty ? "not delivered"
                                                 : (empty->noData ? "delivered with lpData null"
                                                                  : "delivered with lpData set"));
    const Received *nullData = findCopy(d, NullDataDwData);
    report.check(!nullData || nullData->noData || nullData->cbData == 0,
                 "WM_COPYDATA with a null lpData and cbData 16 gives the receiver nothing to read",
                 "arrived with cbData %u, lpData null %d", nullData ? nullData->cbData : 0,
                 nullData ? int(nullData->noData) : 0);
    say("# null lpData, cbData %u: %s, cbData %u", NullDataClaimedSize,
        !nullData ? "not delivered"
                  : (nullData->noData ? "delivered with lpData null" : "delivered with data"),
        nullData ? nullData->cbData : 0);
    const Received *nullEmpty = findCopy(d, NullEmptyDwData);
    report.check(!nullEmpty || nullEmpty->cbData == 0,
                 "WM_COPYDATA with a null lpData and cbData 0 gives the receiver nothing to read");
    int noStruct = 0;
    for (const Received &r : d.copies)
        noStruct += r.noStruct && r.wParamProcess == pid;
    say("# WM_COPYDATA without a COPYDATASTRUCT: delivered %d time(s)", noStruct);
    if (sender.hProcess) {
        CloseHandle(sender.hProcess);
        CloseHandle(sender.hThread);
    }
}

void Scenarios::senderEndsWhileHandled()
{
    wchar_t eventName[64];
    std::swprintf(eventName, 64, L"KorvexWineVanish%lu", static_cast<unsigned long>(GetCurrentProcessId()));
    Vanish &vanish = d.vanish;
    vanish.event = CreateEventW(nullptr, TRUE, FALSE, eventName);
    PROCESS_INFORMATION sender = startChild(
            L"wine_module_vanishing.exe",
            dashboardArgument(d.window) + L" --event " + eventName);
    vanish.process = sender.hProcess;
    pumpUntil([&] { return vanish.handled || (sender.hProcess && ended(sender.hProcess)); },
              sender.hProcess);
    report.check(vanish.handled && vanish.endedWhileHandled,
                 "a module's process ends while the dashboard handles its WM_COPYDATA",
                 "handled %d, ended meanwhile %d", int(vanish.handled), int(vanish.endedWhileHandled));
    report.check(vanish.bytesIntact, "the message's bytes stay readable after their sender ended");
    report.check(vanish.replyToDead == 0 && !vanish.deadIsWindow,
                 "the reply to the ended module's window fails with 0 and IsWindow is false",
                 "reply %lld, IsWindow %d", static_cast<long long>(vanish.replyToDead),
                 int(vanish.deadIsWindow));
    if (sender.hProcess) {
        report.check(exitCode(sender.hProcess) != 1, "the ended module never saw an answer");
        CloseHandle(sender.hProcess);
        CloseHandle(sender.hThread);
    }
    CloseHandle(vanish.event);
    // The dashboard goes on: its own window still takes messages.
    report.check(SendMessageW(d.window, WM_NULL, 0, 0) == 0 && IsWindow(d.window),
                 "the dashboard's window still handles messages afterwards");
}

void Scenarios::killedModuleAndDeadHandles()
{
    container = createContainer(d, ITEM);
    module = startModule(d);
    backend.setParent(module.window, container);
    report.check(module.window && GetAncestor(HWND(module.window), GA_PARENT) == HWND(container),
                 "a second module is embedded");
    if (module.process.hProcess) {
        TerminateProcess(module.process.hProcess, 9);
        pumpUntil([&] { return ended(module.process.hProcess); }, module.process.hProcess);
    }
    report.check(!backend.isWindow(module.window),
                 "IsWindow is false for an embedded window whose process was killed");
    report.check(backend.isWindow(container), "the container outlives the killed module");

    const WindowHandle dead = module.window;
    const HWND other = CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 10, 10, d.window,
                                       nullptr, nullptr, nullptr);
    report.check(backend.setParent(dead, container) == 0, "dead handle: SetParent of it fails with null");
    report.check(backend.setParent(WindowHandle(other), dead) == 0
                         && GetAncestor(other, GA_PARENT) == d.window,
                 "dead handle: SetParent under it fails with null and moves nothing");
    report.check(backend.getWindowLongPtr(dead, GwlStyle) == 0,
                 "dead handle: GetWindowLongPtrW gives 0");
    report.check(backend.setWindowLongPtr(dead, GwlStyle, 0) == 0,
                 "dead handle: SetWindowLongPtrW gives 0");
    report.check(!backend.setWindowPos(dead, 0, 0, 0, 100, 100, SwpShowWindow | SwpNoActivate),
                 "dead handle: SetWindowPos fails");
    report.check(!backend.showWindow(dead, SwShowNormal), "dead handle: ShowWindow gives false");
    report.check(!backend.isWindow(dead), "dead handle: IsWindow gives false");
    report.check(backend.sendMessage(dead, WmClose, 0, 0) == 0, "dead handle: SendMessageW WM_CLOSE gives 0");
    std::vector<unsigned char> block = goldenBlocks()[2];
    CopyDataStruct copyData{ d.registerId, std::uint32_t(block.size()), block.data() };
    report.check(backend.sendMessage(dead, WmCopyData, 0, reinterpret_cast<LParam>(&copyData)) == 0,
                 "dead handle: SendMessageW WM_COPYDATA gives 0");
    report.check(!backend.postMessage(dead, d.registerId, 0, 0), "dead handle: PostMessageW fails");
    report.check(backend.createWindowEx(0, u"STATIC", u"", WsChild | WsVisible | WsClipChildren, 0,
                                        0, 10, 10, dead, 0, nullptr, nullptr)
                         == 0,
                 "dead handle: CreateWindowExW of a child under it gives null");
    DestroyWindow(other);
    backend.sendMessage(container, WmClose, 0, 0);
    stopModule(module);
    container = 0;
}

void Scenarios::handlesThatAreNoModule()
{
    container = createContainer(d, ITEM);
    // A module that names the dashboard's own window: it must not end up inside its own child.
    const WindowHandle own = WindowHandle(d.window);
    report.check(backend.setParent(own, container) == 0 && GetAncestor(d.window, GA_PARENT) == GetDesktopWindow(),
                 "SetParent of the dashboard's window into its own container fails");
    // Handles that name no window: no window anywhere may receive what is sent to them.
    const WindowHandle notWindows[] = { 0, 0xFFFF /* HWND_BROADCAST */, 0xdeadbeef };
    for (WindowHandle h : notWindows) {
        const int closesBefore = d.closesReceived;
        char name[96];
        std::snprintf(name, sizeof name, "handle 0x%llx: IsWindow false, messages to it reach no window",
                      static_cast<unsigned long long>(h));
        const bool isWindow = backend.isWindow(h);
        const LResult sent = backend.sendMessage(h, WmClose, 0, 0);
        const bool posted = backend.postMessage(h, WmClose, 0, 0);
        // PostMessageW to a null window posts to the thread itself.
        MSG stray;
        const bool queued =
                PeekMessageW(&stray, HWND(-1), WM_CLOSE, WM_CLOSE, PM_REMOVE) != FALSE;
        pumpUntil([] { return true; });
        report.check(!isWindow && sent == 0 && !posted && d.closesReceived == closesBefore && !queued
                             && IsWindow(d.window) && backend.isWindow(container),
                     name, "IsWindow %d, sent %lld, posted %d, WM_CLOSE at the dashboard %d, queued %d",
                     int(isWindow), static_cast<long long>(sent), int(posted),
                     d.closesReceived - closesBefore, int(queued));
    }
    backend.sendMessage(container, WmClose, 0, 0);
    container = 0;
}

void Scenarios::translation()
{
    MSG native{};
    native.hwnd = d.window;
    native.message = WM_COPYDATA;
    Message storage{};
    static const char generic[] = "windows_generic_MSG";
    static const char other[] = "xcb_generic_event_t";
    report.check(backend.translateNativeEvent(generic, sizeof generic - 1, &native, &storage)
                         == reinterpret_cast<const Message *>(&native),
                 "a windows_generic_MSG event is the MSG itself");
    report.check(!backend.translateNativeEvent(other, sizeof other - 1, &native, &storage)
                         && !backend.translateNativeEvent(generic, sizeof generic - 1, nullptr, &storage)
                         && !backend.translateNativeEvent(nullptr, 0, &native, &storage)
                         && !backend.translateNativeEvent(generic, 7, &native, &storage),
                 "other event types, a shorter name and null input translate to nothing");
}

} // namespace

int main()
{
    int argc = 0;
    wchar_t **argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    const bool pause = argc >= 2 && std::wcscmp(argv[1], L"--pause-for-screenshot") == 0;
    LocalFree(argv);

    // The stand-ins share this program's output.
    SetHandleInformation(GetStdHandle(STD_OUTPUT_HANDLE), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    SetHandleInformation(GetStdHandle(STD_ERROR_HANDLE), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);

    Report report;
    const auto backend = createWin32NativeWindowBackend();
    report.check(std::strcmp(backend->name(), "win32") == 0, "the backend is the Win32 one");

    Dashboard dashboard;
    dashboard.backend = backend.get();
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = dashboardProc;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hbrBackground = CreateSolidBrush(RGB(0xf2, 0xf2, 0xf2));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"KorvexWineDashboard";
    RegisterClassW(&windowClass);
    // Stands in for the Qt window whose winId() the item uses.
    dashboard.window = CreateWindowExW(0, windowClass.lpszClassName, L"Korvex PRO (Wine)",
                                       WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 40, 40, 760, 560,
                                       nullptr, nullptr, windowClass.hInstance, nullptr);
    if (!report.check(dashboard.window != nullptr, "the dashboard's window is created")) {
        say("0 checks ran further");
        return report.failed();
    }
    SetWindowLongPtrW(dashboard.window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&dashboard));
    ShowWindow(dashboard.window, SW_SHOWNORMAL);
    UpdateWindow(dashboard.window);

    Scenarios scenarios(dashboard, report, pause);
    scenarios.registeredIds();
    scenarios.translation();
    scenarios.embedModule();
    scenarios.messagesToModule();
    scenarios.closeModule();
    scenarios.dataFromModule();
    scenarios.senderEndsWhileHandled();
    scenarios.killedModuleAndDeadHandles();
    scenarios.handlesThatAreNoModule();

    DestroyWindow(dashboard.window);
    say("DONE %d passed, %d failed", report.passed(), report.failed());
    return report.failed();
}
