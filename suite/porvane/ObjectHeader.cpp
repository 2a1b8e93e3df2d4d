#include "suite/porvane/ObjectHeader.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/text.h"
#include "platform/uid.h"
#include "sr/content/Items.h"
#include "suite/catalogue/TextRules.h"
#include "suite/porvane/StoreRefusal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace tavrel {
namespace {

using Status = StoreRefusal::Status;

std::string Digits(const DateTime& moment) {
    std::array<char, 16> text{};
    if (moment.HasDate())
        std::snprintf(text.data(), text.size(), "%04d%02d%02d", moment.year, moment.month, moment.day);
    else
        std::snprintf(text.data(), text.size(), "%02d%02d%02d", moment.hour, moment.minute, moment.second);
    return text.data();
}

/// Without blanks around it, and no longer than its column.
std::string Catalogued(std::string text, std::size_t longest) {
    text = ForCatalogue(std::move(text));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return std::string(FirstCharacters(Trimmed(text), longest));
}

class HeaderReader {
public:
    explicit HeaderReader(const DataSetList& object) : object_(object) {}

    std::string Text(const Attribute& attribute, std::size_t longest) const {
        const Value value = object_.GetElementValue(0, attribute);
        if (const auto* moment = std::get_if<DateTime>(&value))
            return Digits(*moment);
        if (const auto* number = std::get_if<std::int16_t>(&value))
            return std::to_string(*number);
        const auto* text = std::get_if<std::string>(&value);
        return text ? Catalogued(*text, longest) : std::string();
    }

    /// UIDs name folders and stand in statements: digits and points alone may pass. Zero-padded components do,
    /// every report has them; one without a digit is a sign that the object was made from something broken.
    std::string Uid(const Attribute& attribute, const char* name) const {
        std::string uid = Text(attribute, longest::Uid + 1);
        if (!IsUid(uid) || uid.ends_with('.') || uid.find("..") != std::string::npos)
            throw StoreRefusal(Status::CannotUnderstand, std::string("no valid ") + name);
        return uid;
    }

    std::optional<int> Integer(const Attribute& attribute) const {
        const std::string text = Text(attribute, longest::ShortColumn);
        const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
        const char* end = text.data() + text.size();
        int number = 0;
        const auto [stop, failure] = std::from_chars(begin, end, number);
        if (failure != std::errc() || stop != end)
            return std::nullopt;
        return number;
    }

private:
    const DataSetList& object_;
};

/// Those of every kind: for grey images and colour ones, blended, of volumes (DICOM PS3.4, B.5).
bool IsPresentationState(const ObjectHeader& header) {
    return header.sopClassUid.starts_with("1.2.840.10008.5.1.4.1.1.11.");
}

std::string CataloguedModality(const ObjectHeader& header, const std::string& modality) {
    if (header.IsReport())
        return std::string(ReportModality);
    if (IsPresentationState(header))
        return std::string(PresentationModality);
    if (modality == ReportModality)
        return "SR-OTHER";
    return modality.empty() ? "OT" : modality;
}

std::shared_ptr<DataSetList> OpenObject(DicomLibrary& library, const std::string& path,
                                        const std::string& sopClassUid) {
    // A report is opened whole with its series, so it is proved readable before it joins that folder.
    if (sopClassUid == BasicTextSr) {
        auto report = library.NewDataSetList();
        report->LoadFile(path);
        return report;
    }
    return library.OpenImageSeries(std::array{path});
}

std::vector<std::string> PredecessorsOf(const DicomDataSet& version) {
    std::vector<std::string> uids;
    ForEachItem(version, attribute::PredecessorDocumentsSequence, [&](const DicomDataSet& study) {
        ForEachItem(study, attribute::ReferencedSeriesSequence, [&](const DicomDataSet& series) {
            ForEachItem(series, attribute::ReferencedSopSequence, [&](const DicomDataSet& document) {
                const Value uid = document.GetValue(attribute::ReferencedSopInstanceUid);
                if (const auto* text = std::get_if<std::string>(&uid))
                    uids.push_back(*text);
            });
        });
    });
    return uids;
}

ObjectHeader ReadHeader(const HeaderReader& read) {
    ObjectHeader header;
    header.sopClassUid = read.Uid(attribute::SopClassUid, "SOP Class UID");
    header.sopInstanceUid = read.Uid(attribute::SopInstanceUid, "SOP Instance UID");
    header.instanceNumber = read.Integer(attribute::InstanceNumber);

    header.seriesUid = read.Uid(attribute::SeriesInstanceUid, "Series Instance UID");
    header.modality = CataloguedModality(header, read.Text(attribute::Modality, longest::ShortColumn));
    header.seriesNumber = read.Integer(attribute::SeriesNumber);
    header.seriesDescription = read.Text(attribute::SeriesDescription, longest::TextColumn);

    header.studyUid = read.Uid(attribute::StudyInstanceUid, "Study Instance UID");
    header.studyDate = read.Text(attribute::StudyDate, longest::ShortColumn);
    header.studyTime = read.Text(attribute::StudyTime, longest::ShortColumn);
    header.studyDescription = read.Text(attribute::StudyDescription, longest::TextColumn);
    header.referringPhysician = read.Text(attribute::ReferringPhysicianName, longest::TextColumn);
    header.accessionNumber = read.Text(attribute::AccessionNumber, longest::ShortColumn);

    header.patientId = read.Text(attribute::PatientId, longest::LongString + 1);
    // Cut identifiers could make two people one; so could an empty one.
    if (FirstCharacters(header.patientId, longest::LongString) != header.patientId)
        throw StoreRefusal(Status::CannotUnderstand,
                           "Patient ID longer than " + std::to_string(longest::LongString) + " characters");
    if (header.patientId.empty())
        header.patientId = header.studyUid;
    header.patientName = read.Text(attribute::PatientName, longest::TextColumn);
    header.birthDate = read.Text(attribute::PatientBirthDate, longest::ShortColumn);
    header.sex = read.Text(attribute::PatientSex, longest::ShortColumn);
    return header;
}

} // namespace

bool ObjectHeader::IsReport() const {
    return sopClassUid == BasicTextSr;
}

ObjectHeader ReadObjectHeader(DicomLibrary& library, const std::string& path, const std::string& sopClassUid) {
    try {
        const auto object = OpenObject(library, path, sopClassUid);
        ObjectHeader header = ReadHeader(HeaderReader(*object));
        if (header.IsReport())
            header.predecessors = PredecessorsOf(*object->Item(0));
        return header;
    } catch (const Error& error) {
        throw StoreRefusal(Status::CannotUnderstand, error.description);
    }
}

} // namespace tavrel
