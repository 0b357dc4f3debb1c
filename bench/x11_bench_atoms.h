#pragma once

// The atom of a name on a raw connection, shared by the messaging benchmark and its echo child
// so both sides name the ping and pong the same way.

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

inline xcb_atom_t benchAtom(xcb_connection_t *c, const char *name)
{
    xcb_intern_atom_reply_t *r =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, std::uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = r ? r->atom : XCB_NONE;
    std::free(r);
    return atom;
}
