#include "platform/qt/ProcessWindows.h"

#include <QGuiApplication>
#include <QScreen>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace tavrel {
namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

template <typename Reply> std::unique_ptr<Reply, FreeReply> Taken(Reply* reply) {
    return std::unique_ptr<Reply, FreeReply>(reply);
}

/// What the X server tells of windows that may go at any moment: then it tells nothing.
class Server {
public:
    explicit Server(xcb_connection_t* connection)
        : connection_(connection), root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

    /// As the window manager lists them; without one they lie on the root.
    std::vector<std::uint32_t> Windows() const {
        auto windows = Numbers(root_, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
        if (!windows.empty())
            return windows;
        if (const auto tree = Taken(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr)))
            windows.assign(xcb_query_tree_children(tree.get()),
                           xcb_query_tree_children(tree.get()) + xcb_query_tree_children_length(tree.get()));
        return windows;
    }
    bool BelongsTo(std::uint32_t window, unsigned process) const {
        return Numbers(window, "_NET_WM_PID", XCB_ATOM_CARDINAL) == std::vector<std::uint32_t>{process};
    }
    QRect Place(std::uint32_t window) const {
        const auto attributes = Taken(
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
        const auto size = Taken(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        const auto corner = Taken(xcb_translate_coordinates_reply(
            connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE || !size || !corner)
            return {};
        QRect place(corner->dst_x, corner->dst_y, size->width, size->height);
        const auto frame = Numbers(window, "_NET_FRAME_EXTENTS", XCB_ATOM_CARDINAL); // left, right, top, bottom
        constexpr std::uint32_t widest = 1000; // nobody's frame: foreign numbers must not overflow
        if (frame.size() == 4 && std::ranges::all_of(frame, [](auto edge) { return edge < widest; }))
            place.adjust(-static_cast<int>(frame[0]), -static_cast<int>(frame[2]), static_cast<int>(frame[1]),
                         static_cast<int>(frame[3]));
        return place;
    }

private:
    std::vector<std::uint32_t> Numbers(std::uint32_t window, const char* property, std::uint32_t type) const {
        const auto length = static_cast<std::uint16_t>(std::char_traits<char>::length(property));
        const auto atom =
            Taken(xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 1, length, property), nullptr));
        if (!atom || atom->atom == XCB_ATOM_NONE)
            return {};
        constexpr std::uint32_t most = 4096;
        const auto value = Taken(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom->atom, type, 0, most), nullptr));
        if (!value || value->format != 32 || value->type != type)
            return {};
        const auto* numbers = static_cast<const std::uint32_t*>(xcb_get_property_value(value.get()));
        return {numbers, numbers + xcb_get_property_value_length(value.get()) / 4};
    }

    xcb_connection_t* connection_;
    std::uint32_t root_;
};

/// In the toolkit's units, of which a pixel of a scaled screen is a part.
QRect Scaled(const QRect& pixels) {
    for (const auto* screen : QGuiApplication::screens()) {
        const qreal ratio = screen->devicePixelRatio();
        const QPoint corner = screen->geometry().topLeft(); // which is in pixels
        if (QRect(corner, screen->geometry().size() * ratio).contains(pixels.center()))
            return {corner + (pixels.topLeft() - corner) / ratio, pixels.size() / ratio};
    }
    return pixels;
}

} // namespace

QRect LargestWindowOf(unsigned process) {
    const auto* desktop = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!desktop)
        return {};
    const Server server(desktop->connection());
    QRect largest;
    for (const auto window : server.Windows())
        if (server.BelongsTo(window, process))
            if (const QRect place = server.Place(window);
                place.width() * place.height() > largest.width() * largest.height())
                largest = place;
    return Scaled(largest);
}

} // namespace tavrel
