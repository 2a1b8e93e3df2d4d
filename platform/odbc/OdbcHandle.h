#pragma once

#include <sql.h>
#include <sqltypes.h>

#include <utility>
#include <vector>

namespace tavrel {

/// Owns one ODBC handle: environment, connection or statement.
class OdbcHandle {
public:
    OdbcHandle() = default;
    OdbcHandle(SQLSMALLINT type, SQLHANDLE handle) : type_(type), handle_(handle) {}
    OdbcHandle(OdbcHandle&& other) noexcept : type_(other.type_), handle_(std::exchange(other.handle_, nullptr)) {}
    OdbcHandle& operator=(OdbcHandle&& other) noexcept {
        std::swap(type_, other.type_);
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~OdbcHandle() { Free(); }

    SQLHANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void Free() {
        if (handle_ != nullptr)
            SQLFreeHandle(type_, std::exchange(handle_, nullptr));
    }

private:
    SQLSMALLINT type_ = 0;
    SQLHANDLE handle_ = nullptr;
};

/// The handles of one connection. Whoever holds them last ends it; what it left uncommitted is dropped.
struct OdbcHandles {
    OdbcHandle environment;
    OdbcHandle connection;
    std::vector<OdbcHandle> statements; ///< those that nobody else frees

    OdbcHandles() = default;
    OdbcHandles(const OdbcHandles&) = delete;
    OdbcHandles& operator=(const OdbcHandles&) = delete;
    ~OdbcHandles() {
        statements.clear();
        if (!connection || SQL_SUCCEEDED(SQLDisconnect(connection.Get())))
            return;
        SQLEndTran(SQL_HANDLE_DBC, connection.Get(), SQL_ROLLBACK); // one was open
        SQLDisconnect(connection.Get());
    }
};

} // namespace tavrel
