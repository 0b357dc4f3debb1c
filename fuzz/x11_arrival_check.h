#pragma once

// The X11 backend's arrival path on one hostile input: a ClientMessage event and, often, a
// carrier window whose payload property a hostile program wrote (any type, format and
// length, a header that lies or tells the truth), on the X server of $DISPLAY.
// translateNativeEvent must never read out of bounds, crash or hang, must deliver a
// well-formed payload intact, and only once. Where a Qt event loop runs, the same input goes
// once more through the queue of a window with a handler, which must hand over exactly what
// translation gave. With control bit 0x20 the input is a run of pieces of small payloads
// instead (runPieces). Shared by the libFuzzer target and the test that replays its corpus and
// findings.

#include "platforms/xcb/native_window_backend_xcb.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace x11arrivalcheck {

using namespace KorvexNative;

class Harness
{
public:
    // False without an X server.
    bool open()
    {
        hostile = xcb_connect(nullptr, nullptr);
        if (!hostile || xcb_connection_has_error(hostile))
            return false;
        root = xcb_setup_roots_iterator(xcb_get_setup(hostile)).data->root;
        const char *names[AtomCount] = { "_KORVEX_WM_MESSAGE", "_KORVEX_WM_COPYDATA",
                                         "_KORVEX_COPYDATA_PAYLOAD", "WM_PROTOCOLS",
                                         "WM_DELETE_WINDOW", "UTF8_STRING", "STRING", "CARDINAL",
                                         "_KORVEX_WM_COPYDATA_PIECE" };
        for (int i = 0; i < AtomCount; ++i)
            atoms[i] = intern(names[i]);
        backend = std::make_unique<XcbNativeWindowBackend>(nullptr);
        return backend->isConnected();
    }
    ~Harness()
    {
        backend.reset();
        if (hostile)
            xcb_disconnect(hostile);
    }

    // Input: a control byte, the event's format, the property's type and format, 20 bytes of
    // event data, then the property's bytes. nullptr when every property holds.
    const char *run(const std::uint8_t *data, std::size_t size);

private:
    struct Got
    {
        std::uint64_t wParam = 0;
        std::uint64_t dwData = 0;
        std::vector<std::uint8_t> bytes;
        bool operator==(const Got &o) const
        {
            return wParam == o.wParam && dwData == o.dwData && bytes == o.bytes;
        }
    };
    const char *runPieces(const std::uint8_t *data, std::size_t size);
    // The pieces of one payload as an honest sender with this key sends them.
    std::vector<xcb_client_message_event_t> piecesOf(const std::vector<std::uint8_t> &bytes,
                                                     std::uint32_t key, std::uint64_t wParam,
                                                     std::uint64_t dwData) const;
    static const char *collect(const Message *message, std::vector<Got> *got);
    // A window id of its own for each pass, so that pieces one run leaves unfinished are no
    // part of the next: no such window needs to exist.
    xcb_window_t freshWindow() { return 0x10000000u + (++windows % 0x0FFFFFFFu); }
    std::uint32_t windows = 0;

    template<typename MakeCarrier>
    const char *runQueued(xcb_client_message_event_t event, const std::uint8_t *rawData,
                          MakeCarrier &makeCarrier, xcb_window_t firstCarrier, bool patched,
                          bool translated, const Message &expected,
                          const std::vector<std::uint8_t> &expectedBytes);

private:
    enum { PlainMessage, CopyData, Payload, Protocols, DeleteWindow, Utf8, String, Cardinal, Piece,
           AtomCount };

