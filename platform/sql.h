#pragma once

#include <span>
#include <string>
#include <string_view>

/// Texts that many statements are made of.
namespace tavrel {

/// The text as a literal, between single quotes.
inline std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text)
        quoted.append(character == '\'' ? 2 : 1, character);
    return quoted + "'";
}

/// "a, b, c"
inline std::string Listed(std::span<const std::string> texts) {
    std::string list;
    for (const std::string& text : texts)
        list.append(list.empty() ? "" : ", ").append(text);
    return list;
}

/// "INSERT INTO table (a, b) VALUES (?, ?)"
inline std::string InsertStatement(std::string_view table, std::span<const std::string> columns) {
    std::string marks;
    for (std::size_t i = 0; i < columns.size(); ++i)
        marks += marks.empty() ? "?" : ", ?";
    return "INSERT INTO " + std::string(table) + " (" + Listed(columns) + ") VALUES (" + marks + ")";
}

} // namespace tavrel
