#include "windowiconifier.h"

#ifdef VELUTRA_BENCH_XCB
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

// ICCCM: WM_STATE holds the state and an icon window.
constexpr quint32 IconicState = 3;

xcb_atom_t internAtom(xcb_connection_t *connection, const char *name)
{
    const xcb_intern_atom_cookie_t cookie
            = xcb_intern_atom(connection, 0, quint16(std::strlen(name)), name);
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

qint64 windowPid(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t pidAtom)
{
    const xcb_get_property_cookie_t cookie
            = xcb_get_property(connection, 0, window, pidAtom, XCB_ATOM_CARDINAL, 0, 1);
    xcb_get_property_reply_t *reply = xcb_get_property_reply(connection, cookie, nullptr);
    qint64 pid = -1;
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 4) {
        pid = *static_cast<const quint32 *>(xcb_get_property_value(reply));
    }
    std::free(reply);
    return pid;
}

bool isViewable(xcb_connection_t *connection, xcb_window_t window)
{
    xcb_get_window_attributes_reply_t *reply = xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, window), nullptr);
    const bool viewable = reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    std::free(reply);
    return viewable;
}

} // namespace

bool WindowIconifier::isAvailable()
{
    return true;
}

int WindowIconifier::iconifyWindowsOf(qint64 pid, QString *error)
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        if (error) {
            *error = QStringLiteral("cannot reach the X display (is DISPLAY set?)");
        }
        return -1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_atom_t pidAtom = internAtom(connection, "_NET_WM_PID");
    const xcb_atom_t stateAtom = internAtom(connection, "WM_STATE");

    int iconified = 0;
    xcb_query_tree_reply_t *tree
            = xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr);
    if (tree) {
        const xcb_window_t *children = xcb_query_tree_children(tree);
        const int count = xcb_query_tree_children_length(tree);
        for (int i = 0; i < count; ++i) {
            const xcb_window_t window = children[i];
            if (windowPid(connection, window, pidAtom) != pid || !isViewable(connection, window)) {
                continue;
            }
            // The state first, so that the program takes the unmap for a minimize.
            const quint32 state[] = {IconicState, XCB_WINDOW_NONE};
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, stateAtom, stateAtom, 32,
                                2, state);
            xcb_unmap_window(connection, window);
            ++iconified;
        }
        std::free(tree);
    }
    xcb_flush(connection);
    xcb_disconnect(connection);
    return iconified;
}

#else

bool WindowIconifier::isAvailable()
{
    return false;
}

int WindowIconifier::iconifyWindowsOf(qint64, QString *error)
{
    if (error) {
        *error = QStringLiteral("this build has no X client library (libxcb1-dev)");
    }
    return -1;
}

#endif
