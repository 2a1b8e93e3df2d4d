#pragma once

#include "platform/odbc/OdbcDatabase.h"

#include <QString>

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace tavrel::test {

/// An empty catalogue of one of the ODBC entries in force, to be filled with rows.
class CatalogueRows {
public:
    explicit CatalogueRows(const std::string& dataSource);

    void AddPatient(const QString& id, const QString& name);
    void AddStudy(const QString& uid, const QString& patientId, const QString& date, const QString& path = "C:\\S",
                  const QString& description = {});
    void AddSeries(const QString& uid, const QString& studyUid, const QString& modality, int number = 1,
                   const QString& folder = "SER1");
    void AddImage(const QString& seriesUid, const QString& file, int instance);
    void Run(const QString& statement);

private:
    void Insert(const char* table, std::initializer_list<std::pair<const char*, QString>> row);

    OdbcDatabase database_;
    std::unique_ptr<Connection> connection_;
};

/// Makes an ODBC entry "DicomFDB" on a SQLite file of this process; answers its name.
std::string OwnSqliteEntry();

} // namespace tavrel::test
