// A window manager reduced to what matters for embedding: it frames every top-level window
// that asks to be mapped and gives a window up (or not) when the window is withdrawn. Prints
// "ready" once it holds the root, and "framed <window>" for each window it frames.
//   x11_fake_wm release    lets go as ICCCM asks: back on the root, WM_STATE Withdrawn
//   x11_fake_wm keep       never lets go
//   x11_fake_wm destroy    destroys a window that asks to be withdrawn
//   x11_fake_wm grabback   lets go, then takes the window back once from wherever it went
//   x11_fake_wm grabalways lets go, then takes the window back every time it goes elsewhere
// FAKE_WM_TRACE set: every event and decision on standard error.
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>

namespace {

xcb_connection_t *c;
xcb_window_t root;
xcb_atom_t wmState;

xcb_atom_t atom(const char *name)
{
    xcb_intern_atom_reply_t *reply =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : XCB_NONE;
    std::free(reply);
    return value;
}

void setState(xcb_window_t window, uint32_t state)
{
    const uint32_t value[2] = { state, XCB_NONE };
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, wmState, wmState, 32, 2, value);
}

void say(const std::string &line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string mode = argc > 1 ? argv[1] : "release";
    c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 2;
    root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    wmState = atom("WM_STATE");
    const uint32_t mask[] = { XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY };
    if (xcb_generic_error_t *error = xcb_request_check(
                c, xcb_change_window_attributes_checked(c, root, XCB_CW_EVENT_MASK, mask))) {
        std::free(error);
        return 3;
    }
    say("ready");
    std::map<xcb_window_t, xcb_window_t> frames; // client -> frame
    std::set<xcb_window_t> released;             // let go, to be taken back once (grabback)
    std::set<xcb_window_t> grabbedBack;
    auto frame = [&](xcb_window_t window) {
        const xcb_window_t f = xcb_generate_id(c);
        const uint32_t values[] = { XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY };
        xcb_create_window(c, XCB_COPY_FROM_PARENT, f, root, 10, 10, 300, 200, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, values);
        const uint32_t watch[] = { XCB_EVENT_MASK_STRUCTURE_NOTIFY };
        xcb_change_window_attributes(c, window, XCB_CW_EVENT_MASK, watch);
        xcb_change_save_set(c, XCB_SET_MODE_INSERT, window);
        xcb_reparent_window(c, window, f, 0, 20);
        xcb_map_window(c, window);
        xcb_map_window(c, f);
        setState(window, 1);
        frames[window] = f;
        xcb_flush(c);
        say("framed " + std::to_string(window));
    };
    while (xcb_generic_event_t *event = xcb_wait_for_event(c)) {
        const uint8_t type = event->response_type & 0x7f;
        const bool synthetic = event->response_type & 0x80;
        if (getenv("FAKE_WM_TRACE"))
            std::fprintf(stderr, "fake wm: event %d%s\n", type, synthetic ? " (sent)" : "");
        if (type == XCB_MAP_REQUEST) {
            const auto *request = reinterpret_cast<xcb_map_request_event_t *>(event);
            if (!frames.count(request->window))
                frame(request->window);
        } else if (type == XCB_CONFIGURE_REQUEST) {
            const auto *request = reinterpret_cast<xcb_configure_request_event_t *>(event);
            const uint32_t values[] = { uint32_t(request->width), uint32_t(request->height) };
            xcb_configure_window(c, request->window,
                                 XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
            xcb_flush(c);
        } else if (type == XCB_UNMAP_NOTIFY && synthetic) {
            const auto *unmap = reinterpret_cast<xcb_unmap_notify_event_t *>(event);
            if (getenv("FAKE_WM_TRACE"))
                std::fprintf(stderr, "fake wm: withdraw %u (%s)\n", unmap->window,
                             frames.count(unmap->window) ? "framed" : "not framed");
            const auto it = frames.find(unmap->window);
            if (it != frames.end() && mode != "keep") {
                if (mode == "destroy") {
                    xcb_destroy_window(c, unmap->window);
                } else {
                    xcb_unmap_window(c, unmap->window);
                    xcb_reparent_window(c, unmap->window, root, 0, 0);
                    xcb_change_save_set(c, XCB_SET_MODE_DELETE, unmap->window);
                    setState(unmap->window, 0);
                    if ((mode == "grabback" && !grabbedBack.count(unmap->window)) || mode == "grabalways")
                        released.insert(unmap->window);
                }
                xcb_destroy_window(c, it->second);
                frames.erase(it);
                xcb_flush(c);
            }
        } else if (type == XCB_REPARENT_NOTIFY) {
            const auto *reparent = reinterpret_cast<xcb_reparent_notify_event_t *>(event);
            if (released.count(reparent->window) && reparent->parent != root
                && reparent->event == reparent->window) {
                // A late map request, as a busy manager would handle it: the window is framed
                // again, wherever it went meanwhile.
                released.erase(reparent->window);
                grabbedBack.insert(reparent->window);
                if (getenv("FAKE_WM_TRACE"))
                    std::fprintf(stderr, "fake wm: taking %u back from %u\n", reparent->window,
                                 reparent->parent);
                frame(reparent->window);
            }
        }
        std::free(event);
    }
    return 0;
}