    xcb_atom_t intern(const char *name)
    {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
                hostile, xcb_intern_atom(hostile, 0, std::uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
        std::free(reply);
        return atom;
    }

    // Waits until the server has done everything asked so far, and drops the errors it sent
    // (a window destroyed twice, a property of a format X does not have).
    void settle()
    {
        std::free(xcb_get_input_focus_reply(hostile, xcb_get_input_focus(hostile), nullptr));
        while (xcb_generic_event_t *event = xcb_poll_for_event(hostile))
            std::free(event);
    }

    // Lets the event loop hand the queue over; false when it never empties. A few seconds are
    // far beyond any answer; the timer only bounds each wait for an event.
    bool handedOver()
    {
        QElapsedTimer waited;
        waited.start();
        QTimer wake;
        wake.start(50);
        while (backend->queuedMessages() > 0 && waited.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return backend->queuedMessages() == 0;
    }

    static std::uint32_t le32(const std::uint8_t *p)
    {
        return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16
                | std::uint32_t(p[3]) << 24;
    }

    static void putLe32(std::uint8_t *p, std::uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            p[i] = std::uint8_t(v >> (8 * i));
    }

    xcb_connection_t *hostile = nullptr;
    xcb_window_t root = XCB_NONE;
    std::unique_ptr<XcbNativeWindowBackend> backend;
    xcb_atom_t atoms[AtomCount] = {};
};

inline const char *Harness::run(const std::uint8_t *data, std::size_t size)
{
    if (size < 24)
        return nullptr;
    const std::uint8_t control = data[0];
    if (control & 0x20)
        return runPieces(data, size);
    const std::uint8_t eventFormat = (control & 0x80) ? data[1] : 32;
    const std::uint8_t typeChoice = data[2];
    const std::uint8_t formatChoice = data[3];
    std::uint8_t eventData[20];
    std::memcpy(eventData, data + 4, 20);
    std::vector<std::uint8_t> property(data + 24, data + size);
    // Each pass (translated, then queued) gets a carrier of its own, made the same way.
    bool patched = false;

    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE | ((control & 0x40) ? 0x80 : 0);
    event.format = eventFormat;
    static const int eventTypes[] = { CopyData, CopyData, PlainMessage, Protocols };
    event.type = atoms[eventTypes[control & 3]];
    event.window = le32(eventData + 16) ^ le32(eventData);

    // A carrier with the property, or none (an XID nobody holds, or one already gone).
    bool wellFormed = false;
    auto makeCarrier = [&](std::uint8_t *eventData) -> xcb_window_t {
        if (!(control & 4))
            return XCB_NONE;
        const xcb_window_t carrier = xcb_generate_id(hostile);
        xcb_create_window(hostile, 0, carrier, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        // A header that tells the truth about the bytes after it, or the bytes as they came.
        if ((control & 8) && property.size() >= 24) {
            std::memcpy(property.data(), "KXCD", 4);
            putLe32(property.data() + 8, std::uint32_t(property.size() - 24));
            putLe32(eventData, carrier);
            putLe32(eventData + 4, le32(property.data() + 4));
            putLe32(eventData + 16, std::uint32_t(property.size() - 24));
            patched = true;
        }
        static const int propertyTypes[] = { Payload, Payload, Payload, Utf8, String, Cardinal };
        const xcb_atom_t type = atoms[propertyTypes[typeChoice % 6]];
        static const std::uint8_t formats[] = { 8, 8, 8, 16, 32, 0, 7 };
        const std::uint8_t format = formats[formatChoice % 7];
        const std::uint32_t units = format >= 8 ? std::uint32_t(property.size() / (format / 8))
                                                : std::uint32_t(property.size());
        xcb_change_property(hostile, XCB_PROP_MODE_REPLACE, carrier, atoms[Payload], type, format,
                            units, property.data());
        if (control & 0x10)
            xcb_destroy_window(hostile, carrier);     // withdrawn before it is read
        wellFormed = (control & 8) && property.size() >= 24 && type == atoms[Payload]
                && format == 8 && !(control & 0x10) && (control & 3) <= 1 && eventFormat == 32;
        settle();
        return carrier;
    };
    const xcb_window_t carrier = makeCarrier(eventData);
    std::memcpy(event.data.data8, eventData, 20);

    Message storage = {};
    const Message *message = backend->translateNativeEvent(
            XcbNativeWindowBackend::EVENT_TYPE, sizeof XcbNativeWindowBackend::EVENT_TYPE - 1,
            &event, &storage);
    if (message && message != &storage)
        return "the message is not in the storage given";
    if (message && message->message == WmCopyData) {
        if (event.type != atoms[CopyData])
            return "a WM_COPYDATA came from an announcement of another type";
        const auto *copy = reinterpret_cast<const CopyDataStruct *>(message->lParam);
        // Every byte handed out is readable (the sanitizer checks), and is the payload's.
        if (copy->cbData != property.size() - 24
            || (copy->cbData && std::memcmp(copy->lpData, property.data() + 24, copy->cbData) != 0))
            return "the payload handed out is not the payload sent";
        if (copy->dwData != (std::uintptr_t(le32(property.data() + 16))
                             | std::uintptr_t(std::uint64_t(le32(property.data() + 20)) << 32)))
            return "dwData is not the one sent";
        // Each payload is seen once.
        Message again = {};
        if (backend->translateNativeEvent(XcbNativeWindowBackend::EVENT_TYPE,
                                          sizeof XcbNativeWindowBackend::EVENT_TYPE - 1, &event, &again))
            return "the same announcement was translated twice";
    } else if (wellFormed && property.size() - 24 <= XcbNativeWindowBackend::MAX_COPY_DATA) {
        return "a well-formed payload was not delivered";
    }
    if (message && message->message != WmCopyData && event.type == atoms[CopyData])
        return "an announcement became another message";

    // What translation gave, for the queued pass to give the same.
    const bool translated = message != nullptr;
    Message expected = translated ? *message : Message{};
    std::vector<std::uint8_t> expectedBytes;
    if (translated && expected.message == WmCopyData) {
        const auto *copy = reinterpret_cast<const CopyDataStruct *>(expected.lParam);
        expectedBytes.assign(static_cast<const std::uint8_t *>(copy->lpData),
                             static_cast<const std::uint8_t *>(copy->lpData) + copy->cbData);
        expected.lParam = LParam(copy->dwData);
    }

    if (carrier != XCB_NONE && !(control & 0x10))
        xcb_destroy_window(hostile, carrier);
    settle();
    backend->processPendingEvents();

    if (const char *broken = runQueued(event, data + 4, makeCarrier, carrier, patched, translated,
                                       expected, expectedBytes))
        return broken;
    return nullptr;
}

// The same announcement once more, with a carrier of its own, through the queue of a window
// that has a handler (where a Qt event loop can hand it over): it must give what translation
// gave, once, and never hang.
template<typename MakeCarrier>
inline const char *Harness::runQueued(xcb_client_message_event_t event, const std::uint8_t *rawData,
                                      MakeCarrier &makeCarrier, xcb_window_t firstCarrier,
                                      bool patched, bool translated, const Message &expected,
                                      const std::vector<std::uint8_t> &expectedBytes)
{
    std::uint8_t eventData[20];
    std::memcpy(eventData, rawData, 20);
    const xcb_window_t carrier = makeCarrier(eventData);
    // An announcement names its own carrier; any other event stays as translated (its bytes
    // may hold the first carrier's id, as a number nobody reads as a window).
    const bool announcement = event.type == atoms[CopyData];
    if (announcement)
        std::memcpy(event.data.data8, eventData, 20);
    // An announcement that names either carrier by the input's own bytes names a window that
    // exists in one pass only: the passes cannot agree, through no fault of the backend.
    const std::uint32_t named = le32(eventData);
    const bool comparable = !announcement || patched
            || (named != firstCarrier && named != carrier);
    // Only a window can have a handler; which one does not change what is handed over.
    const WindowHandle translatedTo = event.window;
    if (event.window == 0 || event.window > 0x1FFFFFFFu)
        event.window = 0x1234567;

    int handed = 0;
    Message got{};
    std::vector<std::uint8_t> gotBytes;
    const bool handling = comparable && QCoreApplication::instance()
            && backend->setArrivalHandler(event.window, [&](const Message &m) {
                   ++handed;
                   got = m;
                   if (m.message == WmCopyData) {
                       const auto *copy = reinterpret_cast<const CopyDataStruct *>(m.lParam);
                       if (copy->cbData)
                           gotBytes.assign(static_cast<const std::uint8_t *>(copy->lpData),
                                           static_cast<const std::uint8_t *>(copy->lpData)
                                                   + copy->cbData);
                       got.lParam = LParam(copy->dwData);
                   }
               });
    const char *broken = nullptr;
    if (handling) {
        if (backend->queueNativeEvent(XcbNativeWindowBackend::EVENT_TYPE,
                                      sizeof XcbNativeWindowBackend::EVENT_TYPE - 1, &event)) {
            if (!handedOver())
                broken = "a queued announcement was never handed over";
        }
        if (!broken && handed != (translated ? 1 : 0))
            broken = translated ? "the queue did not hand over what translation gave"
                                : "the queue handed over what translation refused";
        if (!broken && translated
            && (got.message != expected.message || got.wParam != expected.wParam
                || got.lParam != expected.lParam || expected.hwnd != translatedTo
                || got.hwnd != event.window))
            broken = "the queue handed over another message than translation";
        if (!broken && translated && gotBytes != expectedBytes)
            broken = "the queue handed over other bytes than translation";
        backend->setArrivalHandler(event.window, {});
    }
    // Gone already when it was read or withdrawn; the error of a second destruction is dropped.
    if (carrier != XCB_NONE)
        xcb_destroy_window(hostile, carrier);
    settle();
    backend->processPendingEvents();
    return broken;
}

inline std::vector<xcb_client_message_event_t>
Harness::piecesOf(const std::vector<std::uint8_t> &bytes, std::uint32_t key, std::uint64_t wParam,
                  std::uint64_t dwData) const
{
    std::vector<xcb_client_message_event_t> pieces;
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.type = atoms[Piece];
    const std::uint32_t first[5] = { key | 0x80000000u, std::uint32_t(bytes.size()),
                                     std::uint32_t(wParam), std::uint32_t(wParam >> 32),
                                     std::uint32_t(dwData) };
    std::memcpy(event.data.data32, first, sizeof first);
    pieces.push_back(event);
    std::vector<std::uint8_t> body(4 + bytes.size() + 16, 0);
    putLe32(body.data(), std::uint32_t(dwData >> 32));
    std::copy(bytes.begin(), bytes.end(), body.begin() + 4);
    std::uint32_t index = 1;
    for (std::size_t done = 0; done < 4 + bytes.size(); done += 16, ++index) {
        event.data.data32[0] = key | ((index & 3u) << 29);
        for (int i = 0; i < 4; ++i)
            event.data.data32[1 + i] = le32(body.data() + done + 4 * i);
        pieces.push_back(event);
    }
    return pieces;
}

inline const char *Harness::collect(const Message *message, std::vector<Got> *got)
{
    if (!message)
        return nullptr;
    if (message->message != WmCopyData)
        return "a piece became another message than WM_COPYDATA";
    const auto *copy = reinterpret_cast<const CopyDataStruct *>(message->lParam);
    if (copy->cbData > XcbNativeWindowBackend::INLINE_COPY)
        return "pieces made a payload larger than pieces may carry";
    Got g;
    g.wParam = std::uint64_t(message->wParam);
    g.dwData = std::uint64_t(copy->dwData);
    // Every byte handed out is readable (the sanitizer checks).
    const auto *bytes = static_cast<const std::uint8_t *>(copy->lpData);
    g.bytes.assign(bytes, bytes + copy->cbData);
    got->push_back(std::move(g));
    return nullptr;
}

// Input: the control byte (0x20 set), 3 bytes for the honest payload's dwData, then 20-byte
// chunks, each the words of a hostile piece. With control bit 8 an honest sender's payload (the
// input from byte 4, up to INLINE_COPY bytes) goes piece by piece between them; with 0x10 every
// event is translated twice. Translation must hand over the honest payload once and intact, and
// the queue of a window with a handler must hand over what translation gave, in order.
inline const char *Harness::runPieces(const std::uint8_t *data, std::size_t size)
{
    // A resource id base, as keys are: its low bit would ask for a receipt.
    constexpr std::uint32_t HONEST_KEY = 0x1ABC0000;
    // A piece's key, without the bits that are not part of it.
    constexpr std::uint32_t KEY_BITS = 0x1FFFFFFEu;
    const std::uint8_t control = data[0];
    std::vector<xcb_client_message_event_t> hostile;
    for (std::size_t at = 4; at + 20 <= size; at += 20) {
        xcb_client_message_event_t event = {};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.type = atoms[Piece];
        std::memcpy(event.data.data8, data + at, 20);
        // The honest sender's pieces are its own: nobody else speaks with its key.
        if ((event.data.data32[0] & KEY_BITS) == HONEST_KEY)
            event.data.data32[0] ^= 2;
        hostile.push_back(event);
    }
    std::vector<xcb_client_message_event_t> events;
    Got honest;
    const bool withHonest = control & 8;
    if (withHonest) {
        honest.wParam = (std::uint64_t(0x5EED) << 32) | data[1];
        honest.dwData = (std::uint64_t(le32(data) >> 8) << 40) | 0xD0D0;
        honest.bytes.assign(data + 4, data + std::min<std::size_t>(
                                                 size, 4 + XcbNativeWindowBackend::INLINE_COPY));
        const auto pieces = piecesOf(honest.bytes, HONEST_KEY, honest.wParam, honest.dwData);
        for (std::size_t i = 0; i < std::max(pieces.size(), hostile.size()); ++i) {
            if (i < hostile.size())
                events.push_back(hostile[i]);
            if (i < pieces.size())
                events.push_back(pieces[i]);
        }
    } else {
        events = hostile;
    }

    // A payload is the honest sender's when its last piece carries the honest key: hostile
    // pieces may copy anything else of it, wParam included.
    const xcb_window_t translatedTo = freshWindow();
    std::vector<Got> translated;
    int honestHanded = 0;
    for (xcb_client_message_event_t event : events) {
        event.window = translatedTo;
        for (int look = 0; look < ((control & 0x10) ? 2 : 1); ++look) {
            Message storage = {};
            const Message *message = backend->translateNativeEvent(
                    XcbNativeWindowBackend::EVENT_TYPE,
                    sizeof XcbNativeWindowBackend::EVENT_TYPE - 1, &event, &storage);
            if (message && message != &storage)
                return "the message is not in the storage given";
            if (const char *broken = collect(message, &translated))
                return broken;
            if (message && (event.data.data32[0] & KEY_BITS) == HONEST_KEY) {
                ++honestHanded;
                if (!(translated.back() == honest))
                    return "the honest payload was handed over changed";
            }
        }
    }
    if (withHonest && honestHanded != 1)
        return "the honest payload was not handed over once";

    if (!QCoreApplication::instance())
        return nullptr;
    const xcb_window_t queuedTo = freshWindow();
    std::vector<Got> queued;
    const char *broken = nullptr;
    if (!backend->setArrivalHandler(queuedTo, [&](const Message &m) {
            if (!broken)
                broken = collect(&m, &queued);
        }))
        return "a window could not have a handler";
    for (xcb_client_message_event_t event : events) {
        event.window = queuedTo;
        if (!backend->queueNativeEvent(XcbNativeWindowBackend::EVENT_TYPE,
                                       sizeof XcbNativeWindowBackend::EVENT_TYPE - 1, &event))
            broken = "a piece was not taken by the queue";
    }
    if (!broken && !handedOver())
        broken = "queued pieces were never handed over";
    if (!broken && queued != translated)
        broken = "the queue handed over other payloads than translation";
    backend->setArrivalHandler(queuedTo, {});
    return broken;
}

} // namespace x11arrivalcheck
