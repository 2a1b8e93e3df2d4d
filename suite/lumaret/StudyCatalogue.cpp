#include "suite/lumaret/StudyCatalogue.h"

#include "platform/error.h"
#include "platform/paths.h"

namespace tavrel {
namespace {

QString Field(const ResultSet& rows, std::string_view name) {
    const auto value = rows.Field(rows.FieldIndex(name)).value_or("");
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

/// A text between single quotes. The catalogue holds back-quotes where a name has an apostrophe.
QString Quoted(QString text) {
    return "'" + text.replace('\'', '`') + "'";
}

QString Containing(const QString& column, const QString& text) {
    return "Upper(" + column + ") LIKE " + Quoted("%" + text.trimmed().toUpper() + "%");
}

QString NativePathOf(const QString& inside) {
    return QString::fromStdString(NativePath(inside.toStdString()));
}

} // namespace

StudyCatalogue::StudyCatalogue(Database& database) : database_(database) {}

Connection& StudyCatalogue::Catalogue() {
    if (!connection_) {
        connection_ = database_.NewConnection();
        try {
            connection_->Open("DSN=DicomFDB");
        } catch (...) {
            connection_.reset();
            throw;
        }
    }
    return *connection_;
}

template <typename Read> auto StudyCatalogue::Query(const QString& statement, Read&& read) {
    try {
        const auto rows = Catalogue().OpenResultSet(statement.toStdString());
        std::vector<std::decay_t<decltype(read(*rows))>> found;
        for (; !rows->AtEnd(); rows->MoveNext())
            found.push_back(read(*rows));
        return found;
    } catch (...) {
        connection_.reset();
        throw;
    }
}

std::vector<StudyRow> StudyCatalogue::Find(const QString& name, const QString& id, const QString& date) {
    const QString statement =
        "SELECT Study.StudyInstanceUID, Patient.PatientName, Patient.ID, Study.StudyDate, Study.StudyDescription "
        "FROM Patient, Study WHERE Patient.ID = Study.IDPatient AND " +
        Containing("Patient.PatientName", name) + " AND " + Containing("Patient.ID", id) +
        (date.trimmed().isEmpty() ? QString() : " AND " + Containing("Study.StudyDate", date)) +
        " ORDER BY Study.StudyDate DESC, Patient.PatientName LIMIT " + QString::number(Limit);
    return Query(statement, [](const ResultSet& rows) {
        return StudyRow{Field(rows, "StudyInstanceUID"), Field(rows, "PatientName"), Field(rows, "ID"),
                        Field(rows, "StudyDate"), Field(rows, "StudyDescription")};
    });
}

std::vector<SeriesRow> StudyCatalogue::SeriesOf(const QString& studyUid) {
    const QString statement =
        "SELECT Series.SeriesInstanceUID, Series.Modality, Series.SeriesDescription, Series.SeriesStatus, "
        "Series.SeriesDir, Series.SeriesNumber, Study.StudyPath, "
        "(SELECT COUNT(*) FROM Image WHERE Image.SeriesInstanceUID = Series.SeriesInstanceUID) AS Images "
        "FROM Series, Study WHERE Series.StudyInstanceUID = Study.StudyInstanceUID AND Study.StudyInstanceUID = " +
        Quoted(studyUid) + " ORDER BY Series.SeriesNumber, Series.SeriesInstanceUID";
    return Query(statement, [](const ResultSet& rows) {
        SeriesRow row{Field(rows, "SeriesInstanceUID"), Field(rows, "Modality"), Field(rows, "SeriesDescription"),
                      Field(rows, "SeriesStatus"),
                      NativePathOf(Field(rows, "StudyPath") + '\\' + Field(rows, "SeriesDir"))};
        row.number = Field(rows, "SeriesNumber").toInt();
        row.images = Field(rows, "Images").toInt();
        return row;
    });
}

QStringList StudyCatalogue::FilesOf(const SeriesRow& series) {
    const auto files = Query("SELECT ImageFile FROM Image WHERE SeriesInstanceUID = " + Quoted(series.seriesUid) +
                                 " ORDER BY InstanceNumber, ImageFile",
                             [&](const ResultSet& rows) { return series.folder + '/' + Field(rows, "ImageFile"); });
    return {files.begin(), files.end()};
}

} // namespace tavrel
