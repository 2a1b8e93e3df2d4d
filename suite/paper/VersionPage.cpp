#include "suite/paper/VersionPage.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/person_name.h"
#include "platform/text.h"
#include "sr/WrittenVersion.h"
#include "suite/paper/ContentTree.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tavrel {
namespace {

using Kind = PrintControl::Kind;
using Align = PrintControl::Align;

constexpr double PageWidth = 170; // millimetres between the margins of an A4 page
constexpr double CaptionHeight = 4.5, FieldHeight = 6, BlockHeight = 14, Indent = 5;
constexpr int DeepestIndent = 8;
constexpr std::size_t LongestOnEveryPage = 200; // characters: a damaged file must not fill each page with its name

std::string ValueOf(const DicomDataSet& dataSet, const Attribute& attribute) {
    return std::string(Trimmed(OneLine(TextOf(dataSet, attribute))));
}

std::string OnEveryPage(const std::string& text) {
    const auto cut = FirstCharacters(text, LongestOnEveryPage);
    return cut.size() == text.size() ? text : std::string(cut) + "...";
}

/// Puts captions and values below one another.
class Writer {
public:
    explicit Writer(PrintSection& section) : section_(section) {}

    /// A value below its caption; nothing where there is no value.
    void Add(const std::string& caption, const std::string& value, double left, double width) {
        if (value.empty())
            return;
        AddCaption(caption, left, width);
        AddText(value, left, top_ + CaptionHeight, width);
        used_ = true;
    }
    void AddCaption(const std::string& caption, double left, double width, bool faint = true) {
        section_.controls.push_back({.kind = Kind::Text,
                                     .text = caption,
                                     .left = left,
                                     .top = top_,
                                     .width = width,
                                     .height = CaptionHeight,
                                     .fontSize = faint ? 8.5 : 10,
                                     .bold = !faint,
                                     .faint = faint,
                                     .canGrow = true});
        used_ = true;
    }
    void AddText(const std::string& text, double left, double top, double width) {
        section_.controls.push_back({.kind = Kind::Text,
                                     .text = text,
                                     .left = left,
                                     .top = top,
                                     .width = width,
                                     .height = FieldHeight,
                                     .fontSize = 11,
                                     .canGrow = true});
        used_ = true;
    }
    void Next(double height = BlockHeight) {
        if (std::exchange(used_, false))
            top_ += height;
    }
    double Top() const { return top_; }

private:
    PrintSection& section_;
    double top_ = 0;
    bool used_ = false; ///< something stands at `top_`
};

/// Who wrote a version, and who approved it.
struct Hands {
    ObservationContext writer, approver;
    bool approved = false;
};

Hands HandsOf(const DicomDataSet& version, const WrittenVersion& written) {
    const auto& savers = written.savers;
    Hands hands;
    // Other makers' programs name whoever has verified a report, and its authors apart from that.
    hands.approved = written.complete && (!written.more || ValueOf(version, attribute::VerificationFlag) == "VERIFIED");
    if (hands.approved && !savers.empty())
        hands.approver = savers.back();
    if (written.more) {
        if (const DataSetHandle author = version.GetSequenceItem(attribute::AuthorObserverSequence, 0))
            hands.writer.ObserverName = ValueOf(*author, attribute::PersonName);
        const auto moment = [&](const Attribute& attribute) { return DateTimeOf(version.GetValue(attribute)); };
        hands.writer.ObservationDateTime = moment(attribute::ContentTime);
        const DateTime day = moment(attribute::ContentDate);
        hands.writer.ObservationDateTime.year = day.year;
        hands.writer.ObservationDateTime.month = day.month;
        hands.writer.ObservationDateTime.day = day.day;
    } else if (!savers.empty()) {
        hands.writer = hands.approved && savers.size() >= 2 ? savers[savers.size() - 2] : savers.back();
    }
    return hands;
}

std::string Signature(const ObservationContext& person) {
    const std::string name = WrittenName(person.ObserverName);
    const std::string when = DateTimeText(person.ObservationDateTime);
    std::string text = name.empty() ? (when.empty() ? "" : "on " + when) : name + (when.empty() ? "" : ", " + when);
    if (!person.ObserverOrganization.empty())
        text += (text.empty() ? "" : "\r\n") + OneLine(person.ObserverOrganization);
    return text;
}

std::string Counted(const VersionPlace& place) {
    return place.number == 0 ? std::string()
                             : "version " + std::to_string(place.number) + " of " + std::to_string(place.count);
}

/// What nobody must overlook, one sentence a line.
std::string Marks(const DicomDataSet& version, const Hands& hands, const VersionPlace& place) {
    std::string marks;
    const auto add = [&](const std::string& mark) { marks += (marks.empty() ? "" : "\r\n") + mark; };
    if (ValueOf(version, attribute::PatientName).empty() && ValueOf(version, attribute::PatientId).empty())
        add("NO PATIENT IS NAMED");
    if (!hands.approved)
        add("NOT APPROVED");
    if (place.number < place.count)
        add("This is " + Counted(place) + ", not the newest version.");
    if (place.unreadable > 0)
        add("There may be a newer version: " + std::to_string(place.unreadable) +
            (place.unreadable == 1 ? " file of this report cannot be read." : " files of this report cannot be read."));
    return marks;
}

std::string Identity(const DicomDataSet& version) {
    std::string text;
    const auto add = [&](const char* caption, const std::string& value) {
        if (!value.empty())
            text += (text.empty() ? "" : "   ") + (caption + OnEveryPage(value));
    };
    add("ID ", ValueOf(version, attribute::PatientId));
    add("born ", ValueOf(version, attribute::PatientBirthDate));
    add("sex ", ValueOf(version, attribute::PatientSex));
    return text;
}

PrintSection PageHeader(const DicomDataSet& version, const std::string& heading, const std::string& marks) {
    PrintSection section{
        .name = "PageHeader", .kind = PrintSection::Kind::PageHeader, .height = 18, .ruled = true, .controls = {}};
    const auto add = [&](const PrintControl& control) {
        if (!control.text.empty())
            section.controls.push_back(control);
    };
    add({.name = "Heading",
         .kind = Kind::Text,
         .text = OnEveryPage(heading),
         .width = 108,
         .height = 7,
         .fontSize = 14,
         .bold = true,
         .canGrow = true});
    add({.name = "Institution",
         .kind = Kind::Text,
         .text = OnEveryPage(ValueOf(version, attribute::InstitutionName)),
         .left = 112,
         .top = 1,
         .width = PageWidth - 112,
         .height = 6,
         .fontSize = 9,
         .faint = true,
         .align = Align::Right,
         .canGrow = true});
    add({.name = "Patient",
         .kind = Kind::Text,
         .text = OnEveryPage(WrittenName(ValueOf(version, attribute::PatientName))),
         .top = 8,
         .width = 84,
         .height = 6,
         .fontSize = 11,
         .bold = true,
         .canGrow = true});
    add({.name = "Identity",
         .kind = Kind::Text,
         .text = Identity(version),
         .left = 86,
         .top = 8,
         .width = PageWidth - 86,
         .height = 6,
         .fontSize = 10,
         .align = Align::Right,
         .canGrow = true});
    add({.name = "Marks",
         .kind = Kind::Text,
         .text = marks,
         .top = 15,
         .width = PageWidth,
         .height = 3,
         .fontSize = 11,
         .bold = true,
         .canGrow = true});
    return section;
}

/// One entry a line, its annotation behind it.
std::string Listed(const std::vector<ContentNode>& entries) {
    std::string lines;
    for (const ContentNode& entry : entries) {
        lines += (lines.empty() ? "" : "\r\n") + OneLine(entry.CodeMeaning.empty() ? entry.Code : entry.CodeMeaning);
        if (!entry.Annotation.empty())
            lines += ": " + OneLine(entry.Annotation);
    }
    return lines;
}

void AddStudy(Writer& writer, const DicomDataSet& version) {
    writer.Add("Study", ValueOf(version, attribute::StudyDescription), 0, 105);
    writer.Add("Study date", ValueOf(version, attribute::StudyDate), 115, 55);
    writer.Next();
    writer.Add("Referring physician", WrittenName(ValueOf(version, attribute::ReferringPhysicianName)), 0, 105);
    writer.Add("Accession number", ValueOf(version, attribute::AccessionNumber), 115, 55);
    writer.Next();
}

void AddReport(Writer& writer, const WrittenVersion& written) {
    const auto blocks = std::to_array<std::pair<const char*, std::string>>({
        {"Title", OneLine(written.title.Annotation)},
        {"Reading", written.reading.value_or("")},
        {"Body part", written.coded ? Listed({written.bodyPart}) : std::string()},
        {"Findings", Listed(written.findings)},
        {"Diagnoses", Listed(written.diagnoses)},
    });
    for (const auto& [caption, text] : blocks) {
        writer.Add(caption, text, 0, PageWidth);
        writer.Next();
    }
}

void AddTree(Writer& writer, PrintSection& section, const DicomDataSet& document) {
    for (const auto& [level, caption, text] : ReadContentTree(document)) {
        const double left = Indent * std::min(level, DeepestIndent);
        if (!caption.empty()) {
            writer.AddCaption(OneLine(caption), left, PageWidth - left, false);
            writer.Next(FieldHeight);
        }
        if (!text.empty()) {
            writer.AddText(text, left, writer.Top(), PageWidth - left);
            section.controls.back().standsAlone = true;
            writer.Next(FieldHeight + 2);
        }
    }
    if (!section.controls.empty())
        section.controls.back().standsAlone = false; // nobody signs an empty page
}

void AddHands(Writer& writer, const Hands& hands) {
    writer.Next();
    writer.Add("Written by", Signature(hands.writer), 0, 82);
    writer.Add("Approved by", hands.approved ? Signature(hands.approver) : "Not yet approved", 88, 82);
    writer.Next();
}

PrintSection Detail(const DicomDataSet& version, const WrittenVersion& written, const Hands& hands) {
    PrintSection section{.name = "Detail", .kind = PrintSection::Kind::Detail, .controls = {}};
    Writer writer(section);
    AddStudy(writer, version);
    if (written.more)
        AddTree(writer, section, version);
    else
        AddReport(writer, written);
    AddHands(writer, hands);
    section.height = writer.Top();
    return section;
}

PrintSection PageFooter(const VersionPlace& place) {
    PrintSection section{
        .name = "PageFooter", .kind = PrintSection::Kind::PageFooter, .height = 9, .ruled = true, .controls = {}};
    const auto add = [&](const char* text, double left, double width, Align align) {
        section.controls.push_back(
            {.text = text, .left = left, .top = 3, .width = width, .height = 5, .fontSize = 9, .align = align});
    };
    add("printed on %d", 0, 56, Align::Left);
    const std::string counted = Counted(place);
    add(counted.c_str(), 57, 56, Align::Left);
    add("page %p of %P", 114, PageWidth - 114, Align::Right);
    return section;
}

} // namespace

PrintLayout VersionPage(const DicomDataSet& version, const VersionPlace& place) {
    const WrittenVersion written = ReadVersion(version);
    const Hands hands = HandsOf(version, written);
    const std::string heading = OneLine(written.title.CodeMeaning);
    const std::string counted = Counted(place);
    PrintLayout layout{.name = "VersionPage",
                       .caption = "Printing report",
                       .title = heading.empty() ? "Report" : heading,
                       .document = {.patient = WrittenName(ValueOf(version, attribute::PatientName)),
                                    .study = ValueOf(version, attribute::StudyDescription),
                                    .date = DateTimeOf(version.GetValue(attribute::StudyDate)),
                                    .note = counted + (hands.approved    ? ""
                                                       : counted.empty() ? "not approved"
                                                                         : ", not approved")},
                       .fontFamily = "Arial",
                       .sections = {}};
    layout.sections.push_back(PageHeader(version, layout.title, Marks(version, hands, place)));
    layout.sections.push_back(Detail(version, written, hands));
    layout.sections.push_back(PageFooter(place));
    return layout;
}

} // namespace tavrel
