#pragma once

#include "platform/database.h"

#include <utility>

/// Wrappers that pass every call on, so that a fault test overrides the one call that shall fail.
/// `global.catalogue = std::make_unique<Failing>(std::move(global.catalogue))` puts one into place.
namespace tavrel::test {

class ForwardingResultSet : public ResultSet {
public:
    explicit ForwardingResultSet(std::unique_ptr<ResultSet> target) : target_(std::move(target)) {}

    bool AtEnd() const override { return target_->AtEnd(); }
    bool AtBeginning() const override { return target_->AtBeginning(); }
    void MoveNext() override { target_->MoveNext(); }
    bool HasField(std::string_view name) const override { return target_->HasField(name); }
    int FieldIndex(std::string_view name) const override { return target_->FieldIndex(name); }
    std::optional<std::string_view> Field(int index) const override { return target_->Field(index); }
    std::string Text(std::string_view name) const override { return target_->Text(name); }
    void AddNew() override { target_->AddNew(); }
    void SetField(std::string_view name, std::string_view value) override { target_->SetField(name, value); }
    void Update() override { target_->Update(); }
    void Close() override { target_->Close(); }

private:
    std::unique_ptr<ResultSet> target_;
};

class ForwardingConnection : public Connection {
public:
    explicit ForwardingConnection(std::unique_ptr<Connection> target) : target_(std::move(target)) {}

    void Open(std::string_view connectionText, std::string_view user, std::string_view password) override {
        target_->Open(connectionText, user, password);
    }
    bool IsOpen() const override { return target_->IsOpen(); }
    void Close() override { target_->Close(); }
    void BeginTransaction() override { target_->BeginTransaction(); }
    void Commit() override { target_->Commit(); }
    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
        return target_->OpenResultSet(statement, cursor);
    }
    std::unique_ptr<Command> NewCommand() override { return target_->NewCommand(); }

protected:
    Connection& Target() { return *target_; }

private:
    std::unique_ptr<Connection> target_;
};

class ForwardingDatabase : public Database {
public:
    explicit ForwardingDatabase(Database& target) : target_(target) {}
    std::unique_ptr<Connection> NewConnection() override { return target_.NewConnection(); }

private:
    Database& target_;
};

} // namespace tavrel::test
