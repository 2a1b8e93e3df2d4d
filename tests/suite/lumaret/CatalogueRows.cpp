#include "tests/suite/lumaret/CatalogueRows.h"

#include "suite/catalogue/Schema.h"

#include <QFile>
#include <QTemporaryDir>

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
    Run("INSERT INTO Patient (ID, PatientName) VALUES ('" + id + "', '" + name + "')");
}

void CatalogueRows::AddStudy(const QString& uid, const QString& patientId, const QString& date, const QString& path,
                             const QString& description) {
    Run("INSERT INTO Study (StudyInstanceUID, StudyPath, IDPatient, StudyDate, StudyTime, StudyDescription) VALUES ('" +
        QStringList{uid, path, patientId, date, "120000", description}.join("', '") + "')");
}

void CatalogueRows::AddSeries(const QString& uid, const QString& studyUid, const QString& modality, int number,
                              const QString& folder) {
    Run("INSERT INTO Series (SeriesInstanceUID, StudyInstanceUID, SeriesDir, Modality, SeriesNumber) VALUES ('" +
        QStringList{uid, studyUid, folder, modality}.join("', '") + "', " + QString::number(number) + ")");
}

void CatalogueRows::AddImage(const QString& seriesUid, const QString& file, int instance) {
    Run("INSERT INTO Image (SeriesInstanceUID, ImageFile, InstanceNumber) VALUES ('" + seriesUid + "', '" + file +
        "', " + QString::number(instance) + ")");
}

std::string SqliteEntry() {
    // One for the whole process: the driver manager remembers an entry for a while.
    static const QTemporaryDir folder;
    const QString entries = folder.filePath("odbc.ini");
    if (!QFile::exists(entries)) {
        QFile file(entries);
        file.open(QFile::WriteOnly);
        file.write(("[DicomFDB]\nDriver=SQLite3\nDatabase=" + folder.filePath("catalogue.db") +
                    "\nTimeout=400\nSyncPragma=OFF\n")
                       .toUtf8());
        qputenv("ODBCINI", entries.toUtf8());
    }
    return "DicomFDB";
}

} // namespace tavrel::test
