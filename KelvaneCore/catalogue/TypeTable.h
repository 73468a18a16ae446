#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace kelvane::TypeTable {

// Type identifiers in the reverse-DNS style ("public.jpeg", "public.movie"), declared by
// extension in our own table so that classification never depends on the desktop's MIME
// database.

// The type declared for a lower-case extension without its dot, if any.
std::optional<std::string_view> typeFor(std::string_view extension);

// Every extension the table declares, in the table's order.
std::vector<std::string_view> declaredExtensions();

// Whether `type` is `ancestor` or descends from it through its declared parents.
bool conforms(std::string_view type, std::string_view ancestor);

} // namespace kelvane::TypeTable
