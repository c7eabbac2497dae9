#pragma once

#include <QDBusArgument>
#include <tuple>

namespace kasto::freedesktop {

// A struct that is sent over the bus as a D-Bus structure. Its static function `fields` returns a tuple of
// references to its members, in the order of the D-Bus signature.
template <class T>
concept BusRecord = requires(T& record) {
    T::fields(record);  // a tuple of references
};

template <BusRecord T>
QDBusArgument& operator<<(QDBusArgument& out, const T& record) {
    out.beginStructure();
    std::apply([&](const auto&... field) { (out << ... << field); }, T::fields(record));
    out.endStructure();
    return out;
}

template <BusRecord T>
const QDBusArgument& operator>>(const QDBusArgument& in, T& record) {
    in.beginStructure();
    std::apply([&](auto&... field) { (in >> ... >> field); }, T::fields(record));
    in.endStructure();
    return in;
}

}  // namespace kasto::freedesktop
