#pragma once

// A client of the X server of its own, for what neither backend would do.

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

class RawClient
{
public:
    RawClient() : m_c(xcb_connect(nullptr, nullptr))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_c)).data->root;
    }
    ~RawClient() { disconnect(); }

    xcb_connection_t *c() const { return m_c; }
    xcb_window_t root() const { return m_root; }

    xcb_atom_t atom(const char *name)
    {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
                m_c, xcb_intern_atom(m_c, 0, std::uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
        std::free(reply);
        return atom;
    }

    xcb_window_t createWindow()
    {
        const xcb_window_t w = xcb_generate_id(m_c);
        xcb_create_window(m_c, XCB_COPY_FROM_PARENT, w, m_root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        return w;
    }

    void setProperty(xcb_window_t w, xcb_atom_t name, xcb_atom_t type, int format,
                     const QByteArray &bytes)
    {
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, w, name, type, std::uint8_t(format),
                            std::uint32_t(bytes.size() / (format / 8)), bytes.constData());
    }

    void clientMessage(xcb_window_t to, xcb_atom_t type, const std::uint32_t data[5])
    {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = to;
        event.type = type;
        std::memcpy(event.data.data32, data, 20);
        xcb_send_event(m_c, 0, to, 0, reinterpret_cast<const char *>(&event));
    }

    xcb_window_t parentOf(xcb_window_t w)
    {
        xcb_query_tree_reply_t *tree =
                xcb_query_tree_reply(m_c, xcb_query_tree(m_c, w), nullptr);
        const xcb_window_t parent = tree ? tree->parent : XCB_NONE;
        std::free(tree);
        return parent;
    }

    void sync() { std::free(xcb_get_input_focus_reply(m_c, xcb_get_input_focus(m_c), nullptr)); }

    void disconnect()
    {
        if (m_c)
            xcb_disconnect(m_c);
        m_c = nullptr;
    }

private:
    xcb_connection_t *m_c;
    xcb_window_t m_root = 0;
};

