#pragma once

#include "platform/database.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/Schema.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

struct StudyRow {
    QString studyUid, patientName, patientId, date, description;
};

struct SeriesRow {
    QString seriesUid, modality, description, status, folder;
    int number = 0;
    int images = 0;
    /// One that Tavrel opens.
    bool IsReport() const { return modality == "SR"; }
    /// A structured report of any class, a list of key objects among them.
    bool IsDocument() const { return IsReport() || modality == "SR-OTHER" || modality == "KO"; }
    /// Presentation states: ways to show the images that they name, no images themselves.
    bool IsPresentation() const { return modality == "PR"; }
    bool operator==(const SeriesRow&) const = default;
};

/// A report in another study of a patient.
struct OtherReport {
    StudyRow study;
    SeriesRow series;
    QString newestFile; ///< native; empty when the catalogue names none
};

/// What the viewer reads of the catalogue. Events may be handled while it waits for an answer. Every failure is an
/// `Error`.
class StudyCatalogue {
public:
    explicit StudyCatalogue(Database& database, std::string dataSource = "DicomFDB");

    /// The studies, newest first, whose patient's name holds every word of `name`, in any order and
    /// letter case, with or without accents, whose patient's identifier holds `id`, and whose date is `date`:
    /// "dd/mm/yyyy", "mm/yyyy" or "yyyy". An empty text holds everywhere. At most `Limit` rows.
    /// The server looks at each patient's name, as no index knows the middle of one: the cost grows with the patients,
    /// and what is sent with what is found.
    std::vector<StudyRow> Find(const QString& name, const QString& id, const QString& date);
    /// That study, or none.
    std::optional<StudyRow> Study(const QString& studyUid);
    std::vector<SeriesRow> SeriesOf(const QString& studyUid);
    /// The reports in the other studies of that study's patient, by the patient's identifier, to the letter; the newest
    /// study first, at most `MostOtherReports`. Those of a patient without an identifier are not known.
    std::vector<OtherReport> OtherReportsOf(const StudyRow& study);
    /// The series' image files as native paths, in the order of their instance numbers.
    QStringList FilesOf(const SeriesRow& series);

    /// Nothing of a catalogue that was made before versions were.
    std::optional<CatalogueVersion> Version();

    static constexpr int Limit = 500;
    static constexpr int MostOtherReports = 100;

private:
    std::vector<StudyRow> StudiesWhere(const QString& condition);
    /// The connection, made anew after it was lost. What is handled while an answer is waited for may ask too, and
    /// lose it.
    std::shared_ptr<Connection> Catalogue();
    template <typename Read> auto Query(const QString& statement, Read&& read);

    Database& database_;
    std::string dataSource_;
    std::shared_ptr<Connection> connection_;
    Engine engine_ = Engine::Sqlite; ///< behind the connection made last
};

} // namespace tavrel
