#pragma once

#include <QDBusArgument>
#include <tuple>

namespace kasto::freedesktop {

// A structure as it goes over a bus: a type whose `fields` names its fields in their order there.
template <class T>
concept BusRecord = requires(T& record) {
    T::fields(record);
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
