#include "tests/suite/lumaret/CatalogueRows.h"

#include "suite/catalogue/Rows.h"
#include "suite/catalogue/Schema.h"
#include "tests/support/SqliteEntry.h"
#include "tests/support/TemporaryFolder.h"

namespace tavrel::test {

CatalogueRows::CatalogueRows(const std::string& dataSource) : connection_(database_.NewConnection()) {
    connection_->Open("DSN=" + dataSource);
    CreateSchema(*connection_, DetectEngine(*connection_));
    for (const char* table : {"Patient", "Study", "Series", "Image"})
        Run(QString("DELETE FROM ") + table);
}

void CatalogueRows::Run(const QString& statement) {
    connection_->OpenResultSet(statement.toStdString());
}

void CatalogueRows::AddPatient(const QString& id, const QString& name) {
    Insert("Patient", {{"ID", id}, {"PatientName", name}});
}

void CatalogueRows::AddStudy(const QString& uid, const QString& patientId, const QString& date, const QString& path,
                             const QString& description) {
    Insert("Study", {{"StudyInstanceUID", uid},
                     {"StudyPath", path},
                     {"IDPatient", patientId},
                     {"StudyDate", date},
                     {"StudyTime", "120000"},
                     {"StudyDescription", description}});
}

void CatalogueRows::AddSeries(const QString& uid, const QString& studyUid, const QString& modality, int number,
                              const QString& folder) {
    Insert("Series", {{"SeriesInstanceUID", uid},
                      {"StudyInstanceUID", studyUid},
                      {"SeriesDir", folder},
                      {"Modality", modality},
                      {"SeriesNumber", QString::number(number)}});
}

void CatalogueRows::AddImage(const QString& seriesUid, const QString& file, int instance) {
    Insert("Image",
           {{"SeriesInstanceUID", seriesUid}, {"ImageFile", file}, {"InstanceNumber", QString::number(instance)}});
}

void CatalogueRows::Insert(const char* table, std::initializer_list<std::pair<const char*, QString>> row) {
    ColumnTexts texts;
    for (const auto& [column, text] : row)
        texts.emplace_back(column, text.toStdString());
    InsertRow(*connection_, table, texts);
}

std::string OwnSqliteEntry() {
    // One for the whole process: the driver manager remembers an entry for a while.
    static const TemporaryFolder folder;
    UseSqliteEntry(folder.Path());
    return "DicomFDB";
}

} // namespace tavrel::test
