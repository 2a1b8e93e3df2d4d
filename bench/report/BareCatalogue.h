#pragma once

#include <string>
#include <vector>

#include <sql.h>

namespace tavrel {

/// A catalogue through ODBC and nothing else: what its statements cost by themselves.
class BareCatalogue {
public:
    explicit BareCatalogue(const std::string& connectionText);
    ~BareCatalogue();
    BareCatalogue(const BareCatalogue&) = delete;
    BareCatalogue& operator=(const BareCatalogue&) = delete;

    /// All rows of a query, every column as text; null is empty.
    std::vector<std::vector<std::string>> Rows(const std::string& query) const;

private:
    SQLHENV environment_ = nullptr;
    SQLHDBC connection_ = nullptr;
};

} // namespace tavrel
