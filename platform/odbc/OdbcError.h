#pragma once

#include "platform/error.h"

#include <sql.h>
#include <sqltypes.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The adapter's own failures. Every other number of a database error is the driver's native one
/// (0 for an error of the driver manager, such as an unknown data source).
enum class OdbcFailure : int {
    NullField = 94,
    SecondStatement = 3001,
    NoCurrentRow = 3021,
    NoTransaction = 3034,
    RowChangedMeanwhile = 3197,
    ReadOnly = 3251,
    UnknownField = 3265,
    UnknownParameter = 3266,
    ParameterTooLong = 3421,
    NotConnected = 3704,
    AlreadyConnected = 3705,
    NoDriver = 3706,
    NoAnswer = 3710,
};

Error OdbcError(OdbcFailure failure, std::string description);
Error NoCurrentRow();
Error NoAnswer(std::chrono::milliseconds waited);
/// The text of a field; null is an error that names the field.
std::string NotNull(std::optional<std::string_view> text, std::string_view field);

/// What the driver says of the last call on a handle: the first record's native number, the texts
/// of all records that are errors, whether the server is gone, whether it is certain that nothing was made, and
/// whether the driver manager found no driver.
struct OdbcDiagnostics {
    int number = 0;
    std::string text;
    bool connectionLost = false;
    bool nothingMade = false;
    bool driverUnknown = false;

    static OdbcDiagnostics Read(SQLSMALLINT handleType, SQLHANDLE handle);
    Error AsError() const;
};

} // namespace tavrel
