#pragma once

#include <exception>
#include <string>
#include <utility>

namespace tavrel {

/// The one failure that crosses a port. An adapter turns every failure of its library into it.
/// `description` is written for the physician who reads it and the engineer who acts on it: what
/// failed, on what, why. `number` and text of a database error are the driver's own.
class Error : public std::exception {
public:
    Error(int errorNumber, std::string raisedBy, std::string words)
        : number(errorNumber), source(std::move(raisedBy)), description(std::move(words)) {}

    const char* what() const noexcept override { return description.c_str(); }

    int number;
    std::string source;
    std::string description;
};

} // namespace tavrel
