#include "platform/x11/XcbProperties.h"

#include <cstdlib>
#include <memory>

namespace {

// Enough for any window list; the length is counted in 32-bit units.
constexpr quint32 maxPropertyLength = 1u << 20;

using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)>;

PropertyReply readProperty(xcb_connection_t *connection, xcb_window_t window,
                           xcb_atom_t property, xcb_atom_t type)
{
    const auto cookie = xcb_get_property(connection, 0, window, property, type, 0,
                                         maxPropertyLength);
    return PropertyReply(xcb_get_property_reply(connection, cookie, nullptr), &std::free);
}

} // namespace

XcbProperties::XcbProperties(xcb_connection_t *connection)
    : m_connection(connection)
{
}

xcb_atom_t XcbProperties::atom(const char *name)
{
    const QByteArray key(name);
    const auto cached = m_atoms.constFind(key);
    if (cached != m_atoms.constEnd())
        return *cached;
    const auto cookie = xcb_intern_atom(m_connection, 0, quint16(key.size()), name);
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    if (result != XCB_ATOM_NONE)
        m_atoms.insert(key, result);
    return result;
}

std::vector<quint32> XcbProperties::cardinals(xcb_window_t window, xcb_atom_t property,
                                              xcb_atom_t type)
{
    const PropertyReply reply = readProperty(m_connection, window, property, type);
    if (!reply || reply->format != 32)
        return {};
    const auto *first = static_cast<const quint32 *>(xcb_get_property_value(reply.get()));
    const int count = xcb_get_property_value_length(reply.get()) / 4;
    return std::vector<quint32>(first, first + count);
}

QByteArray XcbProperties::bytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type)
{
    const PropertyReply reply = readProperty(m_connection, window, property, type);
    if (!reply || reply->format != 8)
        return {};
    const auto *first = static_cast<const char *>(xcb_get_property_value(reply.get()));
    return QByteArray(first, xcb_get_property_value_length(reply.get()));
}
