#include "suite/lumaret/ReportFile.h"

#include "platform/dcmtk/CharacterSet.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/dcmtk/DcmtkToolkit.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/error.h"
#include "platform/paths.h"
#include "suite/lumaret/ScreenText.h"
#include "suite/paper/ReportVersions.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmsr/dsrdoc.h>

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <sstream>

namespace tavrel {
namespace {

// Laying out more than this would keep the window from answering.
constexpr std::size_t LongestDocument = 8UL * 1024 * 1024;

// Whatever the document's class forbids, it is shown; what is no content item at all makes the reading fail.
std::size_t Tolerant() {
    return DSRTypes::RF_acceptUnknownRelationshipType | DSRTypes::RF_acceptInvalidContentItemValue |
           DSRTypes::RF_ignoreRelationshipConstraints | DSRTypes::RF_ignoreContentItemErrors;
}

[[noreturn]] void RefuseReport(const QString& path, const std::string& why) {
    throw Error(Fault::OfTheSuite, "Lumaret", QFileInfo(path).fileName().toStdString() + " cannot be shown: " + why);
}

DicomFile HeaderOf(const QString& path) {
    return DicomFile::Unopened(InsidePath(path.toStdString()));
}

std::string Declared(DcmItem& item, const std::string& inherited) {
    OFString declared;
    return item.findAndGetOFStringArray(DCM_SpecificCharacterSet, declared).good() ? std::string(declared) : inherited;
}

/// Turns every text below `item` into UTF-8; what a nested item declares holds for it.
void TurnToUtf8(DcmItem& item, const std::string& inherited) {
    const std::string declared = Declared(item, inherited);
    const CharacterSet characters(declared);
    for (unsigned long index = 0; index < item.card(); ++index) {
        DcmElement& element = *item.getElement(index);
        if (element.ident() == EVR_SQ) {
            auto& sequence = static_cast<DcmSequenceOfItems&>(element);
            for (unsigned long each = 0; each < sequence.card(); ++each)
                TurnToUtf8(*sequence.getItem(each), declared);
        } else if (const auto kind = TextKindOf(VrOf(element))) {
            const std::string text = characters.Decode(StoredText(element).Text(), *kind);
            if (const OFCondition outcome = element.putString(text.data(), static_cast<Uint32>(text.size()));
                outcome.bad())
                throw DicomFailure(DicomFault::BadText, outcome.text());
        }
    }
    item.findAndDeleteElement(DCM_SpecificCharacterSet);
}

/// Answers whether all of it was read.
bool Read(DSRDocument& document, DcmDataset& dataSet, const QString& path) {
    if (document.read(dataSet, Tolerant()).good())
        return true;
    const OFCondition outcome = document.read(dataSet, Tolerant() | DSRTypes::RF_skipInvalidContentItems);
    if (outcome.bad())
        RefuseReport(path, std::string("it holds no structured report that can be read (") + outcome.text() + ")");
    return false;
}

/// `html` with what `make` makes of each match.
template <typename Make> QString Replaced(const QString& html, const QRegularExpression& what, Make&& make) {
    QString result;
    qsizetype from = 0;
    for (auto found = what.globalMatch(html); found.hasNext();) {
        const auto match = found.next();
        result += html.mid(from, match.capturedStart() - from) + make(match);
        from = match.capturedEnd();
    }
    return result + html.mid(from);
}

/// The toolkit's page for people: references are numbered, in the place of their UIDs, an image in another view as
/// another one, and each text is a paragraph of its own that runs as its script does. Texts of the file are escaped:
/// what looks like markup is the toolkit's.
QString ForPeople(const QString& html) {
    static const QRegularExpression reference(R"(<a href="http://localhost/([^"+]*\+[0-9.]+[^"]*)[^>]*>([^<]*)</a>)");
    static const QRegularExpression anchor(R"(</?a(?:\s[^>]*)?>)");
    static const QRegularExpression text(R"(:</b><br>(?=([^<]*)))");
    QHash<QString, qsizetype> numbers;
    const auto numbered = [&](const QRegularExpressionMatch& match) {
        const auto number = numbers.value(match.captured(1), numbers.size() + 1);
        numbers.insert(match.captured(1), number);
        return match.captured(2) + " (no. " + QString::number(number) + ')';
    };
    const auto apart = [](const QRegularExpressionMatch& match) {
        return QString(match.captured(1).isRightToLeft() ? R"(:</b></div><div dir="rtl">)" : ":</b></div><div>");
    };
    return Replaced(Replaced(html, reference, numbered).remove(anchor), text, apart);
}

QString Rendered(DSRDocument& document, const QString& path) {
    std::ostringstream html;
    if (const OFCondition outcome = document.renderHTML(html, DSRTypes::HF_renderFullData); outcome.bad())
        RefuseReport(path, outcome.text());
    const std::string bytes = html.str();
    if (bytes.size() > LongestDocument)
        RefuseReport(path, "the document is too long");
    return ForPeople(QString::fromStdString(bytes));
}

QString DateAndTimeOf(DcmDataset& dataSet) {
    OFString date, time;
    dataSet.findAndGetOFString(DCM_ContentDate, date);
    dataSet.findAndGetOFString(DCM_ContentTime, time);
    return QString::fromLatin1(date.c_str()).trimmed() + QString::fromLatin1(time.c_str()).trimmed();
}

/// When the content was made, as the screen shows it; the file's name when it does not say.
QString WhenWritten(const QString& path) {
    QString dateAndTime;
    try {
        dateAndTime = DateAndTimeOf(*Parse(HeaderOf(path).TakeEarlyPart()).data);
    } catch (const Error&) { // it has gone meanwhile
    }
    if (dateAndTime.size() < 8)
        return QFileInfo(path).fileName();
    QString time = dateAndTime.mid(8, 6);
    for (const int place : {4, 2})
        if (time.size() > place)
            time.insert(place, ':');
    return (DateOnScreen(dateAndTime.left(8)) + ' ' + time).trimmed();
}

} // namespace

std::vector<ReportVersion> VersionsOf(const QStringList& files) {
    std::vector<std::string> paths(static_cast<std::size_t>(files.size()));
    std::ranges::transform(files, paths.begin(), &QString::toStdString);
    DcmtkLibrary library;
    const ReportVersions ordered(library, paths);
    std::vector<ReportVersion> versions;
    versions.reserve(paths.size());
    for (int number = ordered.Count(); number > 0; --number) {
        const QString file = QString::fromStdString(ordered.Files()[static_cast<std::size_t>(number) - 1]);
        versions.push_back({file, WhenWritten(file), number});
    }
    for (const std::string& unreadable : ordered.UnreadableFiles()) {
        const QString file = QString::fromStdString(unreadable);
        versions.push_back({file, QFileInfo(file).fileName()});
    }
    return versions;
}

QString ReportAsHtml(const QString& path) {
    try {
        const ParsedFile file = Parse(HeaderOf(path).Read());
        TurnToUtf8(*file.data, {});
        file.data->putAndInsertString(DCM_SpecificCharacterSet, "ISO_IR 192");
        DSRDocument document;
        const bool whole = Read(document, *file.data, path);
        QString html = Rendered(document, path);
        if (!whole)
            html.replace("<body>", "<body><p><b>Parts of this document cannot be read and are not shown.</b></p>");
        return html;
    } catch (const Error& error) {
        if (error.source == "Lumaret")
            throw;
        RefuseReport(path, error.description);
    }
}

} // namespace tavrel
