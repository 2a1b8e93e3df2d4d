// A module that SQLite's ODBC driver loads into each connection ("LoadExt" of the entry). SQLite's own Upper knows no
// letter beyond ASCII; this one answers as the program itself raises letters, so that a search finds what it shows.

#include "platform/icu/IcuLetters.h"

#include <sqlite3ext.h>

#include <limits>
#include <new>

SQLITE_EXTENSION_INIT1

namespace {

void Upper(sqlite3_context* context, int, sqlite3_value** values) try {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
    if (!text)
        return sqlite3_result_null(context);
    const std::string_view given(text, static_cast<std::size_t>(sqlite3_value_bytes(values[0])));
    const std::string upper = tavrel::IcuLetters().Letters::UpperCase(given);
    if (upper.size() > std::numeric_limits<int>::max())
        return sqlite3_result_error_toobig(context);
    sqlite3_result_text(context, upper.data(), static_cast<int>(upper.size()), SQLITE_TRANSIENT);
} catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
}

} // namespace

extern "C" __attribute__((visibility("default"))) int sqlite3_extension_init(sqlite3* database, char**,
                                                                             const sqlite3_api_routines* api) {
    SQLITE_EXTENSION_INIT2(api)
    return sqlite3_create_function_v2(database, "upper", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                      nullptr, Upper, nullptr, nullptr, nullptr);
}
