#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <optional>
#include <utility>

// Tables of the names a format gives values, such as line styles, read both ways.
namespace kelvane::NamedValues {

template <typename Value> using Entry = std::pair<const char16_t*, Value>;

// The value named `name`, or none.
template <typename Value, std::size_t size>
std::optional<Value> valueNamed(const Entry<Value> (&table)[size], QStringView name) {
    for (const auto& [known, value] : table) {
        if (name == known)
            return value;
    }
    return std::nullopt;
}

// The first name of `value`, or none.
template <typename Value, std::size_t size>
std::optional<QString> nameOf(const Entry<Value> (&table)[size], Value value) {
    for (const auto& [name, known] : table) {
        if (known == value)
            return QString::fromUtf16(name);
    }
    return std::nullopt;
}

} // namespace kelvane::NamedValues
