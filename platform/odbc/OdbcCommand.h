#pragma once

#include "platform/database.h"
#include "platform/odbc/OdbcSession.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// No driver minds a parameter's declared size; this class does, in characters.
class OdbcCommand final : public Command {
public:
    explicit OdbcCommand(std::shared_ptr<OdbcSession> session) : session_(std::move(session)) {}

    void Text(std::string_view statement) override { statement_ = statement; }
    void Append(Parameter parameter) override { parameters_.push_back(std::move(parameter)); }
    void Delete(int index) override;
    void Execute() override;

private:
    std::shared_ptr<OdbcSession> session_;
    std::string statement_;
    std::vector<Parameter> parameters_;
};

} // namespace tavrel
