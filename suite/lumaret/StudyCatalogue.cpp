#include "suite/lumaret/StudyCatalogue.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "suite/lumaret/FoldedText.h"
#include "suite/lumaret/ScreenText.h"

#include <QRegularExpression>

#include <algorithm>

namespace tavrel {
namespace {

QString Field(const ResultSet& rows, std::string_view name) {
    const auto value = rows.Field(rows.FieldIndex(name)).value_or("");
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

QString Quoted(const QString& text) {
    return "'" + InCatalogue(text) + "'";
}

/// A LIKE pattern that matches `text` anywhere, and more: engines differ in the upper case of letters
/// beyond ASCII, so that any letter stands for one of those. Engines count a letter beyond 16 bits as one.
QString PatternFor(const QString& text) {
    QString pattern;
    for (const uint character : text.toUcs4()) {
        const bool ascii = character < 0x80;
        const QChar letter = ascii ? QChar(character).toUpper() : QChar('_');
        if (ascii && QString("!%_").contains(letter))
            pattern += '!';
        pattern += letter;
    }
    return Quoted("%" + pattern + "%") + " ESCAPE '!'";
}

QString Containing(const QString& column, const QString& text) {
    return " AND Upper(" + column + ") LIKE " + PatternFor(text);
}

/// How an engine asks whether a text matches a pattern in which brackets hold the letters of one place.
struct Matching {
    const char* before;
    char anyCharacter;
    const char* after;
};

Matching MatchingOf(Engine engine) {
    switch (engine) {
    case Engine::Sqlite:
        return {" GLOB '*", '?', "*'"};
    case Engine::PostgreSql:
        return {" ~ '", '.', "'"};
    case Engine::MariaDb:
        break;
    }
    return {" REGEXP '", '.', "'"};
}

/// A word anywhere in a name, in any case and with or without accents. Engines agree neither in the cases nor in the
/// accents of letters, so that each letter of the pattern names its spellings. Of the rest any character stands for one
/// that may have a meaning of its own, and what is found too much is left out afterwards.
QString SpelledLike(const QString& word, Engine engine) {
    const auto folded = Folded(word).toUcs4();
    const auto named = [](uint character) { return character >= 0x80 || QChar(character).isLetterOrNumber(); };
    if (std::ranges::none_of(folded, named))
        return Containing("Patient.PatientName", word);
    const Matching matching = MatchingOf(engine);
    QString condition = QString(" AND Patient.PatientName") + matching.before;
    for (const uint character : folded)
        condition +=
            named(character) ? '[' + SpellingsOf(character) + ']' : QString(QLatin1Char(matching.anyCharacter));
    return condition + matching.after;
}

bool Holds(const QString& value, const QString& text) {
    return value.contains(InCatalogue(text), Qt::CaseInsensitive);
}

/// "dd/mm/yyyy", "mm/yyyy" or "yyyy" as the beginning of a DICOM date.
QString DateInCatalogue(const QString& text) {
    QStringList parts = text.split('/');
    std::ranges::reverse(parts);
    QString date;
    for (const QString& part : parts)
        date += part.trimmed().rightJustified(2, '0');
    return date;
}

QString NativePathOf(const QString& inside) {
    return QString::fromStdString(NativePath(inside.toStdString()));
}

StudyRow StudyOf(const ResultSet& rows) {
    return {Field(rows, "StudyInstanceUID"), Field(rows, "PatientName"), Field(rows, "ID"), Field(rows, "StudyDate"),
            Field(rows, "StudyDescription")};
}

SeriesRow SeriesIn(const ResultSet& rows) {
    SeriesRow row{Field(rows, "SeriesInstanceUID"), Field(rows, "Modality"), Field(rows, "SeriesDescription"),
                  Field(rows, "SeriesStatus"),
                  NativePathOf(Field(rows, "StudyPath") + '\\' + Field(rows, "SeriesDir"))};
    row.number = Field(rows, "SeriesNumber").toInt();
    return row;
}

} // namespace

StudyCatalogue::StudyCatalogue(Database& database, std::string dataSource)
    : database_(database), dataSource_(std::move(dataSource)) {}

std::shared_ptr<Connection> StudyCatalogue::Catalogue() {
    if (!connection_) {
        const std::shared_ptr<Connection> made = database_.NewConnection();
        made->Open("DSN=" + dataSource_);
        engine_ = DetectEngine(*made);
        connection_ = made;
    }
    return connection_;
}

template <typename Read> auto StudyCatalogue::Query(const QString& statement, Read&& read) {
    try {
        const auto catalogue = Catalogue();
        const auto rows = catalogue->OpenResultSet(statement.toStdString());
        std::vector<std::decay_t<decltype(read(*rows))>> found;
        for (; !rows->AtEnd(); rows->MoveNext())
            found.push_back(read(*rows));
        return found;
    } catch (...) {
        connection_.reset();
        throw;
    }
}

std::vector<StudyRow> StudyCatalogue::StudiesWhere(const QString& condition) {
    return Query(
        "SELECT Study.StudyInstanceUID, Patient.PatientName, Patient.ID, Study.StudyDate, Study.StudyDescription "
        "FROM Patient, Study WHERE Patient.ID = Study.IDPatient" +
            condition + " ORDER BY Study.StudyDate DESC, Study.StudyTime DESC, Patient.PatientName LIMIT " +
            QString::number(Limit),
        StudyOf);
}

std::optional<StudyRow> StudyCatalogue::Study(const QString& studyUid) {
    const auto studies = StudiesWhere(" AND Study.StudyInstanceUID = " + Quoted(studyUid));
    return studies.empty() ? std::nullopt : std::optional(studies.front());
}

std::vector<StudyRow> StudyCatalogue::Find(const QString& name, const QString& id, const QString& date) {
    // As the list shows it, too: "Doe, Peter", with another writing in brackets.
    const QStringList words = name.split(QRegularExpression("[\\s,()]+"), Qt::SkipEmptyParts);
    const QString identifier = id.trimmed();
    QString conditions;
    if (!words.isEmpty())
        Catalogue(); // to know its engine
    for (const QString& word : words)
        conditions += SpelledLike(word, engine_);
    if (!identifier.isEmpty())
        conditions += Containing("Patient.ID", identifier);
    if (!date.trimmed().isEmpty())
        conditions += " AND Study.StudyDate LIKE " + Quoted(DateInCatalogue(date) + "%");

    auto studies = StudiesWhere(conditions);
    std::erase_if(studies, [&](const StudyRow& study) {
        return !Holds(study.patientId, identifier) || std::ranges::any_of(words, [&](const QString& word) {
            return !Holds(Folded(study.patientName), Folded(word));
        });
    });
    return studies;
}

std::vector<SeriesRow> StudyCatalogue::SeriesOf(const QString& studyUid) {
    const QString statement =
        "SELECT Series.SeriesInstanceUID, Series.Modality, Series.SeriesDescription, Series.SeriesStatus, "
        "Series.SeriesDir, Series.SeriesNumber, Study.StudyPath, "
        "(SELECT COUNT(*) FROM Image WHERE Image.SeriesInstanceUID = Series.SeriesInstanceUID) AS Images "
        "FROM Series, Study WHERE Series.StudyInstanceUID = Study.StudyInstanceUID AND Study.StudyInstanceUID = " +
        Quoted(studyUid) + " ORDER BY Series.SeriesNumber, Series.SeriesInstanceUID";
    return Query(statement, [](const ResultSet& rows) {
        SeriesRow row = SeriesIn(rows);
        row.images = Field(rows, "Images").toInt();
        return row;
    });
}

std::vector<OtherReport> StudyCatalogue::OtherReportsOf(const StudyRow& study) {
    if (study.patientId.trimmed().isEmpty())
        return {};
    const QString statement =
        "SELECT Study.StudyInstanceUID, Patient.PatientName, Patient.ID, Study.StudyDate, Study.StudyDescription, "
        "Series.SeriesInstanceUID, Series.Modality, Series.SeriesDescription, Series.SeriesStatus, Series.SeriesDir, "
        "Series.SeriesNumber, Study.StudyPath, "
        "(SELECT MAX(ImageFile) FROM Image WHERE Image.SeriesInstanceUID = Series.SeriesInstanceUID) AS NewestFile "
        "FROM Patient, Study, Series WHERE Patient.ID = Study.IDPatient "
        "AND Series.StudyInstanceUID = Study.StudyInstanceUID AND Series.Modality IN ('SR', 'SR-OTHER') "
        "AND Patient.ID = " +
        Quoted(study.patientId) + " AND Study.StudyInstanceUID <> " + Quoted(study.studyUid) +
        " ORDER BY Study.StudyDate DESC, Study.StudyTime DESC, Series.SeriesNumber LIMIT " +
        QString::number(MostOtherReports);
    auto reports = Query(statement, [](const ResultSet& rows) {
        const QString newest = Field(rows, "NewestFile");
        OtherReport report{StudyOf(rows), SeriesIn(rows), {}};
        if (!newest.isEmpty())
            report.newestFile = report.series.folder + '/' + newest;
        return report;
    });
    // An engine may pass over trailing blanks and apostrophes.
    std::erase_if(reports, [&](const OtherReport& report) { return report.study.patientId != study.patientId; });
    return reports;
}

QStringList StudyCatalogue::FilesOf(const SeriesRow& series) {
    const auto files = Query("SELECT ImageFile FROM Image WHERE SeriesInstanceUID = " + Quoted(series.seriesUid) +
                                 " ORDER BY InstanceNumber, ImageFile",
                             [&](const ResultSet& rows) { return series.folder + '/' + Field(rows, "ImageFile"); });
    return {files.begin(), files.end()};
}

std::optional<CatalogueVersion> StudyCatalogue::Version() try {
    return ReadCatalogueVersion(*Catalogue());
} catch (const Error&) {
    connection_.reset();
    throw;
}

} // namespace tavrel
