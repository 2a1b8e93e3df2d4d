#include "platform/odbc/OdbcCommand.h"

#include "platform/odbc/OdbcError.h"
#include "platform/odbc/OdbcStatement.h"
#include "platform/text.h"

#include <sqlext.h>

#include <algorithm>
#include <utility>

namespace tavrel {

namespace {

void RequireThatItFits(const Parameter& parameter) {
    const std::size_t characters = CountCharacters(parameter.value);
    if (std::cmp_greater(characters, parameter.size))
        throw OdbcError(OdbcFailure::ParameterTooLong, "\"" + parameter.name + "\" has " + std::to_string(characters) +
                                                           " characters; at most " + std::to_string(parameter.size) +
                                                           " can be stored.");
}

BoundText Bound(const Parameter& parameter) {
    const bool longText = parameter.type == ParameterType::LongVariableCharacter;
    return {parameter.value, static_cast<SQLSMALLINT>(longText ? SQL_LONGVARCHAR : SQL_VARCHAR),
            static_cast<SQLULEN>(parameter.size)};
}

} // namespace

void OdbcCommand::Delete(int index) {
    if (index < 0 || index >= static_cast<int>(parameters_.size()))
        throw OdbcError(OdbcFailure::UnknownParameter, "The command has no parameter " + std::to_string(index) + ".");
    parameters_.erase(parameters_.begin() + index);
}

void OdbcCommand::Execute() {
    session_->Run(OdbcSession::Effect::Changes, [this] {
        std::ranges::for_each(parameters_, RequireThatItFits);
        std::vector<BoundText> values;
        std::ranges::transform(parameters_, std::back_inserter(values), Bound);
        OdbcStatement(session_).Run(statement_, values);
    });
}

} // namespace tavrel
